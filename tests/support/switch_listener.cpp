// SPDX-License-Identifier: Apache-2.0
#include "tests/support/switch_listener.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
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
    connection_ = ::accept(listener_, nullptr, nullptr);
    return connection_ >= 0;
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
