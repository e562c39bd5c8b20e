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
#include <map>
#include <span>

#include "i2c.h"
#include "tests/support/hex.h"
#include "tests/support/laws.h"

// How the adapter answers, and what it was asked.
static struct {
    bool plain;                           // or SMBus byte data only
    std::map<unsigned long, int> errors;  // of requests: errno they fail with
    int done;                             // messages of an I2C_RDWR it says it did, of all too many
    Bytes answer;                         // to a read
    Lines asked;
} adapter;

static std::string data(bool reads, const U8_t* bytes, std::size_t size) {
    return reads ? text(" reads ", size) : " " + hexLine({bytes, bytes + size});
}

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    std::string ask = text(request, " ", reinterpret_cast<std::uintptr_t>(argument));
    int result = 0;
    if (request == I2C_FUNCS) {
        ask = "functions";
        *static_cast<unsigned long*>(argument) =
            I2C_FUNC_SMBUS_BYTE_DATA | (adapter.plain ? I2C_FUNC_I2C : 0);
    } else if (request == I2C_RDWR) {
        const auto& transfer = *static_cast<i2c_rdwr_ioctl_data*>(argument);
        ask.clear();
        for (const i2c_msg& message : std::span(transfer.msgs, transfer.nmsgs)) {
            const bool reads = message.flags == I2C_M_RD;
            ask += text("[", message.addr, " flags ", message.flags,
                        data(reads, message.buf, message.len), "]");
            std::copy_n(adapter.answer.begin(), reads ? message.len : 0, message.buf);
        }
        result = std::min(adapter.done, static_cast<int>(transfer.nmsgs));
    } else if (request == I2C_SMBUS) {
        const auto& transfer = *static_cast<i2c_smbus_ioctl_data*>(argument);
        const bool reads = transfer.read_write == I2C_SMBUS_READ;
        ask = text("SMBus ", transfer.size, " register ", transfer.command,
                   data(reads, &transfer.data->byte, 1));
        transfer.data->byte = reads ? adapter.answer[0] : U8_t{0};
    }
    adapter.asked.push_back(ask);
    errno = adapter.errors[request];
    return errno != 0 ? -1 : result;
}

// What a transfer asks and its error, by the rules. Of eight descriptors each is known by its
// number.
struct Rules {
    std::map<int, std::pair<int, bool>> known;  // by the number's remainder: descriptor, plain
    Lines asks;

    int transfer(int fd, int address, U8_t registerNumber, bool reads, const Bytes& bytes) {
        asks.clear();
        if (address > 0x7F || bytes.empty() || bytes.size() > 32) {
            return EINVAL;
        }
        auto& [descriptor, plain] = known.try_emplace(fd % 8, -1, false).first->second;
        if (descriptor != fd) {
            asks = {"functions"};
            descriptor = -1;
            if (adapter.errors[I2C_FUNCS] != 0) {
                return adapter.errors[I2C_FUNCS];
            }
            // 4 x 10 ms, and none
            asks.insert(asks.end(), {text(I2C_TIMEOUT, " 4"), text(I2C_RETRIES, " 0")});
            descriptor = fd;
            plain = adapter.plain;
        }
        if (!plain && bytes.size() != 1) {
            return EOPNOTSUPP;
        }
        Bytes sent = {registerNumber};
        sent.insert(sent.end(), bytes.begin(), reads ? bytes.begin() : bytes.end());
        int error = adapter.errors[plain ? I2C_RDWR : I2C_SLAVE];
        if (plain) {
            asks.push_back(text("[", address, " flags 0 ", hexLine(sent), "]"));
            asks.back() += reads ? text("[", address, " flags 1 reads ", bytes.size(), "]") : "";
            error = error == 0 && adapter.done < (reads ? 2 : 1) ? EIO : error;
        } else {
            asks.push_back(text(I2C_SLAVE, " ", address));
        }
        if (!plain && error == 0) {
            asks.push_back(text("SMBus 2 register ", registerNumber, data(reads, &bytes[0], 1)));
            error = adapter.errors[I2C_SMBUS];
        }
        descriptor = error == EBADF || error == ENOTTY ? -1 : descriptor;
        return error;
    }
};

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
        const int fd = random.of({5, 5, 5, 13, 6, 0});
        const auto address = random.of<U8_t>({0x41, 0x4C, 0, 0x7F, 0x80, 0xFF}),
                   registerNumber = static_cast<U8_t>(random());
        const Bytes bytes = random.bytes(random.of<std::size_t>({1, 1, 1, 0, 2, 31, 32, 33, 64}));
        const bool reads = random.onceIn(2);
        if (random.onceIn(10)) {
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
