// SPDX-License-Identifier: Apache-2.0
// Drive slots, status LEDs and supply inputs of the Xyratex 2U12ATX.
#include "chassis/xyratex_wiring.h"

#include "chassis/xyratex.h"
#include "state/esa_trace.h"

namespace {

constexpr int PORT_PRESENCE_LOW = 0;   // slots 0 to 7, 0 = present
constexpr int PORT_PRESENCE_HIGH = 3;  // slots 8 to 11
constexpr int SLOTS_LOW = 8;
constexpr int PORT_SUPPLY = 4;
constexpr U8_t SUPPLY_VOLTAGE_OK = 0x10;     // input
constexpr U8_t SUPPLY_REDUNDANCY_OK = 0x20;  // input
constexpr U8_t LED_PSU_OK = 0x20;
constexpr U8_t LED_REDUNDANCY_FAIL = 0x40;
constexpr Vsc055LedPorts_t LED_PORTS = {7, 6};

ESA_CODE_e driveLedWrite(int driveNumber, bool lit) {
    return vsc055DriveLedWrite(LED_PORTS, driveNumber, lit, false);
}

bool isPresent(U8_t inputs, int slot) {
    return (inputs & (1 << (slot % SLOTS_LOW))) == 0;
}

void presenceTrace(int port, int first, int end) {
    U8_t inputs = 0;
    if (vsc055RegisterRead(VSC055_REG_GPD(port), &inputs) != ESA_E_OK) {
        return;
    }
    for (int slot = first; slot < end; ++slot) {
        ESA_TRACE("Drive in Slot [%d] %s present.", slot,
                  isPresent(inputs, slot) ? "is" : "is NOT");
    }
}

void statusLedWrite(U8_t led, bool lit, const char* name) {
    ESA_TRACE("Turn [%s] %s LED.", lit ? "ON" : "OFF", name);
    if (lit) {
        vsc055PortBitsSet(XYRATEX_PORT_STATUS_LEDS, led);
    } else {
        vsc055PortBitsClear(XYRATEX_PORT_STATUS_LEDS, led);
    }
}

ESA_CODE_e supplyInputRead(U8_t input) {
    U8_t value = 0;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(PORT_SUPPLY), &value);
    if (code != ESA_E_OK) {
        return code;
    }
    return (value & input) != 0 ? ESA_E_OK : ESA_E_GENERR;
}

}  // namespace

// ---- drives ----

ESA_CODE_e xyratexDriveFaultLEDSet(int driveNumber) {
    ESA_TRACE("Set Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, true);
}

ESA_CODE_e xyratexDriveFaultLEDClear(int driveNumber) {
    ESA_TRACE("Clear Fault LED on Drive [%d]", driveNumber);
    return driveLedWrite(driveNumber, false);
}

ESA_CODE_e xyratexIsDrivePresent(int driveNumber) {
    if (driveNumber < 0 || driveNumber >= XYRATEX_SLOTS) {
        return ESA_E_GENERR;
    }
    U8_t inputs = 0;
    const int port = driveNumber < SLOTS_LOW ? PORT_PRESENCE_LOW : PORT_PRESENCE_HIGH;
    const ESA_CODE_e code = vsc055RegisterRead(VSC055_REG_GPD(port), &inputs);
    if (code != ESA_E_OK) {
        return code;
    }
    const bool present = isPresent(inputs, driveNumber);
    ESA_TRACE("Drive in Slot [%d] is %spresent.", driveNumber, present ? "" : "NOT ");
    return present ? ESA_E_OK : ESA_E_GENERR;
}

void xyratexDrivePresenceRead() {
    presenceTrace(PORT_PRESENCE_LOW, 0, SLOTS_LOW);
    presenceTrace(PORT_PRESENCE_HIGH, SLOTS_LOW, XYRATEX_SLOTS);
}

// ---- status LEDs ----

void xyratexPsuOkLEDSet() {
    statusLedWrite(LED_PSU_OK, true, "PSU_OK");
}

void xyratexPsuOkLEDClear() {
    statusLedWrite(LED_PSU_OK, false, "PSU_OK");
}

void xyratexPowerRedundancyFailLEDSet() {
    statusLedWrite(LED_REDUNDANCY_FAIL, true, "Power Redundancy Fail");
}

void xyratexPowerRedundancyFailLEDClear() {
    statusLedWrite(LED_REDUNDANCY_FAIL, false, "Power Redundancy Fail");
}

void xyratexFanFailLEDSet() {
    statusLedWrite(XYRATEX_LED_FAN_FAIL, true, "FAN_FAIL");
}

void xyratexFanFailLEDClear() {
    statusLedWrite(XYRATEX_LED_FAN_FAIL, false, "FAN_FAIL");
}

// ---- supplies ----

ESA_CODE_e xyratexPowerVoltageStatusRead() {
    const ESA_CODE_e code = supplyInputRead(SUPPLY_VOLTAGE_OK);
    if (code == ESA_E_GENERR) {
        ESA_TRACE("Return Power Voltage Status [ERROR].");
    }
    return code;
}

ESA_CODE_e xyratexPowerRedundancyFailStatusRead() {
    const ESA_CODE_e code = supplyInputRead(SUPPLY_REDUNDANCY_OK);
    if (code != ESA_E_GENERR_I2C_UNAVAILABLE) {
        ESA_TRACE("Return Power Redundancy Fail Status [%s].", code == ESA_E_OK ? "OK" : "ERROR");
    }
    return code;
}
