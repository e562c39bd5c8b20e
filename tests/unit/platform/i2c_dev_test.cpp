// SPDX-License-Identifier: Apache-2.0
// Register transfers against an adapter that stands behind this program's own ioctl. (The C library
// redirects ioctl under 64-bit time; the definition below follows, as its declaration is included.)
#include <gmock/gmock.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "i2c.h"

using testing::ElementsAre;

namespace {

constexpr unsigned long PLAIN = I2C_FUNC_I2C | I2C_FUNC_SMBUS_BYTE_DATA;
constexpr unsigned long SMBUS_ONLY = I2C_FUNC_SMBUS_BYTE_DATA;

// Answers the ioctls of an I2C adapter and writes them down.
struct FakeAdapter {
    unsigned long functions = PLAIN;
    std::map<unsigned long, int> errors;  // ioctl request -> errno it fails with
    std::vector<U8_t> answer = {0xA5};    // what reads give
    int messagesDone = -1;                // what I2C_RDWR says it did; -1: all
    std::vector<std::string> log;

    int handle(unsigned long request, void* argument);
    void logMessages(const i2c_rdwr_ioctl_data& transfer);
    void logSmbus(const i2c_smbus_ioctl_data& transfer);
    std::vector<std::string> takeLog() { return std::exchange(log, {}); }
};
FakeAdapter* adapter = nullptr;

std::string hex(const U8_t* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, " %02X", bytes[i]);
        text += digits;
    }
    return text;
}

void FakeAdapter::logMessages(const i2c_rdwr_ioctl_data& transfer) {
    std::string text = "RDWR";
    for (U32_t i = 0; i < transfer.nmsgs; ++i) {
        const i2c_msg& message = transfer.msgs[i];
        const U8_t address = static_cast<U8_t>(message.addr);
        text += " [" + hex(&address, 1).substr(1);
        if ((message.flags & I2C_M_RD) != 0) {
            text += " reads " + std::to_string(message.len);
            std::copy_n(answer.begin(), message.len, message.buf);
        } else {
            text += " writes" + hex(message.buf, message.len);
        }
        text += message.flags == (message.flags & I2C_M_RD) ? "]" : " and odd flags]";
    }
    log.push_back(text);
}

void FakeAdapter::logSmbus(const i2c_smbus_ioctl_data& transfer) {
    const std::string size = std::to_string(transfer.size);
    if (transfer.read_write == I2C_SMBUS_READ) {
        log.push_back("SMBUS " + size + " read" + hex(&transfer.command, 1));
        transfer.data->byte = answer.at(0);
    } else {
        log.push_back("SMBUS " + size + " write" + hex(&transfer.command, 1) + " =" +
                      hex(&transfer.data->byte, 1));
    }
}

int FakeAdapter::handle(unsigned long request, void* argument) {
    const std::string number = std::to_string(reinterpret_cast<std::uintptr_t>(argument));
    int done = 0;
    switch (request) {
        case I2C_FUNCS:
            log.push_back("FUNCS");
            *static_cast<unsigned long*>(argument) = functions;
            break;
        case I2C_TIMEOUT:
            log.push_back("TIMEOUT " + number);
            break;
        case I2C_RETRIES:
            log.push_back("RETRIES " + number);
            break;
        case I2C_SLAVE:
            log.push_back("SLAVE " + number);
            break;
        case I2C_RDWR:
            logMessages(*static_cast<i2c_rdwr_ioctl_data*>(argument));
            done = messagesDone >= 0
                       ? messagesDone
                       : static_cast<int>(static_cast<i2c_rdwr_ioctl_data*>(argument)->nmsgs);
            break;
        case I2C_SMBUS:
            logSmbus(*static_cast<i2c_smbus_ioctl_data*>(argument));
            break;
        default:
            log.push_back("another ioctl");
    }
    if (errors.contains(request)) {
        errno = errors[request];
        return -1;
    }
    return done;
}

class I2cDevTest : public testing::Test {
  protected:
    void SetUp() override {
        adapter = &fake_;
        fd_ = newFile();
    }
    void TearDown() override {
        close(fd_);
        adapter = nullptr;
    }
    // A file no earlier test has used: with it comes an adapter that was never asked.
    static int newFile() { return memfd_create("adapter", 0); }
    // Makes the adapter known, so that only transfers are in the log.
    void askOnce() {
        U8_t value;
        read_i2c_data(fd_, 0x41, 0, &value, 1);
        fake_.takeLog();
    }

    FakeAdapter fake_;
    int fd_ = -1;
};

}  // namespace

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (adapter == nullptr) {
        errno = ENOTTY;
        return -1;
    }
    return adapter->handle(request, argument);
}

TEST_F(I2cDevTest, PlainReadIsOneTransferOfTwoMessages) {
    askOnce();
    fake_.answer = {0x1C};
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x4C, 0x32, &value, 1), 0);
    EXPECT_EQ(value, 0x1C);
    EXPECT_THAT(fake_.log, ElementsAre("RDWR [4C writes 32] [4C reads 1]"));
}

TEST_F(I2cDevTest, PlainWriteIsOneTransferOfOneMessage) {
    askOnce();
    const U8_t value = 0x3F;
    EXPECT_EQ(write_i2c_data(fd_, 0x41, 0x98, &value, 1), 0);
    EXPECT_THAT(fake_.log, ElementsAre("RDWR [41 writes 98 3F]"));
}

TEST_F(I2cDevTest, PlainTransfersCarryUpTo32Bytes) {
    askOnce();
    fake_.answer.assign(32, 0);
    fake_.answer[31] = 0x77;
    U8_t bytes[33] = {1, 2, 3};
    EXPECT_EQ(write_i2c_data(fd_, 0x41, 0x10, bytes, 3), 0);
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0x10, bytes, 32), 0);
    EXPECT_EQ(bytes[31], 0x77);
    EXPECT_EQ(write_i2c_data(fd_, 0x41, 0x10, bytes, 33), -1);
    EXPECT_THAT(fake_.log,
                ElementsAre("RDWR [41 writes 10 01 02 03]", "RDWR [41 writes 10] [41 reads 32]"));
}

TEST_F(I2cDevTest, SmbusAdapterIsGivenTheAddressAndByteData) {
    fake_.functions = SMBUS_ONLY;
    askOnce();
    fake_.answer = {0x99};
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x4B, 0x00, &value, 1), 0);
    EXPECT_EQ(value, 0x99);
    value = 0xF0;
    EXPECT_EQ(write_i2c_data(fd_, 0x63, 0x17, &value, 1), 0);
    EXPECT_THAT(fake_.log, ElementsAre("SLAVE 75", "SMBUS 2 read 00",  // 2: byte data
                                       "SLAVE 99", "SMBUS 2 write 17 = F0"));
}

TEST_F(I2cDevTest, AdapterIsAskedAndSetOncePerDescriptor) {
    U8_t value = 0;
    read_i2c_data(fd_, 0x41, 0, &value, 1);
    write_i2c_data(fd_, 0x4C, 1, &value, 1);
    EXPECT_THAT(fake_.log,
                ElementsAre("FUNCS", "TIMEOUT 5", "RETRIES 0",  // 5 x 10 ms
                            "RDWR [41 writes 00] [41 reads 1]", "RDWR [4C writes 01 A5]"));
}

TEST_F(I2cDevTest, RefusedSettingsDoNotStopTheTransfer) {
    fake_.errors = {{I2C_TIMEOUT, EINVAL}, {I2C_RETRIES, EPERM}};
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, &value, 1), 0);
    fake_.takeLog();
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, &value, 1), 0);
    EXPECT_THAT(fake_.log, ElementsAre("RDWR [41 writes 00] [41 reads 1]"));
}

TEST_F(I2cDevTest, AdapterThatCannotBeAskedFailsTheTransferAndIsAskedAgain) {
    fake_.errors = {{I2C_FUNCS, ENOTTY}};
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, &value, 1), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_THAT(fake_.takeLog(), ElementsAre("FUNCS"));
    fake_.errors.clear();
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, &value, 1), 0);
}

TEST_F(I2cDevTest, DescriptorNumberOfAnotherFileIsAskedAgain) {
    askOnce();
    const int other = newFile();
    ASSERT_EQ(dup2(other, fd_), fd_);
    close(other);
    fake_.functions = SMBUS_ONLY;
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0x04, &value, 1), 0);
    EXPECT_THAT(fake_.log,
                ElementsAre("FUNCS", "TIMEOUT 5", "RETRIES 0", "SLAVE 65", "SMBUS 2 read 04"));
}

TEST_F(I2cDevTest, DescriptorsThatShareATableEntryKeepTheirOwnAdapter) {
    askOnce();
    const int other = newFile();
    ASSERT_EQ(dup2(other, fd_ + 8), fd_ + 8);
    fake_.functions = SMBUS_ONLY;
    U8_t value = 0;
    read_i2c_data(fd_ + 8, 0x41, 0x04, &value, 1);
    EXPECT_EQ(fake_.takeLog().back(), "SMBUS 2 read 04");
    fake_.functions = PLAIN;
    read_i2c_data(fd_, 0x41, 0x04, &value, 1);
    EXPECT_EQ(fake_.takeLog().back(), "RDWR [41 writes 04] [41 reads 1]");
    close(fd_ + 8);
    close(other);
}

TEST_F(I2cDevTest, FailedTransferIsMinusOneWithItsErrnoAndNotRepeated) {
    struct Case {
        unsigned long functions;
        unsigned long fails;
        int error;
        std::size_t calls;
    };
    const Case cases[] = {
        {PLAIN, I2C_RDWR, ENXIO, 1},
        {PLAIN, I2C_RDWR, ETIMEDOUT, 1},
        {SMBUS_ONLY, I2C_SLAVE, EBUSY, 1},
        {SMBUS_ONLY, I2C_SMBUS, EREMOTEIO, 2},
    };
    for (const Case& c : cases) {
        for (const bool read : {true, false}) {
            SCOPED_TRACE(testing::Message() << c.error << (read ? " read" : " write"));
            fake_.functions = c.functions;
            fake_.errors.clear();
            close(fd_);
            fd_ = newFile();
            askOnce();
            fake_.errors = {{c.fails, c.error}};
            U8_t value = 0x11;
            EXPECT_EQ(read ? read_i2c_data(fd_, 0x41, 0, &value, 1)
                           : write_i2c_data(fd_, 0x41, 0, &value, 1),
                      -1);
            EXPECT_EQ(errno, c.error);
            EXPECT_EQ(fake_.takeLog().size(), c.calls);
        }
    }
}

TEST_F(I2cDevTest, TransferThatStoppedHalfWayIsAnError) {
    askOnce();
    fake_.messagesDone = 1;
    U8_t value = 0;
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, &value, 1), -1);
    EXPECT_EQ(errno, EIO);
}

TEST_F(I2cDevTest, WhatNoTransferCanCarryIsRefusedWithoutOne) {
    U8_t bytes[64] = {};
    EXPECT_EQ(read_i2c_data(fd_, 0x80, 0, bytes, 1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, bytes, 0), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, bytes, 33), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(read_i2c_data(-1, 0x41, 0, bytes, 1), -1);
    EXPECT_EQ(errno, EBADF);
    fake_.functions = SMBUS_ONLY;
    askOnce();
    EXPECT_EQ(read_i2c_data(fd_, 0x41, 0, bytes, 2), -1);
    EXPECT_EQ(errno, EOPNOTSUPP);
    EXPECT_EQ(write_i2c_data(fd_, 0x41, 0, bytes, 2), -1);
    EXPECT_EQ(errno, EOPNOTSUPP);
    EXPECT_THAT(fake_.log, ElementsAre());
}
