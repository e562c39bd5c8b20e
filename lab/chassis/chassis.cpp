// SPDX-License-Identifier: Apache-2.0
// Device names of a chassis.
#include "lab/chassis/chassis.h"

#include <fmt/core.h>

#include <charconv>
#include <optional>
#include <stdexcept>

namespace enclab {
namespace {

// "0x41"; at most 0x7F.
std::optional<std::uint8_t> parseAddress(std::string_view text) {
    if (!text.starts_with("0x")) {
        return std::nullopt;
    }
    std::uint8_t value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + 2, end, value, 16);
    const bool good = result.ec == std::errc() && result.ptr == end && value <= 0x7F;
    return good ? std::optional(value) : std::nullopt;
}

}  // namespace

std::uint8_t Chassis::addressOf(std::string_view device) const {
    std::string known;
    for (const ChassisDevice& candidate : devices()) {
        if (candidate.name == device) {
            return candidate.address;
        }
        known += (known.empty() ? "" : ", ") + candidate.name;
    }
    if (const auto address = parseAddress(device)) {
        return *address;
    }
    throw std::out_of_range(fmt::format(
        "no device \"{}\": the chassis has {}, or give an address as 0x41", device, known));
}

std::string Chassis::nameOf(std::uint8_t address) const {
    for (const ChassisDevice& device : devices()) {
        if (device.address == address) {
            return device.name;
        }
    }
    return fmt::format("0x{:02X}", address);
}

}  // namespace enclab
