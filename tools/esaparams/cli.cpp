// SPDX-License-Identifier: Apache-2.0
#include "tools/esaparams/cli.h"

#include <fmt/format.h>
#include <grp.h>
#include <pwd.h>

#include <CLI/CLI.hpp>
#include <climits>
#include <nlohmann/json.hpp>

#include "tools/common/command_line.h"
#include "tools/esaparams/area.h"

namespace esaparams {

namespace {

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_USAGE = 2;
constexpr unsigned MODE_BITS = 0777;

const char* const FOOTER = R"(
KEY is the System V key of the area, at least 100; decimal, 0x hexadecimal or leading-zero octal, as
the service takes it. The trace flag counts when the service starts.

Exit codes: 0 done, 1 not done, 2 usage.)";

struct Options {
    int key = 0;
    bool json = false;
    std::string state;
    NewArea area;
};

// ---- show ----

struct FlagBit {
    U32_t bit;
    const char* name;
    const char* key;
};
constexpr FlagBit FLAG_BITS[] = {{MPU_K_FLAG_RCP_COMPLETE, "start-up complete", "rcpComplete"},
                                 {MPU_K_FLAG_TRACE_VERBOSE, "trace", "trace"}};

struct DirectoryField {
    const char* name;
    const char* key;
    const char (MPU_PARAMS_t::*field)[MPU_K_DIRECTORY_SIZE];
};
constexpr DirectoryField DIRECTORIES[] = {
    {"message switch", "mmsgDirectory", &MPU_PARAMS_t::mmsgDirectory},
    {"non-volatile", "nonVolatileDirectory", &MPU_PARAMS_t::nonVolatileDirectory},
    {"trace log", "logDirectory", &MPU_PARAMS_t::logDirectory}};

std::string userName(uid_t user) {
    const passwd* const entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

std::string groupName(gid_t number) {
    const group* const entry = getgrgid(number);
    return entry != nullptr ? entry->gr_name : std::to_string(number);
}

std::string modeText(const shmid_ds& segment) {
    return fmt::format("{:04o}", segment.shm_perm.mode & MODE_BITS);
}

// Without this program.
unsigned long attachedBy(const shmid_ds& segment) {
    return segment.shm_nattch - 1;
}

std::string areaText(int key, const Area& area) {
    const shmid_ds& segment = area.segment();
    std::string text =
        fmt::format("key {:#x}, version {}, {} bytes, owner {}:{}, mode {}, attached by {}\n",
                    static_cast<unsigned>(key), area.params().version, segment.shm_segsz,
                    userName(segment.shm_perm.uid), groupName(segment.shm_perm.gid),
                    modeText(segment), attachedBy(segment));
    const U32_t flags = mpuFlags(&area.params());
    text += fmt::format("{:<25}0x{:08X}\n", "flags", flags);
    for (const FlagBit& flag : FLAG_BITS) {
        text += fmt::format("  {:<23}{}\n", flag.name, (flags & flag.bit) != 0 ? "yes" : "no");
    }
    text += "directories\n";
    for (const DirectoryField& directory : DIRECTORIES) {
        text +=
            fmt::format("  {:<23}{}\n", directory.name, fieldText(area.params().*directory.field));
    }
    return text;
}

std::string areaJson(int key, const Area& area) {
    const shmid_ds& segment = area.segment();
    const U32_t flags = mpuFlags(&area.params());
    nlohmann::ordered_json json = {{"key", key},
                                   {"version", area.params().version},
                                   {"owner", userName(segment.shm_perm.uid)},
                                   {"group", groupName(segment.shm_perm.gid)},
                                   {"mode", modeText(segment)},
                                   {"attached", attachedBy(segment)},
                                   {"flags", flags}};
    for (const FlagBit& flag : FLAG_BITS) {
        json[flag.key] = (flags & flag.bit) != 0;
    }
    for (const DirectoryField& directory : DIRECTORIES) {
        json[directory.key] = fieldText(area.params().*directory.field);
    }
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

// ---- commands ----

void show(const Options& options, std::ostream& out) {
    const Area area(options.key, Access::read);
    out << (options.json ? areaJson : areaText)(options.key, area);
}

void trace(const Options& options, std::ostream&) {
    Area(options.key, Access::change).setFlags(MPU_K_FLAG_TRACE_VERBOSE, options.state == "on");
}

void rcpComplete(const Options& options, std::ostream&) {
    Area(options.key, Access::change).setFlags(MPU_K_FLAG_RCP_COMPLETE, true);
}

void createArea(const Options& options, std::ostream&) {
    create(options.key, options.area);
}

void removeArea(const Options& options, std::ostream&) {
    remove(options.key);
}

using Command = void (*)(const Options&, std::ostream&);

class CommandLine {
  public:
    CommandLine() {
        tools::setUp(app);
        app.require_subcommand(1);
        define("show", "what the area holds", show)
            ->add_flag("--json", options.json, "as one JSON object");
        state(define("trace", "the trace log", trace), {"on", "off"});
        state(define("rcp", "tells the service that the system has come up", rcpComplete),
              {"complete"});
        defineCreate();
        define("remove", "removes the area; who has it attached keeps it", removeArea);
        app.footer(FOOTER);  // last, for subcommands would inherit it
    }

    CLI::App app{"Shows, makes and changes the platform's shared parameter area.", "esaparams"};
    Options options;
    Command command = nullptr;

  private:
    CLI::App* define(const char* name, const char* what, Command does) {
        CLI::App* const sub = app.add_subcommand(name, what);
        sub->add_option("KEY", options.key, "System V key")
            ->required()
            ->type_name("")
            ->check(CLI::Range(MPU_K_PARAMS_KEY_MIN, INT_MAX, "KEY"));
        sub->callback([this, does] { command = does; });
        return sub;
    }
    void state(CLI::App* sub, const std::vector<std::string>& states) {
        sub->add_option("STATE", options.state)
            ->required()
            ->type_name("")
            ->check(CLI::IsMember(states));
    }
    void defineCreate() {
        CLI::App* const sub = define("create", "makes an area", createArea);
        NewArea& area = options.area;
        const auto directory = [sub](const char* name, std::string& value, const char* what) {
            sub->add_option(name, value, what)->required()->type_name("DIR");
        };
        directory("--mmsg", area.mmsgDirectory, "sockets of the message switch");
        directory("--nv", area.nonVolatileDirectory, "alternate event log");
        directory("--log", area.logDirectory, "trace log");
        sub->add_option("--group", area.group, "who may read it beside the owner (else: everybody)")
            ->type_name("GROUP");
    }
};

}  // namespace

int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    CommandLine line;
    return tools::run(line.app, {argc, argv, out, err}, {EXIT_USAGE, EXIT_FAILED}, [&] {
        try {
            line.command(line.options, out);
            return 0;
        } catch (const Failure& failure) {
            err << "esaparams: " << failure.what() << '\n';
            return EXIT_FAILED;
        }
    });
}

}  // namespace esaparams
