// SPDX-License-Identifier: Apache-2.0
#include "lab/session/lab.h"

#include <elf.h>
#include <fmt/format.h>
#include <unistd.h>
#include <asio/io_context.hpp>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace enclab {

namespace fs = std::filesystem;

constexpr char kDaemonSocket[] = "esadapter";
constexpr char kEnvironSocket[] = "environ";
constexpr char kVolumeManagerSocket[] = "volmgr";
constexpr std::size_t kOutputMax = 1000;  // lines
constexpr Schedule::Seconds kTick{0.1};   // real ones, unless time is virtual

// What comes with this program: where a build puts it, else where the package does. Both are told
// from the program's directory.
static fs::path companion(const char* built, const char* installed) {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    return fs::exists(here / built) ? here / built : here / installed;
}

static LabOptions completed(LabOptions options) {
    if (options.daemon.empty()) {
        options.daemon = companion("esa", "../lib/esa-lab/esa");
    }
    if (options.encdev.empty()) {
        options.encdev = ENCLAB_SANITIZER;
        options.encdev += companion("../lib/libencdev.so", "../lib/esa-lab/libencdev.so");
    }
    if (access(options.daemon.c_str(), X_OK) != 0) {
        throw std::runtime_error(fmt::format("no daemon at {}", options.daemon.native()));
    }
    if (options.launcher.empty()) {
        std::istringstream emulator(ENCLAB_EMULATOR);
        options.launcher.assign(std::istream_iterator<std::string>(emulator), {});
    }
    return options;
}

static std::string nameOfChassis(const LabOptions& options) {
    return options.chassis.empty() ? std::string(chassisOf(options.personality)) : options.chassis;
}

// Of the machine a program is for, by the head of its file.
static std::endian byteOrder(const fs::path& program) {
    unsigned char head[EI_NIDENT] = {};
    std::ifstream(program, std::ios::binary).read(reinterpret_cast<char*>(head), sizeof head);
    if (std::memcmp(head, ELFMAG, SELFMAG) != 0) {
        return std::endian::native;
    }
    return head[EI_DATA] == ELFDATA2MSB ? std::endian::big : std::endian::little;
}

// The enclosure the personality file describes, as far as it can be built.
static std::unique_ptr<Chassis> chassisFor(const LabOptions& options) {
    const auto value = [&](const char* key) {
        return personalityValue(options.personality, key).value_or(0);
    };
    auto chassis =
        makeChassis(nameOfChassis(options), {.fans = value("coolingMaxNumber"),
                                             .sensors = value("temperatureSensorMaxNumber"),
                                             .fanSpeedDivisor = value("fanSpeedDivisor")});
    loadDumps(*chassis, options.dumps);
    return chassis;
}

static std::unique_ptr<Schedule> scheduleFor(const LabOptions& options, asio::io_context& io,
                                             const LabDirectory& directory) {
    if (options.virtualTime) {
        return std::make_unique<VirtualTime>(io, directory.clockSocket());
    }
    return std::make_unique<RealSchedule>(io, options.speed);
}

Lab::Lab(LabOptions options)
    : options_(completed(std::move(options))),
      directory_(options_.directory),
      schedule_(scheduleFor(options_, io_, directory_)),
      virtualTime_(dynamic_cast<VirtualTime*>(schedule_.get())),
      parameters_(byteOrder(options_.daemon)),
      chassis_(chassisFor(options_)),
      plant_(options_.plant ? std::make_unique<Plant>(*chassis_) : nullptr),
      busServer_(workIo(), *schedule_, chassis_->bus(), directory_.busSocket(), options_.adapter),
      switch_(io_, directory_.switchSockets()),
      daemonLink_(switch_, *schedule_),
      startupProcess_(switch_, *schedule_),
      eventManager_(switch_, *schedule_),
      sesInitiator_(switch_) {
    directory_.noteSegment(parameters_.shmid());
    parameters_.setDirectories(
        options_.messageDirectory.empty() ? directory_.switchSockets() : options_.messageDirectory,
        directory_.nonVolatile(), directory_.log());
    if (options_.trace) {
        parameters_.setFlag(MPU_K_FLAG_TRACE_VERBOSE);
    }
    if (options_.personalityFile) {
        std::ofstream(directory_.personality()) << options_.personality;
    }
    switch_.listen(MMSG_E_EPID_ES_ADAPTERMP, kDaemonSocket);
    switch_.listen(MMSG_E_EPID_ENVIRONMP, kEnvironSocket);
    switch_.listen(MMSG_E_EPID_VOLMGRMP, kVolumeManagerSocket);
    switch_.observe(
        [this](std::uint8_t from, const Message& message) { takeMessage(from, message); });
    startupProcess_.onInitComplete([this] {
        if (options_.rcpComplete) {
            parameters_.setFlag(MPU_K_FLAG_RCP_COMPLETE);
        }
    });
    startupProcess_.onPowerOff([this] { powerOff(); });
    chassis_->bus().setClock([this] { return time(); });
    letTimePass();
}

Lab::~Lab() = default;

void Lab::startDaemon() {
    daemon_.reset();
    daemon_ = std::make_unique<Child>(workIo(), daemonCommand(), daemonEnvironment(),
                                      [this](const std::string& line) { takeLine(line); });
    daemon_->onExit([this] {
        if (onDaemonExit_) {
            onDaemonExit_();
        }
    });
    daemonBegan_ = daemonBegan_.value_or(time());
    if (onDaemonStart_) {
        onDaemonStart_();
    }
}

// The shutdown is done: the power goes away under the daemon.
void Lab::powerOff() {
    if (!daemonRunning()) {
        return;
    }
    endDaemon(SIGKILL);
    if (onNote_) {
        onNote_("shutdown performed, the enclosure is without power");
    }
}

void Lab::endDaemon(int signal) {
    daemon_->onExit({});
    daemon_->terminate(signal);
}

std::string Lab::preloadVariable() const {
    std::string variable = "LD_PRELOAD=" + options_.encdev.native();
    for (const fs::path& library : options_.preload) {
        variable += ":" + library.native();
    }
    return variable;
}

std::vector<std::string> Lab::daemonCommand() const {
    std::vector<std::string> words = options_.launcher;
    if (!words.empty()) {
        words.insert(words.end(), {"-E", preloadVariable()});
    }
    words.push_back(options_.daemon);
    for (const std::string& argument : options_.arguments) {
        words.push_back(fmt::format(fmt::runtime(argument), parameters_.key()));
    }
    return words;
}

std::vector<std::string> Lab::daemonEnvironment() const {
    std::vector<std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view variable = *entry;
        if (!variable.starts_with("LD_PRELOAD=") && !variable.starts_with("STARTUP=") &&
            !variable.starts_with("ENCLAB_")) {
            variables.emplace_back(variable);
        }
    }
    const fs::path bus = options_.device ? directory_.busSocket() : directory_.path() / "no-bus";
    variables.push_back(fmt::format("ENCLAB_BUS={}", bus.native()));
    variables.push_back(fmt::format("ENCLAB_SPEED={}", options_.speed));
    if (virtualTime_ != nullptr) {
        variables.push_back(fmt::format("ENCLAB_CLOCK={}", directory_.clockSocket().native()));
    }
    if (options_.startupVariable) {
        variables.push_back(fmt::format("STARTUP={}", directory_.startup().native()));
    }
    if (options_.launcher.empty()) {
        variables.push_back(preloadVariable());
    }
    variables.insert(variables.end(), options_.environment.begin(), options_.environment.end());
    return variables;
}

void Lab::takeMessage(std::uint8_t from, const Message& message) {
    if (from == MMSG_E_EPID_ES_ADAPTERMP) {
        received_.push_back({time(), message});
        if (received_.size() > kReceivedMax) {
            received_.pop_front();
        }
    }
    if (onMessage_) {
        onMessage_(from, message);
    }
    if (from == MMSG_E_EPID_ES_ADAPTERMP) {
        sesInitiator_.take(message);
    }
}

// In the chassis too, at the daemon's pace.
void Lab::letTimePass() {
    const double now = time();
    chassis_->advance(std::chrono::duration<double>(now - lastTick_));
    if (plant_) {
        plant_->advance(now - lastTick_);
    }
    lastTick_ = now;
    schedule_->after(kTick * options_.speed, [this] { letTimePass(); });
}

void Lab::takeLine(const std::string& line) {
    daemonOutput_.push_back(line);
    if (daemonOutput_.size() > kOutputMax) {
        daemonOutput_.pop_front();
    }
    if (onDaemonLine_) {
        onDaemonLine_(line);
    }
}

void Lab::runFor(std::chrono::milliseconds time) {
    if (virtualTime_ != nullptr) {
        runVirtually([] { return false; }, time);
        return;
    }
    io_.restart();
    io_.run_for(time);
}

bool Lab::runVirtually(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    return virtualTime_->run({.daemonRuns = [this] { return daemonRunning(); },
                              .daemonHeld = [this] { return busServer_.holdsReply(); },
                              .done = condition},
                             virtualTime_->time() + patience);
}

bool Lab::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    if (virtualTime_ != nullptr) {
        return runVirtually(condition, patience);
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        io_.restart();
        // In short steps: the condition may look at things outside the loop.
        io_.run_one_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::string Lab::chassisName() const {
    return nameOfChassis(options_);
}

std::ptrdiff_t Lab::count(Kind kind) const {
    return std::ranges::count_if(received_,
                                 [kind](const Received& r) { return r.message.kind() == kind; });
}

}  // namespace enclab
