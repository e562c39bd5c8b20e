// SPDX-License-Identifier: Apache-2.0
// W83782D: limits, fans, one temperature, the alarm bit. Its own limits are left wide open: the
// service judges the readings itself. The configuration shadow is never loaded from the chip.
#include "chips/w83782d.h"

#include <cstdio>
#include <iterator>

#include "bus/esa_i2c.h"
#include "chips/register_rows.h"
#include "chips/winbond.h"
#include "policy/poll.h"
#include "policy/supply.h"
#include "state/esa_trace.h"

using Shadows = WinbondControl_t;
using Row = EsaRegisterRow_t<Shadows>;

constexpr U8_t W83782D_REG_TEMPERATURE_1 = 0x27;
constexpr U8_t W83782D_REG_FAN_COUNT[] = {0x28, 0x29, 0x2A};
constexpr U8_t W83782D_REG_CONFIGURATION = 0x40;
constexpr U8_t W83782D_REG_FAN_BEEP_GPO = 0x4D;

constexpr U8_t LIMIT_HIGH = 0xFF;
constexpr U8_t LIMIT_LOW = 0x01;
constexpr U8_t CONFIGURATION_MUTE = 0x40;
constexpr U8_t BEEP_GPO = 0x80;
constexpr U8_t DUTY_FULL = 255;
constexpr U8_t LOAD_AT_START = 100;  // percent
constexpr int DEGREES_PER_TURN = 256;
constexpr U8_t SENSOR_SIGN = 0x80;

constexpr Row LIMITS[] = {
    {0x2B, LIMIT_HIGH, &Shadows::vcoreaHighLimitRegister, "Set Vcorea High Limit", nullptr},
    {0x2C, LIMIT_LOW, &Shadows::vcoreaLowLimitRegister, "Set Vcorea Low Limit", nullptr},
    {0x2D, LIMIT_HIGH, &Shadows::vinr0HighLimitRegister, "Set Vinr0 High Limit", nullptr},
    {0x2E, LIMIT_LOW, &Shadows::vinr0LowLimitRegister, "Set Vinr0 Low Limit", nullptr},
    {0x2F, LIMIT_HIGH, &Shadows::positive3_3VinHighLimitRegister, "Set +3.3Vin High Limit",
     nullptr},
    {0x30, LIMIT_LOW, &Shadows::positive3_3VinLowLimitRegister, "Set +3.3Vin Low Limit", nullptr},
    // Without "Set": log readers match on the line.
    {0x31, LIMIT_HIGH, &Shadows::positive5VinHighLimitRegister, "+5Vin High Limit", nullptr},
    {0x32, LIMIT_LOW, &Shadows::positive5VinLowLimitRegister, "Set +5Vin Low Limit", nullptr},
    {0x33, LIMIT_HIGH, &Shadows::positive12VinHighLimitRegister, "Set +12Vin High Limit", nullptr},
    {0x34, LIMIT_LOW, &Shadows::positive12VinLowLimitRegister, "Set +12Vin Low Limit", nullptr},
    {0x35, LIMIT_HIGH, &Shadows::negative12VinHighLimitRegister, "Set -12Vin High Limit", nullptr},
    {0x36, LIMIT_LOW, &Shadows::negative12VinLowLimitRegister, "Set -12Vin Low Limit", nullptr},
    {0x37, LIMIT_HIGH, &Shadows::negative5VinHighLimitRegister, "Set -5Vin High Limit", nullptr},
    {0x38, LIMIT_LOW, &Shadows::negative5VinLowLimitRegister, "Set -5Vin Low Limit", nullptr},
};

constexpr Row TEMPERATURE_LIMITS[] = {
    {0x39, 60, &Shadows::temperatureSensor1HighLimitRegister, nullptr,
     "temperatureSensor1HighLimitRegister"},
    {0x3A, 127, &Shadows::temperatureSensor1HysteresisRegister, nullptr,
     "temperatureSensor1HysteresisRegister"},
};

struct PwmOutput_t {
    U8_t duty;               // register
    U8_t Shadows::*stored;   // takes the new value
    U8_t Shadows::*written;  // is sent
};
// The single-monitor design.
constexpr PwmOutput_t PWM_OUTPUTS[] = {
    {0x5B, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut1ControlRegister},
    {0x5E, &Shadows::pwmOut2ControlRegister, &Shadows::pwmOut2ControlRegister},
    {0x5F, &Shadows::pwmOut3ControlRegister, &Shadows::pwmOut3ControlRegister},
};
// Backplanes number their outputs in another order; the fourth stores its value in the first
// output's shadow and sends its own, old one: backplanes rely on a fourth output that stays put.
constexpr PwmOutput_t BACKPLANE_PWM_OUTPUTS[] = {
    {0x5B, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut1ControlRegister},
    {0x5A, &Shadows::pwmOut2ControlRegister, &Shadows::pwmOut2ControlRegister},
    {0x5E, &Shadows::pwmOut3ControlRegister, &Shadows::pwmOut3ControlRegister},
    {0x5F, &Shadows::pwmOut1ControlRegister, &Shadows::pwmOut4ControlRegister},
};

// Volts of a reading: (reading x 0.016 - offset) / divisor x scale, by the channel's kind.
enum class Kind { PLAIN, SCALED, NEGATIVE };

struct Channel_t {
    U8_t reading;
    Kind kind;
    double scale;   // SCALED: factor; NEGATIVE: divisor
    double offset;  // NEGATIVE: volts
    const char* name;
    const char* end;             // of the raw line
    double EsaControl_t::*kept;  // null: logged only
    double low;                  // tolerance of what is kept, volts
    double high;
};
constexpr Channel_t CHANNELS[] = {
    {0x20, Kind::PLAIN, 0, 0, "Vcorea", ".", nullptr, 0, 0},
    {0x21, Kind::PLAIN, 0, 0, "Vinr0", "", nullptr, 0, 0},
    {0x22, Kind::PLAIN, 0, 0, "+3.3Vin", "", nullptr, 0, 0},
    {0x23, Kind::SCALED, 1.68, 0, "+5Vin", "", &EsaControl_t::powerSupplyVoltage5V, 4.5, 5.5},
    {0x24, Kind::SCALED, 3.8, 0, "+12Vin", "", &EsaControl_t::powerSupplyVoltage12V, 10.8, 13.2},
    // To the digit: 2.9000000000000004 is not the double nearest 2.9.
    {0x25, Kind::NEGATIVE, 0.19444444444444442, 2.9000000000000004, "-12Vin", "", nullptr, 0, 0},
    {0x26, Kind::NEGATIVE, 0.31818181818181823, 2.4545454545454546, "-5Vin", "", nullptr, 0, 0},
};
constexpr double VOLTS_PER_STEP = 0.016;

// ---- start-up ----

ESA_CODE_e w83782dProbe(U8_t i2cAddr, U8_t backplaneInx) {
    char place[24];
    std::snprintf(place, sizeof place, "Backplane[%d]", backplaneInx);
    return winbondProbe(i2cAddr, &esaControl.winbond[backplaneInx].serialBusAddressRegister,
                        ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83782D, place);
}

ESA_CODE_e w83782dLimitsSetup(U8_t i2cAddr, U8_t backplaneInx) {
    const EsaRegisterTarget_t<Shadows> target = {i2cAddr, esaControl.winbond[backplaneInx], ""};
    return esaRegisterRowsWrite(target, LIMITS);
}

static ESA_CODE_e beepSetup(const EsaRegisterTarget_t<Shadows>& target,
                            const char* readFailedVerb) {
    U8_t& shadow = target.shadows.fanInOutBeepGpoRegister;
    if (esaI2CDataRead(target.i2cAddr, W83782D_REG_FAN_BEEP_GPO, &shadow, 1) != ESA_E_OK) {
        ESA_TRACE("%s fanInOutBeepGpoRegister on %s failed", readFailedVerb, target.chip);
        return ESA_E_GENERR;
    }
    const Row row = {W83782D_REG_FAN_BEEP_GPO, static_cast<U8_t>(shadow | BEEP_GPO),
                     &Shadows::fanInOutBeepGpoRegister, nullptr, "fanInOutBeepGpoRegister"};
    return esaRegisterRowWrite(target, row);
}

ESA_CODE_e w83782dSensorSetup(U8_t i2cAddr, U8_t backplaneInx, const char* readFailedVerb) {
    char place[24];
    std::snprintf(place, sizeof place, "Backplane [%d]", backplaneInx);
    const EsaRegisterTarget_t<Shadows> target = {i2cAddr, esaControl.winbond[backplaneInx], place};
    if (esaRegisterRowsWrite(target, TEMPERATURE_LIMITS) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    return beepSetup(target, readFailedVerb);
}

static void countsSetup() {
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = 16;
    esaControl.powerSupplyMaxNumber = 2;
    esaControl.coolingMaxNumber = 3;
    esaControl.temperatureSensorMaxNumber = 3;
    esaControl.audibleAlarmMaxNumber = 1;
}

// RPM, degrees Celsius, and the tachometer divisor of this design.
static void tuningSetup() {
    esaControl.fanFaultRpmLimit = 500;
    esaControl.overheatTemperatureLimit = 60;
    esaControl.fanPwm25To50TemperatureThreshold = 35;
    esaControl.fanPwm50To75TemperatureThreshold = 38;
    esaControl.fanPwm75To100TemperatureThreshold = 40;
    esaControl.fanPwm100To75TemperatureThreshold = 35;
    esaControl.fanPwm75To50TemperatureThreshold = 34;
    esaControl.fanPwm50To25TemperatureThreshold = 32;
    esaControl.fanSpeedDivisor = 2;
}

static void fansStart() {
    for (U8_t fan = 0; fan < esaBounded(esaControl.coolingMaxNumber, SES_K_FANS_MAX); ++fan) {
        esaW83782dFanPwmLoad(fan, DUTY_FULL);
        esaControl.fanPwmLoad[fan] = LOAD_AT_START;
        esaControl.coolingElementOnOff[fan] = ESA_E_FAN_ON;
    }
}

ESA_CODE_e esaW83782dInit() {
    const U8_t address = esaControl.i2cAddressW83782d;
    const U8_t backplane = ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0;
    const ESA_CODE_e code = w83782dProbe(address, backplane);
    if (code != ESA_E_OK) {
        return code;
    }
    // A chassis of another type that starts up here brings its own counts.
    if (esaControl.enclosureType == KORVO_E_CHASSIS_KORVO_W83782D) {
        countsSetup();
    }
    tuningSetup();
    if (w83782dLimitsSetup(address, backplane) != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    fansStart();
    esaControl.powerSupplyStatus |= ESA_K_POWER_VOLTAGE_OK;
    if (w83782dSensorSetup(address, backplane, "Setting") != ESA_E_OK) {
        return ESA_E_GENERR;
    }
    esaW83782dAlarmStateSet(address, backplane, ESA_E_ALARM_STATE_MUTE_S3);
    esaControl.alarmState = ESA_E_ALARM_STATE_MUTE_S3;
    ESA_TRACE("Finish the initialization for the W83782D guideline based enclosure.");
    return ESA_E_OK;
}

// ---- voltages ----

static double voltsOf(const Channel_t& channel, U8_t reading) {
    const double volts = reading * VOLTS_PER_STEP;
    switch (channel.kind) {
        case Kind::SCALED:
            return volts * channel.scale;
        case Kind::NEGATIVE:
            return (volts - channel.offset) / channel.scale;
        case Kind::PLAIN:
            break;
    }
    return volts;
}

static ESA_CODE_e channelProc(U8_t i2cAddr, const Channel_t& channel) {
    U8_t reading = 0;
    const ESA_CODE_e code = esaI2CDataRead(i2cAddr, channel.reading, &reading, 1);
    if (code != ESA_E_OK) {
        return code;
    }
    const double volts = voltsOf(channel, reading);
    ESA_TRACE("%s = [%d]%s", channel.name, reading, channel.end);
    ESA_TRACE("Converted %s = [%f]V.", channel.name, volts);
    if (channel.kept == nullptr) {
        return ESA_E_OK;
    }
    esaControl.*channel.kept = volts;
    return winbondRailIsGood(volts, channel.low, channel.high, channel.name) ? ESA_E_OK
                                                                             : ESA_E_GENERR;
}

ESA_CODE_e esaW83782dPowerVoltageToleranceStatusRead(U8_t i2cAddr) {
    ESA_TRACE("Read Voltage Tolerance, I2C address = [0x%x].", i2cAddr);
    for (const Channel_t& channel : CHANNELS) {
        const ESA_CODE_e code = channelProc(i2cAddr, channel);
        if (code != ESA_E_OK) {
            return code;
        }
    }
    return ESA_E_OK;
}

void esaW83782dSupplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                                EsaPageChange_t* change) {
    const bool ok =
        esaW83782dPowerVoltageToleranceStatusRead(esaControl.i2cAddressW83782d) == ESA_E_OK;
    esaSupplyPageUpdate(ESA_SUPPLY_VOLTAGE_PAGE, ok, supply, element, change);
    element->acFail = !ok;
}

// ---- fans ----

ESA_CODE_e esaW83782dFanSpeedRead(U8_t i2cAddr, U8_t w83782dReadFanInx, U16_t* fanRpmSpeedPtr) {
    ESA_TRACE("Read speed with Fan, I2C address = [0x%x], w83782dFanInx = [%d].", i2cAddr,
              w83782dReadFanInx);
    if (w83782dReadFanInx >= std::size(W83782D_REG_FAN_COUNT)) {
        ESA_TRACE("Unsupported Winbond Fan Index = [%d].", w83782dReadFanInx);
        return ESA_E_GENERR;
    }
    char device[40];
    std::snprintf(device, sizeof device, "Fan with I2C address [0x%x]", i2cAddr);
    return winbondFanCountRead(i2cAddr, W83782D_REG_FAN_COUNT[w83782dReadFanInx], w83782dReadFanInx,
                               device, fanRpmSpeedPtr);
}

template <std::size_t N>
static void pwmLoad(U8_t i2cAddr, U8_t backplaneInx, const PwmOutput_t (&outputs)[N], U8_t fanInx,
                    U8_t duty) {
    ESA_TRACE("Load PWM Winbond[%d] Percent to Fan [%d]", duty, fanInx);
    if (fanInx >= N) {
        ESA_TRACE("Unsupported Winbond Fan Index = [%d].", fanInx);
        return;
    }
    const PwmOutput_t& output = outputs[fanInx];
    Shadows& shadows = esaControl.winbond[backplaneInx];
    shadows.*output.stored = duty;
    esaI2CDataWrite(i2cAddr, output.duty, &(shadows.*output.written), 1);
}

void esaW83782dFanPwmLoad(U8_t w83782dPwmFanInx, U8_t winbondPwmPercentage) {
    pwmLoad(esaControl.i2cAddressW83782d, ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0, PWM_OUTPUTS,
            w83782dPwmFanInx, winbondPwmPercentage);
}

void winbondFanPwmLoad(U8_t i2cAddr, U8_t backplaneInx, U8_t winbondPwmFanInx,
                       U8_t winbondPwmPercentage) {
    pwmLoad(i2cAddr, backplaneInx, BACKPLANE_PWM_OUTPUTS, winbondPwmFanInx, winbondPwmPercentage);
}

// ---- temperature and alarm ----

static S16_t sensorRead(U8_t i2cAddr, U8_t sensor) {
    U8_t value = 0;
    if (sensor != 0 || esaI2CDataRead(i2cAddr, W83782D_REG_TEMPERATURE_1, &value, 1) != ESA_E_OK) {
        return ESA_K_TEMPERATURE_UNREADABLE;
    }
    return static_cast<S16_t>((value & SENSOR_SIGN) != 0 ? value - DEGREES_PER_TURN : value);
}

S16_t esaW83782dTemperatureRead(U8_t i2cAddr, U8_t temperatureSensorInx) {
    const S16_t degrees = sensorRead(i2cAddr, temperatureSensorInx);
    // The design's own address, whichever was read: log readers know the line like this.
    ESA_TRACE("Temperature Sensor [%d] for I2C address [0x%x] = [%d] degrees Celsius.",
              temperatureSensorInx, esaControl.i2cAddressW83782d, degrees);
    return degrees;
}

void esaW83782dTemperaturesRead() {
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        esaControl.temperatureSensor[sensor] =
            esaW83782dTemperatureRead(esaControl.i2cAddressW83782d, static_cast<U8_t>(sensor));
    }
}

void esaW83782dAlarmStateSet(U8_t i2cAddr, U8_t backplaneInx, EsaAlarmState_e alarmState) {
    U8_t& shadow = esaControl.winbond[backplaneInx].configurationRegister;
    if (alarmState == ESA_E_ALARM_STATE_FAULT_S1) {
        shadow &= static_cast<U8_t>(~CONFIGURATION_MUTE);
    } else if (alarmState == ESA_E_ALARM_STATE_MUTE_S3) {
        shadow |= CONFIGURATION_MUTE;
    } else {
        winbondAlarmStateTrace(alarmState);
        return;
    }
    esaI2CDataWrite(i2cAddr, W83782D_REG_CONFIGURATION, &shadow, 1);
    winbondAlarmStateTrace(alarmState);
}

// ---- poll ----

void esaW83782dPollTimeoutProcess() {
    const U8_t address = esaControl.i2cAddressW83782d;
    esaSupplyConditionPoll(ESA_SUPPLY_VOLTAGE,
                           esaW83782dPowerVoltageToleranceStatusRead(address) == ESA_E_OK);
    esaFansPoll();
    const int sensors = esaBounded(esaControl.temperatureSensorMaxNumber, SES_K_SENSORS_MAX);
    for (int sensor = 0; sensor < sensors; ++sensor) {
        esaTemperatureStore(sensor, esaW83782dTemperatureRead(address, static_cast<U8_t>(sensor)));
    }
    esaPoliciesPoll();
}
