// SPDX-License-Identifier: Apache-2.0
// Wiring of the Xyratex 2U12ATX chassis: what hangs on which pin.
#include "lab/chassis/xyratex_chassis.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "lab/chassis/kind.h"

namespace enclab {
namespace {

constexpr int kSlots = 12;
constexpr int kFansPerGroup = 4;  // front fans on PWM output 0, back fans on 1
constexpr int kFanSpeedDivisor = 1;

struct Pin {
    int port;
    int bit;
};

constexpr Pin kVoltageGood{4, 4};     // input, 1 = good
constexpr Pin kRedundancyGood{4, 5};  // input, 1 = good
constexpr int kAlarmPort = 5;
constexpr std::uint8_t kAlarmLines = 0x0F;
constexpr Pin kAlarmBit{5, 4};  // input
constexpr struct {
    const char* name;
    Pin pin;
} kStatusLeds[] = {{"psu-ok", {6, 5}}, {"redundancy-fail", {6, 6}}, {"fan-fail", {6, 7}}};

constexpr int kSlotsPerPort = 8;
constexpr int kPresencePorts[] = {0, 3};  // 0 = present
constexpr int kDriveLedPorts[] = {7, 6};  // 0 = lit

constexpr double kRailTolerance = 0.1;
const std::vector<ChassisRail> kRails{{"5", 5}, {"12", 12}};

constexpr const char* kAlarmStates[] = {"S0 idle",     "S1 fault",   "S2 remind",  "S3 mute",
                                        "S4 critical", "S5 invalid", "S6 invalid", "S7 invalid"};

Pin slotPin(const int (&ports)[2], int slot) {
    return {ports[slot / kSlotsPerPort], slot % kSlotsPerPort};
}

ChassisParts partsOf(const XyratexChassisOptions& options) {
    if (options.fans < 0 || options.fans > Vsc055::kFans) {
        throw std::out_of_range("a Xyratex chassis has up to 8 fans");
    }
    return {.fans = options.fans,
            .fullSpeedRpm = options.fullSpeedRpm,
            .sensors = static_cast<int>(XyratexChassis::kSensorAddresses.size()),
            .temperature = options.temperature,
            .slots = kSlots,
            .driveLeds = true,
            .drivePresence = true,
            .redundancy = true,
            .rails = kRails};
}

}  // namespace

XyratexChassis::XyratexChassis(const XyratexChassisOptions& options)
    : Vsc055Board(partsOf(options), kControllerAddress, kSensorAddresses, kFanSpeedDivisor) {
    // Pulled down: LEDs dark and the alarm quiet while the controller drives nothing.
    for (const auto& led : kStatusLeds) {
        controller_.drivePin(led.pin.port, led.pin.bit, false);
    }
    for (int line = 0; line < kAlarmBit.bit; ++line) {
        controller_.drivePin(kAlarmPort, line, false);
    }
    controller_.onWrite([this] {
        spinFans();
        wireAlarm();
    });
    start();
}

double XyratexChassis::drivenPercent(int fan) const {
    return controller_.dutyPercent(fan / kFansPerGroup);
}

bool XyratexChassis::railsGood() const {
    for (std::size_t n = 0; n < kRails.size(); ++n) {
        const double off = std::abs(rails()[n].volts - kRails[n].volts);
        if (off > kRails[n].volts * kRailTolerance) {
            return false;
        }
    }
    return true;
}

void XyratexChassis::wireRail(std::size_t, double) {
    wireSupplies();
}

void XyratexChassis::wireRedundancy(bool good) {
    redundancyGood_ = good;
    wireSupplies();
}

void XyratexChassis::wireSupplies() {
    controller_.drivePin(kVoltageGood.port, kVoltageGood.bit, railsGood());
    controller_.drivePin(kRedundancyGood.port, kRedundancyGood.bit, redundancyGood_);
    alarm_.setFault(!railsGood() || !redundancyGood_);
    wireAlarm();
}

void XyratexChassis::wireAlarm() {
    alarm_.setLines(controller_.pins(kAlarmPort) & kAlarmLines);
    controller_.drivePin(kAlarmBit.port, kAlarmBit.bit, alarm_.output());
}

void XyratexChassis::advance(std::chrono::duration<double> time) {
    alarm_.advance(time);
    wireAlarm();
}

void XyratexChassis::wireDrive(int slot, bool present) {
    const Pin pin = slotPin(kPresencePorts, slot);
    controller_.drivePin(pin.port, pin.bit, !present);
}

bool XyratexChassis::driveLedLit(int slot) const {
    const Pin pin = slotPin(kDriveLedPorts, slot);
    return !bit(controller_.pins(pin.port), pin.bit);
}

std::vector<ChassisLed> XyratexChassis::statusLeds() const {
    std::vector<ChassisLed> leds;
    for (const auto& led : kStatusLeds) {
        leds.push_back({led.name, bit(controller_.pins(led.pin.port), led.pin.bit)});
    }
    return leds;
}

std::string XyratexChassis::alarm() const {
    return kAlarmStates[alarm_.state()];
}

namespace {

constexpr KORVO_E_CHASSIS_e kTypes[] = {KORVO_E_CHASSIS_XYRATEX_2U12ATX};

std::unique_ptr<Chassis> make(const ChassisTuning& tuning) {
    XyratexChassisOptions options;
    tune(options.fans, tuning.fans, 0, Vsc055::kFans);
    return std::make_unique<XyratexChassis>(options);
}

}  // namespace

constinit const ChassisKind kinds::xyratex = {.types = kTypes,
                                              .make = make,
                                              .personality = {.fanSpeedDivisor = kFanSpeedDivisor,
                                                              .coolingMaxNumber = 8,
                                                              .temperatureSensorMaxNumber = 2,
                                                              .fanFaultRpmLimit = 4800}};

}  // namespace enclab
