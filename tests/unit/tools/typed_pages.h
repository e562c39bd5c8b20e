// SPDX-License-Identifier: Apache-2.0
// The pages of a healthy enclosure as replies carry them, without their last byte: 16 slots, 2
// supplies, 4 fans, 4 sensors, 1 alarm.
#pragma once

constexpr char CONFIGURATION_PAYLOAD[] = R"(
    01 00 00 40  00 00 00 00
    20 00 05 24  00 00 00 00 00 00 00 00   # one process, five types, 36 bytes; logical id
    41 43 4D 45  20 20 20 20               # vendor "ACME"
    42 6F 78 00  00 00 00 00 00 00 00 00 00 00 00 00  # product "Box"
    31 2E 30 32                            # revision "1.02"
    01 10 00 00
    02 02 00 00
    03 04 00 00
    04 04 00 00
    06 01 00)";

constexpr char STATUS_PAYLOAD[] = R"(
    02 00 00 84  00 00 00 00
    00 00 00 00                            # 8: drive slots
    01 00 00 00  01 01 00 00  01 02 00 00  01 03 00 00
    01 04 00 00  01 05 00 00  01 06 00 00  01 07 00 00
    01 08 00 00  01 09 00 00  01 0A 00 00  01 0B 00 00
    01 0C 00 00  01 0D 00 00  01 0E 00 00  01 0F 00 00
    00 00 00 00                            # 76: power supplies
    01 00 00 01  01 00 00 01
    00 00 00 00                            # 88: fans, 2250 RPM
    00 00 E1 E0  00 00 E1 E0  00 00 E1 E0  00 00 E1 E0
    00 00 00 00                            # 108: sensors, 30 degrees
    00 00 32 00  00 00 32 00  00 00 32 00  00 00 32 00
    00 00 00 00                            # 128: alarm
    00 00 00)";

// Offsets in the status page.
constexpr unsigned SLOT_0 = 12;
constexpr unsigned SUPPLY_0 = 80;
constexpr unsigned FAN_0 = 92;
constexpr unsigned SENSOR_0 = 112;
constexpr unsigned ALARM_OVERALL = 128;
constexpr unsigned ALARM_0 = 132;
