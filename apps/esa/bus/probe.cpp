// SPDX-License-Identifier: Apache-2.0
#include "bus/probe.h"

#include "i2c.h"
#include "policy/esa_policy.h"
#include "state/esa_trace.h"

bool esaProbe(U8_t i2cAddr, U8_t number, U8_t* value) {
    if (read_i2c_data(esaControl.i2cFileFd, i2cAddr, number, value, 1) == -1) {
        return false;
    }
    ESA_TRACE("Read I2C succeeds. I2C cable is connected");
    esaControl.i2cConnected = 1;
    return true;
}

void esaProbeMark(U32_t faultBit) {
    esaControl.i2cDeviceFaultStatus |= faultBit;
    esaCompositeFaultManage(ESA_K_FAULT_I2C_BUS, ESA_E_GENERR);
}
