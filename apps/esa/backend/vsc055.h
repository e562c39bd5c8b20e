// SPDX-License-Identifier: Apache-2.0
// Vitesse VSC055 enclosure management controller. Every access is one byte; a write sends the
// shadow byte, so the shadow changes first.
#pragma once

#include "backend/chassis.h"
#include "core/esa_control.h"

// Registers, by the chip's names; n is the port or fan number 0..7.
constexpr U8_t VSC055_REG_GPD(int n) {
    return static_cast<U8_t>(n);
}  // port data
constexpr U8_t VSC055_REG_DDP(int n) {
    return static_cast<U8_t>(0x10 + n);
}  // direction
constexpr U8_t VSC055_REG_FSC(int n) {
    return static_cast<U8_t>(0x30 + 4 * n);
}  // fan control
constexpr U8_t VSC055_REG_FAN_SPEED(int n) {
    return static_cast<U8_t>(0x32 + 4 * n);
}
constexpr U8_t VSC055_REG_PWMC(int n) {
    return static_cast<U8_t>(0x98 + n);
}  // duty code

constexpr int VSC055_PORTS = 8;

// Probes and sets up the controller and its sensors. ESA_E_OK, ESA_E_GENERR_I2C_UNAVAILABLE when a
// device does not answer, or the code of a failed read-back.
ESA_CODE_e esaVsc055Init();
void esaVsc055PollTimeoutProcess();

// 0, 25, 50, 75 or 100 percent to fan 0..7; anything else is traced only. 0 also takes the fan's
// power, which a later load does not give back.
void esaVsc055FanPwmLoad(U8_t fanInx, U8_t pwmPercentage);
// Speed of fan 0..7 in RPM; untouched when the result is not ESA_E_OK.
ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr);

// ESA_E_GENERR for a drive that has no LED.
ESA_CODE_e esaVsc055DriveFaultLEDSet(int driveNumber);
ESA_CODE_e esaVsc055DriveFaultLEDClear(int driveNumber);

// ESA_E_OK: redundant; ESA_E_GENERR: not; else the code of the failed read.
ESA_CODE_e esaVsc055PowerRedundancyFailStatusRead();

// The alarm of this chip exists in software only: reading returns alarmState, setting traces.
EsaAlarmState_e esaVsc055AlarmStateRead();
void esaVsc055AlarmStateBackplaneSet(EsaAlarmState_e alarmState);
// Low pulse on the supplies' alarm clear line.
void esaVsc055AlarmStatePowerSupplyClear();

// Status page entries of the chassis row.
void esaVsc055SupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                               EsaPageChange_t* change);
void esaVsc055TemperaturesRead();
