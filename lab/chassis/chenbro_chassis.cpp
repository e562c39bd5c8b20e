// SPDX-License-Identifier: Apache-2.0
// Wiring of the Chenbro chassis: which monitor answers where, which fan hangs on which.
#include "lab/chassis/chenbro_chassis.h"

#include <fmt/core.h>

#include <array>

#include "lab/chassis/kind.h"

namespace enclab {
namespace {

using Wiring = ChenbroChassis::Wiring;

constexpr int kMonitors = 4;
using Rule = std::array<std::uint8_t, kMonitors>;
constexpr Rule kByShift{0x28, 0x2A, 0x2C, 0x30};
constexpr Rule kInSequence{0x28, 0x29, 0x2A, 0x2B};

constexpr std::uint8_t kShared = 0x2A;
constexpr int kSharedOfFans = 2;  // monitor
constexpr int kSharedOfOthers = 1;

const std::vector<W83782dFan> kFans{{0, 0, 0}, {0, 1, 1}, {1, 0, 0},
                                    {2, 0, 0}, {3, 0, 0}, {3, 1, 1}};

const Rule& firstRule(Wiring wiring) {
    return wiring == Wiring::kInSequence ? kInSequence : kByShift;
}

// Addresses that are a monitor's alone.
std::vector<std::uint8_t> addressesOf(std::size_t monitor, Wiring wiring) {
    if (wiring != Wiring::kBoth) {
        return {firstRule(wiring)[monitor]};
    }
    std::vector<std::uint8_t> addresses;
    for (const Rule& rule : {kByShift, kInSequence}) {
        if (rule[monitor] != kShared && (addresses.empty() || addresses[0] != rule[monitor])) {
            addresses.push_back(rule[monitor]);
        }
    }
    return addresses;
}

}  // namespace

ChenbroChassis::ChenbroChassis(Wiring wiring, const W83782dBoardOptions& options)
    : W83782dBoard({firstRule(wiring).begin(), firstRule(wiring).end()}, kFans, options) {
    for (std::size_t n = 0; n < kMonitors; ++n) {
        for (const std::uint8_t address : addressesOf(n, wiring)) {
            addDevice(fmt::format("w83782d-{}", n), address, monitors_[n]);
        }
    }
    if (wiring == Wiring::kBoth) {
        addDevice("w83782d-1/2", kShared, shared_);
    }
    start();
}

bool ChenbroChassis::SharedAddress::write(std::span<const std::uint8_t> bytes) {
    if (!bytes.empty()) {
        monitor_ = W83782d::isFanRegister(bytes[0]) ? kSharedOfFans : kSharedOfOthers;
    }
    const std::string name = fmt::format("w83782d-{}", monitor_);
    return !chassis_.bus().isCut(chassis_.addressOf(name)) && chip().write(bytes);
}

void ChenbroChassis::SharedAddress::read(std::span<std::uint8_t> bytes) {
    chip().read(bytes);
}

W83782d& ChenbroChassis::SharedAddress::chip() {
    return chassis_.monitors_[static_cast<std::size_t>(monitor_)];
}

namespace {

constexpr KORVO_E_CHASSIS_e kTypes[] = {KORVO_E_CHASSIS_CHENBRO_3U16ATX};

std::unique_ptr<Chassis> make(const ChassisTuning&) {
    return std::make_unique<ChenbroChassis>();
}

}  // namespace

constinit const ChassisKind kinds::chenbro = {.types = kTypes, .make = make};

}  // namespace enclab
