// SPDX-License-Identifier: Apache-2.0
#include "tests/support/switch_peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "core/esa_control.h"

SwitchPeer::SwitchPeer() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) {
        throw std::runtime_error("socketpair");
    }
    fd_ = pair[0];
    serviceFd_ = pair[1];
    esaControl.socketFdMSM = serviceFd_;
}

SwitchPeer::~SwitchPeer() {
    close();
    if (esaControl.socketFdMSM == serviceFd_) {
        ::close(serviceFd_);
        esaControl.socketFdMSM = -1;
    }
}

void SwitchPeer::close() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

std::vector<Bytes> SwitchPeer::take() {
    return takeMessages(fd_, pending_);
}

std::vector<Bytes> takeMessages(int fd, Bytes& pending) {
    std::uint8_t chunk[4096];
    ssize_t got;
    while ((got = recvfrom(fd, chunk, sizeof chunk, MSG_DONTWAIT, nullptr, nullptr)) > 0) {
        pending.insert(pending.end(), chunk, chunk + got);
    }
    std::vector<Bytes> messages;
    while (pending.size() >= 64) {
        const std::size_t length = be16At(pending, 10);
        if (length < 64 || pending.size() < length) {
            throw std::runtime_error("the service sent a broken message");
        }
        const auto end = pending.begin() + static_cast<std::ptrdiff_t>(length);
        messages.emplace_back(pending.begin(), end);
        pending.erase(pending.begin(), end);
    }
    return messages;
}

void SwitchPeer::send(const Bytes& bytes) {
    if (sendto(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL, nullptr, 0) !=
        static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("send to the service");
    }
}

std::uint16_t be16At(const Bytes& bytes, std::size_t offset) {
    return static_cast<std::uint16_t>((bytes.at(offset) << 8) | bytes.at(offset + 1));
}

std::uint32_t be32At(const Bytes& bytes, std::size_t offset) {
    return (static_cast<std::uint32_t>(be16At(bytes, offset)) << 16) | be16At(bytes, offset + 2);
}

static std::string messageName(const Bytes& message) {
    if ((message.at(17) & 0x40) != 0) {
        return "reply " + std::to_string(message.size());
    }
    switch (be32At(message, 12)) {
        case 0x08000001:
            return "event " + std::to_string(be16At(message, 64 + 150)) + "/" +
                   std::to_string(message.at(64 + 147));
        case 0x0C000001:
            return "init";
        case 0x0C00000E:
            return be32At(message, 48) == 2 ? "led on" : "led off";
        case 0x0C000010:
            return "mail";
        case 0x0D000001:
            return "shutdown";
        default:
            return "?";
    }
}

std::vector<std::string> messageNames(const std::vector<Bytes>& messages) {
    std::vector<std::string> names;
    for (const Bytes& message : messages) {
        names.push_back(messageName(message));
    }
    return names;
}
