// SPDX-License-Identifier: Apache-2.0
// The other end of the service's link: a connected stream socket pair, and the messages that came
// out of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

class SwitchPeer {
  public:
    // Puts the service's end into esaControl.socketFdMSM.
    SwitchPeer();
    ~SwitchPeer();
    SwitchPeer(const SwitchPeer&) = delete;
    SwitchPeer& operator=(const SwitchPeer&) = delete;

    // Whole messages sent by the service since the last call.
    std::vector<Bytes> take();
    // Sends bytes to the service.
    void send(const Bytes& bytes);
    void close();
    int fd() const { return fd_; }

  private:
    int fd_;
    int serviceFd_;
    Bytes pending_;
};

// Whole messages that arrived at `fd`; a half one stays in `pending`.
std::vector<Bytes> takeMessages(int fd, Bytes& pending);

// Big-endian fields of a message.
std::uint16_t be16At(const Bytes& bytes, std::size_t offset);
std::uint32_t be32At(const Bytes& bytes, std::size_t offset);

// Short names of outgoing messages in order, for comparing what a step sent: "event 7/2" (id/type),
// "led on", "led off", "mail", "shutdown", "init", "reply 136" (length), else "?".
std::vector<std::string> messageNames(const std::vector<Bytes>& messages);
