// SPDX-License-Identifier: Apache-2.0
// Wiring of the W83792AD chassis: what hangs on which pin.
#include "lab/chassis/w83792ad_chassis.h"

#include <stdexcept>

#include "lab/chassis/kind.h"

namespace enclab {
namespace {

constexpr int kSlots = 16;
constexpr int kSlotsPerPort = 8;
constexpr int kRedundancyBit = 7;  // of GPIOA: input, 1 = good

// Vin2 and Vin3 are not connected.
constexpr struct {
    const char* name;
    double volts;
    W83792ad::Channel channel;
    double divider;
} kRails[] = {{"5", 5, W83792ad::k5Vcc, 1},
              {"12", 12, W83792ad::kVin0, 4},
              {"3.3", 3.3, W83792ad::kVin1, 1},
              {"vcorea", 1.2, W83792ad::kVcoreA, 1},
              {"vcoreb", 1.2, W83792ad::kVcoreB, 1}};

ChassisParts partsOf(const W83792adChassisOptions& options) {
    if (options.fans < 0 || options.fans > W83792ad::kFans || options.sensors < 0 ||
        options.sensors > W83792ad::kSensors) {
        throw std::out_of_range("a W83792AD chassis has up to 6 fans and 3 sensors");
    }
    ChassisParts parts{.fans = options.fans,
                       .fullSpeedRpm = options.fullSpeedRpm,
                       .sensors = options.sensors,
                       .temperature = options.temperature,
                       .slots = kSlots,
                       .driveLeds = true,
                       .redundancy = true};
    for (const auto& rail : kRails) {
        parts.rails.push_back({rail.name, rail.volts});
    }
    return parts;
}

}  // namespace

W83792adChassis::W83792adChassis(const W83792adChassisOptions& options)
    : Chassis(partsOf(options)) {
    addDevice("w83792ad", kMonitorAddress, monitor_);
    addDevice("pca9539", kExpanderAddress, expander_);
    // Pulled down: LEDs dark while the expander drives nothing.
    for (int slot = 0; slot < kSlots; ++slot) {
        expander_.drivePin(slot / kSlotsPerPort, slot % kSlotsPerPort, false);
    }
    monitor_.onWrite([this] { spinFans(); });
    start();
}

double W83792adChassis::drivenPercent(int fan) const {
    return monitor_.dutyPercent(fan);
}

void W83792adChassis::wireFan(int fan, double rpm) {
    monitor_.setRpm(fan, rpm);
}

void W83792adChassis::wireTemperature(int sensor, double degrees) {
    monitor_.setTemperature(sensor, degrees);
}

void W83792adChassis::wireRail(std::size_t rail, double volts) {
    monitor_.setVoltage(kRails[rail].channel, volts / kRails[rail].divider);
}

void W83792adChassis::wireRedundancy(bool good) {
    monitor_.drivePin(W83792ad::kGpioA, kRedundancyBit, good);
}

bool W83792adChassis::driveLedLit(int slot) const {
    return (expander_.pins(slot / kSlotsPerPort) >> slot % kSlotsPerPort & 1) != 0;
}

namespace {

constexpr KORVO_E_CHASSIS_e kTypes[] = {KORVO_E_CHASSIS_KORVO_W83792AD};
// The redundancy is found good, the voltage bad for good.
constexpr std::string_view kFirstPoll[] = {
    "event power supply status: information, supplies 2, status 0x03",
    "event power supply status: warning, supplies 2, status 0x02", "led composite fault LED on",
    "mail e-mail notification"};

std::unique_ptr<Chassis> make(const ChassisTuning& tuning) {
    W83792adChassisOptions options;
    tune(options.fans, tuning.fans, 0, W83792ad::kFans);
    tune(options.sensors, tuning.sensors, 0, W83792ad::kSensors);
    return std::make_unique<W83792adChassis>(options);
}

}  // namespace

constinit const ChassisKind kinds::w83792ad = {
    .types = kTypes,
    .make = make,
    .firstPoll = kFirstPoll,
    .personality = {.coolingMaxNumber = 6, .temperatureSensorMaxNumber = 3}};

}  // namespace enclab
