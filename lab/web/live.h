// SPDX-License-Identifier: Apache-2.0
// What the browsers are shown live: the newest state and the last lines of a lab. The lab's thread
// puts, the threads of the web server wait and take; nothing here makes the lab wait for a client,
// and a slow client misses states, not lines.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace enclab {

class Live {
  public:
    static constexpr std::size_t kLinesMax = 1000;

    // JSON texts.
    void putState(std::string state);
    void putLine(std::string line);
    // A lab has gone: its lines go too.
    void clear();
    // Wakes and dismisses all who wait, for good.
    void close();

    // Where a reader stands.
    struct Place {
        std::uint64_t state = 0;
        std::uint64_t line = 0;
        std::uint64_t lab = 0;
    };
    struct News {
        bool cleared = false;  // the lines before belong to a lab that has gone
        std::vector<std::string> lines;
        std::string state;  // empty: no newer one
    };
    // Waits for what `place` has not seen and moves it there. False: closed.
    bool next(Place& place, News& news);

    // Readers at the moment, for who makes the states.
    class Reader {
      public:
        explicit Reader(Live& live) : live_(live) { live_.count(1); }
        ~Reader() { live_.count(-1); }
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

      private:
        Live& live_;
    };
    int readers();

  private:
    void count(int change);
    bool seenAll(const Place& place) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string state_;
    std::uint64_t stateNumber_ = 0;
    std::deque<std::string> lines_;
    std::uint64_t lineNumber_ = 0;  // of the newest line
    std::uint64_t lab_ = 0;
    int readers_ = 0;
    bool closed_ = false;
};

}  // namespace enclab
