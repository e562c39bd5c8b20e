// SPDX-License-Identifier: Apache-2.0
#include "chips/vsc055.h"

#include "bus/esa_i2c.h"
#include "bus/probe.h"
#include "chips/tachometer.h"
#include "state/esa_trace.h"

namespace {

constexpr U32_t FAULT_BIT = 0x001;
constexpr int DRIVES_PER_PORT = 8;

constexpr int PORT_FAN_POWER = 1;  // bit n: fan n has power, on every wiring of the chip
constexpr U8_t SPEED_NO_PULSES = 0xFF;
constexpr U8_t SPEED_STANDSTILL = 0;

struct DutyCode {
    U8_t percent;
    U8_t code;
};
constexpr DutyCode DUTY_CODES[] = {{0, 0x00}, {25, 0x27}, {50, 0x2F}, {75, 0x37}, {100, 0x3F}};

bool fanKnown(int fanInx) {
    if (fanInx >= 0 && fanInx < SES_K_FANS_MAX) {
        return true;
    }
    ESA_TRACE("Un-supported Fan Number = [%d]", fanInx);
    return false;
}

const DutyCode* dutyCodeOf(U8_t percent) {
    for (const DutyCode& duty : DUTY_CODES) {
        if (duty.percent == percent) {
            return &duty;
        }
    }
    return nullptr;
}

}  // namespace

ESA_CODE_e vsc055RegisterRead(U8_t number, U8_t* value) {
    return esaI2CDataRead(esaControl.i2cAddressVsc055, number, value, 1);
}

void vsc055RegisterWrite(U8_t number, const U8_t& shadow) {
    esaI2CDataWrite(esaControl.i2cAddressVsc055, number, &shadow, 1);
}

void vsc055PortWrite(int port, U8_t value) {
    esaControl.vitesse.vsc055GPD[port] = value;
    vsc055RegisterWrite(VSC055_REG_GPD(port), esaControl.vitesse.vsc055GPD[port]);
}

void vsc055PortBitsSet(int port, U8_t bits) {
    vsc055PortWrite(port, esaControl.vitesse.vsc055GPD[port] | bits);
}

void vsc055PortBitsClear(int port, U8_t bits) {
    vsc055PortWrite(port, esaControl.vitesse.vsc055GPD[port] & static_cast<U8_t>(~bits));
}

ESA_CODE_e vsc055Probe(U32_t information) {
    U8_t value = 0;
    if (esaProbe(esaControl.i2cAddressVsc055, VSC055_REG_DDP(0), &value)) {
        return ESA_E_OK;
    }
    ESA_TRACE("Read I2C fails. I2C cable is not connected or wrong enclosure type.");
    ESA_TRACE("Now marking Fault on I2C Device with Address [0x%x].", esaControl.i2cAddressVsc055);
    esaProbeMark(FAULT_BIT);
    esaI2CStatusEventSend(information, 0, ESA_E_GENERR);
    return ESA_E_GENERR_I2C_UNAVAILABLE;
}

ESA_CODE_e vsc055DirectionsSetup() {
    ESA_TRACE("Setup the data direction for all VSC055 ports.");
    for (int port = 0; port < VSC055_PORTS; ++port) {
        const U8_t& shadow = esaControl.vitesse.vsc055DDP[port];
        vsc055RegisterWrite(VSC055_REG_DDP(port), shadow);
        ESA_TRACE("ESA internal database, esaControl.vitesse.vsc055DDP[%d] = [0x%x]", port, shadow);
        U8_t value = 0;
        const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_DDP(port), &value);
        if (code != ESA_E_OK) {
            return code;
        }
        ESA_TRACE("Read VSC055_DDP[%d] Register, returned value = [0x%x]", port, value);
    }
    return ESA_E_OK;
}

ESA_CODE_e vsc055DriveLedWrite(const Vsc055LedPorts_t& ports, int driveNumber, bool lit,
                               bool portTraced) {
    const bool low = driveNumber >= 0 && driveNumber < DRIVES_PER_PORT;
    const bool high = driveNumber >= DRIVES_PER_PORT &&
                      driveNumber < esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX);
    if (!low && !high) {
        ESA_TRACE("Un-supported Drive Number = [%d]", driveNumber);
        return ESA_E_GENERR;
    }
    const int port = low ? ports.low : ports.high;
    const U8_t bit = static_cast<U8_t>(1 << (driveNumber % DRIVES_PER_PORT));
    U8_t& shadow = esaControl.vitesse.vsc055GPD[port];
    shadow = lit ? shadow & static_cast<U8_t>(~bit) : shadow | bit;
    if (portTraced) {
        ESA_TRACE("vsc055GPD[%d] = [0x%x]", port, shadow);
    }
    vsc055RegisterWrite(VSC055_REG_GPD(port), shadow);
    return ESA_E_OK;
}

// ---- fans ----

void vsc055FanControlWrite(int fan, U8_t control) {
    esaControl.vitesse.vsc055FSC[fan] = control;
    vsc055RegisterWrite(VSC055_REG_FSC(fan), esaControl.vitesse.vsc055FSC[fan]);
}

void esaVsc055FanPwmLoad(U8_t fanInx, U8_t pwmPercentage) {
    ESA_TRACE("Load PWM [%d] Percent to Fan [%d]", pwmPercentage, fanInx);
    const DutyCode* duty = dutyCodeOf(pwmPercentage);
    if (duty == nullptr) {
        ESA_TRACE("Un-supported PWM Percentage [%d]", pwmPercentage);
        return;
    }
    if (!fanKnown(fanInx)) {
        return;
    }
    esaControl.vitesse.vsc055PWMC[fanInx] = duty->code;
    vsc055RegisterWrite(VSC055_REG_PWMC(fanInx), esaControl.vitesse.vsc055PWMC[fanInx]);
    if (pwmPercentage == 0) {
        vsc055PortBitsClear(PORT_FAN_POWER, static_cast<U8_t>(1 << fanInx));
    }
}

ESA_CODE_e esaVsc055FanSpeedRead(int fanInx, U16_t* fanRpmSpeedPtr) {
    if (!fanKnown(fanInx)) {
        return ESA_E_GENERR;
    }
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_FAN_SPEED(fanInx), &value);
    if (code != ESA_E_OK) {
        return code;
    }
    ESA_TRACE("Fan [%d] has Vitesse Fan Speed value = [%d].", fanInx, value);
    if (value == SPEED_NO_PULSES) {
        ESA_TRACE("No tachometer pulses present, NOT able to read speed for Fan [%d].", fanInx);
        ESA_TRACE("Return read error for Fan [%d].", fanInx);
        return ESA_E_GENERR;
    }
    if (value == SPEED_STANDSTILL) {
        ESA_TRACE("Fan [%d] has speed [0].", fanInx);
        *fanRpmSpeedPtr = 0;
        return ESA_E_OK;
    }
    *fanRpmSpeedPtr = esaTachometerRpm(fanInx, VSC055_TACHOMETER_CLOCK, value);
    return ESA_E_OK;
}
