// SPDX-License-Identifier: Apache-2.0
// What sesctl does beyond a lab: pages in the bit order of the standard, metrics, the switch.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "tests/unit/tools/tools.h"
#include "tools/esaparams/area.h"
#include "tools/sesctl/cli.h"
#include "tools/sesctl/render.h"
#include "tools/sesctl/standard.h"

namespace {

using Texts = std::set<std::string>;

// ---- pages as Debian's decoder reads them ----

// One page of `values.size()` records of a kind, each with its value in one byte: what the decoder
// says of each.
std::vector<Texts> decoded(std::size_t kind, std::size_t byte, const Bytes& values) {
    Bytes pages[] = {Bytes(68), Bytes(8 + 4 * (5 + values.size()))};
    sesctl::Configuration configuration;
    configuration.counts[kind] = narrowTo<unsigned>(values.size());
    for (std::size_t n = 0; n < 2; n++) {
        pages[n][0] = static_cast<std::uint8_t>(n + 1);
        pages[n][3] = static_cast<std::uint8_t>(pages[n].size() - 4);
    }
    std::ranges::copy(Bytes{1, 0, 5, 36}, &pages[0][8]);
    for (std::size_t type = 0; type < 5; type++) {
        pages[0][48 + 4 * type] = sesctl::ELEMENT_TYPES[type];
        pages[0][49 + 4 * type] = static_cast<std::uint8_t>(configuration.counts[type]);
    }
    for (std::size_t n = 0; n < values.size(); n++) {
        pages[1][8 + 4 * (kind + 1 + n) + byte] = values[n];
    }
    std::ofstream("pages") << sesctl::pageHex(pages[0], "")
                           << sesctl::pageHex(sesctl::standardStatus(pages[1], configuration), "");
    EXPECT_EQ(std::system("sg_ses --status --page=es --inhex=pages >text"), 0);
    std::vector<Texts> elements;
    const std::regex separator(", |^ +");
    for (const std::string& line : linesIn(contentOf("text"))) {
        if (line.ends_with("descriptor:")) {
            elements.emplace_back();
        } else if (!elements.empty() && line.starts_with("        ")) {
            elements.back().insert(
                std::sregex_token_iterator(line.begin(), line.end(), separator, -1), {});
        }
    }
    elements.erase(elements.begin(), elements.begin() + static_cast<int>(kind) + 1);
    elements.resize(values.size());
    return elements;
}

// What it says only because of the value.
std::string saidOf(std::size_t kind, std::size_t byte, std::uint8_t value) {
    const auto elements = decoded(kind, byte, {0, value});
    Texts only;
    std::ranges::set_difference(elements[1], elements[0], std::inserter(only, only.end()));
    return only.size() == 1 ? *only.begin() : std::to_string(only.size()) + " texts";
}

// The names of a byte's bits, from the service's most significant one on.
struct Byte {
    std::size_t kind, number;
    std::vector<std::string> names;
};
const Byte BYTES[] = {
    {0,
     2,
     {"Report", "Ident", "RMV", "Ready to insert", "Enc bypassed B", "Enc bypassed A",
      "Do not remove", "App client bypassed A"}},
    {0,
     3,
     {"Device bypassed B", "Device bypassed A", "Bypassed B", "Bypassed A", "Device off",
      "Fault requested", "Fault sensed", "App client bypassed B"}},
    {1, 2, {"", "DC overcurrent", "DC undervoltage", "DC overvoltage"}},
    {1,
     3,
     {"DC fail", "AC fail", "Temperature warn", "Overtmp fail", "Off", "Requested on", "Fail",
      "Hot swap"}},
    {2, 3, {"", "", "", "", "Off", "Requested on", "Fail", "Hot swap"}},
    {3, 3, {"UT warning", "UT failure", "OT warning", "OT failure"}},
    {4,
     3,
     {"Unrecov", "Crit", "Non-crit", "Tone indicator: Info", "Remind", "", "Mute", "Request mute"}},
};

}  // namespace

TEST(SesctlBoard, TheStandardsDecoderReadsEveryFlagAndNumber) {
    const Place place;
    for (const auto& [kind, number, names] : BYTES) {
        for (std::size_t bit = 0; bit < names.size(); bit++) {
            if (!names[bit].empty()) {
                EXPECT_EQ(saidOf(kind, number, static_cast<std::uint8_t>(0x80 >> bit)),
                          names[bit] + "=1");
            }
        }
    }
    for (std::size_t kind = 1; kind < 5; kind++) {
        EXPECT_EQ(saidOf(kind, 1, 0x01), "Ident=1");
    }
    EXPECT_EQ(saidOf(0, 1, 0x6A), "Slot address: 106");
    EXPECT_EQ(saidOf(2, 1, 0x80), "Actual speed=5120 rpm");
    EXPECT_EQ(saidOf(2, 2, 0x31), "Actual speed=490 rpm");
    EXPECT_EQ(saidOf(2, 3, 0x60), "Fan at third lowest speed");
    EXPECT_EQ(saidOf(3, 2, 0x0D), "Temperature=-7 C");
}

// ---- metrics ----

TEST(SesctlBoard, MetricsTellWhatIsInOrder) {
    const auto values = [](const sesctl::Status* status) {
        const std::regex noValue("#.*|esa_(status_time|temperature_limit)_.*|\n");
        return std::regex_replace(sesctl::statusMetrics(status), noValue, ";");
    };
    EXPECT_THAT(values(nullptr), testing::MatchesRegex(";+esa_link_up 0;+"));
    sesctl::Status status;
    status.fans.resize(4);
    status.fans[0].rpm = 900;
    status.fans[1].rpm = 0;
    status.fans[1].off = true;
    status.fans[3].rpm = 400;
    status.fans[3].fail = true;
    status.sensors.resize(2);
    status.sensors[0].celsius = -3;
    EXPECT_EQ(std::regex_replace(values(&status), std::regex(";+"), "; "),
              "; esa_link_up 1; esa_temperature_celsius{sensor=\"0\"} -3; "
              "esa_sensor_ok{sensor=\"0\"} 1; esa_sensor_ok{sensor=\"1\"} 0; "
              "esa_fan_speed_rpm{fan=\"0\"} 900; esa_fan_speed_rpm{fan=\"1\"} 0; "
              "esa_fan_speed_rpm{fan=\"3\"} 400; esa_fan_ok{fan=\"0\"} 1; "
              "esa_fan_ok{fan=\"1\"} 0; esa_fan_ok{fan=\"2\"} 0; esa_fan_ok{fan=\"3\"} 0; ");
    // A fault indication alone was requested; a supply with a fault is not "OK".
    status.powerSupplies.resize(2);
    for (sesctl::PowerSupply& supply : status.powerSupplies) {
        supply.code = 1;
        supply.fail = true;
    }
    EXPECT_THAT(values(&status), testing::HasSubstr("esa_psu_ok 1"));
    status.powerSupplies[1].code = 5;
    EXPECT_THAT(values(&status), testing::HasSubstr("esa_psu_ok 0"));
}

// ---- the switch ----

TEST(SesctlBoard, TheSwitchIsFoundByTheParameterArea) {
    const Place place;
    const int key = 0x45000000 | getpid();
    const auto says = [&](const std::string& options) {
        return told(sesctl::run, "sesctl config " + options).err;
    };
    const std::string lab = fmt::format("/tmp/enclab-{}/default/mmsg/environ", getuid());
    const auto expectNone = [&](const std::string& because) {
        if (!std::filesystem::exists(lab)) {
            EXPECT_EQ(says("--settings set"),
                      fmt::format("sesctl: no switch here; in a lab use --name. Looked at: "
                                  "ESA_MMSG_DIR (not set), {}, {} (there is none)\n",
                                  because, lab));
        }
    };
    expectNone("set (no ESA_SHM_KEY)");
    std::ofstream("set") << "# of the unit\nESA_SHM_KEY=1\n ESA_SHM_KEY = \"" << key << "\"\n";
    const std::string none = fmt::format("key {:#x}: there is no parameter area", key);
    expectNone(fmt::format("set ({})", none));
    EXPECT_EQ(says(fmt::format("--key {}", key)), "sesctl: " + none + "\n");
    esaparams::create(key, {place.directory, "/tmp", "/tmp", ""});
    expectNone(place.directory + "/environ (there is none)");
    sockaddr_un address = {AF_UNIX, "environ"};
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    for (const std::string& options :
         {std::string("--settings set"), fmt::format("--key {}", key)}) {
        EXPECT_EQ(says(options), "sesctl: cannot reach the message switch at " + place.directory +
                                     "/environ: Connection refused\n");
    }
    close(fd);
    esaparams::remove(key);
}
