// SPDX-License-Identifier: Apache-2.0
// Each chassis does and says what is typed in tests/golden, and what follows when one of its
// transfers is lost is what its mark there says.
#include <functional>
#include <map>

#include "bus/esa_i2c.h"
#include "chassis/w83782d.h"
#include "chassis/xyratex.h"
#include "chips/w83782d.h"
#include "ses/status_page.h"
#include "tests/hardware/bench.h"
#include "tests/support/hex.h"

namespace {

// "put fans 2 80000004, alarms 0 80000002": the list that selects these records.
Bytes listOf(const Words& words) {
    Bytes list;
    for (const auto& [name, count, most] : SECTIONS) {
        const std::size_t overall = list.size();
        list.resize(overall + 4 + std::size_t{4} * (esaControl.*count));
        for (std::size_t n = 1; n + 2 < words.all.size(); n += 3) {
            if (words[n] == name) {
                list[overall + 3] = 0x80;
                std::ranges::copy(hexBytes(words[n + 2].substr(0, 8)),
                                  &list.at(overall + 4 + 4 * words.u32(n + 1)));
            }
        }
    }
    return list;
}

std::string codeText(ESA_CODE_e code) {
    return code == ESA_E_OK ? "good" : code == ESA_E_GENERR ? "bad" : "lost";
}

// Its result.
std::string run(Bench* bench, const std::string& command) {
    U8_t page[6000];
    const Words words(command);
    if (words[0] == "init") {
        return codeText(esaChassis()->init());
    }
    if (words[0] == "put") {
        bench->controlPage(listOf(words));
    } else if (words[0] == "page") {
        statusPageBuild(page);
    } else if (words[0] == "poll") {
        esaChassis()->poll();
    }
    return "good";
}

// ---- single calls ----

std::string speedText(int fan) {
    U16_t rpm = 4711;
    const ESA_CODE_e code = esaChassis()->fanSpeedRead(fan, &rpm);
    EXPECT_TRUE(code == ESA_E_OK || rpm == 4711);
    return code == ESA_E_OK ? std::to_string(rpm) : codeText(code);
}

std::string touchText(U8_t address) {
    U8_t value = 0;
    esaI2CDataRead(address, 0, &value, 1);
    return fmt::format("{:x}", U32_t{esaControl.i2cDeviceFaultStatus});
}

template <typename Act>
std::function<std::string(const Words&)> silent(Act act) {
    return [act](const Words& words) {
        act(words);
        return "good";
    };
}

const std::map<std::string, std::function<std::string(const Words&)>> CALLS = {
    {"touch", [](auto& w) { return touchText(hexBytes(w[1])[0]); }},
    {"unplug", silent([](auto&) { esaControl.i2cConnected = 0; })},
    {"divisor", silent([](auto& w) { esaControl.fanSpeedDivisor = w.u8(1); })},
    {"drives", silent([](auto& w) { esaControl.deviceMaxNumber = w.u8(1); })},
    {"load", silent([](auto& w) { esaChassis()->fanLoad(w.u8(1), {w.u8(2)}); })},
    {"backplane", silent([](auto& w) { winbondFanPwmLoad(0x30, w.u8(1), w.u8(2), w.u8(3)); })},
    {"speed", [](auto& w) { return speedText(w.number(1)); }},
    {"degrees", [](auto& w) { return std::to_string(esaChassis()->temperatureRead(w.number(1))); }},
    {"sensors", silent([](auto&) { esaChassis()->temperaturesPoll(); })},
    {"supply", [](auto& w) { return codeText(esaChassis()->supplyInputs[w.u8(1)].read()); }},
    {"follow",
     silent([](auto& w) { esaChassis()->supplyInputs[w.u8(1)].follow(w[2] == "good", true); })},
    {"fans", silent([](auto& w) { esaChassis()->fanFaultShow(w[1] == "bad"); })},
    {"led-on", [](auto& w) { return codeText(esaChassis()->driveLedSet(w.number(1))); }},
    {"led-off", [](auto& w) { return codeText(esaChassis()->driveLedClear(w.number(1))); }},
    {"present", [](auto& w) { return codeText(esaChassis()->drivePresent(w.number(1))); }},
    {"presence", silent([](auto&) { xyratexDrivePresenceRead(); })},
    {"alarm",
     silent([](auto& w) { esaChassis()->alarmSet(static_cast<EsaAlarmState_e>(w.number(1))); })},
    {"alarm-read", [](auto&) { return std::to_string(esaChassis()->alarmPageState()); }},
    {"alarm-poll", silent([](auto& w) {
         esaControl.alarmState = w.u32(1);
         esaChassis()->alarmPoll();
     })},
};

// A call a line, "COMMAND: what comes of it"; lines that begin with a blank go on.
std::vector<std::pair<std::string, Lines>> callsOf(const Lines& lines) {
    std::vector<std::pair<std::string, Lines>> calls;
    for (const std::string& line : lines) {
        const std::size_t end = line[0] == ' ' ? 0 : std::min(line.find(": "), line.size());
        if (end != 0) {
            calls.push_back({line.substr(0, end), {}});
        }
        calls.back().second.push_back(line.substr(end));
    }
    return calls;
}

// ---- what came ----

bool isTransfer(const std::string& line) {
    return line.starts_with("R ") || line.starts_with("W ") || line.starts_with("sleep ");
}

// What reads gave does not count: where a write was lost the register reads as it was.
Lines trafficOf(const Lines& lines) {
    Lines traffic;
    for (const std::string& line : lines) {
        if (isTransfer(line)) {
            traffic.push_back(line[0] == 'R' && line.size() == 10 ? line.substr(0, 7) : line);
        }
    }
    return traffic;
}

Lines trafficWithout(std::size_t lost, const std::vector<Transfer>& transfers) {
    Lines traffic;
    for (std::size_t n = 0; n < transfers.size(); ++n) {
        const Transfer& each = transfers[n];
        traffic.push_back(n == lost ? each.text.substr(0, 7) + " fails" : each.text);
        n = n == lost && each.mark == '!' ? std::min(each.goesOn, transfers.size()) - 1 : n;
    }
    return traffic;
}

// A line that is typed without its beginning starts with two dots.
bool isSame(const std::string& line, const std::string& typed) {
    return typed.starts_with("..") ? line.ends_with(typed.substr(2)) : line == typed;
}

// Without the words of the log that nobody typed.
Lines judged(const Lines& lines, const Lines& typed) {
    Lines kept;
    auto next = typed.begin();
    for (const std::string& line : lines) {
        if (next != typed.end() && isSame(line, *next)) {
            kept.push_back(*next++);
        } else if (isTransfer(line)) {
            kept.push_back(line);
        }
    }
    return kept;
}

// ---- the chassis ----

class Traffic : public testing::TestWithParam<Enclosure> {
  public:
    static std::string nameOf(const testing::TestParamInfo<Enclosure>& row) {
        return row.param.folder + std::to_string(row.param.type);
    }

  protected:
    bool is(const char* folder) const { return GetParam().folder == std::string(folder); }
    void outcomeCheck(const std::string& result, const Typed& typed);
    void callsCheck(const ScriptStep& step);
    void lossCheck(const ScriptStep& step, const std::vector<Transfer>& transfers,
                   std::size_t lost);
    // The enclosure as it is before a step.
    void prepare(const ScriptChapter& chapter, const ScriptStep& step) {
        bench.restart(GetParam().type);
        if (step.command != "init") {
            run(&bench, "init");
        }
        for (const ScriptStep* before = chapter.data(); before != &step; ++before) {
            run(&bench, before->command);
        }
        bench.take();
    }

    Bench bench{GetParam().type};
};

void Traffic::outcomeCheck(const std::string& result, const Typed& typed) {
    EXPECT_EQ(judged(bench.take(), typed.lines), typed.lines);
    EXPECT_EQ(result, typed.result);
}

TEST_P(Traffic, IsTheOneWrittenDown) {
    for (const ScriptChapter& chapter : goldenOf(GetParam().folder)) {
        for (const ScriptStep& step : chapter) {
            SCOPED_TRACE(step.place);
            prepare(chapter, step);
            if (step.command == "calls") {
                callsCheck(step);
            } else if (step.command != "registers") {
                outcomeCheck(run(&bench, commandOf(step)), typedBy(step.expected));
            }
        }
    }
}

// What is typed is what the registers read. No fault that comes or goes moves the alarm: there is
// another one.
void Traffic::callsCheck(const ScriptStep& step) {
    for (const auto& [command, lines] : callsOf(step.expected)) {
        SCOPED_TRACE(command);
        const Typed typed = typedBy(lines);
        esaControl.compositeFaultStatus = 0x80000011;
        bench.answers.clear();
        for (const Transfer& transfer : typed.transfers) {
            bench.answers.push_back(transfer.value);
        }
        const Words words(command);
        outcomeCheck(CALLS.at(words[0])(words), typed);
    }
}

// The alarm and the fans are kept out of it: a composite fault that is there before sounds no alarm
// when one is added, and no fan is too slow.
void Traffic::lossCheck(const ScriptStep& step, const std::vector<Transfer>& transfers,
                        std::size_t lost) {
    const Transfer& transfer = transfers[lost];
    const bool ends = transfer.mark == '!' && transfer.goesOn == std::string::npos;
    SCOPED_TRACE(step.place + ", without " + transfer.text);
    esaControl.compositeFaultStatus = 0x80000002;
    esaControl.fanFaultRpmLimit = 0;
    bench.failing = transfer.position;
    EXPECT_EQ(run(&bench, commandOf(step)) == "good", !ends);
    const Lines said = bench.take();
    EXPECT_EQ(trafficOf(said), trafficOf(trafficWithout(lost, transfers)));
    EXPECT_TRUE(transfer.failed.empty() || std::ranges::count(said, transfer.failed) == 1);
}

// Whatever one transfer less may change, all others are as they are marked. Of a long dump every
// seventh is lost; the alarms of monitors are transfers of their own.
TEST_P(Traffic, GoesOnOrEndsWithoutOneTransfer) {
    for (const ScriptChapter& chapter : goldenOf(GetParam().folder)) {
        for (const ScriptStep& step : chapter) {
            const bool isMoot =
                step.command == "registers" || step.command == "calls" ||
                (step.command.starts_with("put") && (is("w83782d") || is("chenbro")));
            const auto transfers = typedBy(isMoot ? Lines{} : step.expected).transfers;
            for (std::size_t lost = 0; lost < transfers.size(); ++lost) {
                const Transfer& transfer = transfers[lost];
                const bool isOfDump = step.command == "init" && transfer.goesOn < transfers.size();
                if (transfer.address != 0 && transfer.mark != '?' && (!isOfDump || lost % 7 == 0)) {
                    prepare(chapter, step);
                    lossCheck(step, transfers, lost);
                }
            }
        }
    }
}

// ---- bring-up ----

// Three bits of the divisor reach a W83792AD; the limit is cut to its register.
TEST_P(Traffic, SetsDivisorsAndTheOverheatLimit) {
    for (U8_t n = 0; is("w83792ad") && n < 250; n += 5) {
        bench.restart(GetParam().type);
        esaControl.fanSpeedDivisor = n;
        esaControl.overheatTemperatureLimit = U32_t{3} * n;
        esaChassis()->init();
        for (const int number : {0x47, 0x5B, 0x5C}) {
            EXPECT_EQ(bench.registers[0x2C][number], 0x88 + n % 8 * 0x11);
        }
        EXPECT_EQ(bench.registers[0x2C][0x39], 3 * n % 256);
    }
}

// A chassis of another type that starts up like this brings its own counts.
TEST_P(Traffic, OfAW83782dSetsItsCountsWhereItIsTheType) {
    const U8_t before = esaControl.coolingMaxNumber;
    EXPECT_EQ(esaW83782dInit(), ESA_E_OK);
    EXPECT_EQ(esaControl.coolingMaxNumber, is("w83782d") ? 3 : before);
    EXPECT_EQ(esaControl.elementTypeMaxNumber, is("w83782d") ? 5 : 0);
    EXPECT_EQ(esaControl.fanPwm50To25TemperatureThreshold, 32U);
    EXPECT_EQ(std::ranges::count(esaControl.coolingElementOnOff, ESA_E_FAN_ON),
              esaControl.coolingMaxNumber);
}

TEST(TrafficOfAllChassis, IsWrittenDown) {
    Bench bench(KORVO_E_CHASSIS_NONE);
    for (U8_t type = KORVO_E_CHASSIS_NONE; esaChassisOf(type) != nullptr; ++type) {
        EXPECT_EQ(std::ranges::count(ENCLOSURES, type, &Enclosure::type),
                  esaChassisOf(type)->init ? 1 : 0)
            << int{type};
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Traffic, testing::ValuesIn(ENCLOSURES), Traffic::nameOf);

}  // namespace
