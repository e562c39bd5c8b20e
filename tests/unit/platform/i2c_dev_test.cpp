// SPDX-License-Identifier: Apache-2.0
// Register transfers against an adapter that stands behind this program's own ioctl: any calls, any
// answers, and the ioctls that must come of them. (The C library redirects ioctl under 64-bit time;
// the definition below follows, as its declaration is included.)
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <map>
#include <random>

#include "i2c.h"
#include "tests/support/hex.h"

namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<U8_t>;

// How an adapter answers, and what it was asked.
struct Adapter {
    bool plain;                           // or SMBus byte data only
    std::map<unsigned long, int> errors;  // of requests: errno they fail with
    int done;                             // messages of an I2C_RDWR it says it did, of all too many
    Bytes answer;                         // to a read
    Lines asked;
};
Adapter adapter;

int handle(unsigned long request, void* argument) {
    const std::string value = std::to_string(reinterpret_cast<std::uintptr_t>(argument));
    int result = 0;
    if (request == I2C_FUNCS) {
        adapter.asked.push_back("functions");
        *static_cast<unsigned long*>(argument) =
            I2C_FUNC_SMBUS_BYTE_DATA | (adapter.plain ? I2C_FUNC_I2C : 0);
    } else if (request == I2C_RDWR) {
        const auto& transfer = *static_cast<i2c_rdwr_ioctl_data*>(argument);
        for (U32_t n = 0; n < transfer.nmsgs; ++n) {
            const i2c_msg& message = transfer.msgs[n];
            const bool reads = message.flags == I2C_M_RD;
            adapter.asked.push_back("message to " + std::to_string(message.addr) +
                                    (reads
                                         ? " reads " + std::to_string(message.len)
                                         : " flags " + std::to_string(message.flags) + " writes " +
                                               hexLine({message.buf, message.buf + message.len})));
            if (reads) {
                std::copy_n(adapter.answer.begin(), message.len, message.buf);
            }
        }
        result = std::min(adapter.done, static_cast<int>(transfer.nmsgs));
    } else if (request == I2C_SMBUS) {
        const auto& transfer = *static_cast<i2c_smbus_ioctl_data*>(argument);
        const bool reads = transfer.read_write == I2C_SMBUS_READ;
        adapter.asked.push_back(
            "SMBus " + std::to_string(transfer.size) + " register " +
            std::to_string(transfer.command) +
            (reads ? " reads" : " writes " + std::to_string(transfer.data->byte)));
        if (reads) {
            transfer.data->byte = adapter.answer[0];
        }
    } else {
        const std::map<unsigned long, std::string> names = {
            {I2C_TIMEOUT, "time-out "}, {I2C_RETRIES, "retries "}, {I2C_SLAVE, "address "}};
        adapter.asked.push_back(names.at(request) + value);
    }
    errno = adapter.errors[request];
    return errno != 0 ? -1 : result;
}

// What a transfer asks and gives, by the rules. Of eight descriptors each is known by its number.
struct Rules {
    std::map<int, std::pair<int, bool>> known;  // by the number's remainder: descriptor, plain
    Lines asks;

    // 0 or the error.
    int transfer(int fd, int address, int registerNumber, bool reads, const Bytes& bytes) {
        asks.clear();
        if (address > 0x7F || bytes.empty() || bytes.size() > 32) {
            return EINVAL;
        }
        if (fd < 0) {
            return EBADF;
        }
        const int entry = fd % 8;
        if (!known.contains(entry) || known[entry].first != fd) {
            known.erase(entry);
            asks = {"functions"};
            if (adapter.errors[I2C_FUNCS] != 0) {
                return adapter.errors[I2C_FUNCS];
            }
            asks.insert(asks.end(), {"time-out 4", "retries 0"});  // 4 x 10 ms, and none
            known[entry] = {fd, adapter.plain};
        }
        if (!known[entry].second && bytes.size() != 1) {
            return EOPNOTSUPP;
        }
        const int error = known[entry].second ? plain(address, registerNumber, reads, bytes)
                                              : smbus(address, registerNumber, reads, bytes);
        if (error == EBADF || error == ENOTTY) {
            known.erase(entry);
        }
        return error;
    }

  private:
    int plain(int address, int registerNumber, bool reads, const Bytes& bytes) {
        const std::string to = "message to " + std::to_string(address);
        Bytes written = {static_cast<U8_t>(registerNumber)};
        if (!reads) {
            written.insert(written.end(), bytes.begin(), bytes.end());
        }
        asks.push_back(to + " flags 0 writes " + hexLine(written));
        if (reads) {
            asks.push_back(to + " reads " + std::to_string(bytes.size()));
        }
        const int error = adapter.errors[I2C_RDWR];
        return error == 0 && adapter.done < (reads ? 2 : 1) ? EIO : error;
    }
    int smbus(int address, int registerNumber, bool reads, const Bytes& bytes) {
        asks.push_back("address " + std::to_string(address));
        if (adapter.errors[I2C_SLAVE] != 0) {
            return adapter.errors[I2C_SLAVE];
        }
        asks.push_back("SMBus 2 register " + std::to_string(registerNumber) +
                       (reads ? " reads" : " writes " + std::to_string(bytes[0])));
        return adapter.errors[I2C_SMBUS];
    }
};

}  // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (fd < 0) {
        errno = EBADF;
        return -1;
    }
    return handle(request, argument);
}

TEST(I2cDev, ATransferIsWhatTheAdapterDoesAndItsErrorTheCallers) {
    std::mt19937 random(27);
    const auto oneOf = [&](const auto& values) { return values[random() % std::size(values)]; };
    const int errors[] = {0, 0, 0, 0, 0, EREMOTEIO, ENXIO, EBADF, ENOTTY, EBUSY};
    Rules rules;
    for (int round = 0; round < 6000; ++round) {
        adapter = {random() % 2 == 0, {}, oneOf(std::vector{2, 2, 2, 1, 0}), Bytes(32), {}};
        for (const unsigned long request :
             {I2C_FUNCS, I2C_TIMEOUT, I2C_RETRIES, I2C_SLAVE, I2C_RDWR, I2C_SMBUS}) {
            adapter.errors[request] = oneOf(errors);
        }
        std::ranges::generate(adapter.answer, [&] { return static_cast<U8_t>(random()); });
        const int fd = oneOf(std::vector{5, 5, 5, 13, 6, 0, -1});
        const U8_t address = oneOf(std::vector<U8_t>{0x41, 0x4C, 0, 0x7F, 0x80, 0xFF}),
                   registerNumber = static_cast<U8_t>(random());
        Bytes bytes(oneOf(std::vector<std::size_t>{1, 1, 1, 0, 2, 31, 32, 33, 64}));
        std::ranges::generate(bytes, [&] { return static_cast<U8_t>(random()); });
        const bool reads = random() % 2 == 0;
        if (fd >= 0 && random() % 10 == 0) {
            begin_i2c_data(fd);
            rules.known.erase(fd % 8);
        }
        const int error = rules.transfer(fd, address, registerNumber, reads, bytes);
        Bytes got = bytes;
        const auto length = static_cast<U32_t>(bytes.size());
        errno = 0;
        ASSERT_EQ(reads ? read_i2c_data(fd, address, registerNumber, got.data(), length)
                        : write_i2c_data(fd, address, registerNumber, bytes.data(), length),
                  error == 0 ? 0 : -1)
            << round;
        ASSERT_TRUE(error == 0 || errno == error) << errno << " " << round;
        ASSERT_EQ(adapter.asked, rules.asks) << round;
        adapter.answer.resize(bytes.size());
        ASSERT_TRUE(error != 0 || got == (reads ? adapter.answer : bytes)) << round;
    }
}
