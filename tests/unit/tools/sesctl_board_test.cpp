// SPDX-License-Identifier: Apache-2.0
// What sesctl does on a board: pages in the standard's bit order, metrics, the switch, fans off.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/support/hex.h"
#include "tools/esaparams/area.h"
#include "tools/sesctl/control_page.h"
#include "tools/sesctl/failure.h"
#include "tools/sesctl/find.h"
#include "tools/sesctl/render.h"
#include "tools/sesctl/standard.h"

// Two records of each kind, with every other bit set.
TEST(SesctlBoard, TheStandardsDecoderReadsEveryFlagAndNumber) {
    const auto types = hexBytes(
        "01000040 00000000 20000524 0000000000000000 0000000000000000 0000000000000000"
        "0000000000000000 00000000 01020000 02020000 03020000 04020000 06020000");
    const auto status = hexBytes(
        "02A80040 00000000 00000000 016AAAAA 02955555 00000000 01012AAA 05005055 00000000 0181316A"
        "0040AAA5 00000000 00010DA0 00005550 00000020 000100A8 20000057");
    const std::string file = testing::TempDir() + fmt::format("sesctl-board-{}", getpid());
    const auto configuration = sesctl::decodeConfiguration(types);
    std::ofstream(file) << sesctl::pageHex(sesctl::standardConfiguration(types), "")
                        << sesctl::pageHex(sesctl::standardStatus(status, configuration), "");
    const std::string command = fmt::format(
        "for page in cf es; do sg_ses --status --page=$page --inhex={}; done | grep -oE '[A-Z]"
        "[A-Za-z -]*=1\\b|address: [^0].*|processes: .*|[1-9][0-9]+ rpm.*|-?[0-9]+ C$' | paste "
        "-sd,",
        file);
    std::FILE* const pipe = popen(command.c_str(), "r");
    char said[2000] = "";
    EXPECT_GT(fread(said, 1, sizeof said - 1, pipe), 0U);
    EXPECT_EQ(pclose(pipe), 0);
    std::filesystem::remove(file);
    EXPECT_STREQ(
        said,
        "processes: 1,INVOP=1,NON-CRIT=1,UNRECOV=1,address: 106,Do not remove=1,Enc bypassed B=1,"
        "RMV=1,Report=1,Fault sensed=1,Device off=1,Bypassed B=1,Device bypassed B=1,"
        "address: 149,App client bypassed A=1,Enc bypassed A=1,Ready to insert=1,Ident=1,"
        "App client bypassed B=1,Fault requested=1,Bypassed A=1,Device bypassed A=1,Ident=1,"
        "DC undervoltage=1,Fail=1,Off=1,Temperature warn=1,DC fail=1,DC overvoltage=1,"
        "DC overcurrent=1,Hot swap=1,Requested on=1,Overtmp fail=1,AC fail=1,Ident=1,Fail=1,"
        "Off=1,5610 rpm, Fan at third lowest speed,Hot swap=1,Requested on=1,4260 rpm,"
        " Fan at third highest speed,Ident=1,OT warning=1,UT warning=1,-7 C,OT failure=1,"
        "UT failure=1,65 C,Disabled=1,Ident=1,Remind=1,Non-crit=1,Unrecov=1,Disabled=1,"
        "Request mute=1,Mute=1,Info=1,Crit=1\n");
}

TEST(SesctlBoard, MetricsTellWhatIsInOrder) {
    sesctl::Status status;
    status.fans.resize(3);
    status.fans[0].rpm = 900;
    status.fans[1].rpm = 0;
    status.fans[1].off = true;
    status.sensors.resize(2);
    status.sensors[0].celsius = -3;
    status.powerSupplies.resize(2);
    status.powerSupplies[0].code = SES_E_ELEMENT_STATUS_CODE_OK;
    status.powerSupplies[0].fail = true;  // as requested
    const auto metrics = [](const sesctl::Status* of) {
        const std::regex needless("#.*\n|esa_(status_time|temperature_limit)_.*\n|esa_");
        return std::regex_replace(sesctl::statusMetrics(of), needless, "");
    };
    EXPECT_EQ(metrics(nullptr), "link_up 0\n");
    EXPECT_EQ(
        metrics(&status),
        "link_up 1\ntemperature_celsius{sensor=\"0\"} -3\nsensor_ok{sensor=\"0\"} 1\n"
        "sensor_ok{sensor=\"1\"} 0\nfan_speed_rpm{fan=\"0\"} 900\nfan_speed_rpm{fan=\"1\"} 0\n"
        "fan_ok{fan=\"0\"} 1\nfan_ok{fan=\"1\"} 0\nfan_ok{fan=\"2\"} 0\npsu_ok 0\n");
    status.powerSupplies.pop_back();
    EXPECT_THAT(metrics(&status), testing::HasSubstr("psu_ok 1"));
}

TEST(SesctlBoard, TheSwitchIsFoundByTheParameterArea) {
    const std::filesystem::path place = testing::TempDir() + fmt::format("sesctl-{}", getpid());
    std::filesystem::create_directory(place);
    const int key = 0x45000000 | getpid();
    const std::string settings = place / "settings", socket = place / "environ";
    const std::string lab = fmt::format("/tmp/enclab-{}/default/mmsg/environ", getuid());
    const auto found = [&](const sesctl::Whereabouts& where) -> std::string {
        try {
            return sesctl::switchSocket(where);
        } catch (const sesctl::Failure& failure) {
            return failure.what();
        }
    };
    const auto expectNone = [&](const std::string& because) {
        const std::string none = fmt::format(
            "no switch here; in a lab use --name. Looked at: ESA_MMSG_DIR (not set), {}, {} (there "
            "is none)",
            because, lab);
        EXPECT_EQ(found({"", "", 0, settings}), std::filesystem::exists(lab) ? lab : none);
    };
    expectNone(settings + " (no ESA_SHM_KEY)");
    std::ofstream(settings) << "# of the unit\nESA_SHM_KEY=1\n ESA_SHM_KEY = \"" << key << "\"\n";
    const std::string noArea = fmt::format("key {:#x}: there is no parameter area", key);
    expectNone(fmt::format("{} ({})", settings, noArea));
    EXPECT_EQ(found({"", "", key, ""}), noArea);
    esaparams::create(key, {place, "/tmp", "/tmp", ""});
    EXPECT_EQ(found({"", "", key, ""}), socket);
    expectNone(socket + " (there is none)");
    std::ofstream(socket) << "";
    EXPECT_EQ(found({"", "", 0, settings}), socket);
    esaparams::remove(key);
    std::filesystem::remove_all(place);
}

TEST(SesctlBoard, FansThatWouldStayOffAreRefused) {
    const struct {
        unsigned slots, supplies, firstRefused;
    } enclosures[] = {{12, 2, 4}, {16, 2, 0}, {16, 3, 8}, {12, 3, 8}};
    for (const auto& enclosure : enclosures) {
        sesctl::Configuration configuration;
        configuration.counts = {enclosure.slots, enclosure.supplies, 8, 4, 1};
        for (unsigned fan = 0; fan < 8; fan++) {
            if (fan < enclosure.firstRefused) {
                EXPECT_NO_THROW(sesctl::checkFanOff(fan, configuration));
            } else {
                EXPECT_THROW(sesctl::checkFanOff(fan, configuration), sesctl::Failure);
            }
        }
    }
}
