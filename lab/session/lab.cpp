// SPDX-License-Identifier: Apache-2.0
#include "lab/session/lab.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "lab/chassis/catalog.h"

namespace enclab {

namespace fs = std::filesystem;

constexpr char kDaemonSocket[] = "esadapter";
constexpr char kEnvironSocket[] = "environ";
constexpr char kVolumeManagerSocket[] = "volmgr";
constexpr std::size_t kOutputMax = 1000;  // lines
constexpr std::chrono::milliseconds kTick{100};

static LabOptions completed(LabOptions options) {
    if (options.daemon.empty()) {
        options.daemon = fs::read_symlink("/proc/self/exe").parent_path() / "esa";
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

Lab::Lab(LabOptions options)
    : options_(completed(std::move(options))),
      schedule_(std::make_unique<RealSchedule>(io_, options_.speed)),
      directory_(options_.directory),
      chassis_(chassisFor(options_)),
      plant_(options_.plant ? std::make_unique<Plant>(*chassis_) : nullptr),
      busServer_(io_, *schedule_, chassis_->bus(), directory_.busSocket(), options_.adapter),
      switch_(io_, directory_.switchSockets()),
      daemonLink_(switch_, *schedule_),
      startupProcess_(switch_, *schedule_),
      eventManager_(switch_, *schedule_),
      tick_(io_) {
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
    daemon_ = std::make_unique<Child>(io_, daemonCommand(), daemonEnvironment(),
                                      [this](const std::string& line) { takeLine(line); });
    daemon_->onExit([this] {
        if (onDaemonExit_) {
            onDaemonExit_();
        }
    });
}

// The shutdown is done: the power goes away under the daemon.
void Lab::powerOff() {
    if (!daemonRunning()) {
        return;
    }
    daemon_->onExit({});
    kill(daemon_->pid(), SIGKILL);
    if (onNote_) {
        onNote_("shutdown performed, the enclosure is without power");
    }
}

std::string Lab::preloadVariable() const {
    std::string variable = "LD_PRELOAD=" ENCLAB_PRELOAD;
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
}

// In the chassis too, at the daemon's pace.
void Lab::letTimePass() {
    const double now = time();
    chassis_->advance(std::chrono::duration<double>(now - lastTick_));
    if (plant_) {
        plant_->advance(now - lastTick_);
    }
    lastTick_ = now;
    tick_.expires_after(kTick);
    tick_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            letTimePass();
        }
    });
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
    io_.restart();
    io_.run_for(time);
}

bool Lab::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
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

int Lab::count(Kind kind) const {
    return static_cast<int>(std::ranges::count_if(
        received_, [kind](const Received& r) { return r.message.kind() == kind; }));
}

}  // namespace enclab
