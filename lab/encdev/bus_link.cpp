// SPDX-License-Identifier: Apache-2.0
// Frames on the bus socket, sent and received whole.
#include "lab/encdev/bus_link.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace encdev {
namespace {

int fail(int error) {
    errno = error;
    return -1;
}

// `call` moves at most the given number of bytes and returns how many; repeated until all moved.
template <class Byte, class Call>
int moveAll(Byte* bytes, std::size_t length, Call call) {
    while (length > 0) {
        const ssize_t n = call(bytes, length);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return fail(EIO);
        }
        bytes += n;
        length -= static_cast<std::size_t>(n);
    }
    return 0;
}

int receiveReply(int fd, EncdevOp op, std::uint32_t* value) {
    EncdevReply reply;
    if (receiveAll(fd, &reply, sizeof(reply)) != 0) {
        return -1;
    }
    if (reply.op != op) {
        return fail(EIO);
    }
    *value = reply.value;
    return reply.error == 0 ? 0 : fail(reply.error);
}

// A request under construction; head and payload go out with one call.
class Frame {
  public:
    bool append(const void* bytes, std::size_t length) {
        if (length > sizeof(bytes_) - used_) {
            return false;
        }
        std::memcpy(bytes_ + used_, bytes, length);
        used_ += length;
        return true;
    }

    int sendTo(int fd, EncdevOp op, std::size_t count) {
        const std::size_t payload = used_ - sizeof(EncdevRequest);
        const EncdevRequest head{op, 0, static_cast<std::uint16_t>(count),
                                 static_cast<std::uint32_t>(payload)};
        std::memcpy(bytes_, &head, sizeof(head));
        return sendAll(fd, bytes_, used_);
    }

  private:
    std::uint8_t bytes_[sizeof(EncdevRequest) + kEncdevMaxPayload];
    std::size_t used_ = sizeof(EncdevRequest);
};

bool isRead(const i2c_msg& message) {
    return (message.flags & I2C_M_RD) != 0;
}

bool append(Frame& frame, const i2c_msg& message) {
    const EncdevMessage head{static_cast<std::uint8_t>(message.addr), isRead(message), message.len};
    return frame.append(&head, sizeof(head)) &&
           (isRead(message) || frame.append(message.buf, message.len));
}

std::size_t readBytes(const i2c_msg* messages, std::size_t count) {
    std::size_t total = 0;
    for (std::size_t n = 0; n < count; ++n) {
        total += isRead(messages[n]) ? messages[n].len : 0;
    }
    return total;
}

}  // namespace

int sendAll(int fd, const void* bytes, std::size_t length) {
    return moveAll(
        static_cast<const std::uint8_t*>(bytes), length,
        [fd](const std::uint8_t* from, std::size_t n) { return send(fd, from, n, MSG_NOSIGNAL); });
}

int receiveAll(int fd, void* bytes, std::size_t length) {
    return moveAll(static_cast<std::uint8_t*>(bytes), length,
                   [fd](std::uint8_t* to, std::size_t n) { return recv(fd, to, n, 0); });
}

int connectBus(const char* socketPath, int flags) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(socketPath) >= sizeof(address.sun_path)) {
        return fail(ENAMETOOLONG);
    }
    std::strcpy(address.sun_path, socketPath);
    const int type = SOCK_STREAM | ((flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0);
    const int fd = socket(AF_UNIX, type, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        close(fd);
        return fail(ENXIO);
    }
    return fd;
}

int exchangeValue(int fd, EncdevOp op, std::uint32_t value, std::uint32_t* result) {
    const EncdevRequest request{op, 0, 0, value};
    if (sendAll(fd, &request, sizeof(request)) != 0) {
        return -1;
    }
    return receiveReply(fd, op, result);
}

int transfer(int fd, EncdevOp op, i2c_msg* messages, std::size_t count) {
    const std::size_t expected = readBytes(messages, count);
    Frame frame;
    bool fits = expected <= kEncdevMaxPayload;
    for (std::size_t n = 0; n < count; ++n) {
        fits = fits && append(frame, messages[n]);
    }
    if (!fits) {
        return fail(EINVAL);
    }
    std::uint32_t received = 0;
    if (frame.sendTo(fd, op, count) != 0 || receiveReply(fd, op, &received) != 0) {
        return -1;
    }
    if (received != expected) {
        return fail(EIO);
    }
    for (std::size_t n = 0; n < count; ++n) {
        if (isRead(messages[n]) && receiveAll(fd, messages[n].buf, messages[n].len) != 0) {
            return -1;
        }
    }
    return 0;
}

}  // namespace encdev
