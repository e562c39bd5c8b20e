// SPDX-License-Identifier: Apache-2.0
// Vitesse VSC055 enclosure management controller at i2cAddressVsc055, whatever hangs on its ports.
// Every access is one byte; a write sends the shadow byte, so the shadow changes first.
#pragma once

#include "state/esa_control.h"

constexpr int VSC055_PORTS = 8;

// RPM at tachometer count 1 and divisor 1.
constexpr U32_t VSC055_TACHOMETER_CLOCK = 1200000;

// Registers, by the chip's names; n is the port or fan number 0..7.

// General purpose data of port n.
constexpr U8_t VSC055_REG_GPD(int n) {
    return static_cast<U8_t>(n);
}
// Data direction of port n, 1 = input.
constexpr U8_t VSC055_REG_DDP(int n) {
    return static_cast<U8_t>(0x10 + n);
}
// Fan speed control of fan n.
constexpr U8_t VSC055_REG_FSC(int n) {
    return static_cast<U8_t>(0x30 + 4 * n);
}
// Tachometer count of fan n.
constexpr U8_t VSC055_REG_FAN_SPEED(int n) {
    return static_cast<U8_t>(0x32 + 4 * n);
}
// PWM duty code of fan n.
constexpr U8_t VSC055_REG_PWMC(int n) {
    return static_cast<U8_t>(0x98 + n);
}

// Code of the transfer.
ESA_CODE_e vsc055RegisterRead(U8_t number, U8_t* value);
void vsc055RegisterWrite(U8_t number, const U8_t& shadow);

void vsc055PortWrite(int port, U8_t value);
void vsc055PortBitsSet(int port, U8_t bits);
void vsc055PortBitsClear(int port, U8_t bits);

// Port of the fault LEDs of drives 0 to 7, and of those from 8 on; bit n of a port is its n-th
// drive, 0 = lit.
struct Vsc055LedPorts_t {
    int low;
    int high;
};
// Lights the LED of `driveNumber` or puts it out. Drives 0 to 7 have one whatever deviceMaxNumber
// is. ESA_E_GENERR for a drive that has none, which is traced.
// `portTraced`: the port's new value is traced too.
ESA_CODE_e vsc055DriveLedWrite(const Vsc055LedPorts_t& ports, int driveNumber, bool lit,
                               bool portTraced);

// Sees whether the chip answers. If not, reports the bus fault, the event last and with
// `information` (an EsaEventInfo_e), and returns ESA_E_GENERR_I2C_UNAVAILABLE.
ESA_CODE_e vsc055Probe(U32_t information);

// Writes the direction shadows of all ports and reads them back for the log. Code of a failed read.
ESA_CODE_e vsc055DirectionsSetup();

// Fan speed control of fan 0..7.
void vsc055FanControlWrite(int fan, U8_t control);

// 0, 25, 50, 75 or 100 percent to fan 0..7; anything else is traced only. 0 also takes the fan's
// power, which a later load does not give back. (compatibility: fan-off-vsc055)
void esaVsc055FanPwmLoad(U8_t fanInx, U8_t pwmPercentage);
// Speed of fan 0..7 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr);
