// SPDX-License-Identifier: Apache-2.0
// PCA9539, drives 0 to 7 on port 0 and 8 to 15 on port 1.
#include "chips/pca9539.h"

#include "bus/esa_i2c.h"
#include "chips/register_rows.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t PCA9539_REG_OUTPUT_PORT_0 = 2;
constexpr U8_t PCA9539_REG_OUTPUT_PORT_1 = 3;
constexpr U8_t PCA9539_REG_CONFIGURATION_PORT_0 = 6;
constexpr U8_t PCA9539_REG_CONFIGURATION_PORT_1 = 7;
constexpr U8_t ALL_OUTPUTS = 0x00;
constexpr int DRIVES_PER_PORT = 8;

constexpr EsaRegisterRow_t<Pca9539Control_t> CONFIGURATION[] = {
    {PCA9539_REG_CONFIGURATION_PORT_0, ALL_OUTPUTS, &Pca9539Control_t::configurationPort0Register,
     nullptr, "pca9539.configurationPort0Register"},
    {PCA9539_REG_CONFIGURATION_PORT_1, ALL_OUTPUTS, &Pca9539Control_t::configurationPort1Register,
     nullptr, "pca9539.configurationPort1Register"},
};

struct OutputPort {
    U8_t number;
    U8_t Pca9539Control_t::*shadow;
    const char* setText;
    const char* clearText;
};
// Set and clear name the two ports in opposite styles: log readers match on all four.
// (compatibility: port-names)
constexpr OutputPort OUTPUT_PORTS[] = {
    {PCA9539_REG_OUTPUT_PORT_0, &Pca9539Control_t::outputPort0Register, "pca9539.outputPort0",
     "pca9539.outputPort0Register"},
    {PCA9539_REG_OUTPUT_PORT_1, &Pca9539Control_t::outputPort1Register,
     "pca9539.outputPort1Register", "pca9539.outputPort1"},
};

// Port 0 takes its drives whatever deviceMaxNumber is. (compatibility: leds-below-eight)
const OutputPort* portOf(int driveNumber) {
    if (driveNumber >= 0 && driveNumber < DRIVES_PER_PORT) {
        return &OUTPUT_PORTS[0];
    }
    if (driveNumber >= DRIVES_PER_PORT &&
        driveNumber < esaBounded(esaControl.deviceMaxNumber, SES_K_DEVICES_MAX)) {
        return &OUTPUT_PORTS[1];
    }
    return nullptr;
}

ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    const OutputPort* port = portOf(driveNumber);
    if (port == nullptr) {
        ESA_TRACE("Un-supported Drive Number = [%d]", driveNumber);
        return ESA_E_GENERR;
    }
    const U8_t bit = static_cast<U8_t>(1 << (driveNumber % DRIVES_PER_PORT));
    U8_t& shadow = esaControl.pca9539.*port->shadow;
    shadow = lit ? shadow | bit : shadow & static_cast<U8_t>(~bit);
    ESA_TRACE("%s = [0x%x]", lit ? port->setText : port->clearText, shadow);
    esaI2CDataWrite(esaControl.i2cAddressPca9539, port->number, &shadow, 1);
    return ESA_E_OK;
}

}  // namespace

ESA_CODE_e esaPca9539Init() {
    const EsaRegisterTarget_t<Pca9539Control_t> target = {esaControl.i2cAddressPca9539,
                                                          esaControl.pca9539, "PCA9539"};
    if (esaRegisterRowsWrite(target, CONFIGURATION) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    ESA_TRACE("Finish the initialization for the PCA9539.");
    return ESA_E_OK;
}

ESA_CODE_e esaPca9539DriveFaultLEDSet(int driveNumber) {
    ESA_TRACE("Set Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, true);
}

ESA_CODE_e esaPca9539DriveFaultLEDClear(int driveNumber) {
    ESA_TRACE("Clear Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, false);
}
