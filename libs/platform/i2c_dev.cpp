// SPDX-License-Identifier: Apache-2.0
// Register transfers through Linux i2c-dev: combined messages where the adapter does plain I2C,
// SMBus byte data where it does not. No retry, no heap; errno is that of the call that failed.
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "i2c.h"

namespace {

// In units of 10 ms: SMBus devices let go of a held clock after 25 to 35 ms.
constexpr unsigned long TRANSFER_TIMEOUT = 4;
constexpr unsigned long TRANSFER_RETRIES = 0;
constexpr U32_t LENGTH_MAX = I2C_SMBUS_BLOCK_MAX;
constexpr U8_t ADDRESS_MAX = 0x7F;

// What is known of the file behind a descriptor.
struct Adapter {
    bool known;
    dev_t device;
    ino_t inode;
    unsigned long functions;  // I2C_FUNC_ bits
};

// Indexed by descriptor number; descriptors that share an entry are asked anew by turns.
constexpr unsigned ADAPTERS = 8;
Adapter adapters[ADAPTERS];

bool askAdapter(Adapter& adapter, int fd, const struct stat& file) {
    adapter = {false, file.st_dev, file.st_ino, 0};
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

// Null, with errno set, when the descriptor is not an I2C adapter's. The file is compared because a
// number that was closed may have come back for another one.
const Adapter* adapterOf(int fd) {
    struct stat file;
    if (fstat(fd, &file) != 0) {
        return nullptr;
    }
    Adapter& adapter = adapters[static_cast<unsigned>(fd) % ADAPTERS];
    const bool same =
        adapter.known && adapter.device == file.st_dev && adapter.inode == file.st_ino;
    return same || askAdapter(adapter, fd, file) ? &adapter : nullptr;
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

}  // namespace

int read_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    const Adapter* const adapter = adapterFor(fd, i2cAddress, length);
    if (adapter == nullptr) {
        return -1;
    }
    const bool done = (adapter->functions & I2C_FUNC_I2C) != 0
                          ? plainRead(fd, i2cAddress, registerNumber, buffer, length)
                          : smbusTransfer(fd, i2cAddress, I2C_SMBUS_READ, registerNumber, buffer);
    return done ? 0 : -1;
}

int write_i2c_data(int fd, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    const Adapter* const adapter = adapterFor(fd, i2cAddress, length);
    if (adapter == nullptr) {
        return -1;
    }
    if ((adapter->functions & I2C_FUNC_I2C) != 0) {
        return plainWrite(fd, i2cAddress, registerNumber, buffer, length) ? 0 : -1;
    }
    U8_t value = *buffer;
    return smbusTransfer(fd, i2cAddress, I2C_SMBUS_WRITE, registerNumber, &value) ? 0 : -1;
}
