// SPDX-License-Identifier: Apache-2.0
// The service control block: the state of the service in one global record, and the small
// enumerations declared beside it. Host byte order, but for the SES element records, which are kept
// as they travel. One thread reads and writes it.
//
// Outside stand only: the link's state and the message half read (link/), whether an alarm setter
// runs (policy/composite_fault), the row in force (state/chassis.h), text and record of the latest
// critical fault (state/esa_fault), the personality file's text (start/personality), ProgName and
// shmKey (esamain).
#pragma once

#include <sys/un.h>

#include "basetypes.h"
#include "esa_evl.h"
#include "mmsg.h"
#include "ses_mesgs.h"

enum ESA_CODE_e : S8_t {
    ESA_E_OK = 0,
    ESA_E_GENERR_I2C_UNAVAILABLE = 1,
    ESA_E_GENERR = -1,
};

enum EsaFanOnOff_e : U8_t {
    ESA_E_FAN_NOT_AVAILABLE = 0,
    ESA_E_FAN_OFF = 1,
    ESA_E_FAN_ON = 2,
};

enum EsaAlarmState_e : U32_t {
    ESA_E_ALARM_STATE_IDLE_S0 = 0,
    ESA_E_ALARM_STATE_FAULT_S1 = 1,
    ESA_E_ALARM_STATE_REMIND_S2 = 2,
    ESA_E_ALARM_STATE_MUTE_S3 = 3,
    ESA_E_ALARM_STATE_CRITICAL_S4 = 4,
    ESA_E_ALARM_STATE_S5 = 5,
    ESA_E_ALARM_STATE_S6 = 6,
    ESA_E_ALARM_STATE_S7 = 7,
};

enum EsaXyratexAlarmState_e : U32_t {
    ESA_E_XYRATEX_ALARM_STATE_IDLE_S0 = 0,
    ESA_E_XYRATEX_ALARM_STATE_FAULT_S1 = 1,
    ESA_E_XYRATEX_ALARM_STATE_REMIND_S2 = 2,
    ESA_E_XYRATEX_ALARM_STATE_MUTE_S3 = 3,
    ESA_E_XYRATEX_ALARM_STATE_CRITICAL_S4 = 4,
    ESA_E_XYRATEX_ALARM_STATE_INVALID_S5 = 5,
    ESA_E_XYRATEX_ALARM_STATE_INVALID_S6 = 6,
    ESA_E_XYRATEX_ALARM_STATE_INVALID_S7 = 7,
};

enum EsaXyratexFanNumber_e : U8_t {
    ESA_E_XYRATEX_FRONT_FANS = 0,
    ESA_E_XYRATEX_BACK_FANS = 1,
};

enum EsaWinbondPwmFanIndex_e : U8_t {
    ESA_E_WINBOND_PWM_FAN_INDEX_0 = 0,
    ESA_E_WINBOND_PWM_FAN_INDEX_1 = 1,
    ESA_E_WINBOND_PWM_FAN_INDEX_2 = 2,
    ESA_E_WINBOND_PWM_FAN_INDEX_3 = 3,
};

enum EsaW83782dPwmFanIndex_e : U8_t {
    ESA_E_W83782D_PWM_FAN_INDEX_0 = 0,
    ESA_E_W83782D_PWM_FAN_INDEX_1 = 1,
    ESA_E_W83782D_PWM_FAN_INDEX_2 = 2,
};

enum EsaW83782dReadFanIndex_e : U8_t {
    ESA_E_W83782D_READ_FAN_INDEX_0 = 0,
    ESA_E_W83782D_READ_FAN_INDEX_1 = 1,
    ESA_E_W83782D_READ_FAN_INDEX_2 = 2,
};

enum EsaChenbroFanIndex_e : U8_t {
    ESA_E_CHENBRO_FAN_INDEX_0 = 0,
    ESA_E_CHENBRO_FAN_INDEX_1 = 1,
    ESA_E_CHENBRO_FAN_INDEX_2 = 2,
    ESA_E_CHENBRO_FAN_INDEX_3 = 3,
    ESA_E_CHENBRO_FAN_INDEX_4 = 4,
    ESA_E_CHENBRO_FAN_INDEX_5 = 5,
    ESA_E_CHENBRO_FAN_INDEX_6 = 6,
    ESA_E_CHENBRO_FAN_INDEX_7 = 7,
};

enum EsaChenbroWinbondBackplaneIndex_e : U8_t {
    ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_0 = 0,
    ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_1 = 1,
    ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_2 = 2,
    ESA_E_CHENBRO_WINBOND_BACKPLANE_INDEX_3 = 3,
};

enum EsaW83792adTemperatureSensorIndex_e : U8_t {
    ESA_E_W83792AD_TEMPERATURE_SENSOR_1 = 0,
    ESA_E_W83792AD_TEMPERATURE_SENSOR_2 = 1,
    ESA_E_W83792AD_TEMPERATURE_SENSOR_3 = 2,
};

enum EsaWinbondTemperatureSensorIndex_e : U8_t {
    ESA_E_WINBOND_TEMPERATURE_SENSOR_LHS = 0,
    ESA_E_WINBOND_TEMPERATURE_SENSOR_RHS = 1,
    ESA_E_WINBOND_TEMPERATURE_SENSOR_MIDDLE = 2,
};

// compositeFaultStatus
constexpr U32_t ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE = 0x00000001;
constexpr U32_t ESA_K_FAULT_POWER_SUPPLY_REDUNDANCY = 0x00000002;
constexpr U32_t ESA_K_FAULT_FAN = 0x00000004;
constexpr U32_t ESA_K_FAULT_TEMPERATURE_OVERHEAT = 0x00000008;
constexpr U32_t ESA_K_FAULT_I2C_BUS = 0x00000010;
constexpr U32_t ESA_K_FAULT_ALL = 0x0000001F;
constexpr U32_t ESA_K_FAULT_LED_ON = 0x80000000;  // not a fault: the LED has been requested on

// powerSupplyStatus
constexpr U32_t ESA_K_POWER_VOLTAGE_OK = 0x1;
constexpr U32_t ESA_K_POWER_REDUNDANCY_OK = 0x2;
constexpr U32_t ESA_K_POWER_NO_FAULT_REQUESTED = 0x4;

// temperatureSensor[]: the sensor could not be read.
constexpr S16_t ESA_K_TEMPERATURE_UNREADABLE = 32767;

constexpr U32_t ESA_K_POLL_PERIOD_SEC = 10;  // countdown; the poll runs on the pass after it ends
constexpr U32_t ESA_K_SELECT_TIMEOUT_SEC = 1;
constexpr int ESA_K_LM75_MAX = 8;
constexpr int ESA_K_BACKPLANES_MAX = 4;

// Register shadows; each field is a copy of the chip register of the same name.
struct W83792adControl_t {
    U8_t gpioEnableRegister;
    U8_t gpioaOutputControlRegister;
    U8_t gpioaDataStatusRegister;
    U8_t gpiobOutputControlRegister;
    U8_t gpiobDataStatusRegister;
    U8_t vcoreaHighLimitRegister;
    U8_t vcoreaLowLimitRegister;
    U8_t vcorebHighLimitRegister;
    U8_t vcorebLowLimitRegister;
    U8_t vin0HighLimitRegister;
    U8_t vin0LowLimitRegister;
    U8_t vin1HighLimitRegister;
    U8_t vin1LowLimitRegister;
    U8_t vin2HighLimitRegister;
    U8_t vin2LowLimitRegister;
    U8_t vin3HighLimitRegister;
    U8_t vin3LowLimitRegister;
    U8_t positive5VccHighLimitRegister;
    U8_t positive5VccLowLimitRegister;
    U8_t temperatureSensor1HighLimitRegister;
    U8_t temperatureSensor1LowLimitRegister;
    U8_t fan1CountHighLimitRegister;
    U8_t fan2CountHighLimitRegister;
    U8_t fan3CountHighLimitRegister;
    U8_t fanDivisor1Register;
    U8_t serialBusAddressRegister;
    U8_t temperature23SerialBusAddressRegister;
    U8_t pinControlRegister;
    U8_t smiOvtPropertyRegister;
    U8_t thermalDiodeSelectRegister;
    U8_t fanDivisor2Register;
    U8_t fanDivisor3Register;
    U8_t fanPreScaleRegister[6];
    U8_t fanDutyCycle[6];
};

struct Pca9539Control_t {
    U8_t outputPort0Register;
    U8_t outputPort1Register;
    U8_t configurationPort0Register;
    U8_t configurationPort1Register;
};

struct WinbondControl_t {
    U8_t vcoreaHighLimitRegister;
    U8_t vcoreaLowLimitRegister;
    U8_t vinr0HighLimitRegister;
    U8_t vinr0LowLimitRegister;
    U8_t positive3_3VinHighLimitRegister;
    U8_t positive3_3VinLowLimitRegister;
    U8_t positive5VinHighLimitRegister;
    U8_t positive5VinLowLimitRegister;
    U8_t positive12VinHighLimitRegister;
    U8_t positive12VinLowLimitRegister;
    U8_t negative12VinHighLimitRegister;
    U8_t negative12VinLowLimitRegister;
    U8_t negative5VinHighLimitRegister;
    U8_t negative5VinLowLimitRegister;
    U8_t temperatureSensor1HighLimitRegister;
    U8_t temperatureSensor1HysteresisRegister;
    U8_t configurationRegister;
    U8_t serialBusAddressRegister;
    U8_t fanInOutBeepGpoRegister;
    U8_t pwmOut2ControlRegister;
    U8_t pwmOut1ControlRegister;
    U8_t pwmOut3ControlRegister;
    U8_t pwmOut4ControlRegister;
};

// Each group names its owners, the floors or files that write it. "Not set": the field keeps its
// place and its 0 for the dump of a critical fault and for the alternate event log.
struct EsaControl_s {
    // The link: link/esa_mmsg.
    S32_t socketFdMSM;  // stream socket to the switch; -1 while the link is down
    struct sockaddr_un socketAddressMSM;

    // The enclosure: start/, from the personality file. Chassis that know better set their counts
    // and addresses at bring-up.
    S32_t i2cFileFd;                      // the enclosure device; negative when it did not open
    KORVO_E_CHASSIS_t enclosureType;      // a KORVO_E_CHASSIS_e, selects the chassis row
    U8_t i2cAddressVsc055;                // 7-bit addresses
    U8_t i2cAddressLM75[ESA_K_LM75_MAX];  // index = sensor number
    U8_t i2cAddressW83782d;
    U8_t i2cAddressW83792ad;
    U8_t i2cAddressPca9539;
    U32_t i2cDeviceFaultStatus;  // bus/: one bit per unreachable device, bits as in the chassis row
    U8_t elementTypeMaxNumber;
    // Counts as the personality file gives them: they are reported as they stand and may exceed
    // the arrays; every array access is bounded by esaBounded().
    U8_t deviceMaxNumber;
    U8_t powerSupplyMaxNumber;
    U8_t coolingMaxNumber;
    U8_t temperatureSensorMaxNumber;
    U8_t audibleAlarmMaxNumber;
    U8_t i2cConnected;                // bus/, bring-up: 1, its devices answer; polls run only then
    U8_t pageCodeInRecentSndDiagCmd;  // ses/: answered when a request names no page
    U8_t sesTypeDescriptorList[SES_K_ELEMENT_TYPES];

    // Drives: ses/, from control pages.
    U32_t deviceElementControlOverall;
    DeviceElementCont_t deviceElementControl[SES_K_DEVICES_MAX];
    U32_t deviceElementStatusOverall;                            // not set
    DeviceElementStat_t deviceElementStatus[SES_K_DEVICES_MAX];  // not set
    U32_t driveFaultLedStatus0;  // bit n: fault LED of drive n is on
    U32_t driveFaultLedStatus1;  // not set

    // Supplies: requests ses/, the rest chips/, chassis/ and policy/supply as they are read.
    U32_t powerSupplyElementControlOverall;
    PowerSupplyElementCont_t powerSupplyElementControl[SES_K_POWER_SUPPLIES_MAX];
    U32_t powerSupplyElementStatusOverall;                                        // not set
    PowerSupplyElementStat_t powerSupplyElementStatus[SES_K_POWER_SUPPLIES_MAX];  // not set
    U32_t powerSupplyStatus;       // ESA_K_POWER_ bits; NO_FAULT_REQUESTED is ses/'s
    double powerSupplyVoltage5V;   // volts
    double powerSupplyVoltage12V;  // volts

    // Fans: requests ses/, speeds and faults policy/fan_failure, limits start/ or bring-up, loads
    // whoever loads: policy/fan_policy, the chips' load routines, ses/ for what a page switched.
    U32_t coolingElementControlOverall;
    CoolingElementCont_t coolingElementControl[SES_K_FANS_MAX];
    U32_t coolingElementStatusOverall;                          // not set
    CoolingElementStat_t coolingElementStatus[SES_K_FANS_MAX];  // not set
    U8_t coolingElementOnOff[SES_K_FANS_MAX];                   // EsaFanOnOff_e
    U32_t fanFaultStatus;                                       // bit n: fan n has failed
    U32_t fanFaultRpmLimit;             // a fan below this many RPM has failed
    U32_t fanPwmLoadMinimum;            // percent; the ladder does not go below
    U8_t fanSpeedDivisor;               // tachometer divisor
    U8_t fanPwmLoad[SES_K_FANS_MAX];    // percent last loaded
    U16_t fanRpmSpeed[SES_K_FANS_MAX];  // RPM last measured

    // Temperatures: requests ses/, readings chassis/ and policy/poll, bands and average policy/,
    // limits start/ or bring-up.
    U32_t temperatureSensorElementControlOverall;
    TemperatureSensorElementCont_t temperatureSensorElementControl[SES_K_SENSORS_MAX];
    U32_t temperatureSensorElementStatusOverall;                                       // not set
    TemperatureSensorElementStat_t temperatureSensorElementStatus[SES_K_SENSORS_MAX];  // not set
    S16_t temperatureSensor[SES_K_SENSORS_MAX];        // degrees Celsius or UNREADABLE
    U32_t temperatureReportStatus[SES_K_SENSORS_MAX];  // band last reported as an event
    S16_t temperatureSensorAverage;                    // degrees Celsius
    U32_t overheatTemperatureLimit;                    // degrees Celsius, as the next six
    U32_t fanPwm25To50TemperatureThreshold;
    U32_t fanPwm50To75TemperatureThreshold;
    U32_t fanPwm75To100TemperatureThreshold;
    U32_t fanPwm100To75TemperatureThreshold;
    U32_t fanPwm75To50TemperatureThreshold;
    U32_t fanPwm50To25TemperatureThreshold;

    // Alarm: requests ses/; its state whoever sets it, ses/, policy/composite_fault and chassis/.
    U32_t audibleAlarmElementControlOverall;
    AudibleAlarmElementCont_t audibleAlarmElementControl[SES_K_ALARMS_MAX];
    U32_t audibleAlarmElementStatusOverall;                                 // not set
    AudibleAlarmElementStat_t audibleAlarmElementStatus[SES_K_ALARMS_MAX];  // not set
    U32_t alarmState;                                                       // an EsaAlarmState_e

    U32_t compositeFaultStatus;  // ESA_K_FAULT_ bits, changed by esaCompositeFaultManage only
    U8_t esaDebug;               // 1 from start/ on, and from the first critical fault on
    U8_t esaInMsg[MMSG_K_MESSAGE_MAX];      // link/esa_receive: the message being handled
    U8_t esaWorkSpace[MMSG_K_MESSAGE_MAX];  // every outgoing message is built here and sent at once

    // Register shadows: the chip's file in chips/.
    VitesseControl_t vitesse;
    W83792adControl_t w83792ad;
    Pca9539Control_t pca9539;
    WinbondControl_t winbond[ESA_K_BACKPLANES_MAX];

    // Timers: esamain.
    MPU_TIME_t selectTimeout;      // wait of one loop pass
    MPU_TIME_t pollTimeout;        // countdown to the next hardware poll, in passes
    MPU_TIME_t reportTimeout;      // countdown to the next statistics report
    U32_t reportTimeoutUserInput;  // seconds; 0: no statistics report. Not set, so there is none
};
using EsaControl_t = EsaControl_s;

extern EsaControl_t esaControl;

// An element count cut to the array that holds the elements.
constexpr int esaBounded(U8_t count, int arraySize) {
    return count < arraySize ? count : arraySize;
}
