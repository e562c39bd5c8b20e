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

#include "i2c.h"
#include "tests/support/laws.h"

namespace {

// How an adapter answers, and what it was asked.
struct Adapter {
    bool plain;                           // or SMBus byte data only
    std::map<unsigned long, int> errors;  // of requests: errno they fail with
    int done;                             // messages of an I2C_RDWR it says it did, of all too many
    Bytes answer;                         // to a read
    Lines asked;
};
Adapter adapter;

std::string written(const U8_t* bytes, std::size_t size) {
    std::string all;
    for (std::size_t n = 0; n < size; ++n) {
        all += text(" ", bytes[n]);
    }
    return all;
}

int handle(unsigned long request, void* argument) {
    static const std::map<unsigned long, std::string> names = {
        {I2C_TIMEOUT, "time-out "}, {I2C_RETRIES, "retries "}, {I2C_SLAVE, "address "}};
    int result = 0;
    std::string ask;
    if (request == I2C_FUNCS) {
        ask = "functions";
        *static_cast<unsigned long*>(argument) =
            I2C_FUNC_SMBUS_BYTE_DATA | (adapter.plain ? I2C_FUNC_I2C : 0);
    } else if (request == I2C_RDWR) {
        const auto& transfer = *static_cast<i2c_rdwr_ioctl_data*>(argument);
        for (U32_t n = 0; n < transfer.nmsgs; ++n) {
            const i2c_msg& message = transfer.msgs[n];
            const bool reads = message.flags == I2C_M_RD;
            ask +=
                text("[", message.addr, " flags ", message.flags,
                     reads ? text(" reads ", message.len) : written(message.buf, message.len), "]");
            std::copy_n(adapter.answer.begin(), reads ? message.len : 0, message.buf);
        }
        result = std::min(adapter.done, static_cast<int>(transfer.nmsgs));
    } else if (request == I2C_SMBUS) {
        const auto& transfer = *static_cast<i2c_smbus_ioctl_data*>(argument);
        const bool reads = transfer.read_write == I2C_SMBUS_READ;
        ask = text("SMBus ", transfer.size, " register ", transfer.command,
                   reads ? " reads" : written(&transfer.data->byte, 1));
        transfer.data->byte = reads ? adapter.answer[0] : U8_t{0};
    } else {
        ask = names.at(request) + text(reinterpret_cast<std::uintptr_t>(argument));
    }
    adapter.asked.push_back(ask);
    errno = adapter.errors[request];
    return errno != 0 ? -1 : result;
}

// What a transfer asks and gives, by the rules. Of eight descriptors each is known by its number.
struct Rules {
    std::map<int, std::pair<int, bool>> known;  // by the number's remainder: descriptor, plain
    Lines asks;

    // 0 or the error.
    int transfer(int fd, int address, U8_t registerNumber, bool reads, const Bytes& bytes) {
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
    int plain(int address, U8_t registerNumber, bool reads, const Bytes& bytes) {
        const std::string to = text("[", address, " flags 0 ", registerNumber);
        asks.push_back(reads ? text(to, "][", address, " flags 1 reads ", bytes.size(), "]")
                             : text(to, written(bytes.data(), bytes.size()), "]"));
        const int error = adapter.errors[I2C_RDWR];
        return error == 0 && adapter.done < (reads ? 2 : 1) ? EIO : error;
    }
    int smbus(int address, U8_t registerNumber, bool reads, const Bytes& bytes) {
        asks.push_back(text("address ", address));
        if (adapter.errors[I2C_SLAVE] != 0) {
            return adapter.errors[I2C_SLAVE];
        }
        asks.push_back(
            text("SMBus 2 register ", registerNumber, reads ? " reads" : written(bytes.data(), 1)));
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
    Random random(27);
    Rules rules;
    for (int round = 0; round < 6000; ++round) {
        SCOPED_TRACE(round);
        adapter = {random.onceIn(2), {}, random.of({2, 2, 2, 1, 0}), random.bytes(64), {}};
        for (const unsigned long request :
             {I2C_FUNCS, I2C_TIMEOUT, I2C_RETRIES, I2C_SLAVE, I2C_RDWR, I2C_SMBUS}) {
            adapter.errors[request] =
                random.of({0, 0, 0, 0, 0, EREMOTEIO, ENXIO, EBADF, ENOTTY, EBUSY});
        }
        const int fd = random.of({5, 5, 5, 13, 6, 0, -1});
        const auto address = random.of<U8_t>({0x41, 0x4C, 0, 0x7F, 0x80, 0xFF}),
                   registerNumber = static_cast<U8_t>(random());
        const Bytes bytes = random.bytes(random.of<std::size_t>({1, 1, 1, 0, 2, 31, 32, 33, 64}));
        const bool reads = random.onceIn(2);
        if (fd >= 0 && random.onceIn(10)) {
            begin_i2c_data(fd);
            rules.known.erase(fd % 8);
        }
        const int error = rules.transfer(fd, address, registerNumber, reads, bytes);
        Bytes got = bytes;
        const auto length = narrowTo<U32_t>(bytes.size());
        errno = 0;
        const int result = reads
                               ? read_i2c_data(fd, address, registerNumber, got.data(), length)
                               : write_i2c_data(fd, address, registerNumber, bytes.data(), length);
        ASSERT_TRUE(result == (error == 0 ? 0 : -1) && (error == 0 || errno == error)) << errno;
        ASSERT_EQ(adapter.asked, rules.asks);
        adapter.answer.resize(bytes.size());
        ASSERT_TRUE(error != 0 || got == (reads ? adapter.answer : bytes));
    }
}
