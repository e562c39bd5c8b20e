// SPDX-License-Identifier: Apache-2.0
// The enclosure device for a process that knows nothing of the lab: open, ioctl and close of
// /dev/enc-0 as the Linux i2c-dev interface has them. Without ENCLAB_BUS in the environment, and
// for every other file, the calls pass through. A descriptor is followed from open to close only: a
// copy made with dup() is an ordinary socket.
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "lab/encdev/bus_link.h"
#include "lab/encdev/entries.h"
#include "lab/encdev/next.h"

namespace encdev {
namespace {

constexpr char kDevicePath[] = "/dev/enc-0";
constexpr int kMaxDescriptor = 1024;
constexpr int kMaxMessageLength = 8192;  // as the kernel has it

struct Device {
    bool open;
    std::uint8_t slaveAddress;
};
Device devices[kMaxDescriptor];

int fail(int error) {
    errno = error;
    return -1;
}

Device* deviceOf(int fd) {
    return fd >= 0 && fd < kMaxDescriptor && devices[fd].open ? &devices[fd] : nullptr;
}

// Where the lab's bus is, when `path` names the device.
const char* busSocket(const char* path) {
    const bool ours = path != nullptr && std::strcmp(path, kDevicePath) == 0;
    return ours ? std::getenv("ENCLAB_BUS") : nullptr;
}

int openDevice(const char* socketPath, int flags) {
    const int fd = connectBus(socketPath, flags);
    if (fd >= kMaxDescriptor) {
        close(fd);
        return fail(EMFILE);
    }
    if (fd >= 0) {
        devices[fd] = {true, 0};
    }
    return fd;
}

bool needsMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

using OpenCall = int(const char*, int, ...);
using OpenAtCall = int(int, const char*, int, ...);

int openAny(Next<OpenCall>& call, const char* path, int flags, mode_t mode = 0) {
    const char* socketPath = busSocket(path);
    return socketPath != nullptr ? openDevice(socketPath, flags) : call(path, flags, mode);
}

int openAnyAt(Next<OpenAtCall>& call, int directory, const char* path, int flags, mode_t mode = 0) {
    const char* socketPath = busSocket(path);
    return socketPath != nullptr ? openDevice(socketPath, flags)
                                 : call(directory, path, flags, mode);
}

int functionality(int fd, void* result) {
    std::uint32_t bits = 0;
    if (exchangeValue(fd, EncdevOp::kFunctionality, 0, &bits) != 0) {
        return -1;
    }
    *static_cast<unsigned long*>(result) = bits;
    return 0;
}

int setValue(int fd, EncdevOp op, unsigned long value) {
    std::uint32_t ignored = 0;
    return value > INT_MAX ? fail(EINVAL)
                           : exchangeValue(fd, op, static_cast<std::uint32_t>(value), &ignored);
}

int setSlaveAddress(Device& device, unsigned long address) {
    if (address > 0x7F) {
        return fail(EINVAL);
    }
    device.slaveAddress = static_cast<std::uint8_t>(address);
    return 0;
}

int readWrite(int fd, const i2c_rdwr_ioctl_data& request) {
    if (request.msgs == nullptr || request.nmsgs == 0 || request.nmsgs > I2C_RDWR_IOCTL_MAX_MSGS) {
        return fail(EINVAL);
    }
    for (__u32 n = 0; n < request.nmsgs; ++n) {
        const i2c_msg& message = request.msgs[n];
        if ((message.flags & ~I2C_M_RD) != 0) {
            return fail(EOPNOTSUPP);
        }
        if (message.len > kMaxMessageLength || message.addr > 0x7F) {
            return fail(EINVAL);
        }
    }
    const int result = transfer(fd, EncdevOp::kTransfer, request.msgs, request.nmsgs);
    return result == 0 ? static_cast<int>(request.nmsgs) : -1;
}

// Bytes that follow the command byte; -1: not an SMBus command of this adapter.
int smbusDataLength(__u32 size) {
    switch (size) {
        case I2C_SMBUS_QUICK:
        case I2C_SMBUS_BYTE:
            return 0;
        case I2C_SMBUS_BYTE_DATA:
            return 1;
        case I2C_SMBUS_WORD_DATA:
            return 2;
        default:
            return -1;
    }
}

// Quick is an empty message in the direction; Byte has no command when it reads.
int smbusRead(int fd, std::uint8_t address, const i2c_smbus_ioctl_data& request, int length) {
    std::uint8_t command = request.command;
    std::uint8_t bytes[2] = {};
    const bool commanded = length > 0;
    const int dataLength = request.size == I2C_SMBUS_BYTE ? 1 : length;
    i2c_msg messages[2] = {{address, 0, 1, &command},
                           {address, I2C_M_RD, static_cast<__u16>(dataLength), bytes}};
    const int result =
        transfer(fd, EncdevOp::kSmbus, messages + (commanded ? 0 : 1), commanded ? 2 : 1);
    if (result != 0 || dataLength == 0) {
        return result;
    }
    if (dataLength == 2) {
        request.data->word = static_cast<__u16>(bytes[0] | bytes[1] << 8);
    } else {
        request.data->byte = bytes[0];
    }
    return 0;
}

int smbusWrite(int fd, std::uint8_t address, const i2c_smbus_ioctl_data& request, int length) {
    std::uint8_t bytes[3] = {request.command};
    if (length == 1) {
        bytes[1] = request.data->byte;
    } else if (length == 2) {
        bytes[1] = static_cast<std::uint8_t>(request.data->word);
        bytes[2] = static_cast<std::uint8_t>(request.data->word >> 8);
    }
    const int sent = request.size == I2C_SMBUS_QUICK ? 0 : 1 + length;
    i2c_msg message = {address, 0, static_cast<__u16>(sent), bytes};
    return transfer(fd, EncdevOp::kSmbus, &message, 1);
}

int smbus(int fd, std::uint8_t address, const i2c_smbus_ioctl_data& request) {
    const int length = smbusDataLength(request.size);
    if (length < 0) {
        return fail(EOPNOTSUPP);
    }
    const bool reads = request.read_write == I2C_SMBUS_READ;
    const bool usesData = length > 0 || (request.size == I2C_SMBUS_BYTE && reads);
    if (request.read_write > I2C_SMBUS_READ || (usesData && request.data == nullptr)) {
        return fail(EINVAL);
    }
    return reads ? smbusRead(fd, address, request, length)
                 : smbusWrite(fd, address, request, length);
}

int deviceControl(int fd, Device& device, unsigned long request, void* argument) {
    const auto value = reinterpret_cast<unsigned long>(argument);
    switch (request) {
        case I2C_FUNCS:
            return functionality(fd, argument);
        case I2C_RDWR:
            return readWrite(fd, *static_cast<const i2c_rdwr_ioctl_data*>(argument));
        case I2C_SMBUS:
            return smbus(fd, device.slaveAddress,
                         *static_cast<const i2c_smbus_ioctl_data*>(argument));
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE:
            return setSlaveAddress(device, value);
        case I2C_TIMEOUT:
            return setValue(fd, EncdevOp::kTimeout, value);
        case I2C_RETRIES:
            return setValue(fd, EncdevOp::kRetries, value);
        default:
            return fail(ENOTTY);
    }
}

using IoctlCall = int(int, unsigned long, ...);

int control(Next<IoctlCall>& call, int fd, unsigned long request, void* argument) {
    Device* device = deviceOf(fd);
    return device != nullptr ? deviceControl(fd, *device, request, argument)
                             : call(fd, request, argument);
}

constinit Next<OpenCall> nextOpen("open");
constinit Next<OpenCall> nextOpen64("open64");
constinit Next<OpenAtCall> nextOpenAt("openat");
constinit Next<OpenAtCall> nextOpenAt64("openat64");
constinit Next<IoctlCall> nextIoctl("ioctl");
constinit Next<int(int)> nextClose("close");

}  // namespace
}  // namespace encdev

// The calls, by all names that headers redirect them to.

// The mode, fetched as the C library does it.
#define ENCDEV_FETCH_MODE(mode, flags)    \
    mode_t mode = 0;                      \
    if (encdev::needsMode(flags)) {       \
        va_list arguments;                \
        va_start(arguments, flags);       \
        mode = va_arg(arguments, mode_t); \
        va_end(arguments);                \
    }

ENCDEV_CALL int open(const char* path, int flags, ...) {
    ENCDEV_FETCH_MODE(mode, flags)
    return encdev::openAny(encdev::nextOpen, path, flags, mode);
}

ENCDEV_CALL int open64(const char* path, int flags, ...) {
    ENCDEV_FETCH_MODE(mode, flags)
    return encdev::openAny(encdev::nextOpen64, path, flags, mode);
}

ENCDEV_CALL int openat(int directory, const char* path, int flags, ...) {
    ENCDEV_FETCH_MODE(mode, flags)
    return encdev::openAnyAt(encdev::nextOpenAt, directory, path, flags, mode);
}

ENCDEV_CALL int openat64(int directory, const char* path, int flags, ...) {
    ENCDEV_FETCH_MODE(mode, flags)
    return encdev::openAnyAt(encdev::nextOpenAt64, directory, path, flags, mode);
}

// Fortified programs call these when no mode is given.
ENCDEV_CALL int __open_2(const char* path, int flags) {
    return encdev::openAny(encdev::nextOpen, path, flags);
}

ENCDEV_CALL int __open64_2(const char* path, int flags) {
    return encdev::openAny(encdev::nextOpen64, path, flags);
}

ENCDEV_CALL int __openat_2(int directory, const char* path, int flags) {
    return encdev::openAnyAt(encdev::nextOpenAt, directory, path, flags);
}

ENCDEV_CALL int __openat64_2(int directory, const char* path, int flags) {
    return encdev::openAnyAt(encdev::nextOpenAt64, directory, path, flags);
}

// Fetching an argument that was not passed is harmless here: the C library does the same.
ENCDEV_CALL int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return encdev::control(encdev::nextIoctl, fd, request, argument);
}

#if __WORDSIZE == 32
// With 64-bit time; for the C library the same routine.
ENCDEV_CALL int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return encdev::control(encdev::nextIoctl, fd, request, argument);
}
#endif

ENCDEV_CALL int close(int fd) {
    if (encdev::Device* device = encdev::deviceOf(fd); device != nullptr) {
        device->open = false;
    }
    return encdev::nextClose(fd);
}
