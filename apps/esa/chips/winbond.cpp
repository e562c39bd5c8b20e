// SPDX-License-Identifier: Apache-2.0
#include "chips/winbond.h"

#include "bus/esa_i2c.h"
#include "bus/probe.h"
#include "chips/tachometer.h"
#include "policy/esa_policy.h"
#include "state/alarm_name.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t COUNT_STOPPED = 255;

}  // namespace

ESA_CODE_e winbondProbe(U8_t i2cAddr, U8_t* serialBusAddress, U32_t information,
                        const char* place) {
    if (esaProbe(i2cAddr, WINBOND_REG_SERIAL_BUS_ADDRESS, serialBusAddress)) {
        return ESA_E_OK;
    }
    ESA_TRACE(
        "Read I2C address [0x%x] fails. I2C cable is not connected or wrong enclosure type on %s.",
        i2cAddr, place);
    esaI2CStatusEventSend(information, 0, ESA_E_GENERR);
    esaCompositeFaultManage(ESA_K_FAULT_I2C_BUS, ESA_E_GENERR);
    return ESA_E_GENERR_I2C_UNAVAILABLE;
}

ESA_CODE_e winbondFanCountRead(U8_t i2cAddr, U8_t countRegister, int fan, const char* device,
                               U16_t* rpm) {
    U8_t count = 0;
    const ESA_CODE_e code = esaI2CDataRead(i2cAddr, countRegister, &count, 1);
    if (code != ESA_E_OK) {
        return code;
    }
    ESA_TRACE("%s, fanSpeedReading Reg [0x%x], read speed value = [%d].", device, countRegister,
              count);
    if (count == COUNT_STOPPED) {
        ESA_TRACE("%s, fanSpeedReading Reg [0x%x] has Speed value = [0].", device, countRegister);
        *rpm = 0;
        return ESA_E_OK;
    }
    *rpm = esaTachometerRpm(fan, WINBOND_TACHOMETER_CLOCK, count);
    ESA_TRACE("%s, fanSpeedReading Reg [0x%x] has RPM [%d].", device, countRegister, *rpm);
    return ESA_E_OK;
}

void winbondAlarmStateTrace(EsaAlarmState_e state) {
    const char* name = esaAlarmStateName(state);
    if (name == nullptr) {
        ESA_TRACE("Set Backplane Alarm State to un-supported value [%d].", static_cast<int>(state));
    } else if (state == ESA_E_ALARM_STATE_FAULT_S1 || state == ESA_E_ALARM_STATE_MUTE_S3) {
        ESA_TRACE("Set Backplane Alarm State to [%s].", name);
    } else {
        ESA_TRACE("No action on setting Backplane Alarm State to [%s].", name);
    }
}

bool winbondRailIsGood(double volts, double low, double high, const char* rail) {
    ESA_TRACE("%s low limit = [%f]V. %s high limit = [%f].", rail, low, rail, high);
    if (volts >= low && volts <= high) {
        return true;
    }
    ESA_TRACE("Return Power Voltage Tolerance Status [ERROR] because of %s measurement.", rail);
    return false;
}
