// SPDX-License-Identifier: Apache-2.0
// The traffic of each chassis is the one typed in tests/golden, and what follows when one of its
// transfers is lost is what its mark there says.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "bus/esa_i2c.h"
#include "ses/status_page.h"
#include "tests/hardware/bench.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"

namespace {

// ---- what is typed ----

struct Transfer {
    std::string text;  // "W 41 98=27\n", "sleep 3\n"
    int address = 0, number = 0;
    char mark = ' ';
    std::size_t goesOn = std::string::npos;  // behind which one, after a loss marked '!'
    std::string failed = {};                 // said then
};

std::vector<Transfer> transfersOf(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    static const std::regex ITEM(R"(#[^\n]*|\(|\)|\{([^}]*)\}|sleep \d+|)"
                                 R"(([!?]?)([RW]) (\w\w) (\w\w)=(\w\w(?: \w\w\b)*))");
    std::vector<Transfer> transfers;
    std::size_t open = 0;
    for (std::sregex_iterator item(text.begin(), text.end(), ITEM), end; item != end; ++item) {
        const std::smatch& match = *item;
        const char first = match.str()[0];
        if (first == '(') {
            open = transfers.size();
        } else if (first == ')') {
            const std::size_t close = transfers.size();
            for (; open < close; ++open) {
                transfers[open].goesOn = close;
            }
        } else if (first == '{') {
            transfers.back().failed = match.str(1) + "\n";
        } else if (first == 's') {
            transfers.push_back({match.str() + "\n"});
        } else if (first != '#') {
            const int address = std::stoi(match.str(4), nullptr, 16);
            int number = std::stoi(match.str(5), nullptr, 16);
            for (const U8_t value : hexBytes(match.str(6))) {
                const auto said = (match.str(3) == "R" ? readGave : wrote)(address, number, value);
                transfers.push_back({said, address, number++, (match.str(2) + " ")[0]});
            }
        }
    }
    return transfers;
}

// "put fans 2 80000004, alarms 0 80000002": the list that selects these records.
std::vector<U8_t> listOf(const Words& words) {
    const std::pair<const char*, int> sections[] = {
        {"drives", esaControl.deviceMaxNumber},
        {"supply", esaControl.powerSupplyMaxNumber},
        {"fans", esaControl.coolingMaxNumber},
        {"sensors", esaControl.temperatureSensorMaxNumber},
        {"alarms", esaControl.audibleAlarmMaxNumber}};
    std::vector<U8_t> list;
    for (const auto& [name, count] : sections) {
        const std::size_t overall = list.size();
        list.resize(overall + 4 + 4 * static_cast<std::size_t>(count));
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

// Its result; 0 of what has none.
int run(Bench* bench, const std::string& command) {
    const Words words(command);
    if (words[0] == "init") {
        return esaChassis()->init();
    }
    if (words[0] == "put") {
        bench->controlPage(listOf(words));
    } else if (words[0] == "page") {
        U8_t page[4096];
        statusPageBuild(page);
    } else {
        esaChassis()->poll();
    }
    return 0;
}

std::string traffic(const std::string& text) {
    return linesWith(text, {"R ", "W ", "sleep "});
}

// ---- what comes of a loss ----

// Without what reads gave: a register whose write was lost reads as it was.
std::string withoutReadings(const std::string& text) {
    std::string cut;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        cut += (line[0] == 'R' && line.size() == 10 ? line.substr(0, 7) : line) + "\n";
    }
    return cut;
}

struct Device {
    const char* folder;
    int address;
    U32_t bit;
    std::string event;
};
const Device DEVICES[] = {
    {"xyratex", 0x63, 0x001, " information=3"},
    {"xyratex", 0x4C, 0x002, " information=4"},
    {"xyratex", 0x4D, 0x004, " information=4 sensor=1"},
    {"vsc055", 0x41, 0x001, " information=3"},
    {"vsc055", 0x4C, 0x002, " information=4"},
    {"vsc055", 0x4B, 0x004, " information=4 sensor=1"},
    {"vsc055", 0x4A, 0x008, " information=4 sensor=2"},
    {"vsc055", 0x4D, 0x010, " information=4 sensor=3"},
    {"vsc055", 0x4E, 0x020, " information=4 sensor=4"},
    {"vsc055", 0x4F, 0x040, " information=4 sensor=5"},
    {"w83792ad", 0x2C, 0x100, " information=6"},
    {"w83792ad", 0x74, 0x200, " information=7"},
};

// An address without a row shares the first bit.
const Device& deviceOf(const std::string& folder, int address) {
    static const Device ANY = {"", 0, 1, ""};
    const auto found = std::ranges::find_if(DEVICES, [&](const Device& device) {
        return device.folder == folder && device.address == address;
    });
    return found == std::end(DEVICES) ? ANY : *found;
}

// What a lost presence probe says; those of a VSC055 chassis mark the device, and a read that ends
// bring-up there gives its own code.
struct Manner {
    int probeInformation;
    bool isVsc055;
};
const std::map<std::string, Manner> MANNERS = {{"xyratex", {3, true}},
                                               {"vsc055", {2, true}},
                                               {"chenbro", {5, false}},
                                               {"w83782d", {5, false}},
                                               {"w83792ad", {6, false}}};

// Who is told what while `transfers` but the lost one go well; a presence probe has a word of its
// own, and only those of a VSC055 chassis mark the device.
struct Books {
    std::string folder;
    U32_t faults = 0;
    std::string events = {};

    void keep(const Transfer& transfer, bool lost, bool isProbe) {
        const Device& device = deviceOf(folder, transfer.address);
        const bool marked = (faults & device.bit) != 0;
        if (isProbe) {
            const auto& [information, marks] = MANNERS.at(folder);
            const auto event = fmt::format("event 10/2 information={} result=-1\n", information);
            events += !lost ? "" : marks ? "mail\n" + event : event + "mail\n";
            faults |= lost && marks ? device.bit : 0;
        } else if (lost != marked) {
            events += faults == 0 ? "mail\n" : "";
            events += "event 10/2" + device.event + (lost ? " result=-1\n" : "\n");
            faults ^= device.bit;
        }
    }
};

bool isProbe(const std::string& command, const Transfer& transfer, std::size_t n) {
    return command == "init" && (n == 0 || transfer.number == 0x48 || transfer.number == 0) &&
           transfer.text[0] == 'R' && !(transfer.number == 0 && transfer.address == 0x41);
}

struct Expected {
    std::string traffic;
    Books books;
};
Expected without(std::size_t lost, const std::vector<Transfer>& transfers,
                 const std::string& command, const std::string& folder) {
    Expected expected = {"", {folder}};
    for (std::size_t n = 0; n < transfers.size(); ++n) {
        const Transfer& each = transfers[n];
        const std::string fails = each.text.substr(0, each.text.find('=')) + " fails\n";
        expected.traffic += n == lost ? fails : each.text;
        if (each.address != 0) {
            expected.books.keep(each, n == lost, isProbe(command, each, n));
        }
        if (n == lost && each.mark == '!') {
            n = std::min(each.goesOn, transfers.size()) - 1;
        }
    }
    return expected;
}

class Traffic : public testing::TestWithParam<std::pair<const KORVO_E_CHASSIS_t, const char*>> {
  protected:
    Traffic() : bench_(GetParam().first) {
        bench_.log = false;
        chapters_ = scriptRead(GOLDEN_DIR + ("/" + folder()) + "/traffic.txt");
    }
    std::string folder() const { return GetParam().second; }

    // The enclosure in good health up to the step, which is not run.
    void prepare(const ScriptChapter& chapter, const ScriptStep& step) {
        bench_.restart(GetParam().first);
        bench_.use(folder());
        if (step.command != "init") {
            run(&bench_, "init");
        }
        for (const ScriptStep* before = chapter.data(); before != &step; ++before) {
            run(&bench_, before->command);
        }
        bench_.take();
    }
    void lossCheck(const ScriptStep& step, const std::vector<Transfer>& transfers,
                   std::size_t lost);

    Bench bench_;
    std::vector<ScriptChapter> chapters_;
};

TEST_P(Traffic, IsTheOneWrittenDown) {
    for (const ScriptChapter& chapter : chapters_) {
        for (const ScriptStep& step : chapter) {
            prepare(chapter, step);
            EXPECT_EQ(run(&bench_, commandOf(step)), 0);
            EXPECT_EQ(without(std::string::npos, transfersOf(step.expected), "", "").traffic,
                      traffic(bench_.take()))
                << step.place;
        }
    }
}

// The alarm and the fans are kept out of it: a composite fault that is there before sounds no alarm
// when one is added, and no fan is too slow.
void Traffic::lossCheck(const ScriptStep& step, const std::vector<Transfer>& transfers,
                        std::size_t lost) {
    const Transfer& transfer = transfers[lost];
    const auto waits =
        std::count_if(transfers.begin(), transfers.begin() + static_cast<std::ptrdiff_t>(lost),
                      [](const Transfer& each) { return each.address == 0; });
    SCOPED_TRACE(step.place + ", without " + transfer.text);
    esaControl.compositeFaultStatus = 0x80000002;
    esaControl.fanFaultRpmLimit = 0;
    bench_.failing = static_cast<int>(lost) - static_cast<int>(waits) + 1;
    bench_.log = !transfer.failed.empty();
    esaControl.i2cConnected = step.command != "init";
    const int result = run(&bench_, commandOf(step));
    const std::string said = bench_.take();
    bench_.log = false;
    const Expected expected = without(lost, transfers, step.command, folder());
    const bool ends = transfer.mark == '!' && transfer.goesOn == std::string::npos;
    const bool isUnavailable =
        isProbe(step.command, transfer, lost) || folder() == "vsc055" || folder() == "xyratex";
    EXPECT_EQ(result, !ends ? 0 : isUnavailable ? 1 : -1);
    ASSERT_EQ(withoutReadings(traffic(said)), withoutReadings(expected.traffic));
    // Of mails only while there are no other reasons for one.
    const bool mails = step.command == "init";
    EXPECT_EQ(linesWith(said, {"event 10/", mails ? "mail" : "event 10/"}),
              linesWith(expected.books.events, {"event", mails ? "mail" : "event"}));
    EXPECT_EQ(esaControl.i2cDeviceFaultStatus, expected.books.faults);
    const bool isFirst =
        lost == 0 || (MANNERS.at(folder()).isVsc055 && isProbe(step.command, transfer, lost));
    EXPECT_EQ(esaControl.i2cConnected, step.command == "init" && isFirst ? 0 : 1);
    EXPECT_TRUE(transfer.failed.empty() || said.find(transfer.failed) != said.npos) << said;
}

// Whatever one transfer less may change, all others are as they are marked.
TEST_P(Traffic, GoesOnOrEndsWithoutOneTransfer) {
    for (const ScriptChapter& chapter : chapters_) {
        const bool isMonitor = folder() == "w83782d" || folder() == "chenbro";
        for (const ScriptStep& step : chapter) {
            const auto transfers = transfersOf(step.expected);
            // Of a long dump every seventh.
            const auto isDump = [&](const Transfer& each) {
                return step.command == "init" && each.goesOn < transfers.size();
            };
            for (std::size_t lost = 0; lost < transfers.size();
                 lost += isDump(transfers[lost]) ? 7 : 1) {
                const bool judged = transfers[lost].address != 0 && transfers[lost].mark != '?';
                if (judged && !(isMonitor && step.command.starts_with("put"))) {
                    prepare(chapter, step);
                    lossCheck(step, transfers, lost);
                }
            }
        }
    }
}

// ---- single transfers ----

// A device's first loss is told, and its first answer after that; the composite fault lasts until
// the last device is back.
TEST_P(Traffic, MarksEachDeviceByItself) {
    bench_.log = true;
    bench_.use(folder());
    esaControl.compositeFaultStatus = 0x80000002;
    const bool knowsDevices = folder() != "w83782d" && folder() != "chenbro";
    Books books = {folder()};
    for (int n = 0; n < 600; ++n) {
        const int addresses[] = {0x63, 0x41, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x2C, 0x74, 0x11};
        const int address = addresses[bench_.below(11)], number = bench_.byte();
        const bool isWrite = bench_.below(2) == 1, lost = bench_.below(3) == 0;
        const Device& device = deviceOf(folder(), address);
        const bool marked = (books.faults & device.bit) != 0;
        U8_t value = bench_.byte();
        const auto text = isWrite ? wrote(address, number, value)
                                  : readGave(address, number, bench_.registers[address][number]);
        std::string expected;
        if (knowsDevices && device.address == 0) {
            expected += fmt::format("I2C Bus Read with undefined address [{:#x}].\n", address);
        }
        expected += lost ? text.substr(0, 7) + " fails\n" : text;
        if (lost) {
            expected +=
                fmt::format("Detect I2C Bus Status [ERROR] with Address [{:#x}].\n", address);
            expected += fmt::format("{} Fault on I2C Device with Address [{:#x}].\n",
                                    marked ? "Already marked" : "Now marking", address);
        } else if (marked) {
            expected +=
                fmt::format("Now marking OK on I2C Device with Address [{:#x}].\n", address);
        }
        books.events.clear();
        books.keep({text, address, number}, lost, false);
        bench_.failing = lost;
        EXPECT_EQ((isWrite ? esaI2CDataWrite(u8(address), u8(number), &value, 1)
                           : esaI2CDataRead(u8(address), u8(number), &value, 1)),
                  lost ? ESA_E_GENERR_I2C_UNAVAILABLE : ESA_E_OK);
        EXPECT_EQ(bench_.take(), expected + books.events);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, books.faults);
        EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000002U + (books.faults != 0 ? 0x10U : 0U));
    }
}

TEST_P(Traffic, IsNoneWhileTheEnclosureIsNotConnected) {
    U8_t value = 47;
    esaControl.i2cConnected = 0;
    EXPECT_EQ(esaI2CDataWrite(0x41, 1, &value, 1), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(esaI2CDataRead(0x41, 1, &value, 1), ESA_E_GENERR_I2C_UNAVAILABLE);
    EXPECT_EQ(value, 47);
    EXPECT_EQ(bench_.take(), "");
}

TEST(TrafficOfAllChassis, IsWrittenDown) {
    Bench bench(KORVO_E_CHASSIS_NONE);
    for (U8_t type = KORVO_E_CHASSIS_NONE; esaChassisOf(type) != nullptr; ++type) {
        EXPECT_EQ(FOLDERS.contains(type), bool(esaChassisOf(type)->init)) << int{type};
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Traffic, testing::ValuesIn(FOLDERS.begin(), FOLDERS.end()),
                         [](const auto& type) {
                             return type.param.second + std::to_string(type.param.first);
                         });

}  // namespace
