// SPDX-License-Identifier: Apache-2.0
// An ordinary program that uses /dev/enc-0 and knows nothing of the lab. Runs the steps given as
// arguments and prints one line for each: what a call returned, or the name of its error.
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

int device = -1;
std::vector<std::string> arguments;
std::size_t nextArgument = 1;

std::string take() {
    return arguments.at(nextArgument++);
}
int takeNumber() {
    return static_cast<int>(std::strtol(take().c_str(), nullptr, 16));
}
__u8 takeByte() {
    return static_cast<__u8>(takeNumber());
}

void report(const char* step, int result) {
    if (result < 0) {
        std::printf("%s %s\n", step, strerrorname_np(errno));
    } else {
        std::printf("%s %x\n", step, static_cast<unsigned>(result));
    }
}

// Not known to the compiler, so that fortified calls check at run time.
int openFlags() {
    return std::getenv("NO_SUCH_VARIABLE") != nullptr ? O_RDONLY : O_RDWR;
}

void openDevice() {
    device = open("/dev/enc-0", openFlags());
    report("open", device < 0 ? -1 : 0);
}

void openDeviceAt() {
    device = openat(AT_FDCWD, "/dev/enc-0", openFlags());
    report("openat", device < 0 ? -1 : 0);
}

void functions() {
    unsigned long bits = 0;
    const int result = ioctl(device, I2C_FUNCS, &bits);
    report("funcs", result < 0 ? result : static_cast<int>(bits));
}

void readRegister() {
    __u16 address = takeByte();
    __u8 number = takeByte();
    __u8 value = 0;
    i2c_msg messages[] = {{address, 0, 1, &number}, {address, I2C_M_RD, 1, &value}};
    i2c_rdwr_ioctl_data data = {messages, 2};
    const int result = ioctl(device, I2C_RDWR, &data);
    report("read", result == 2 ? value : result < 0 ? -1 : 0xBAD);
}

void writeRegister() {
    __u16 address = takeByte();
    __u8 bytes[2] = {takeByte(), takeByte()};
    i2c_msg message = {address, 0, 2, bytes};
    i2c_rdwr_ioctl_data data = {&message, 1};
    report("write", ioctl(device, I2C_RDWR, &data));
}

// Messages of `length` bytes with `flags`, `count` of them, at the controller.
void rawTransfer() {
    const __u16 flags = static_cast<__u16>(takeNumber());
    const __u16 length = static_cast<__u16>(takeNumber());
    const __u32 count = static_cast<__u32>(takeNumber());
    std::vector<__u8> bytes(length + 1U);
    std::vector<i2c_msg> messages(count + 1U, i2c_msg{0x41, flags, length, bytes.data()});
    i2c_rdwr_ioctl_data data = {messages.data(), count};
    report("raw", ioctl(device, I2C_RDWR, &data));
}

// SMBus: direction 1 reads, 0 writes; size as in the kernel's header.
void smbus() {
    const __u8 direction = takeByte();
    const __u8 command = takeByte();
    const __u32 size = takeByte();
    i2c_smbus_data value{};
    value.word = static_cast<__u16>(takeNumber());
    if (size < I2C_SMBUS_WORD_DATA) {
        value.byte = static_cast<__u8>(value.word);
    }
    i2c_smbus_ioctl_data data = {direction, command, size, &value};
    const int result = ioctl(device, I2C_SMBUS, &data);
    const bool word = size == I2C_SMBUS_WORD_DATA;
    report("smbus", result < 0 || direction == 0 ? result : word ? value.word : value.byte);
}

void smbusWithoutData() {
    i2c_smbus_ioctl_data data = {1, 0, I2C_SMBUS_BYTE_DATA, nullptr};
    report("nodata", ioctl(device, I2C_SMBUS, &data));
}

void setting(const char* name, unsigned long request) {
    report(name, ioctl(device, request, strtoul(take().c_str(), nullptr, 16)));
}

void otherFiles() {
    const std::string path = take();
    const int created = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0640);
    struct stat status {};
    report("create", created < 0 ? -1 : fstat(created, &status));
    std::printf("mode %o\n", status.st_mode & 0777);
    report("write", write(created, "x", 1) == 1 ? 1 : -1);
    report("close", close(created));
    report("missing", open("/dev/enc-1", openFlags()));
}

// The number of a closed device comes back as that of another file.
void reuse() {
    const int number = device;
    report("close", close(device));
    int ends[2] = {-1, -1};
    report("pipe", pipe(ends));
    std::printf("same number %d\n", ends[0] == number);
    int waiting = -1;
    report("ioctl", ioctl(ends[0], FIONREAD, &waiting));
    std::printf("waiting %d\n", waiting);
}

timespec monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

std::int64_t elapsedMs(const timespec& since) {
    const timespec now = monotonicNow();
    return (now.tv_sec - since.tv_sec) * 1000 + (now.tv_nsec - since.tv_nsec) / 1000000;
}

template <class Wait>
void timed(const char* name, Wait wait, const timespec& begin = monotonicNow()) {
    const long result = wait();
    std::printf("%s %ld %" PRId64 "\n", name, result, elapsedMs(begin));
}

// Waits for a message that never comes; 0 when the time-out ended it.
long receiveNothing(const timeval& patience) {
    int ends[2] = {-1, -1};
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char byte;
    const bool timedOut = recv(ends[0], &byte, 1, 0) == -1 && errno == EAGAIN;
    close(ends[0]);
    close(ends[1]);
    return timedOut ? 0 : 1;
}

// Each way of waiting for the given number of milliseconds: "NAME result elapsed".
void waits() {
    const int ms = std::atoi(take().c_str());
    const timespec spec{ms / 1000, ms % 1000 * 1000000L};
    timeval val{ms / 1000, ms % 1000 * 1000L};
    const timeval patience = val;
    timed("usleep", [&] { return usleep(static_cast<useconds_t>(ms) * 1000); });
    timed("nanosleep", [&] { return nanosleep(&spec, nullptr); });
    timed("clock_nanosleep", [&] { return clock_nanosleep(CLOCK_MONOTONIC, 0, &spec, nullptr); });
    timed("select", [&] { return select(0, nullptr, nullptr, nullptr, &val); });
    timed("pselect", [&] { return pselect(0, nullptr, nullptr, nullptr, &spec, nullptr); });
    timed("poll", [&] { return poll(nullptr, 0, ms); });
    timed("ppoll", [&] { return ppoll(nullptr, 0, &spec, nullptr); });
    timed("recv", [&] { return receiveNothing(patience); });
}

void sleepSeconds() {
    const unsigned seconds = static_cast<unsigned>(std::atoi(take().c_str()));
    timed("sleep", [&] { return sleep(seconds); });
}

void onAlarm(int) {}

// Fills a socket nobody reads from, then sends once more, with a time-out of so many seconds.
void sendToFull() {
    int ends[2] = {-1, -1};
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    const timeval patience{std::atoi(take().c_str()), 0};
    setsockopt(ends[0], SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    const std::vector<char> bytes(4096);
    while (send(ends[0], bytes.data(), bytes.size(), MSG_DONTWAIT) > 0) {
    }
    timed("send", [&] { return send(ends[0], bytes.data(), bytes.size(), 0); });
    std::printf("%s\n", strerrorname_np(errno));
}

// Waits that a signal ends early: what is left, in seconds. One alarm might come before its wait.
void interrupted() {
    const int seconds = std::atoi(take().c_str());
    struct sigaction action {};
    action.sa_handler = onAlarm;
    sigaction(SIGALRM, &action, nullptr);
    ualarm(20000, 20000);
    timespec wait{seconds, 0};
    timespec left{};
    std::printf("sleep left %d\n", sleep(static_cast<unsigned>(seconds)) > 0);
    report("nanosleep", nanosleep(&wait, &left));
    std::printf("left %jd\n", std::intmax_t{left.tv_sec});
    errno = clock_nanosleep(CLOCK_REALTIME, 0, &wait, &left);
    report("clock_nanosleep", -1);
    std::printf("left %jd\n", std::intmax_t{left.tv_sec});
    ualarm(0, 0);
}

// A readable descriptor: select returns at once and leaves the rest of the time-out.
void selectRest() {
    int ends[2];
    timeval wait{takeNumber(), 0};
    if (pipe(ends) != 0 || write(ends[1], "x", 1) != 1) {
        return;
    }
    fd_set in;
    FD_ZERO(&in);
    FD_SET(ends[0], &in);
    report("select", select(ends[0] + 1, &in, nullptr, nullptr, &wait));
    std::printf("rest %jd\n", std::intmax_t{wait.tv_sec});
    wait = {-1, 0};
    report("negative", select(0, nullptr, nullptr, nullptr, &wait));
}

// Until a tenth of a second from now on the clock: not divided.
void absolute() {
    const timespec begin = monotonicNow();
    timespec until = begin;
    until.tv_nsec += 100000000;
    until.tv_sec += until.tv_nsec / 1000000000;
    until.tv_nsec %= 1000000000;
    timed(
        "absolute",
        [&] { return clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr); }, begin);
}

struct Step {
    const char* name;
    void (*run)();
};
const Step steps[] = {
    {"open", openDevice},
    {"openat", openDeviceAt},
    {"close", [] { report("close", close(device)); }},
    {"funcs", functions},
    {"read", readRegister},
    {"write", writeRegister},
    {"raw", rawTransfer},
    {"slave", [] { setting("slave", I2C_SLAVE); }},
    {"force", [] { setting("force", I2C_SLAVE_FORCE); }},
    {"smbus", smbus},
    {"nodata", smbusWithoutData},
    {"timeout", [] { setting("timeout", I2C_TIMEOUT); }},
    {"retries", [] { setting("retries", I2C_RETRIES); }},
    {"pec", [] { setting("pec", I2C_PEC); }},
    {"files", otherFiles},
    {"reuse", reuse},
    {"waits", waits},
    {"sleep", sleepSeconds},
    {"sendfull", sendToFull},
    {"wall", [] { std::printf("wall %jd\n", std::intmax_t{time(nullptr)}); }},
    {"interrupted", interrupted},
    {"selectrest", selectRest},
    {"absolute", absolute},
};

}  // namespace

int main(int argc, char** argv) {
    arguments.assign(argv, argv + argc);
    while (nextArgument < arguments.size()) {
        const std::string name = take();
        for (const Step& step : steps) {
            if (name == step.name) {
                step.run();
            }
        }
    }
    return 0;
}
