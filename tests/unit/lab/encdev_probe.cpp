// SPDX-License-Identifier: Apache-2.0
// An ordinary program that uses /dev/enc-0 and knows nothing of the lab. Runs the steps given as
// arguments, numbers in hexadecimal, and prints one line for each: its name, and what the call
// returned or the name of its error.
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

int device = -1, unread = 0;
char** arguments;

unsigned long number() {
    return *arguments == nullptr ? 0 : std::strtoul(*arguments++, nullptr, 16);
}
__u8 byte() {
    return static_cast<__u8>(number());
}
void report(const char* step, std::int64_t result) {
    if (result < 0) {
        std::printf("%s %s\n", step, strerrorname_np(errno));
    } else {
        std::printf("%s %" PRIx64 "\n", step, static_cast<std::uint64_t>(result));
    }
}
// Not known to the compiler, so that fortified calls check at run time.
int openFlags() {
    return std::getenv("NO_SUCH_VARIABLE") != nullptr ? O_RDONLY : O_RDWR;
}

long functions() {
    unsigned long bits = 0;
    return ioctl(device, I2C_FUNCS, &bits) < 0 ? -1 : static_cast<long>(bits);
}
long set() {
    const unsigned long request = number();
    return ioctl(device, request, number());
}
long readRegister() {
    __u16 address = byte();
    __u8 value = 0, command = byte();
    i2c_msg messages[] = {{address, 0, 1, &command}, {address, I2C_M_RD, 1, &value}};
    i2c_rdwr_ioctl_data data = {messages, 2};
    return ioctl(device, I2C_RDWR, &data) == 2 ? value : -1;
}
// Flags, length and count of messages at the controller.
long rawTransfer() {
    const __u16 flags = byte(), length = static_cast<__u16>(number());
    const __u32 count = byte();
    std::vector<__u8> bytes(length + 1U);
    std::vector<i2c_msg> messages(count + 1U, i2c_msg{0x41, flags, length, bytes.data()});
    i2c_rdwr_ioctl_data data = {messages.data(), count};
    return ioctl(device, I2C_RDWR, &data);
}
// Direction, 1 reads; command; size as in the kernel's header; value.
long smbus() {
    const __u8 direction = byte(), command = byte();
    const __u32 size = byte();
    const bool word = size == I2C_SMBUS_WORD_DATA;
    i2c_smbus_data value{};
    value.word = static_cast<__u16>(number());
    value.byte = word ? value.byte : static_cast<__u8>(value.word);
    i2c_smbus_ioctl_data data = {direction, command, size, &value};
    const int result = ioctl(device, I2C_SMBUS, &data);
    return result < 0 || direction == 0 ? result : word ? value.word : value.byte;
}
timespec monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}
// "NAME result elapsed", in milliseconds.
void timed(const char* name, const std::function<long()>& wait) {
    const timespec begin = monotonicNow();
    const long result = wait();
    const timespec now = monotonicNow();
    const std::int64_t seconds = now.tv_sec - begin.tv_sec;
    std::printf("%s %ld %" PRId64 "\n", name, result,
                seconds * 1000 + (now.tv_nsec - begin.tv_nsec) / 1000000);
}
// Each way of waiting for the given number of milliseconds, then what is left for select to wait
// when it finds something to read: seconds of as many as that were milliseconds.
long waits() {
    const int ms = static_cast<int>(number());
    const timespec spec{ms / 1000, ms % 1000 * 1000000L};
    timeval val{ms / 1000, ms % 1000 * 1000L};
    const timeval patience = val;
    timed("usleep", [&] { return usleep(static_cast<useconds_t>(ms) * 1000); });
    timed("nanosleep", [&] { return nanosleep(&spec, nullptr); });
    timed("clock_nanosleep", [&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &spec, nullptr); });
    timed("pselect", [&] { return pselect(0, nullptr, nullptr, nullptr, &spec, nullptr); });
    timed("poll", [&] { return poll(nullptr, 0, ms); });
    timed("ppoll", [&] { return ppoll(nullptr, 0, &spec, nullptr); });
    timed("select", [&] { return select(0, nullptr, nullptr, nullptr, &val); });
    int ends[2] = {-1, -1};
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char letter = 'x';
    timed("recv", [&] { return recv(ends[0], &letter, 1, 0) == -1 && errno == EAGAIN ? 0 : 1; });
    fd_set in;
    FD_ZERO(&in);
    FD_SET(ends[0], &in);
    val = {ms, 0};
    const bool found =
        write(ends[1], &letter, 1) == 1 && select(ends[0] + 1, &in, nullptr, nullptr, &val) == 1;
    return found ? static_cast<int>(val.tv_sec) : -1;
}
const struct {
    const char* name;
    long (*run)();
} steps[] = {
    {"open", [] { return (device = open("/dev/enc-0", openFlags())) < 0 ? -1L : 0; }},
    {"openat", [] { return (device = openat(AT_FDCWD, "/dev/enc-0", openFlags())) < 0 ? -1L : 0; }},
    {"missing", [] { return long{open("/dev/enc-1", openFlags())}; }},
    {"close", [] { return long{close(device)}; }},
    {"read", readRegister},
    {"raw", rawTransfer},
    {"smbus", smbus},
    {"funcs", functions},
    {"set", set},
    {"unread", [] { return long{ioctl(device, FIONREAD, &unread)}; }},
    {"wall", []() -> long { return static_cast<int>(time(nullptr)); }},
    {"waits", waits},
};

}  // namespace

int main(int, char** argv) {
    arguments = argv + 1;
    while (*arguments != nullptr) {
        const std::string name = *arguments++;
        for (const auto& step : steps) {
            name == step.name ? report(step.name, step.run()) : void();
        }
    }
    return 0;
}
