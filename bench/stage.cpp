// SPDX-License-Identifier: Apache-2.0
#include "bench/stage.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "lab/chassis/catalog.h"

namespace bench {

namespace fs = std::filesystem;

namespace {

template <typename Result>
Result checked(Result result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) {
        all.push_back(text.data());
    }
    all.push_back(nullptr);
    return all;
}

}  // namespace

Stage::Stage(const StageOptions& options)
    : preload_(options.preload), directory_(enclab::LabDirectory::defaultPath(options.name)) {
    directory_.noteSegment(parameters_.shmid());
    parameters_.setDirectories(directory_.switchSockets(), directory_.nonVolatile(),
                               directory_.log());
    parameters_.setFlag(MPU_K_FLAG_RCP_COMPLETE);
    std::ofstream(directory_.personality()) << enclab::personalityOf(options.chassis).xml();
    mapBus(options.registers);
    listen();
}

Stage::~Stage() {
    stop();
    munmap(bus_, sizeof *bus_);
    close(listener_);
}

void Stage::mapBus(const fs::path& registers) {
    const fs::path file = directory_.startup() / "bus";
    std::ofstream(file).close();
    fs::resize_file(file, sizeof *bus_);
    const int fd = checked(open(file.c_str(), O_RDWR | O_CLOEXEC), "the bus");
    void* const area = mmap(nullptr, sizeof *bus_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    bus_ = static_cast<BenchBus*>(area);
    std::ranges::fill_n(&bus_->registers[0][0], 128 * 256, BenchBus::NO_DEVICE);
    if (!registers.empty()) {
        std::ifstream(registers, std::ios::binary)
            .read(reinterpret_cast<char*>(bus_), sizeof *bus_);
    }
}

void Stage::listen() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, (directory_.switchSockets() / "esadapter").c_str());
    listener_ = checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "a socket");
    checked(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), "bind");
    checked(::listen(listener_, 1), "listen");
}

void Stage::start(const std::string& command) {
    std::istringstream split(
        fmt::format(fmt::runtime(command), fmt::arg("key", parameters_.key()),
                    fmt::arg("socket", (directory_.switchSockets() / "esadapter").native())));
    std::vector<std::string> words{std::istream_iterator<std::string>(split), {}};
    std::vector<std::string> environment = {
        "PATH=" + std::string(std::getenv("PATH")),
        "STARTUP=" + directory_.startup().native(),
    };
    if (!preload_.empty()) {
        environment.push_back("LD_PRELOAD=" + preload_.native());
        environment.push_back("BENCH_BUS=" + (directory_.startup() / "bus").native());
    }
    launch(pointers(words), pointers(environment));
}

// Does not outlive this program, however that ends.
void Stage::launch(const std::vector<char*>& words, const std::vector<char*>& environment) {
    const int output = checked(open("/dev/null", O_WRONLY | O_CLOEXEC), "/dev/null");
    child_ = checked(vfork(), "vfork");
    if (child_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        dup2(output, STDOUT_FILENO);
        execvpe(words[0], words.data(), environment.data());
        _exit(127);
    }
    close(output);
}

void Stage::awaitServer(bool message) {
    link_ = checked(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC), "accept");
    ucred peer = {};
    socklen_t size = sizeof peer;
    checked(getsockopt(link_, SOL_SOCKET, SO_PEERCRED, &peer, &size), "peer");
    server_ = peer.pid;
    if (message) {
        next();
    }
}

void Stage::awaitEnd() {
    waitpid(child_, nullptr, 0);
    child_ = -1;
}

void Stage::stop() {
    if (child_ > 0) {
        kill(server_ > 0 ? server_ : child_, SIGTERM);
        awaitEnd();
    }
    if (link_ >= 0) {
        close(link_);
    }
    link_ = server_ = -1;
}

void Stage::send(const Bytes& message) {
    checked(::send(link_, message.data(), message.size(), MSG_NOSIGNAL), "send");
}

// Servers send each message with one call, and what is waiting here is read whole.
Bytes Stage::next() {
    Bytes message(MMSG_K_MESSAGE_MAX);
    const auto peeked = recv(link_, message.data(), MMSG_K_HEADER_SIZE, MSG_PEEK | MSG_WAITALL);
    if (checked(peeked, "recv") == 0) {
        throw std::runtime_error("the server has gone");
    }
    const U16_t length = wireView<MMCH_t>(message.data())->mmsg_length;
    checked(recv(link_, message.data(), length, MSG_WAITALL), "recv");
    message.resize(length);
    return message;
}

Bytes Stage::reply() {
    for (;;) {
        Bytes message = next();
        if ((wireView<MMCH_t>(message.data())->mmsg_cont & MMSG_K_CONT_RESPONSE) != 0) {
            return message;
        }
    }
}

unsigned Stage::pss() const {
    std::ifstream file(fmt::format("/proc/{}/smaps_rollup", server_));
    for (std::string word; file >> word;) {
        if (word == "Pss:") {
            unsigned value = 0;
            file >> value;
            return value;
        }
    }
    return 0;
}

}  // namespace bench
