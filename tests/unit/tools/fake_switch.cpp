// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/tools/fake_switch.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

using sesctl::Bytes;

FakeSwitch::FakeSwitch(Script script) : script_(std::move(script)) {
    char name[] = "/tmp/sesctl-XXXXXX";
    directory_ = mkdtemp(name);
    std::filesystem::create_directory(directory_ + "/mmsg");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/mmsg/environ", name);
    listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 1) != 0) {
        throw std::runtime_error("fake switch");
    }
    thread_ = std::thread([this] { serve(); });
}

FakeSwitch::~FakeSwitch() {
    requests();
    close(listener_);
    std::filesystem::remove_all(directory_);
}

const std::vector<Bytes>& FakeSwitch::requests() {
    if (thread_.joinable()) {
        shutdown(listener_, SHUT_RDWR);  // wakes an accept nobody connects to
        thread_.join();
    }
    return requests_;
}

static bool readWhole(int fd, Bytes& bytes, std::size_t from) {
    return recv(fd, bytes.data() + from, bytes.size() - from, MSG_WAITALL) ==
           static_cast<ssize_t>(bytes.size() - from);
}

void FakeSwitch::serve() {
    const int fd = accept(listener_, nullptr, nullptr);
    Bytes request(64);
    while (fd >= 0 && readWhole(fd, request, 0)) {
        request.resize(static_cast<std::size_t>(request[10] * 256 + request[11]));
        if (!readWhole(fd, request, 64)) {
            break;
        }
        requests_.push_back(request);
        const Answer answer = script_(request);
        for (const Bytes& piece : answer.pieces) {
            send(fd, piece.data(), piece.size(), MSG_NOSIGNAL);
            usleep(1000);  // so that pieces arrive as pieces
        }
        if (answer.hangUp) {
            break;
        }
        request.resize(64);
    }
    close(fd);
}

Bytes serviceReply(const Bytes& request, std::uint8_t status, const Bytes& payload) {
    const std::size_t length = 65 + payload.size();
    Bytes reply(length);
    reply[8] = 14;
    reply[9] = 1;
    reply[10] = static_cast<std::uint8_t>(length >> 8);
    reply[11] = static_cast<std::uint8_t>(length);
    std::copy_n(request.begin() + 12, 4, reply.begin() + 12);  // opcode
    reply[16] = 33;
    reply[17] = 0x40;
    reply[18] = 26;
    reply[20] = 0x04;                                          // recipient 26
    reply[39] = status;                                        // return code
    std::copy_n(request.begin() + 40, 4, reply.begin() + 40);  // handle
    reply[64] = status;
    std::copy(payload.begin(), payload.end(), reply.begin() + 65);
    return reply;
}
