// SPDX-License-Identifier: Apache-2.0
// Register transfers against an adapter that stands behind this program's own ioctl. (The C library
// redirects ioctl under 64-bit time; the definition below follows, as its declaration is included.)
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "i2c.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"

namespace {

std::string hex(const U8_t* bytes, std::size_t count) {
    return hexLine({bytes, bytes + count});
}

const std::map<unsigned long, std::string> REQUESTS = {
    {I2C_FUNCS, "FUNCS"}, {I2C_TIMEOUT, "TIMEOUT"}, {I2C_RETRIES, "RETRIES"},
    {I2C_SLAVE, "SLAVE"}, {I2C_RDWR, "RDWR"},       {I2C_SMBUS, "SMBUS"}};

// Answers the ioctls of an I2C adapter and writes them down.
struct FakeAdapter {
    unsigned long functions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_BYTE_DATA;
    std::map<std::string, int> errors;  // of requests: errno they fail with
    U8_t answer = 0xA5;                 // all that reads give
    int messagesDone = -1;              // what I2C_RDWR says it did; -1: all
    Lines log;

    int handle(unsigned long request, void* argument) {
        const std::string name = REQUESTS.at(request);
        int done = 0;
        if (request == I2C_FUNCS) {
            log.push_back(name);
            *static_cast<unsigned long*>(argument) = functions;
        } else if (request == I2C_RDWR) {
            done = messages(*static_cast<i2c_rdwr_ioctl_data*>(argument));
        } else if (request == I2C_SMBUS) {
            smbus(*static_cast<i2c_smbus_ioctl_data*>(argument));
        } else {
            log.push_back(name + " " + std::to_string(reinterpret_cast<std::uintptr_t>(argument)));
        }
        errno = errors[name];
        return errno != 0 ? -1 : done;
    }
    int messages(const i2c_rdwr_ioctl_data& transfer) {
        std::string text = "RDWR";
        for (U32_t i = 0; i < transfer.nmsgs; ++i) {
            const i2c_msg& message = transfer.msgs[i];
            const U8_t address = static_cast<U8_t>(message.addr);
            const bool reads = (message.flags & I2C_M_RD) != 0;
            text += " [" + hex(&address, 1) + (message.flags > I2C_M_RD ? " odd flags" : "") +
                    (reads ? " reads " + std::to_string(message.len)
                           : " writes " + hex(message.buf, message.len)) +
                    "]";
            if (reads) {
                std::memset(message.buf, answer, message.len);
            }
        }
        log.push_back(text);
        return messagesDone >= 0 ? messagesDone : static_cast<int>(transfer.nmsgs);
    }
    void smbus(const i2c_smbus_ioctl_data& transfer) {
        const bool reads = transfer.read_write == I2C_SMBUS_READ;
        log.push_back("SMBUS " + std::to_string(transfer.size) + (reads ? " read " : " write ") +
                      hex(&transfer.command, 1) +
                      (reads ? "" : " = " + hex(&transfer.data->byte, 1)));
        if (reads) {
            transfer.data->byte = answer;
        }
    }
};
FakeAdapter* adapter = nullptr;

// A new adapter behind a descriptor just opened.
class I2cDevPlayer : public Player {
  public:
    I2cDevPlayer() {
        adapter = &fake_;
        begin_i2c_data(used_);
        const auto result = [this](int status, const U8_t* read, std::size_t count) {
            say(fake_.log);
            fake_.log.clear();
            say(status == 0 ? count != 0 ? "done " + hex(read, count) : "done"
                            : std::to_string(status) + " " + strerrorname_np(errno));
        };
        commands["smbus"] = [this](auto&) { fake_.functions = I2C_FUNC_SMBUS_BYTE_DATA; };
        commands["plain"] = [this](auto&) { fake_ = {}; };
        commands["answer"] = [this](auto& w) { fake_.answer = hexBytes(w[1]).at(0); };
        commands["done"] = [this](auto& w) { fake_.messagesDone = w.number(1); };
        commands["error"] = [this](auto& w) { fake_.errors[w[1]] = w.number(2); };
        commands["begin"] = [this](auto&) { begin_i2c_data(used_); };
        commands["descriptor"] = [this](auto& w) { used_ = w.number(1); };
        commands["read"] = [this, result](auto& w) {
            U8_t bytes[64] = {};
            const auto count = w.u32(3);
            const U8_t address = hexBytes(w[1]).at(0);
            const int done = read_i2c_data(used_, address, hexBytes(w[2]).at(0), bytes, count);
            result(done, bytes, count);
        };
        commands["write"] = [this, result](auto& w) {
            const auto bytes = hexBytes(w.from(3));
            const U8_t address = hexBytes(w[1]).at(0);
            const int done = write_i2c_data(used_, address, hexBytes(w[2]).at(0), bytes.data(),
                                            static_cast<U32_t>(bytes.size()));
            result(done, nullptr, 0);
        };
    }
    ~I2cDevPlayer() override { adapter = nullptr; }

  private:
    FakeAdapter fake_;
    int used_ = 5;
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
    return adapter->handle(request, argument);
}

TEST(I2cDev, TransfersComeOutAsWritten) {
    scriptPlay<I2cDevPlayer>(PLATFORM_TESTS "/i2c_dev.txt");
}
