// SPDX-License-Identifier: Apache-2.0
// What a server of the link needs to run: a directory with a socket to connect to, a parameter
// area, a personality file, and a bus of prepared registers. And the server itself.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bench/bus.h"
#include "lab/session/lab_directory.h"
#include "lab/session/parameter_area.h"
#include "tools/sesctl/codec.h"

namespace bench {

using sesctl::Bytes;

struct StageOptions {
    std::string name;                      // of the directory
    std::string chassis;                   // of the lab, selected by the personality file
    std::filesystem::path registers = {};  // a BenchBus to begin with; empty: no device answers
    std::filesystem::path preload = {};    // what gives the server that bus
};

class Stage {
  public:
    // All functions throw std::system_error or std::runtime_error.
    explicit Stage(const StageOptions& options);
    ~Stage();  // ends the server
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // `command` is split at spaces; {socket} and {key} in it stand for those of this stage.
    void start(const std::string& command);
    // Until the server has connected; its first message too, if `message`.
    void awaitServer(bool message);
    // Until the server has ended by itself.
    void awaitEnd();
    // SIGTERM to whoever connected, and waits for the started program.
    void stop();

    void send(const Bytes& message);
    // The next message that is a reply; others before it are dropped.
    Bytes reply();
    BenchBus& bus() { return *bus_; }
    // Of whoever connected, from /proc/PID/smaps_rollup, kB.
    unsigned pss() const;

  private:
    void listen();
    void launch(const std::vector<char*>& words, const std::vector<char*>& environment);
    void mapBus(const std::filesystem::path& registers);
    Bytes next();

    std::filesystem::path preload_;
    enclab::LabDirectory directory_;
    enclab::ParameterArea parameters_;
    BenchBus* bus_ = nullptr;
    int listener_ = -1;
    int link_ = -1;
    pid_t child_ = -1;
    pid_t server_ = -1;  // the child, or what it started
};

}  // namespace bench
