// SPDX-License-Identifier: Apache-2.0
// A model of what the service takes off the link's stream.
#pragma once

#include <algorithm>
#include <cerrno>
#include <deque>
#include <optional>

#include "tests/support/laws.h"
#include "tests/support/switch_listener.h"

// After these the link is not at its end.
inline bool passes(int error) {
    return error == EINTR || error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

inline const std::string LINK_IS_DOWN = "The link to MSM on socket [N] is down.";

// A pass has five short waits; before the first and in each of them something may come.
struct Stream {
    std::string come;                               // and not yet taken
    std::deque<std::optional<std::string>> coming;  // next, or the stream's end
    bool ended = false;
    std::deque<int> errors;  // of the next receives, 0: none

    std::string header;  // of the message being read; empty: it has not been seen whole
    std::size_t taken = 0;
    std::string buffer = std::string(4064, '\0');
    int steps = 0, waits = 0, receives = 0;  // of a pass: waits left, waits and receives made
    bool isDown = true;
    Lines faults, traced;

    // True when a message stands in the buffer.
    bool pass() {
        steps = 5;
        waits = receives = 0;
        arrive();
        return (!header.empty() || peek()) && read();
    }

  private:
    std::size_t length() const {
        return std::max<std::size_t>(be16At({header.begin(), header.end()}, 10), 64);
    }
    void arrive() {
        if (!coming.empty()) {
            come += coming.front().value_or("");
            ended = ended || !coming.front();
            coming.pop_front();
        }
    }
    bool wait() {
        if (steps-- == 0) {
            return false;
        }
        ++waits;
        arrive();
        return true;
    }
    int receiveError() {
        ++receives;
        errors.push_back(0);
        const int next = errors.front();
        errors.pop_front();
        return next != 0 ? next : come.empty() && !ended ? EAGAIN : 0;
    }
    // Of a receive that failed, or gave `got` bytes of a stream that has ended. True when only a
    // signal came in between.
    bool failed(const std::string& what, const std::string& dump, int error, std::size_t got) {
        faults.push_back(text("main(): Linux recv function fails, ", what, " readSize = [",
                              (error != 0 ? "-1" : text(got)), "] is wrong"));
        traced.push_back(dump);
        isDown = !passes(error);
        if (isDown) {
            traced.push_back(LINK_IS_DOWN);
        }
        return error == EINTR;
    }
    bool peek() {
        for (bool endSeen = false;;) {
            const int error = receiveError();
            if (error == 0 && come.size() >= 64) {
                header = come.substr(0, 64);
                return true;
            }
            const bool part = error == 0 && !come.empty() && !endSeen;
            if ((!part && !failed("MSG_PEEK", "tmpMMCH  =..", error, come.size())) ||
                (part ? !wait() : steps-- == 0)) {
                return false;
            }
            endSeen = part && ended;
        }
    }
    // Each piece to the buffer's start, behind the first nothing of an older message; what no
    // buffer holds is thrown away.
    void take() {
        const std::size_t end = taken < 4064 ? std::min<std::size_t>(length(), 4064) : length();
        const std::size_t size = std::min({come.size(), end - taken, std::size_t{4064}});
        if (taken == 0 && size < end) {
            buffer.assign(4064, '\0');
        }
        if (taken < 4064) {
            buffer.replace(0, size, come, 0, size);
        }
        taken += size;
        come.erase(0, size);
    }
    bool read() {
        for (;;) {
            const int error = receiveError();
            if (error == 0 && !come.empty()) {
                take();
            } else if (!failed("mmsg_length", "esaMMSG =" + std::string(127, '.'), error, 0)) {
                return false;
            }
            if (taken == length()) {
                break;
            }
            do {
                if (!wait()) {
                    return false;
                }
            } while (come.empty() && !ended);
        }
        // The dispatcher rejects what is too long, by its header.
        buffer.replace(0, length() > 4064 ? 64 : 0, header, 0, length() > 4064 ? 64 : 0);
        header.clear();
        taken = 0;
        return true;
    }
};
