// SPDX-License-Identifier: Apache-2.0
// Register transfers through Linux i2c-dev: combined messages where the adapter does plain I2C,
// SMBus byte data where it does not. No retry, no heap; errno is that of the call that failed.
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

#include "i2c.h"

namespace {

// In units of 10 ms: SMBus devices let go of a held clock after 25 to 35 ms.
constexpr unsigned long TRANSFER_TIMEOUT = 4;
constexpr unsigned long TRANSFER_RETRIES = 0;
constexpr U32_t LENGTH_MAX = I2C_SMBUS_BLOCK_MAX;
constexpr U8_t ADDRESS_MAX = 0x7F;

// What is known of the adapter behind a descriptor.
struct Adapter {
    bool known;
    int fd;
    unsigned long functions;  // I2C_FUNC_ bits
};

// Indexed by descriptor number; descriptors that share an entry are asked anew by turns.
constexpr unsigned ADAPTERS = 8;
Adapter adapters[ADAPTERS];

Adapter& entryOf(int fd) {
    return adapters[static_cast<unsigned>(fd) % ADAPTERS];
}

bool askAdapter(Adapter& adapter, int fd) {
    adapter = {false, fd, 0};
    if (ioctl(fd, I2C_FUNCS, &adapter.functions) < 0) {
        return false;
    }
    // A dead bus would hold the caller for the driver's own time-out, often a second, per
    // transfer. An adapter that refuses keeps its own.
    ioctl(fd, I2C_TIMEOUT, TRANSFER_TIMEOUT);
    ioctl(fd, I2C_RETRIES, TRANSFER_RETRIES);
    adapter.known = true;
    return true;
}

// Null, with errno set, when the descriptor is not an I2C adapter's.
const Adapter* adapterOf(int fd) {
    Adapter& adapter = entryOf(fd);
    const bool asked = adapter.known && adapter.fd == fd;
    return asked || askAdapter(adapter, fd) ? &adapter : nullptr;
}

bool plainTransfer(int fd, i2c_msg* messages, U32_t count) {
    i2c_rdwr_ioctl_data transfer = {messages, count};
    const int done = ioctl(fd, I2C_RDWR, &transfer);
    if (done >= 0 && static_cast<U32_t>(done) != count) {
        errno = EIO;
        return false;
    }
    return done >= 0;
}

bool plainRead(int fd, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    i2c_msg messages[] = {
        {i2cAddress, 0, 1, &registerNumber},
        {i2cAddress, I2C_M_RD, static_cast<U16_t>(length), buffer},
    };
    return plainTransfer(fd, messages, 2);
}

bool plainWrite(int fd, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    U8_t bytes[1 + LENGTH_MAX] = {registerNumber};
    std::memcpy(bytes + 1, buffer, length);
    i2c_msg message = {i2cAddress, 0, static_cast<U16_t>(1 + length), bytes};
    return plainTransfer(fd, &message, 1);
}

// `value` is sent or filled in, as `direction` (I2C_SMBUS_READ or I2C_SMBUS_WRITE) says.
bool smbusTransfer(int fd, U8_t i2cAddress, U8_t direction, U8_t registerNumber, U8_t* value) {
    if (ioctl(fd, I2C_SLAVE, static_cast<unsigned long>(i2cAddress)) < 0) {
        return false;
    }
    i2c_smbus_data data = {};
    data.byte = direction == I2C_SMBUS_WRITE ? *value : U8_t{0};
    i2c_smbus_ioctl_data request = {direction, registerNumber, I2C_SMBUS_BYTE_DATA, &data};
    if (ioctl(fd, I2C_SMBUS, &request) < 0) {
        return false;
    }
    if (direction == I2C_SMBUS_READ) {
        *value = data.byte;
    }
    return true;
}

// The adapter to use for a transfer; null with errno set when it cannot be made.
const Adapter* adapterFor(int fd, U8_t i2cAddress, U32_t length) {
    if (i2cAddress > ADDRESS_MAX || length == 0 || length > LENGTH_MAX) {
        errno = EINVAL;
        return nullptr;
    }
    const Adapter* const adapter = adapterOf(fd);
    if (adapter != nullptr && (adapter->functions & I2C_FUNC_I2C) == 0 && length != 1) {
        errno = EOPNOTSUPP;
        return nullptr;
    }
    return adapter;
}

// A transfer's result. A number that is closed, or no adapter's any more, is not trusted again.
int result(int fd, bool done) {
    if (!done && (errno == EBADF || errno == ENOTTY)) {
        begin_i2c_data(fd);
    }
    return done ? 0 : -1;
}

}  // namespace

void begin_i2c_data(int fd) {
    entryOf(fd).known = false;
}

int read_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    const Adapter* const adapter = adapterFor(fd, i2cAddress, length);
    if (adapter == nullptr) {
        return -1;
    }
    const bool plain = (adapter->functions & I2C_FUNC_I2C) != 0;
    return result(fd, plain
                          ? plainRead(fd, i2cAddress, registerNumber, buffer, length)
                          : smbusTransfer(fd, i2cAddress, I2C_SMBUS_READ, registerNumber, buffer));
}

int write_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    const Adapter* const adapter = adapterFor(fd, i2cAddress, length);
    if (adapter == nullptr) {
        return -1;
    }
    const bool plain = (adapter->functions & I2C_FUNC_I2C) != 0;
    U8_t value = *buffer;
    return result(fd, plain
                          ? plainWrite(fd, i2cAddress, registerNumber, buffer, length)
                          : smbusTransfer(fd, i2cAddress, I2C_SMBUS_WRITE, registerNumber, &value));
}
