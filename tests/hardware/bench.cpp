// SPDX-License-Identifier: Apache-2.0
#include "tests/hardware/bench.h"

#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "chassis/table.h"
#include "i2c.h"
#include "link/esa_event.h"
#include "link/esa_startup.h"
#include "mpu_gbl.h"
#include "ses/esa_control_page.h"
#include "tests/support/script.h"

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
    if (bench->traffic) {
        bench->say(fmt::format("sleep {}", seconds));
    }
    return 0;
}

// ---- the link ----

S32_t esaEventMmsgToEmpSend(U16_t id, U8_t type, const void* data) {
    const auto& event = *static_cast<const EsaEventData_t*>(data);
    std::string text = fmt::format("event {}/{}", id, type);
    EXPECT_EQ(event.enclosureType, esaControl.enclosureType);
    const std::pair<const char*, S32_t> fields[] = {
        {"drives", U32_t{event.numberOfDrive}},
        {"leds", U32_t{event.driveFaultLedStatus0}},
        {"supplies", U32_t{event.numberOfPowerSupply}},
        {"supply", U32_t{event.powerSupplyStatus}},
        {"fans", U32_t{event.numberOfFan}},
        {"failed", U32_t{event.fanFaultStatus}},
        {"alarms", U32_t{event.numberOfAlarm}},
        {"alarm", U32_t{event.alarmState}},
        {"information", U32_t{event.information}},
        {"sensor", U32_t{event.temperatureSensorPosition}},
        {"result", U32_t{event.general_use1}},
    };
    for (const auto& [name, value] : fields) {
        text += value == 0 ? "" : fmt::format(" {}={}", name, value);
    }
    bench->say(text);
    return 0;
}
S32_t esaEmailNotificationMmsgToStartupSend() {
    bench->say("mail");
    return 0;
}
S32_t esaCompositeFaultMmsgToStartupSend(ESA_CODE_e status) {
    bench->say(status == ESA_E_OK ? "led off" : "led on");
    return 0;
}
S32_t esaOrderlyShutdownMmsgToStartupSend() {
    bench->say("shutdown");
    return 0;
}

// ---- the bench ----

Bench::Bench(KORVO_E_CHASSIS_t type) {
    bench = this;
    esaChassisTableUse(esaChassisTable());
    trace_ = std::make_unique<TraceCapture>(0x0010 | TRACE_K_FUNCTION);
    restart(type);
}

Bench::~Bench() {
    bench = nullptr;
}

void Bench::restart(KORVO_E_CHASSIS_t type) {
    esaControl = {};
    esaControl.enclosureType = type;
    esaControl.i2cConnected = 1;
    next.clear();
    cut.reset();
    failing = 0;
    take();
}

int Bench::transfer(bool isWrite, U8_t address, U8_t number, U8_t* value) {
    const bool fails = failing == 1 || cut[address];
    failing -= failing > 0;
    U8_t& stored = registers[address][number];
    if (!fails && isWrite) {
        const int kept = inputs[address][number];
        stored = static_cast<U8_t>((stored & kept) | (*value & ~kept));
    } else if (!fails) {
        std::vector<U8_t>& first = next[address * 256 + number];
        *value = first.empty() ? stored : first.front();
        first.erase(first.begin(), first.begin() + !first.empty());
    }
    if (traffic) {
        say(fmt::format("{} {:02X} {:02X}", isWrite ? 'W' : 'R', address, number) +
            (fails ? " fails" : fmt::format("={:02X}", *value)));
    }
    errno = ENXIO;
    return fails ? -1 : 0;
}

void Bench::say(const std::string& line) {
    traceTake();
    lines_ += line + "\n";
}

// Each transfer that was expected to go well says so; that is left out.
void Bench::traceTake() {
    static const std::set<std::string> COMPOSITE_FAULT = {
        "faultNameTrace",         "alarmMove", "ledOff", "ledOn", "faultClear", "faultSet",
        "esaCompositeFaultManage"};
    for (const std::string& line : trace_->take()) {
        const std::string said = line.substr(line.find(":  ") + 3);
        if (log && !COMPOSITE_FAULT.contains(line.substr(0, line.find(':'))) &&
            !said.starts_with("Already marked OK on I2C Device")) {
            lines_ += said + "\n";
        }
    }
}

std::string Bench::take() {
    traceTake();
    return std::exchange(lines_, {});
}

// ---- an enclosure in good health ----

template <typename Value>
static void put(Value& field, const Words& words) {
    field = static_cast<Value>(words.value(2));
}
template <typename Value, std::size_t N>
static void put(Value (&fields)[N], const Words& words) {
    for (std::size_t n = 2; n < words.all.size(); ++n) {
        fields[n - 2] = static_cast<Value>(words.value(n));
    }
}
#define FIELD(name)                                                    \
    {                                                                  \
#name, [](const Words& words) { put(esaControl.name, words); } \
    }
static const std::map<std::string, void (*)(const Words&)> FIELDS = {
    FIELD(fanSpeedDivisor),
    FIELD(fanFaultRpmLimit),
    FIELD(overheatTemperatureLimit),
    FIELD(fanPwm25To50TemperatureThreshold),
    FIELD(fanPwm50To75TemperatureThreshold),
    FIELD(fanPwm75To100TemperatureThreshold),
    FIELD(fanPwm100To75TemperatureThreshold),
    FIELD(fanPwm75To50TemperatureThreshold),
    FIELD(fanPwm50To25TemperatureThreshold),
    FIELD(deviceMaxNumber),
    FIELD(powerSupplyMaxNumber),
    FIELD(coolingMaxNumber),
    FIELD(temperatureSensorMaxNumber),
    FIELD(audibleAlarmMaxNumber),
    FIELD(i2cAddressVsc055),
    FIELD(i2cAddressLM75),
    FIELD(i2cAddressW83782d),
    FIELD(i2cAddressW83792ad),
    FIELD(i2cAddressPca9539),
};

static int hex(const std::string& word) {
    return std::stoi(word, nullptr, 16);
}

// Each file is read once.
static const std::vector<Words>& registersOf(const std::string& folder) {
    static std::map<std::string, std::vector<Words>> files;
    const auto [found, isNew] = files.try_emplace(folder);
    std::ifstream file(GOLDEN_DIR + ("/" + folder) + "/registers.txt");
    for (std::string line; isNew && std::getline(file, line);) {
        found->second.emplace_back(line.substr(0, line.find('#')));
    }
    return found->second;
}

void Bench::use(const std::string& folder) {
    std::fill_n(&registers[0][0], sizeof registers, U8_t{0});
    for (const Words& words : registersOf(folder)) {
        if (words[0] == "set") {
            FIELDS.at(words[1])(words);
        } else if (words[0] == "input") {
            inputs[hex(words[1])][hex(words[2])] = static_cast<U8_t>(hex(words[3]));
        } else if (words[0] == "reg") {
            for (std::size_t n = 3; n < words.all.size(); ++n) {
                registers[hex(words[1])][static_cast<std::size_t>(hex(words[2])) + n - 3] =
                    static_cast<U8_t>(hex(words[n]));
            }
        }
    }
}

ESA_CODE_e Bench::controlPage(const std::vector<U8_t>& list, int lost, U8_t requestor) {
    constexpr std::size_t LIST = 80;  // header, command, page header
    auto* message = wireView<MMSG_t>(esaControl.esaInMsg);
    const std::size_t length = LIST + list.size() - static_cast<std::size_t>(lost);
    std::ranges::copy(list, esaControl.esaInMsg + LIST);
    for (std::size_t n = std::max<std::size_t>(length, MMSG_K_HEADER_SIZE); n < 512; ++n) {
        esaControl.esaInMsg[n] = byte();
    }
    message->mmch.mmsg_length = static_cast<U16_t>(length);
    message->mmch.requestor = requestor;
    return esaEncContPageProc(message);
}

std::string linesWith(const std::string& text, std::initializer_list<const char*> words) {
    std::string found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto holds = [&](const char* word) { return line.find(word) != line.npos; };
        found += std::ranges::any_of(words, holds) ? line + "\n" : "";
    }
    return found;
}

std::string wrote(int address, int number, int value) {
    return fmt::format("W {:02X} {:02X}={:02X}\n", address, number, value);
}
std::string readGave(int address, int number, int value) {
    return fmt::format("R {:02X} {:02X}={:02X}\n", address, number, value);
}
