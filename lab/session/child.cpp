// SPDX-License-Identifier: Apache-2.0
#include "lab/session/child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <asio/buffer.hpp>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>

namespace enclab {

constexpr auto kTermPatience = std::chrono::seconds(2);
constexpr std::size_t kOutputLineMax = 4096;

static std::vector<char*> pointers(const std::vector<std::string>& words) {
    std::vector<char*> list;
    for (const std::string& word : words) {
        list.push_back(const_cast<char*>(word.c_str()));
    }
    list.push_back(nullptr);
    return list;
}

// The child's side of the fork: no allocation, never returns.
[[noreturn]] static void become(char* const* arguments, char* const* environment, int output,
                                pid_t parent) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int input = open("/dev/null", O_RDONLY);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    // The lab's sockets, which would stay open in the child and look alive to their peers.
    closefrom(STDERR_FILENO + 1);
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (getppid() == parent) {
        execvpe(arguments[0], arguments, environment);
    }
    const char* const reason = strerror(errno);
    dprintf(STDERR_FILENO, "cannot run %s: %s\n", arguments[0], reason);
    _exit(127);
}

Child::Child(asio::io_context& io, const std::vector<std::string>& arguments,
             const std::vector<std::string>& environment,
             std::function<void(const std::string&)> onLine)
    : output_(io), childEnded_(io, SIGCHLD), onLine_(std::move(onLine)), chunk_(4096, '\0') {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    output_.assign(ends[0]);
    launch(arguments, environment, ends[1]);
    ::close(ends[1]);
    readOutput();
    watch();
}

Child::~Child() {
    terminate();
}

void Child::launch(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment, int output) {
    const std::vector<char*> words = pointers(arguments);
    const std::vector<char*> variables = pointers(environment);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        become(words.data(), variables.data(), output, parent);
    }
    if (pid_ < 0) {
        const int error = errno;
        ::close(output);
        throw std::system_error(error, std::generic_category(), "fork");
    }
    setpgid(pid_, pid_);
}

void Child::readOutput() {
    output_.async_read_some(
        asio::buffer(chunk_),
        [this, alive = std::weak_ptr(alive_)](const asio::error_code& error, std::size_t count) {
            if (alive.expired()) {
                return;
            }
            takeOutput(count);
            if (error) {
                outputOpen_ = false;
                reportExit();
            } else {
                readOutput();
            }
        });
}

void Child::takeOutput(std::size_t count) {
    for (const char c : std::string_view(chunk_).substr(0, count)) {
        if (c != '\n') {
            line_ += c;
        }
        if (c == '\n' || line_.size() == kOutputLineMax) {
            onLine_(std::exchange(line_, {}));
        }
    }
}

void Child::watch() {
    childEnded_.async_wait([this, alive = std::weak_ptr(alive_)](const asio::error_code&, int) {
        if (alive.expired()) {
            return;
        }
        if (reap()) {
            reportExit();
        } else {
            watch();
        }
    });
}

// Takes the child's status when it has ended.
bool Child::reap() {
    int status = 0;
    if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = status;
    }
    return status_.has_value();
}

void Child::reportExit() {
    if (!status_ || outputOpen_ || exitReported_) {
        return;
    }
    exitReported_ = true;
    if (!line_.empty()) {
        onLine_(std::exchange(line_, {}));
    }
    if (onExit_) {
        onExit_();
    }
}

std::optional<int> Child::exitStatus() const {
    if (!status_) {
        return std::nullopt;
    }
    return WIFSIGNALED(*status_) ? 128 + WTERMSIG(*status_) : WEXITSTATUS(*status_);
}

double Child::cpuSeconds() const {
    std::ifstream file(fmt::format("/proc/{}/stat", pid_));
    std::string text;
    std::getline(file, text);
    // The second field, the program's name, may hold anything but ends with the last ')'.
    std::istringstream fields(text.substr(std::min(text.rfind(')'), text.size() - 1) + 1));
    std::string skipped;
    for (int n = 3; n < 14; ++n) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void Child::terminate(int signal) {
    if (status_) {
        return;
    }
    kill(-pid_, signal);
    const auto deadline = std::chrono::steady_clock::now() + kTermPatience;
    while (!reap() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(-pid_, SIGKILL);
    if (!status_) {
        int status = 0;
        waitpid(pid_, &status, 0);
        status_ = status;
    }
}

}  // namespace enclab
