// SPDX-License-Identifier: Apache-2.0
#include "tests/hardware/bench.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <regex>
#include <utility>

#include "chassis/table.h"
#include "i2c.h"
#include "link/esa_event.h"
#include "link/esa_startup.h"
#include "mpu_gbl.h"
#include "ses/esa_control_page.h"
#include "tests/support/hex.h"

const MPU_PARAMS_t* pMpuParams = nullptr;

static Bench* bench;

// ---- the platform ----

void begin_i2c_data(int) {}
int read_i2c_data(int, U8_t address, U8_t number, U8_t* buffer, U32_t length) {
    EXPECT_EQ(length, 1U);
    return bench->transfer(false, address, number, buffer);
}
int write_i2c_data(int, U8_t address, U8_t number, const U8_t* buffer, U32_t length) {
    EXPECT_EQ(length, 1U);
    U8_t value = *buffer;
    return bench->transfer(true, address, number, &value);
}
extern "C" unsigned sleep(unsigned seconds) {
    bench->say(fmt::format("sleep {}", seconds));
    return 0;
}

// ---- the link ----

S32_t esaEventMmsgToEmpSend(U16_t id, U8_t type, const void* data) {
    EXPECT_EQ(static_cast<const EsaEventData_t*>(data)->enclosureType, esaControl.enclosureType);
    return bench->say(fmt::format("event {}/{}", id, type));
}
S32_t esaEmailNotificationMmsgToStartupSend() {
    return bench->say("mail");
}
S32_t esaCompositeFaultMmsgToStartupSend(ESA_CODE_e status) {
    return bench->say(status == ESA_E_OK ? "led off" : "led on");
}
S32_t esaOrderlyShutdownMmsgToStartupSend() {
    return bench->say("shutdown");
}

// ---- what is typed ----

static void transfersAdd(Typed* typed, const std::smatch& match) {
    const int address = hexBytes(match.str(6))[0];
    int number = hexBytes(match.str(7))[0];
    std::vector<std::optional<U8_t>> values = {std::nullopt};
    if (match[8].matched) {
        const Bytes bytes = hexBytes(match.str(8));
        values.assign(bytes.begin(), bytes.end());
    }
    for (const auto& value : values) {
        const auto text = transferText(match.str(5)[0], address, number, value);
        typed->transfers.push_back(
            {text, ++typed->count, address, number++, value, (match.str(4) + " ")[0]});
        typed->lines.push_back(text);
    }
}

Typed typedBy(const Lines& lines) {
    static const std::regex ITEM(
        R"re(#.*|\(|\)|\{([^}]*)\}|"([^"]*)"|= (\w+|-\d+)|sleep \d+|)re"
        R"re(([!?]?)([RWI]) (\w\w) (\w\w)(?:=(\w\w(?: \w\w\b)*)| fails))re");
    Typed typed;
    std::vector<Transfer>& transfers = typed.transfers;
    std::size_t open = 0;
    for (const std::string& line : lines) {
        for (std::sregex_iterator item(line.begin(), line.end(), ITEM), end; item != end; ++item) {
            const std::smatch& match = *item;
            EXPECT_EQ(match.prefix().str().find_first_not_of(" :"), line.npos) << line;
            switch (match.str()[0]) {
                case '#':
                    break;
                case '(':
                    open = transfers.size();
                    break;
                case ')':
                    for (const std::size_t close = transfers.size(); open < close; ++open) {
                        transfers[open].goesOn = close;
                    }
                    break;
                case '{':
                    transfers.back().failed = match.str(1);
                    break;
                case '"':
                    typed.lines.push_back(match.str(2));
                    break;
                case '=':
                    typed.result = match.str(3);
                    break;
                case 's':
                    transfers.push_back({match.str()});
                    typed.lines.push_back(match.str());
                    break;
                default:
                    transfersAdd(&typed, match);
            }
        }
    }
    return typed;
}

const std::vector<ScriptChapter>& goldenOf(const std::string& folder) {
    static std::map<std::string, std::vector<ScriptChapter>> files;
    std::vector<ScriptChapter>& file = files[folder];
    if (file.empty()) {
        file = scriptRead(GOLDEN_DIR + ("/" + folder) + "/traffic.txt");
    }
    return file;
}

// ---- an enclosure in good health ----

static void personalityUse(const Enclosure& enclosure) {
    constexpr U8_t LM75[] = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F};
    EsaControl_t& c = esaControl;
    c.deviceMaxNumber = enclosure.drives;
    c.powerSupplyMaxNumber = enclosure.supplies;
    c.coolingMaxNumber = enclosure.fans;
    c.temperatureSensorMaxNumber = enclosure.sensors;
    c.audibleAlarmMaxNumber = 1;
    c.fanSpeedDivisor = 2;
    c.fanFaultRpmLimit = 1000;
    c.overheatTemperatureLimit = 60;
    // No load is moved.
    c.fanPwm25To50TemperatureThreshold = c.fanPwm50To75TemperatureThreshold =
        c.fanPwm75To100TemperatureThreshold = 100;
    c.i2cAddressVsc055 = enclosure.type == KORVO_E_CHASSIS_XYRATEX_2U12ATX ? 0x63 : 0x41;
    std::ranges::copy(LM75, c.i2cAddressLM75);
    c.i2cAddressW83782d = 0x2D;
    c.i2cAddressW83792ad = 0x2C;
    c.i2cAddressPca9539 = 0x74;
}

// The first step of the traffic says what the registers hold.
static void healthUse(const std::string& folder) {
    static std::map<std::string, std::vector<Transfer>> health;
    std::vector<Transfer>& typed = health[folder];
    if (typed.empty()) {
        typed = typedBy(goldenOf(folder)[0][0].expected).transfers;
    }
    std::fill_n(&bench->registers[0][0], sizeof bench->registers, U8_t{0});
    for (const Transfer& each : typed) {
        auto& bytes = each.text[0] == 'I' ? bench->inputs : bench->registers;
        bytes[each.address][each.number] = each.value.value_or(0);
    }
}

// ---- the bench ----

Bench::Bench(KORVO_E_CHASSIS_t type) {
    bench = this;
    esaChassisTableUse(esaChassisTable());
    trace_ = std::make_unique<TraceCapture>(0x0010);
    restart(type);
}

Bench::~Bench() {
    bench = nullptr;
}

void Bench::restart(KORVO_E_CHASSIS_t type) {
    esaControl = {};
    esaControl.enclosureType = type;
    esaControl.i2cConnected = 1;
    for (const Enclosure& enclosure : ENCLOSURES) {
        if (enclosure.type == type) {
            personalityUse(enclosure);
            healthUse(enclosure.folder);
        }
    }
    answers.clear();
    failing = 0;
    take();
}

int Bench::transfer(bool isWrite, U8_t address, U8_t number, U8_t* value) {
    U8_t& stored = registers[address][number];
    std::optional<U8_t> answer = stored;
    if (!answers.empty()) {
        answer = answers.front();
        answers.pop_front();
    }
    answer = --failing == 0 ? std::nullopt : answer;
    if (answer && isWrite) {
        const int kept = inputs[address][number];
        stored = static_cast<U8_t>((stored & kept) | (*value & ~kept));
    }
    *value = answer && !isWrite ? *answer : *value;
    say(transferText(isWrite ? 'W' : 'R', address, number,
                     answer ? std::optional(*value) : answer));
    errno = ENXIO;
    return answer ? 0 : -1;
}

S32_t Bench::say(const std::string& line) {
    traceTake();
    lines_.push_back(line);
    return 0;
}

void Bench::traceTake() {
    std::ranges::copy(trace_->take(), std::back_inserter(lines_));
}

Lines Bench::take() {
    traceTake();
    return std::exchange(lines_, {});
}

ESA_CODE_e Bench::controlPage(const Bytes& list, int lost, U8_t requestor) {
    constexpr std::size_t LIST = 80;  // header, command, page header
    auto* message = wireView<MMSG_t>(esaControl.esaInMsg);
    const std::size_t length = LIST + list.size() - static_cast<std::size_t>(lost);
    std::ranges::copy(list, esaControl.esaInMsg + LIST);
    for (std::size_t n = std::max<std::size_t>(length, MMSG_K_HEADER_SIZE); n < 512; ++n) {
        esaControl.esaInMsg[n] = u8(below(256));
    }
    message->mmch.mmsg_length = static_cast<U16_t>(length);
    message->mmch.requestor = requestor;
    return esaEncContPageProc(message);
}

std::string transferText(char direction, int address, int number, std::optional<U8_t> value) {
    return fmt::format("{} {:02X} {:02X}", direction, address, number) +
           (value ? fmt::format("={:02X}", *value) : " fails");
}
