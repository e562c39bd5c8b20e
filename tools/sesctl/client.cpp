// SPDX-License-Identifier: Apache-2.0
#include "tools/sesctl/client.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/sesctl/failure.h"

namespace sesctl {

namespace {

constexpr unsigned HANDLE_COUNT_BITS = 10;  // the other 22 hold any process id

[[noreturn]] void hungUp() {
    throw Failure(ExitCode::unreachable, "the message switch closed the connection");
}

int connectTo(const std::string& path) {
    const auto unreachable = [&path](const char* why) {
        throw Failure(ExitCode::unreachable,
                      fmt::format("cannot reach the message switch at {}: {}", path, why));
    };
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        unreachable("path too long");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        unreachable(std::strerror(errno));
    }
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        close(fd);
        unreachable(std::strerror(error));
    }
    return fd;
}

// Bytes of the first message of a stream; of its header while that is not complete.
std::size_t firstLength(View stream) {
    if (stream.size() < MMSG_K_HEADER_SIZE) {
        return MMSG_K_HEADER_SIZE;
    }
    const std::size_t length = wireView<MMCH_t>(stream.data())->mmsg_length;
    if (length < MMSG_K_HEADER_SIZE || length > MMSG_K_MESSAGE_MAX) {
        throw Failure(ExitCode::malformedReply,
                      fmt::format("malformed reply: a message of {} bytes", length));
    }
    return length;
}

bool tryAgain(int error) {
    return error == EAGAIN || error == EINTR;
}

}  // namespace

Client::Client(const std::string& socketPath, std::chrono::milliseconds timeout)
    : timeout_(timeout),
      fd_(connectTo(socketPath)),
      handleBase_(static_cast<std::uint32_t>(getpid()) << HANDLE_COUNT_BITS) {}

Client::~Client() {
    close(fd_);
}

Reply Client::call(Bytes request) {
    const Deadline deadline = std::chrono::steady_clock::now() + timeout_;
    wireView<MMCH_t>(request.data())->handle = nextHandle();
    send(request, deadline);
    for (;;) {
        const Bytes message = nextMessage(deadline);
        if (answers(message, request)) {
            return decodeReply(message);
        }
    }
}

// Unlike the handles of other clients on this machine, and unlike the last one.
std::uint32_t Client::nextHandle() {
    return handleBase_ | (++calls_ & ((1U << HANDLE_COUNT_BITS) - 1));
}

void Client::send(View message, Deadline deadline) {
    while (!message.empty()) {
        const ssize_t sent = ::send(fd_, message.data(), message.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            message = message.subspan(static_cast<std::size_t>(sent));
        } else if (tryAgain(errno)) {
            waitFor(POLLOUT, deadline);
        } else {
            hungUp();
        }
    }
}

Bytes Client::nextMessage(Deadline deadline) {
    while (pending_.size() < firstLength(pending_)) {
        receive(deadline);
    }
    const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(firstLength(pending_));
    Bytes message(pending_.begin(), end);
    pending_.erase(pending_.begin(), end);
    return message;
}

void Client::receive(Deadline deadline) {
    waitFor(POLLIN, deadline);
    std::uint8_t chunk[MMSG_K_MESSAGE_MAX];
    const ssize_t got = recv(fd_, chunk, sizeof chunk, 0);
    if (got > 0) {
        pending_.insert(pending_.end(), chunk, chunk + got);
    } else if (got == 0 || !tryAgain(errno)) {
        hungUp();
    }
}

void Client::waitFor(short events, Deadline deadline) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) {
        throw Failure(
            ExitCode::noReply,
            fmt::format("no reply within {} s", std::chrono::duration<double>(timeout_).count()));
    }
    pollfd waited = {fd_, events, 0};
    // Time-outs and interruptions are seen by the next round.
    poll(&waited, 1, static_cast<int>(std::min<std::int64_t>(left.count(), 60'000)));
}

}  // namespace sesctl
