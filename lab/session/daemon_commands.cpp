// SPDX-License-Identifier: Apache-2.0
// The commands that work on the daemon's process and its clock.
#include <fmt/format.h>

#include <csignal>
#include <filesystem>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {

std::string Commands::daemon(const Words& words) {
    const bool running = lab_.daemonRunning();
    const std::size_t what = choice(words[0], {"start", "stop", "kill"});
    if (rehearsal_) {
        return "";
    }
    if (running == (what == 0)) {
        refuse(running ? "it is running" : "it is not running");
    }
    if (what == 0) {
        lab_.startDaemon();
        return "the daemon is started";
    }
    lab_.endDaemon(what == 1 ? SIGTERM : SIGKILL);
    return what == 1 ? "the daemon is told to end" : "the daemon is killed";
}

// Full: what is written to the file fails as on a full disk; it takes effect with the file's next
// opening.
std::string Commands::disk(const Words& words) {
    const bool log = choice(words[0], {"log", "nv"}) == 0;
    const auto directory = log ? lab_.directory().log() : lab_.directory().nonVolatile();
    const std::size_t how = choice(words[1], {"good", "full", "gone"});
    std::filesystem::remove_all(directory);
    if (how != 2) {
        std::filesystem::create_directories(directory);
    }
    if (how == 1) {
        std::filesystem::create_symlink("/dev/full",
                                        directory / (log ? "esa_01.log" : "altevent.log"));
    }
    return fmt::format("the {} directory is {}", words[0], words[1]);
}

std::string Commands::clock(const Words& words) {
    const double seconds = number<double>(words[0], "a number of seconds");
    if (lab_.virtualTime() == nullptr) {
        refuse("the daemon's clock is the machine's; only a scenario has its own");
    }
    lab_.virtualTime()->stepWallClock(Schedule::Seconds(seconds));
    return fmt::format("the wall clock jumps by {} seconds", seconds);
}

}  // namespace enclab
