// SPDX-License-Identifier: Apache-2.0
// The commands of a running lab, one line each: what is typed into the program and what comes over
// its control socket.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/session/lab.h"
#include "lab/session/record.h"

namespace enclab {

class Commands {
  public:
    struct Result {
        bool ok;
        std::string text;  // of an error: one line; else what has been done, or the answer
    };

    // `quit` ends the program, `watchBus` switches the showing of bus transfers.
    Commands(Lab& lab, std::function<void()> quit, std::function<void(bool)> watchBus);

    // Of fault rules that act by chance and name none; without it, their own.
    void setSeed(std::uint64_t seed) { seed_ = seed; }

    // From now on the daemon's process and files outside the lab are left alone: what is refused
    // then would be refused in earnest, too.
    void rehearse() { rehearsal_ = true; }

    // Does the command, or nothing and says why. An empty line is no error.
    Result run(const std::string& line);

  private:
    using Words = std::vector<std::string>;
    struct Command {
        const char* name;
        const char* arguments;  // for the reader
        std::size_t least;      // words behind the name
        std::string (Commands::*run)(const Words&);
        std::size_t most = least;  // or kAnyNumber
    };
    static constexpr std::size_t kAnyNumber = 1000;
    static const Command kCommands[];

    // Each gets its words behind the name and returns what it did; it throws std::exception with
    // the reason when it cannot.
    std::string fan(const Words& words);
    std::string temperature(const Words& words);
    std::string inlet(const Words& words);
    std::string heat(const Words& words);
    std::string psu(const Words& words);
    std::string rail(const Words& words);
    std::string drive(const Words& words);
    std::string cut(const Words& words);
    std::string mend(const Words& words);
    std::string fail(const Words& words);
    std::string fault(const Words& words);
    std::string dump(const Words& words);
    std::string bus(const Words& words);
    std::string messageSwitch(const Words& words);
    std::string startup(const Words& words);
    std::string shutdown(const Words& words);
    std::string mail(const Words& words);
    std::string events(const Words& words);
    std::string ses(const Words& words);
    std::string volumeManager(const Words& words);
    std::string sesAs(std::uint8_t endpoint, const Words& words);
    std::string raw(const Words& words);
    std::string daemon(const Words& words);
    std::string clock(const Words& words);
    std::string disk(const Words& words);
    std::string record(const Words& words);
    std::string heal(const Words& words);
    std::string show(const Words& words);
    std::string help(const Words& words);
    std::string quit(const Words& words);

    Result perform(const std::string& line);
    void sensorSet(int sensor, std::optional<double> degrees);
    void railSet(const std::string& name, double volts);

    Lab& lab_;
    std::function<void()> quit_;
    std::function<void(bool)> watchBus_;
    std::optional<std::uint64_t> seed_;
    bool rehearsal_ = false;
    std::vector<Deed> deeds_;
};

// Throws std::invalid_argument with a text fit for the user.
void writeFile(const std::filesystem::path& path, const std::string& text);

// State of the lab as a table of lines.
std::string labState(Lab& lab);

}  // namespace enclab
