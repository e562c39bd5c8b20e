// SPDX-License-Identifier: Apache-2.0
// The guideline design with one W83792AD, and a PCA9539 for the drive LEDs. The monitor's own
// limits are left wide open: the service judges the readings itself.
#include "chassis/w83792ad.h"

#include <algorithm>

#include "bus/esa_i2c.h"
#include "chassis/table.h"
#include "chips/pca9539.h"
#include "chips/register_rows.h"
#include "chips/w83792ad.h"
#include "chips/winbond.h"
#include "policy/esa_policy.h"
#include "policy/fan_load.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

namespace {

using Shadows = W83792adControl_t;
using Row = EsaRegisterRow_t<Shadows>;

constexpr U8_t ADDRESS_W83792AD = 0x2C;
constexpr U8_t ADDRESS_PCA9539 = 0x74;

constexpr U8_t GPIOA_REDUNDANT = 0x80;  // input
constexpr U8_t LIMIT_HIGH = 0xFF;
constexpr U8_t LIMIT_LOW = 0x01;
constexpr U8_t PRE_SCALE = 0x83;
constexpr U8_t DUTY_FULL = 15;  // of sixteenths

constexpr Row VOLTAGE_LIMITS[] = {
    {W83792AD_REG_VCOREA_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vcoreaHighLimitRegister,
     "Set Vcorea High Limit", nullptr},
    {W83792AD_REG_VCOREA_LOW_LIMIT, LIMIT_LOW, &Shadows::vcoreaLowLimitRegister,
     "Set Vcorea Low Limit", nullptr},
    {W83792AD_REG_VCOREB_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vcorebHighLimitRegister,
     "Set Vcoreb High Limit", nullptr},
    {W83792AD_REG_VCOREB_LOW_LIMIT, LIMIT_LOW, &Shadows::vcorebLowLimitRegister,
     "Set Vcoreb Low Limit", nullptr},
    {W83792AD_REG_VIN0_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vin0HighLimitRegister,
     "Set Vin0 High Limit", nullptr},
    {W83792AD_REG_VIN0_LOW_LIMIT, LIMIT_LOW, &Shadows::vin0LowLimitRegister, "Set VIN0 Low Limit",
     nullptr},
    {W83792AD_REG_VIN1_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vin1HighLimitRegister,
     "Set Vin1 High Limit", nullptr},
    {W83792AD_REG_VIN1_LOW_LIMIT, LIMIT_LOW, &Shadows::vin1LowLimitRegister, "Set VIN1 Low Limit",
     nullptr},
    {W83792AD_REG_VIN2_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vin2HighLimitRegister,
     "Set Vin2 High Limit", nullptr},
    {W83792AD_REG_VIN2_LOW_LIMIT, LIMIT_LOW, &Shadows::vin2LowLimitRegister, "Set VIN2 Low Limit",
     nullptr},
    {W83792AD_REG_VIN3_HIGH_LIMIT, LIMIT_HIGH, &Shadows::vin3HighLimitRegister,
     "Set Vin3 High Limit", nullptr},
    {W83792AD_REG_VIN3_LOW_LIMIT, LIMIT_LOW, &Shadows::vin3LowLimitRegister, "Set VIN3 Low Limit",
     nullptr},
    {W83792AD_REG_POSITIVE_5VCC_HIGH_LIMIT, LIMIT_HIGH, &Shadows::positive5VccHighLimitRegister,
     "Set +5VCC High Limit", nullptr},
    {W83792AD_REG_POSITIVE_5VCC_LOW_LIMIT, LIMIT_LOW, &Shadows::positive5VccLowLimitRegister,
     "Set +5VCC Low Limit", nullptr},
};

constexpr Row LIMITS_BEHIND_TEMPERATURE[] = {
    {W83792AD_REG_TEMPERATURE_1_LOW_LIMIT, LIMIT_LOW, &Shadows::temperatureSensor1LowLimitRegister,
     "Set Temperature Sensor1 Low Limit", nullptr},
    {W83792AD_REG_FAN1_COUNT_HIGH_LIMIT, LIMIT_HIGH, &Shadows::fan1CountHighLimitRegister,
     "Set Fan1 Count High Limit", nullptr},
    {W83792AD_REG_FAN2_COUNT_HIGH_LIMIT, LIMIT_HIGH, &Shadows::fan2CountHighLimitRegister,
     "Set Fan2 Count High Limit", nullptr},
    {W83792AD_REG_FAN3_COUNT_HIGH_LIMIT, LIMIT_HIGH, &Shadows::fan3CountHighLimitRegister,
     "Set Fan3 Count High Limit", nullptr},
};

constexpr Row CONTROLS[] = {
    // Fails under the next register's name: log readers match on it.
    // (compatibility: next-register)
    {W83792AD_REG_PIN_CONTROL, 0x40, &Shadows::pinControlRegister, nullptr,
     "smiOvtPropertyRegister"},
    {W83792AD_REG_SMI_OVT_PROPERTY, 0x01, &Shadows::smiOvtPropertyRegister, nullptr,
     "smiOvtPropertyRegister"},
    {W83792AD_REG_GPIO_ENABLE, 0x1E, &Shadows::gpioEnableRegister, nullptr, "gpioEnableRegister"},
    {W83792AD_REG_GPIOA_OUTPUT_CONTROL, 0x45, &Shadows::gpioaOutputControlRegister, nullptr,
     "gpioaOutputControlRegister"},
    {W83792AD_REG_GPIOA_DATA_STATUS, 0x40, &Shadows::gpioaDataStatusRegister, nullptr,
     "gpioaDataStatusRegister"},
    {W83792AD_REG_GPIOB_OUTPUT_CONTROL, 0x00, &Shadows::gpiobOutputControlRegister, nullptr,
     "gpiobOutputControlRegister"},
    {W83792AD_REG_GPIOB_DATA_STATUS, 0x00, &Shadows::gpiobDataStatusRegister, nullptr,
     "gpiobDataStatusRegister"},
};

constexpr Row TEMPERATURE_SETUP[] = {
    {W83792AD_REG_TEMPERATURE_2_3_ADDRESS, 0x88, &Shadows::temperature23SerialBusAddressRegister,
     nullptr, "temperature23SerialBusAddressRegister"},
    {W83792AD_REG_THERMAL_DIODE_SELECT, 0x00, &Shadows::thermalDiodeSelectRegister, nullptr,
     "thermalDiodeSelectRegister"},
};

EsaRegisterTarget_t<Shadows> target() {
    return {esaControl.i2cAddressW83792ad, esaControl.w83792ad, "W83792AD"};
}

// ---- start-up ----

ESA_CODE_e limitsSetup() {
    const Row temperatureHigh = {W83792AD_REG_TEMPERATURE_1_HIGH_LIMIT,
                                 static_cast<U8_t>(esaControl.overheatTemperatureLimit),
                                 &Shadows::temperatureSensor1HighLimitRegister,
                                 "Set Temperature Sensor1 High Limit", nullptr};
    if (esaRegisterRowsWrite(target(), VOLTAGE_LIMITS) != ESA_E_OK ||
        esaRegisterRowWrite(target(), temperatureHigh) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return esaRegisterRowsWrite(target(), LIMITS_BEHIND_TEMPERATURE);
}

ESA_CODE_e controlsSetup() {
    const ESA_CODE_e code = esaRegisterRowsWrite(target(), CONTROLS);
    if (code == ESA_E_OK) {
        esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    }
    return code;
}

ESA_CODE_e fanDivisorsSetup() {
    const U8_t nibble =
        (esaControl.fanSpeedDivisor & W83792AD_DIVISOR_MASK) | W83792AD_DIVISOR_KEPT;
    const U8_t divisor = static_cast<U8_t>(nibble * 0x11);
    const Row rows[] = {
        {W83792AD_REG_FAN_DIVISOR_1, divisor, &Shadows::fanDivisor1Register, nullptr,
         "fanDivisor1Register"},
        {W83792AD_REG_FAN_DIVISOR_2, divisor, &Shadows::fanDivisor2Register, nullptr,
         "fanDivisor2Register"},
        {W83792AD_REG_FAN_DIVISOR_3, divisor, &Shadows::fanDivisor3Register, nullptr,
         "fanDivisor3Register"},
    };
    return esaRegisterRowsWrite(target(), rows);
}

ESA_CODE_e fanPreScalesSetup() {
    for (int fan = 0; fan < W83792AD_FANS; ++fan) {
        U8_t& shadow = esaControl.w83792ad.fanPreScaleRegister[fan];
        shadow = PRE_SCALE;
        if (esaI2CDataWrite(esaControl.i2cAddressW83792ad, W83792AD_REG_FAN_PRE_SCALE[fan], &shadow,
                            1) != ESA_E_OK) {
            ESA_TRACE("Setting fanPreScaleRegister on W83792AD failed");
            return ESA_E_GENERR;
        }
    }
    return ESA_E_OK;
}

ESA_CODE_e fansStart() {
    esaFansStart(ESA_CHASSIS_W83792AD);
    return ESA_E_OK;
}

ESA_CODE_e temperaturesSetup() {
    return esaRegisterRowsWrite(target(), TEMPERATURE_SETUP);
}

ESA_CODE_e alarmMute() {
    esaAlarmMute(ESA_CHASSIS_W83792AD);
    ESA_TRACE("Finish the initialization for the W83792AD guideline based enclosure.");
    return ESA_E_OK;
}

// ---- run time ----

ESA_CODE_e fanSpeedRead(int fan, U16_t* rpm) {
    return esaW83792adFanSpeedRead(static_cast<U8_t>(fan), rpm);
}

void fanLoad(U8_t fan, EsaPercent_t load) {
    constexpr int dutyPerQuarter = 4;
    const int duty = dutyPerQuarter * (load.percent / 25);
    esaW83792adFanPwmLoad(fan, static_cast<U8_t>(std::min<int>(duty, DUTY_FULL)));
}

void fanSwitch(U8_t fan, bool on) {
    esaW83792adFanPwmLoad(fan, on ? DUTY_FULL : U8_t{0});
}

S16_t temperatureRead(int sensor) {
    return esaW83792adTemperatureRead(static_cast<U8_t>(sensor));
}

// ---- the row ----

constexpr EsaPersonalityName_t NAMES[] = {
    {R"("Winbond W83792AD Custom")", "ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM"},
};

// A page judges the voltage last, which overwrites what redundancy said of the element.
// (compatibility: voltage-last-w83792ad)
constexpr EsaSupplyInput_t SUPPLY_INPUTS[] = {
    {.read = esaW83792adPowerRedundancyStatusRead,
     .polled = ESA_SUPPLY_REDUNDANCY,
     .onPage = ESA_SUPPLY_REDUNDANCY,
     .keptWhenUnavailable = false,
     .isMains = false,
     .follow = ESA_NOT_FITTED},
    {.read = esaW83792adPowerVoltageToleranceStatusRead,
     .polled = ESA_SUPPLY_VOLTAGE,
     .onPage = ESA_SUPPLY_VOLTAGE_PAGE,
     .keptWhenUnavailable = false,
     .isMains = true,
     .follow = ESA_NOT_FITTED},
};

constexpr EsaI2cDevice_t DEVICES[] = {
    {ADDRESS_W83792AD, 0x100, ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD, 0},
    {ADDRESS_PCA9539, 0x200, ESA_E_EVENT_INFO_I2C_BUS_STATUS_PCA9539, 0},
};

}  // namespace

constexpr EsaChassis_t ESA_CHASSIS_W83792AD = {
    .facts = {.title = "W83792AD",
              .words = "W83792AD with PCA9539",
              .fans = W83792AD_FANS,
              .sensors = W83792AD_SENSORS,
              .surplusSensors = EsaSurplusSensors_e::LEFT_OUT,
              .tachometerClock = WINBOND_TACHOMETER_CLOCK,
              .slowLooksStopped = true,
              .divisorHighest = W83792AD_DIVISOR_MASK,
              .hottest = 255},
    .names = NAMES,
    .setup = {.deviceMaxNumber = 16,
              .powerSupplyMaxNumber = 2,
              .addressW83792ad = ADDRESS_W83792AD,
              .addressPca9539 = ADDRESS_PCA9539},
    .init = esaW83792adInit,
    .initSuccessText = "Finish initializing for the W83792AD based Enclosure.",
    .initFailureText = "Initializing for the W83792AD based Enclosure fails.",
    .poll = esaW83792adPollTimeoutProcess,
    .supplyInputs = SUPPLY_INPUTS,
    .supplyPageStatus = esaSupplyPageStatus,
    .supplyFaultIndicate = esaSupplyRedundancyFaultIndicate,
    .fanSpeedRead = fanSpeedRead,
    .fanSweepEndsWhenUnavailable = false,
    .fanSpeedDivisor = 0,
    .fanLoad = fanLoad,
    .loadAtStart = {50},
    .policyFans = 0,
    .fanFaultShow = ESA_NOT_FITTED,
    .fanSwitch = fanSwitch,
    .fanGroupSize = 1,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperatureRead = temperatureRead,
    .temperatureSensors = 0,
    .temperaturesPoll = esaTemperaturesPoll,
    .temperaturesPageRead = esaTemperaturesRead,
    .alarmSet = esaW83792adAlarmStateBackplaneSet,
    .alarmRunsByItself = false,
    .alarmSilenced = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = esaAlarmStateKept,
    .alarmPoll = ESA_NOT_FITTED,
    .driveLedSet = esaPca9539DriveFaultLEDSet,
    .driveLedClear = esaPca9539DriveFaultLEDClear,
    .drivePresent = ESA_NOT_FITTED,
    .i2cDevices = DEVICES,
};
static_assert(esaChassisIsSound(ESA_CHASSIS_W83792AD));

ESA_CODE_e esaW83792adInit() {
    ESA_CODE_e code =
        winbondProbe(esaControl.i2cAddressW83792ad, &esaControl.w83792ad.serialBusAddressRegister,
                     ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD, "Backplane");
    for (auto step : {limitsSetup, controlsSetup, fanDivisorsSetup, fanPreScalesSetup, fansStart,
                      temperaturesSetup, alarmMute, esaPca9539Init}) {
        if (code != ESA_E_OK) {
            return code;
        }
        code = step();
    }
    return code;
}

void esaW83792adPollTimeoutProcess() {
    esaPoll();
}

ESA_CODE_e esaW83792adPowerRedundancyStatusRead() {
    U8_t value = 0;
    const ESA_CODE_e code =
        esaI2CDataRead(esaControl.i2cAddressW83792ad, W83792AD_REG_GPIOA_DATA_STATUS, &value, 1);
    if (code != ESA_E_OK) {
        return code;
    }
    if ((value & GPIOA_REDUNDANT) == 0) {
        ESA_TRACE("Return Power Redundancy Status [ERROR].");
        return ESA_E_GENERR;
    }
    ESA_TRACE("Return Power Redundancy Status [OK].");
    return ESA_E_OK;
}
