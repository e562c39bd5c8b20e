// SPDX-License-Identifier: Apache-2.0
// The service on the lab's chips beside the model of its rules.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tests/story/model.h"
#include "tests/story/service.h"
#include "tests/support/hex.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

#ifdef __powerpc__
constexpr int STEPS = 100;  // is emulated
#else
constexpr int STEPS = 400;
#endif

// Functions whose lines the model says; those of chips and link are judged elsewhere.
constexpr std::string_view LOGGING =
    " faultNameTrace esaCompositeFaultManage faultSet faultClear ledOn esaSupplyConditionUpdate "
    "esaFanFaultMark esaFanFailStatusRead fanFailLedFollow temperatureAverage ladderStep "
    "esaSndDiagPage esaStatusSend knownPageSend ladderMove fansToFullLoad coolReport bandReport "
    "esaTemperatureOverheatCheck fanRead ";

struct Outcome {
    std::vector<Bytes> messages;
    std::vector<std::string> log;
    std::string state;
    bool operator==(const Outcome&) const = default;
};

// For a reader: messages as lines, then their bytes.
inline std::string shown(const Outcome& outcome) {
    std::string text = outcome.state;
    std::string rows;
    for (const Bytes& bytes : outcome.messages) {
        text += describe(enclab::Message(bytes)) + "\n";
        rows += fmt::format("{}\n", fmt::join(hexRows(bytes), "\n"));
    }
    return text + fmt::format("{}\n", fmt::join(outcome.log, "\n")) + rows;
}

// Both side by side; a law may set the state of either.
class Walk {
  public:
    explicit Walk(const StoryRow& row) : service(row), model(row, service.tuning()) {}

    // A command to both. False when they differ.
    bool step(const std::string& command) {
        history_ += "> " + command + "\n";
        service.run(command);
        model.run(command);
        return agree(history_);
    }

    // Whether the same has come of what both did last.
    bool agree(const std::string& what) {
        const Outcome expected{std::exchange(model.messages, {}), std::exchange(model.log, {}),
                               model.state()};
        const Outcome got{messages(), log(), state()};
        if (expected != got) {
            EXPECT_EQ(shown(expected), shown(got)) << what;
        }
        return expected == got;
    }

    StoryService service;
    Model model;

  private:
    std::vector<Bytes> messages() {
        std::vector<Bytes> all;
        for (const enclab::Message& message : service.take()) {
            all.push_back(message.bytes());
            std::fill_n(all.back().begin(), 8, std::uint8_t{0});
            if (message.kind() == enclab::Kind::reply && all.back().size() > 68) {
                all.back().push_back(esaControl.esaWorkSpace[all.back().size()]);
            }
        }
        return all;
    }

    std::vector<std::string> log() {
        std::vector<std::string> lines;
        for (const std::string& line : trace_.take()) {
            const std::string function = line.substr(0, line.find(':'));
            if (LOGGING.find(" " + function + " ") != LOGGING.npos) {
                lines.push_back(function + line.substr(line.find(":  ")));
            }
        }
        return lines;
    }

    // As the model writes it.
    std::string state() {
        const enclab::Chassis& chassis = service.chassis();
        std::vector<long> loads;
        for (int fan = 0; fan < chassis.fans(); ++fan) {
            loads.push_back(std::lround(chassis.fanLoadPercent(fan)));
        }
        U32_t leds = 0;
        for (int slot = 0; chassis.parts().driveLeds && slot < chassis.slots(); ++slot) {
            leds |= U32_t{chassis.driveFaultLed(slot)} << slot;
        }
        U32_t bit = Model::PSU_OK;
        for (const enclab::ChassisLed& led : chassis.statusLeds()) {
            leds |= led.lit ? bit : 0;
            bit <<= 1;
        }
        std::vector<int> bands;
        for (const U32_t reported : esaControl.temperatureReportStatus) {
            bands.push_back(std::bit_width(reported));
        }
        const std::string alarm = chassis.alarm();
        const EsaControl_t& c = esaControl;
        return fmt::format("fans at {}, LEDs {:#x}, alarm {}\n", fmt::join(loads, " "), leds,
                           alarm.starts_with("S") ? alarm.substr(0, 2) : alarm) +
               fmt::format(
                   "faults {:#x}, devices {:#x}, fans {:#x}, supplies {}, alarm {}, average "
                   "{}, loads {}, bands {}\n",
                   c.compositeFaultStatus, c.i2cDeviceFaultStatus, c.fanFaultStatus,
                   c.powerSupplyStatus, c.alarmState, c.temperatureSensorAverage,
                   fmt::join(c.fanPwmLoad, " "), fmt::join(bands, " "));
    }

    TraceCapture trace_{0x0010 | TRACE_K_FUNCTION};
    std::string history_;
};
