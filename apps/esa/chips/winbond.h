// SPDX-License-Identifier: Apache-2.0
// What the Winbond hardware monitors W83792AD and W83782D have in common.
#pragma once

#include "state/esa_control.h"

// RPM at tachometer count 1 and divisor 1.
constexpr U32_t WINBOND_TACHOMETER_CLOCK = 1350000;

constexpr U8_t WINBOND_REG_SERIAL_BUS_ADDRESS = 0x48;

// Reads the serial bus address register of the chip at `i2cAddr` into its shadow to see whether it
// answers. If not, reports the bus fault, the event first, with `information` (an EsaEventInfo_e),
// naming `place` ("Backplane[0]"), and returns ESA_E_GENERR_I2C_UNAVAILABLE.
ESA_CODE_e winbondProbe(U8_t i2cAddr, U8_t* serialBusAddress, U32_t information, const char* place);

// A fan count register: RPM of the count, 0 for a stopped fan's overflow (255). Result of the read;
// RPM untouched when it failed. `device` stands in the log lines ("Fan with W83792AD").
ESA_CODE_e winbondFanCountRead(U8_t i2cAddr, U8_t countRegister, int fan, const char* device,
                               U16_t* rpm);

// The log line of setting the alarm to `state`; only FAULT_S1 and MUTE_S3 are acted on.
void winbondAlarmStateTrace(EsaAlarmState_e state);

// Whether `volts`, named `rail` in the log, lie within `low` to `high`, the bounds included.
bool winbondRailIsGood(double volts, double low, double high, const char* rail);
