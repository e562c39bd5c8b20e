// SPDX-License-Identifier: Apache-2.0
#include "tests/support/switch_listener.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

SwitchListener::SwitchListener() {
    char pattern[] = "/tmp/esaswitchXXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        throw std::runtime_error("mkdtemp");
    }
    directory_ = pattern;
}

SwitchListener::~SwitchListener() {
    drop();
    if (listener_ >= 0) {
        close(listener_);
    }
    std::filesystem::remove_all(directory_);
}

void SwitchListener::open() {
    if (listener_ >= 0) {
        return;
    }
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (directory_ + "/esadapter").copy(address.sun_path, sizeof address.sun_path - 1);
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 5) != 0) {
        throw std::runtime_error("listen");
    }
}

bool SwitchListener::accept() {
    drop();
    pending_.clear();
    connection_ = ::accept(listener_, nullptr, nullptr);
    return connection_ >= 0;
}

int SwitchListener::connect() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) {
        throw std::runtime_error("socketpair");
    }
    connection_ = pair[0];
    return pair[1];
}

std::vector<Bytes> SwitchListener::take() {
    std::uint8_t chunk[4096];
    ssize_t got;
    while ((got = recvfrom(connection_, chunk, sizeof chunk, MSG_DONTWAIT, nullptr, nullptr)) > 0) {
        pending_.insert(pending_.end(), chunk, chunk + got);
    }
    std::vector<Bytes> messages;
    while (pending_.size() >= 64) {
        const std::size_t length = be16At(pending_, 10);
        if (length < 64 || pending_.size() < length) {
            throw std::runtime_error("the service sent a broken message");
        }
        const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(length);
        messages.emplace_back(pending_.begin(), end);
        pending_.erase(pending_.begin(), end);
    }
    return messages;
}

void SwitchListener::send(const Bytes& bytes) {
    if (sendto(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL, nullptr, 0) !=
        static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("send to the service");
    }
}

void SwitchListener::drop() {
    if (connection_ >= 0) {
        close(connection_);
        connection_ = -1;
    }
}

std::uint16_t be16At(const Bytes& bytes, std::size_t offset) {
    return static_cast<std::uint16_t>((bytes.at(offset) << 8) | bytes.at(offset + 1));
}

static std::uint32_t be32At(const Bytes& bytes, std::size_t offset) {
    return (static_cast<std::uint32_t>(be16At(bytes, offset)) << 16) | be16At(bytes, offset + 2);
}

static std::string messageName(const Bytes& message) {
    if ((message.at(17) & 0x40) != 0) {
        return "reply " + std::to_string(message.size());
    }
    const std::uint32_t opcode = be32At(message, 12);
    if (opcode == 0x08000001) {
        return "event " + std::to_string(be16At(message, 64 + 150)) + "/" +
               std::to_string(message.at(64 + 147));
    }
    const char* const led = be32At(message, 48) == 2 ? "led on" : "led off";
    const std::map<std::uint32_t, const char*> names = {
        {0x0C000001, "init"}, {0x0C00000E, led}, {0x0C000010, "mail"}, {0x0D000001, "shutdown"}};
    return names.contains(opcode) ? names.at(opcode) : "?";
}

std::vector<std::string> messageNames(const std::vector<Bytes>& messages) {
    std::vector<std::string> names;
    for (const Bytes& message : messages) {
        names.push_back(messageName(message));
    }
    return names;
}
