// SPDX-License-Identifier: Apache-2.0
#include "chips/vsc055.h"

#include "bus/esa_i2c.h"
#include "bus/probe.h"
#include "state/esa_trace.h"

constexpr U32_t FAULT_BIT = 0x001;
constexpr int DRIVES_PER_PORT = 8;

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

bool vsc055DriveLedWrite(const Vsc055LedPorts_t& ports, int driveNumber, bool lit,
                         bool portTraced) {
    const bool low = driveNumber >= 0 && driveNumber < DRIVES_PER_PORT;
    const bool high = driveNumber >= DRIVES_PER_PORT &&
                      driveNumber < esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX);
    if (!low && !high) {
        ESA_TRACE("Un-supported Drive Number = [%d]", driveNumber);
        return false;
    }
    const int port = low ? ports.low : ports.high;
    const U8_t bit = static_cast<U8_t>(1 << (driveNumber % DRIVES_PER_PORT));
    U8_t& shadow = esaControl.vitesse.vsc055GPD[port];
    shadow = lit ? shadow & static_cast<U8_t>(~bit) : shadow | bit;
    if (portTraced) {
        ESA_TRACE("vsc055GPD[%d] = [0x%x]", port, shadow);
    }
    vsc055RegisterWrite(VSC055_REG_GPD(port), shadow);
    return true;
}
