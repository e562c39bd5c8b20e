// SPDX-License-Identifier: Apache-2.0
// A whole laboratory around one unmodified daemon: directory, parameter area, personality file,
// message switch and peers, enclosure bus, and the daemon as a child. One thread: everything
// happens inside runFor() and runUntil(), or inside the loop of io().
#pragma once

#include <asio/io_context.hpp>
#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lab/chassis/catalog.h"
#include "lab/chassis/chassis.h"
#include "lab/encdev/bus_server.h"
#include "lab/peers/daemon_link.h"
#include "lab/peers/event_manager.h"
#include "lab/peers/startup_process.h"
#include "lab/peers/switch.h"
#include "lab/plant/plant.h"
#include "lab/schedule.h"
#include "lab/session/child.h"
#include "lab/session/lab_directory.h"
#include "lab/session/parameter_area.h"
#include "lab/session/ses_initiator.h"
#include "lab/session/virtual_time.h"

namespace enclab {

// A register dump to be loaded into a device of the chassis, by its name or address.
struct DumpFile {
    std::string device;
    std::filesystem::path path;
};

// Throws std::invalid_argument or std::out_of_range with a text fit for the user.
void loadDumps(Chassis& chassis, const std::vector<DumpFile>& files);

struct LabOptions {
    std::filesystem::path directory = LabDirectory::defaultPath("default");
    std::filesystem::path daemon = {};  // empty: `esa` of this build
    unsigned speed = 1;                 // the daemon's sleeps and time-outs are divided by it
    bool trace = false;                 // verbose trace, into log()
    bool rcpComplete = true;            // the platform completes once the daemon is up
    std::string personality = personalityOf(kDefaultChassis).xml();  // text of the file
    std::string chassis = {};  // "xyratex"; empty: the one the personality selects
    AdapterKind adapter = AdapterKind::kI2c;
    std::vector<DumpFile> dumps = {};
    bool plant = false;  // physics; without them fans follow their load and sensors stay as set
    bool virtualTime = false;  // the lab's time and the daemon's pass only as far as they are used
    std::filesystem::path encdev = {};  // preload library for the daemon; empty: this build's

    // What a test may bend.
    std::vector<std::string> launcher = {};           // words in front of the daemon; it passes an
                                                      // environment variable with "-E NAME=value"
    std::vector<std::filesystem::path> preload = {};  // libraries beside the enclosure device
    std::vector<std::string> environment = {};        // further "NAME=value"
    std::vector<std::string> arguments = {"{}"};      // "{}" is the key, "{:#x}" in hexadecimal
    std::filesystem::path messageDirectory = {};      // as told to the daemon
    bool startupVariable = true;                      // STARTUP is set
    bool personalityFile = true;                      // the file exists
    bool device = true;                               // /dev/enc-0 exists
};

// A message the daemon sent.
struct Received {
    double time;  // Lab::time() of its arrival
    Message message;
};

class Lab {
  public:
    // Everything but the daemon. Throws std::runtime_error (std::system_error) with a text fit for
    // the user; nothing is left behind then.
    explicit Lab(LabOptions options);
    ~Lab();
    Lab(const Lab&) = delete;
    Lab& operator=(const Lab&) = delete;

    // Starts the daemon. May be called again after it has ended.
    void startDaemon();
    // Ends the daemon with a signal; onDaemonExit() is not called.
    void endDaemon(int signal);

    // Of all but what the daemon, while it works, must be answered at once under virtual time.
    asio::io_context& io() { return io_; }
    void runFor(std::chrono::milliseconds time);
    // Runs until the condition holds, at most for `patience`; whether it holds. Under virtual time
    // these are lab times, and the condition is asked whenever the daemon waits. In real time the
    // patience is for what never comes: no machine is too slow for it.
    bool runUntil(const std::function<bool()>& condition,
                  std::chrono::milliseconds patience = std::chrono::minutes(10));

    // The daemon's seconds since the lab was made.
    double time() const { return schedule_->now(); }
    Schedule& schedule() { return *schedule_; }
    // Null unless the options ask for it.
    VirtualTime* virtualTime() { return virtualTime_; }
    const LabOptions& options() const { return options_; }
    LabDirectory& directory() { return directory_; }
    ParameterArea& parameters() { return parameters_; }
    MessageSwitch& messageSwitch() { return switch_; }
    DaemonLink& daemonLink() { return daemonLink_; }
    StartupProcess& startupProcess() { return startupProcess_; }
    EventManager& eventManager() { return eventManager_; }
    Chassis& chassis() { return *chassis_; }
    Plant* plant() { return plant_.get(); }  // nullptr without the option
    BusServer& busServer() { return busServer_; }
    SesInitiator& sesInitiator() { return sesInitiator_; }
    Child& daemon() { return *daemon_; }
    bool daemonStarted() const { return daemon_ != nullptr; }
    // Lab time of its first start.
    std::optional<double> daemonBegan() const { return daemonBegan_; }
    bool daemonRunning() const { return daemon_ && daemon_->running(); }
    // Of the chassis, in the lab.
    std::string chassisName() const;

    // Messages from the daemon in order; the newest kReceivedMax of a long run.
    static constexpr std::size_t kReceivedMax = 10000;
    const std::deque<Received>& received() const { return received_; }
    std::ptrdiff_t count(Kind kind) const;
    // What the daemon wrote to its two outputs, line by line.
    const std::deque<std::string>& daemonOutput() const { return daemonOutput_; }

    // Callbacks of the program: every message that enters the switch, every line the daemon
    // writes, the daemon's start and end.
    void onMessage(MessageSwitch::Observer handler) { onMessage_ = std::move(handler); }
    void onDaemonLine(std::function<void(const std::string&)> handler) {
        onDaemonLine_ = std::move(handler);
    }
    void onDaemonStart(std::function<void()> handler) { onDaemonStart_ = std::move(handler); }
    void onDaemonExit(std::function<void()> handler) { onDaemonExit_ = std::move(handler); }
    // What the lab has done by itself, a line for the reader.
    void onNote(std::function<void(const std::string&)> handler) { onNote_ = std::move(handler); }

  private:
    void takeMessage(std::uint8_t from, const Message& message);
    void takeLine(const std::string& line);
    void powerOff();
    void letTimePass();
    std::vector<std::string> daemonCommand() const;
    std::vector<std::string> daemonEnvironment() const;
    std::string preloadVariable() const;
    asio::io_context& workIo() { return virtualTime_ != nullptr ? virtualTime_->workIo() : io_; }
    bool runVirtually(const std::function<bool()>& condition, std::chrono::milliseconds patience);

    LabOptions options_;
    asio::io_context io_;
    LabDirectory directory_;
    std::unique_ptr<Schedule> schedule_;
    VirtualTime* virtualTime_;  // schedule_, if it is that
    ParameterArea parameters_;
    std::unique_ptr<Chassis> chassis_;
    std::unique_ptr<Plant> plant_;
    BusServer busServer_;
    MessageSwitch switch_;
    DaemonLink daemonLink_;
    StartupProcess startupProcess_;
    EventManager eventManager_;
    double lastTick_ = 0;  // time()
    SesInitiator sesInitiator_;
    std::unique_ptr<Child> daemon_;
    std::optional<double> daemonBegan_;
    std::deque<Received> received_;
    std::deque<std::string> daemonOutput_;
    MessageSwitch::Observer onMessage_;
    std::function<void(const std::string&)> onDaemonLine_;
    std::function<void()> onDaemonStart_;
    std::function<void()> onDaemonExit_;
    std::function<void(const std::string&)> onNote_;
};

}  // namespace enclab
