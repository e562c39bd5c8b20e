// SPDX-License-Identifier: Apache-2.0
// Drives servers of the link and prints what it measured as JSON; scripts/bench calls it.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sched.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "bench/stage.h"
#include "lab/session/commands.h"
#include "lab/session/lab.h"
#include "tools/sesctl/control_page.h"

using bench::Bytes;
using bench::Stage;
using nlohmann::json;
using Clock = std::chrono::steady_clock;

namespace {

struct Arguments {
    std::string chassis = "vsc055";
    std::filesystem::path registers;
    std::filesystem::path preload;
    std::filesystem::path reply;
    std::string kind = "config";
    std::vector<std::string> servers;
    unsigned requests = 1;
    unsigned rounds = 1;
};

// One processor for this program and its children, and nobody woken preempts who runs: who wakes
// whom, and when, would matter more than what is measured.
void settle() {
    cpu_set_t all;
    sched_getaffinity(0, sizeof all, &all);
    int last = CPU_SETSIZE - 1;
    while (!CPU_ISSET(last, &all)) {
        --last;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);
    sched_setaffinity(0, sizeof one, &one);
    const sched_param parameter = {};
    sched_setscheduler(0, SCHED_BATCH, &parameter);
}

// ---- requests ----

Bytes ask(Stage& stage, const Bytes& request) {
    stage.send(request);
    return stage.reply();
}

// Drive 0 and fan 0 are selected.
Bytes controlRequest(Stage& stage) {
    const auto page = [&](std::uint8_t code) {
        const Bytes reply = ask(stage, sesctl::receiveDiagnostic(code));
        return sesctl::completePage(sesctl::decodeReply(reply).payload, code);
    };
    const auto configuration = sesctl::decodeConfiguration(page(1));
    sesctl::ControlPage control(configuration, sesctl::decodeStatus(page(2), configuration));
    control.driveFault(0, true);
    control.fan(0, true);
    return sesctl::sendDiagnostic(control.bytes());
}

// "foreign" is a message of a protocol the service does not speak: it is dropped.
Bytes requestOf(Stage& stage, const std::string& kind) {
    if (kind == "control") {
        return controlRequest(stage);
    }
    Bytes request = sesctl::receiveDiagnostic(kind == "status" ? 2 : 1);
    if (kind == "foreign") {
        wireView<MMCH_t>(request.data())->opcode.request.protocol = MMSG_E_PROTOCOL_RCP;
    }
    return request;
}

// ---- run: requests to servers in turns ----

struct Server {
    std::unique_ptr<Stage> stage;
    Bytes request;
    json medians = json::array();  // ns, one a round
    json p99s = json::array();
};

std::uint64_t elapsed(Clock::time_point since) {
    return static_cast<std::uint64_t>((Clock::now() - since) / std::chrono::nanoseconds(1));
}

void roundOf(Server& server, unsigned requests) {
    std::vector<std::uint64_t> times;
    times.reserve(requests);
    for (unsigned n = 0; n < requests; ++n) {
        const auto begin = Clock::now();
        ask(*server.stage, server.request);
        times.push_back(elapsed(begin));
    }
    std::ranges::sort(times);
    server.medians.push_back(times[times.size() / 2]);
    server.p99s.push_back(times[times.size() * 99 / 100]);
}

// Nothing comes back: the last one is a request.
void dropped(Server& server, unsigned requests) {
    for (unsigned n = 0; n < requests; ++n) {
        server.stage->send(server.request);
    }
    ask(*server.stage, requestOf(*server.stage, "config"));
}

Server open(const Arguments& arguments, const std::string& command, std::size_t number) {
    Server server;
    server.stage = std::make_unique<Stage>(
        bench::StageOptions{fmt::format("bench-{}", number), arguments.chassis, arguments.registers,
                            arguments.preload});
    server.stage->start(command);
    server.stage->awaitServer(false);
    ask(*server.stage, requestOf(*server.stage, "config"));
    // The floors answer everything with one reply, so any request of that size will do.
    server.request = requestOf(*server.stage, number == 0 ? arguments.kind : "config");
    return server;
}

json run(const Arguments& arguments) {
    std::vector<Server> servers;
    for (const std::string& command : arguments.servers) {
        servers.push_back(open(arguments, command, servers.size()));
        servers.back().request = servers.front().request;
    }
    Server& first = servers.front();
    const std::uint32_t before = first.stage->bus().allocations;
    for (unsigned n = 0; n < arguments.rounds && arguments.kind != "foreign"; ++n) {
        for (Server& server : servers) {
            roundOf(server, arguments.requests);
        }
    }
    if (arguments.kind == "foreign") {
        dropped(first, arguments.requests);
    }
    const std::uint32_t allocations = first.stage->bus().allocations - before;
    if (!arguments.reply.empty()) {
        const Bytes reply = ask(*first.stage, first.request);
        std::ofstream(arguments.reply)
            .write(reinterpret_cast<const char*>(reply.data()),
                   static_cast<std::streamsize>(reply.size()));
    }
    json result = {{"allocations", allocations}, {"pss", first.stage->pss()}};
    for (const Server& server : servers) {
        result["servers"].push_back({{"medians", server.medians}, {"p99s", server.p99s}});
    }
    return result;
}

// ---- ready: from the start of a program to its first message, or to its end ----

json ready(const Arguments& arguments) {
    Stage stage({"bench-0", arguments.chassis});
    json times = json::array();
    for (unsigned n = 0; n < arguments.rounds; ++n) {
        json round = json::array();
        for (const std::string& command : arguments.servers) {
            const bool serves = command.find("{key}") != command.npos;
            const auto begin = Clock::now();
            stage.start(command);
            serves ? stage.awaitServer(true) : stage.awaitEnd();
            round.push_back(elapsed(begin));
            stage.stop();
        }
        times.push_back(round);
    }
    return times;
}

// ---- lab: what the lab's models know, in virtual time ----

void saveRegisters(enclab::Bus& bus, const std::filesystem::path& path) {
    auto image = std::make_unique<BenchBus>();
    for (unsigned address = 0; address < 128; ++address) {
        for (unsigned number = 0; number < 256; ++number) {
            const auto value = bus.readRegister(static_cast<std::uint8_t>(address),
                                                static_cast<std::uint8_t>(number));
            image->registers[address][number] = value ? std::int16_t{*value} : BenchBus::NO_DEVICE;
        }
    }
    std::ofstream(path).write(reinterpret_cast<const char*>(image.get()), sizeof *image);
}

// Passes of the loop, one a request: none is idle meanwhile, and no time passes but for the bus.
class Passes {
  public:
    explicit Passes(enclab::Lab& lab) : lab_(lab) {
        lab.chassis().bus().observe([this](const enclab::BusTransfer& transfer) {
            ++transfers_;
            failed_ += transfer.error != 0;
        });
    }
    // A status page; transfers.
    unsigned pass() {
        const double begin = lab_.time();
        transfers_ = failed_ = 0;
        lab_.sesInitiator().get(MMSG_E_EPID_ENVIRONMP, SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE);
        lab_.runUntil([this] { return lab_.sesInitiator().unanswered() == 0; });
        longest_ = std::max(longest_, lab_.time() - begin);
        failedMost_ = std::max(failedMost_, failed_);
        return transfers_;
    }
    void pass(unsigned count) {
        for (unsigned n = 0; n < count; ++n) {
            pass();
        }
    }
    double longest() const { return longest_; }
    unsigned failedMost() const { return failedMost_; }

  private:
    enclab::Lab& lab_;
    unsigned transfers_ = 0;
    unsigned failed_ = 0;
    unsigned failedMost_ = 0;
    double longest_ = 0;
};

// The bus dies at each transfer by turns of a pass that answers a status page and polls, and stays
// dead for the next two polls.
json deadBus(enclab::Lab& lab) {
    constexpr unsigned pollPasses = 11;
    enclab::Commands commands(
        lab, [] {}, [](bool) {});
    Passes passes(lab);
    const unsigned page = passes.pass();
    while (passes.pass() == page) {
    }
    unsigned both = 1;
    for (unsigned n = 1; n <= both; ++n) {
        passes.pass(pollPasses - 1);
        for (const char* act : {"timeout", "delay:40"}) {
            commands.run(fmt::format("fault add any nth={} every=1 act={}", n, act));
        }
        passes.pass(2 * pollPasses + 1);
        commands.run("fault clear");
        passes.pass(pollPasses - 1);
        both = std::max(both, passes.pass());
    }
    return {{"transfers", passes.failedMost()}, {"seconds", passes.longest()}};
}

// An enclosure a minute after its start: its registers, and the longest pass on a dead bus.
json lab(const Arguments& arguments) {
    enclab::LabOptions options;
    options.directory = enclab::LabDirectory::defaultPath("bench-lab");
    options.personality = enclab::personalityOf(arguments.chassis).xml();
    options.virtualTime = true;
    options.daemon = arguments.servers.at(0);
    enclab::Lab lab(options);
    lab.startDaemon();
    lab.runFor(std::chrono::minutes(1));
    saveRegisters(lab.chassis().bus(), arguments.registers);
    return deadBus(lab);
}

void addOptions(CLI::App& app, Arguments& arguments) {
    app.require_subcommand(1);
    app.add_option("--chassis", arguments.chassis);
    app.add_option("--registers", arguments.registers);
    app.add_option("--preload", arguments.preload);
    app.add_option("--reply", arguments.reply);
    app.add_option("--kind", arguments.kind);
    app.add_option("--requests", arguments.requests);
    app.add_option("--rounds", arguments.rounds);
    app.add_option("--server", arguments.servers)->required()->allow_extra_args(false);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Drives servers of the link");
    Arguments arguments;
    addOptions(app, arguments);
    app.add_subcommand("run")->final_callback([&] {
        settle();
        fmt::print("{}\n", run(arguments).dump());
    });
    app.add_subcommand("ready")->final_callback([&] {
        settle();
        fmt::print("{}\n", ready(arguments).dump());
    });
    app.add_subcommand("lab")->final_callback([&] { fmt::print("{}\n", lab(arguments).dump()); });
    try {
        CLI11_PARSE(app, argc, argv);
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench_drive: {}\n", error.what());
        return 1;
    }
    return 0;
}
