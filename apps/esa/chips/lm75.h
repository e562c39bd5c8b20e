// SPDX-License-Identifier: Apache-2.0
// LM75 digital temperature sensor.
#pragma once

#include "state/esa_control.h"

constexpr U8_t LM75_REG_TEMP = 0x00;

// Degrees Celsius, truncated toward zero, or ESA_K_TEMPERATURE_UNREADABLE.
S16_t lm75TemperatureRead(U8_t i2cAddr);

// Traces that the sensor did not answer.
void lm75UnreadableTrace(U8_t i2cAddr);
