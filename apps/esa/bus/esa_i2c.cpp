// SPDX-License-Identifier: Apache-2.0
// One fault bit per known device: a failed transfer sets it, a good one clears it, and each change
// is told to the composite fault manager and the event manager. What is known comes from the
// chassis row.
#include "bus/esa_i2c.h"

#include "i2c.h"
#include "link/esa_event.h"
#include "policy/esa_policy.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

void esaI2CStatusEventSend(U32_t information, U32_t sensorPosition, ESA_CODE_e status) {
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.information = information;
    event.temperatureSensorPosition = sensorPosition;
    event.general_use1 = static_cast<U32_t>(static_cast<S32_t>(status));
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_INFORMATION, EMP_E_TYPE_WARNING, &event);
}

namespace {

constexpr int TRANSFER_FAILED = -1;

// Stands for every address without a row of its own; shares the bit of the first device.
constexpr EsaI2cDevice_t ANY_DEVICE = {0, 0x001, 0, 0};

const EsaI2cDevice_t& deviceOf(U8_t i2cAddr) {
    const std::span<const EsaI2cDevice_t> devices = esaChassisOrNone().i2cDevices;
    if (devices.empty()) {
        return ANY_DEVICE;
    }
    for (const EsaI2cDevice_t& device : devices) {
        if (device.address == i2cAddr) {
            return device;
        }
    }
    // "Read" stands for writes, too: log readers know the line like this.
    // (compatibility: undefined-read)
    ESA_TRACE("I2C Bus Read with undefined address [0x%x].", i2cAddr);
    return ANY_DEVICE;
}

void deviceFailed(const EsaI2cDevice_t& device, U8_t i2cAddr) {
    ESA_TRACE("Detect I2C Bus Status [ERROR] with Address [0x%x].", i2cAddr);
    if ((esaControl.i2cDeviceFaultStatus & device.faultBit) != 0) {
        ESA_TRACE("Already marked Fault on I2C Device with Address [0x%x].", i2cAddr);
        return;
    }
    ESA_TRACE("Now marking Fault on I2C Device with Address [0x%x].", i2cAddr);
    esaControl.i2cDeviceFaultStatus |= device.faultBit;
    esaCompositeFaultManage(ESA_K_FAULT_I2C_BUS, ESA_E_GENERR);
    esaI2CStatusEventSend(device.information, device.sensor, ESA_E_GENERR);
}

void deviceAnswered(const EsaI2cDevice_t& device, U8_t i2cAddr) {
    if ((esaControl.i2cDeviceFaultStatus & device.faultBit) == 0) {
        ESA_TRACE("Already marked OK on I2C Device with Address [0x%x].", i2cAddr);
        return;
    }
    ESA_TRACE("Now marking OK on I2C Device with Address [0x%x].", i2cAddr);
    esaControl.i2cDeviceFaultStatus &= ~device.faultBit;
    if (esaControl.i2cDeviceFaultStatus == 0) {
        esaCompositeFaultManage(ESA_K_FAULT_I2C_BUS, ESA_E_OK);
    }
    esaI2CStatusEventSend(device.information, device.sensor, ESA_E_OK);
}

ESA_CODE_e transferResult(const EsaI2cDevice_t& device, U8_t i2cAddr, int result) {
    if (result == TRANSFER_FAILED) {
        deviceFailed(device, i2cAddr);
        return ESA_E_GENERR_I2C_UNAVAILABLE;
    }
    deviceAnswered(device, i2cAddr);
    return ESA_E_OK;
}

}  // namespace

ESA_CODE_e esaI2CDataWrite(U8_t i2cAddr, U8_t regAddr, const U8_t* writeDataPtr, U32_t dataLen) {
    if (esaControl.i2cConnected == 0) {
        return ESA_E_GENERR_I2C_UNAVAILABLE;
    }
    const EsaI2cDevice_t& device = deviceOf(i2cAddr);
    return transferResult(
        device, i2cAddr,
        write_i2c_data(esaControl.i2cFileFd, i2cAddr, regAddr, writeDataPtr, dataLen));
}

ESA_CODE_e esaI2CDataRead(U8_t i2cAddr, U8_t regAddr, U8_t* readDataPtr, U32_t dataLen) {
    if (esaControl.i2cConnected == 0) {
        return ESA_E_GENERR_I2C_UNAVAILABLE;
    }
    const EsaI2cDevice_t& device = deviceOf(i2cAddr);
    return transferResult(
        device, i2cAddr,
        read_i2c_data(esaControl.i2cFileFd, i2cAddr, regAddr, readDataPtr, dataLen));
}
