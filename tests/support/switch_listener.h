// SPDX-License-Identifier: Apache-2.0
// The switch at the other end of the service's link: a listening socket "esadapter" in a directory
// of its own, gone at the end, or one half of a socket pair.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

class SwitchListener {
  public:
    SwitchListener();
    ~SwitchListener();
    SwitchListener(const SwitchListener&) = delete;
    SwitchListener& operator=(const SwitchListener&) = delete;

    // The directory to be given as the message directory. Nobody listens there before open().
    const std::string& directory() const { return directory_; }
    void open();
    // Takes a connection that has been made; false when there is none.
    bool accept();
    // Connects without listening; the result is the service's end.
    int connect();

    // Whole messages that came over the connection since the last call.
    std::vector<Bytes> take();
    void send(const Bytes& bytes);
    // Closes the connection.
    void drop();

  private:
    std::string directory_;
    int listener_ = -1;
    int connection_ = -1;
    Bytes pending_;
};

// Big-endian field of a message.
std::uint16_t be16At(const Bytes& bytes, std::size_t offset);

// Short names of outgoing messages in order, for comparing what a step sent: "event 7/2" (id/type),
// "led on", "led off", "mail", "shutdown", "init", "reply 136" (length), else "?".
std::vector<std::string> messageNames(const std::vector<Bytes>& messages);
