// SPDX-License-Identifier: Apache-2.0
// Event records of the Enclosure Services Adapter: what it reports to the event manager, and the
// payloads of its bug-check records in the alternate event log.
#pragma once

#include "basetypes.h"
#include "emp_mesgs.h"
#include "ses_mesgs.h"
#include "wire.h"

// Chassis kinds; also kept in the platform's parameter area.
enum KORVO_E_CHASSIS_e : U8_t {
    KORVO_E_CHASSIS_NONE = 1,
    KORVO_E_CHASSIS_XYRATEX_2U12ATX = 2,
    KORVO_E_CHASSIS_PELTO_TOLVEX = 3,
    KORVO_E_CHASSIS_CHENBRO_3U16ATX = 4,
    KORVO_E_CHASSIS_KORVO_VSC055 = 5,
    KORVO_E_CHASSIS_KORVO_W83782D = 6,
    KORVO_E_CHASSIS_KORVO_W83792AD = 7,
};
using KORVO_E_CHASSIS_t = U8_t;

enum ESA_EV_ID : U16_t {
    ESA_E_ID_ES_ADAPTERMP_BUGCHECK_ERROR_MSG = 1,
    ESA_E_ID_ES_ADAPTERMP_BUGCHECK_INFO = 2,
    ESA_E_ID_ES_ADAPTERMP_BUGCHECK_MSG_BUFFER = 3,
    ESA_E_ID_ES_ADAPTERMP_BUGCHECK_WORKSPACE_BUFFER = 4,
    ESA_E_ID_ES_ADAPTERMP_DRIVE_FAULT_LED_STATUS = 5,
    ESA_E_ID_ES_ADAPTERMP_POWER_SUPPLY_STATUS = 6,
    ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS = 7,
    ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS = 8,
    ESA_E_ID_ES_ADAPTERMP_ALARM_STATUS = 9,
    ESA_E_ID_ES_ADAPTERMP_INFORMATION = 10,
};

// information field of ESA_E_ID_ES_ADAPTERMP_INFORMATION
enum EsaEventInfo_e : U32_t {
    ESA_E_EVENT_INFO_REQUEST_ORDERLY_SHUTDOWN = 1,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS = 2,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055 = 3,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75 = 4,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83782D = 5,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD = 6,
    ESA_E_EVENT_INFO_I2C_BUS_STATUS_PCA9539 = 7,
    ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES = 8,
    ESA_E_EVENT_INFO_REPORT_STATISTICS = 9,
    ESA_E_EVENT_INFO_NO_PERSONALITY_TOOLKIT_INFO = 10,
    ESA_E_EVENT_INFO_PERSONALITY_TOOLKIT_INFO = 11,
};

// temperatureStatus field of ESA_E_ID_ES_ADAPTERMP_TEMPERATURE_SENSOR_STATUS
enum EsaEventTemperatureState_e : U32_t {
    ESA_E_EVENT_TEMPERATURE_BELOW_35_DEGREES = 1,
    ESA_E_EVENT_TEMPERATURE_OVER_35_DEGREES = 2,
    ESA_E_EVENT_TEMPERATURE_OVER_45_DEGREES = 3,
    ESA_E_EVENT_TEMPERATURE_OVER_55_DEGREES = 4,
};

constexpr int ESA_K_EVENT_FANS_MAX = 8;
constexpr int ESA_K_EVENT_SENSORS_MAX = 8;

// Each event fills only the fields it defines; the rest is zero.
struct EsaEventData_t {
    KORVO_E_CHASSIS_t enclosureType;
    U8_t alignment1[3];
    Be32 numberOfDrive;
    Be32 numberOfPowerSupply;
    Be32 numberOfFan;
    Be32 numberOfTemperatureSensor;
    Be32 numberOfAlarm;
    Be32 driveFaultLedStatus0;
    Be32 driveFaultLedStatus1;
    Be32 powerSupplyStatus;
    Be32 fanFaultStatus;
    Be32 temperatureStatus;          // an EsaEventTemperatureState_e
    Be32 temperatureSensorPosition;  // sensor index from 0
    BeS16 temperature;               // degrees Celsius
    U8_t alignment2[2];
    Be32 alarmState;   // an EsaAlarmState_e
    Be32 information;  // an EsaEventInfo_e
    U8_t alignment3[4];
    BeDouble powerSupplyVoltage5V;                     // volts
    BeDouble powerSupplyVoltage12V;                    // volts
    Be16 fanRpmSpeed[ESA_K_EVENT_FANS_MAX];            // RPM
    BeS16 temperatureSensor[ESA_K_EVENT_SENSORS_MAX];  // degrees Celsius
    Be32 general_use1;
    Be32 general_use2;
    Be32 general_use3;
    Be32 general_use4;
    Be32 general_use5;
    Be32 reserved5;
    Be32 reserved6;
    U8_t alignment4[4];
};
WIRE_RECORD(EsaEventData_t, 144);

struct EsaEvent_t {
    EmpEvLogHeader_t header;
    EsaEventData_t data;
};
WIRE_RECORD(EsaEvent_t, 296);
#define ESA_EVENT_OFFSET_(field, offset)                                                    \
    static_assert(offsetof(EsaEvent_t, data) + offsetof(EsaEventData_t, field) == (offset), \
                  "EsaEvent_t." #field " is misplaced")
ESA_EVENT_OFFSET_(enclosureType, 152);
ESA_EVENT_OFFSET_(numberOfDrive, 156);
ESA_EVENT_OFFSET_(powerSupplyStatus, 184);
ESA_EVENT_OFFSET_(temperature, 200);
ESA_EVENT_OFFSET_(alarmState, 204);
ESA_EVENT_OFFSET_(information, 208);
ESA_EVENT_OFFSET_(powerSupplyVoltage5V, 216);
ESA_EVENT_OFFSET_(fanRpmSpeed, 232);
ESA_EVENT_OFFSET_(temperatureSensor, 248);
ESA_EVENT_OFFSET_(general_use1, 264);
ESA_EVENT_OFFSET_(reserved6, 288);

// Payload of ESA_E_ID_ES_ADAPTERMP_BUGCHECK_ERROR_MSG.
struct EsaErrorMsg_t {
    char esaFileName[64];
    char esaFunctionName[64];
    Be32 esaLineNumber;
    char esaErrorMsg[64];
};
WIRE_RECORD(EsaErrorMsg_t, 196);

// Register shadows of the VSC055 as they stand in the service's state.
struct VitesseControl_t {
    U8_t vsc055GPD[8];   // general purpose data, register n
    U8_t vsc055DDP[8];   // data direction, register 0x10 + n
    U8_t vsc055FSC[8];   // fan speed control, register 0x30 + 4n
    U8_t vsc055PWMC[8];  // PWM control, register 0x98 + n
};
WIRE_RECORD(VitesseControl_t, 32);

struct EsaSockAddr_t {
    Be16 sun_family;
    char sun_path[108];
};

struct EsaTime_t {
    Be32 sec;
    Be32 usec;
};

// Payload of ESA_E_ID_ES_ADAPTERMP_BUGCHECK_INFO: the service's state at the fault, with the
// target's natural alignment (gaps at 114, 133 and 505).
struct EsaInfo_t {
    Be32 socketFdMSM;  // signed
    EsaSockAddr_t socketAddressMSM;
    U8_t alignment1[2];
    Be32 i2cFileFd;  // signed
    KORVO_E_CHASSIS_t enclosureType;
    U8_t elementTypeMaxNumber;
    U8_t deviceMaxNumber;
    U8_t powerSupplyMaxNumber;
    U8_t coolingMaxNumber;
    U8_t temperatureSensorMaxNumber;
    U8_t audibleAlarmMaxNumber;
    U8_t pageCodeInRecentSndDiagCmd;
    U8_t sesTypeDescriptorList[SES_K_ELEMENT_TYPES];
    U8_t alignment2[3];
    Be32 deviceElementControlOverall;
    DeviceElementCont_t deviceElementControl[SES_K_DEVICES_MAX];
    Be32 deviceElementStatusOverall;
    DeviceElementStat_t deviceElementStatus[SES_K_DEVICES_MAX];
    Be32 driveFaultLedStatus0;
    Be32 driveFaultLedStatus1;
    Be32 powerSupplyElementControlOverall;
    PowerSupplyElementCont_t powerSupplyElementControl[SES_K_POWER_SUPPLIES_MAX];
    Be32 powerSupplyElementStatusOverall;
    PowerSupplyElementStat_t powerSupplyElementStatus[SES_K_POWER_SUPPLIES_MAX];
    Be32 powerSupplyStatus;
    Be32 coolingElementControlOverall;
    CoolingElementCont_t coolingElementControl[SES_K_FANS_MAX];
    Be32 coolingElementStatusOverall;
    CoolingElementStat_t coolingElementStatus[SES_K_FANS_MAX];
    U8_t coolingElementOnOff[SES_K_FANS_MAX];
    Be32 fanFaultStatus;
    BeS16 temperatureSensor[SES_K_SENSORS_MAX];
    Be32 temperatureReportStatus[SES_K_SENSORS_MAX];
    Be32 audibleAlarmElementControlOverall;
    AudibleAlarmElementCont_t audibleAlarmElementControl[SES_K_ALARMS_MAX];
    Be32 audibleAlarmElementStatusOverall;
    AudibleAlarmElementStat_t audibleAlarmElementStatus[SES_K_ALARMS_MAX];
    Be32 alarmState;
    Be32 compositeFaultStatus;
    U8_t esaDebug;
    VitesseControl_t vitesse;
    U8_t alignment3[3];
    EsaTime_t selectTimeout;
    EsaTime_t pollTimeout;
};
WIRE_RECORD(EsaInfo_t, 524);
WIRE_OFFSET(EsaInfo_t, alignment1, 114);
WIRE_OFFSET(EsaInfo_t, i2cFileFd, 116);
WIRE_OFFSET(EsaInfo_t, alignment2, 133);
WIRE_OFFSET(EsaInfo_t, deviceElementControlOverall, 136);
WIRE_OFFSET(EsaInfo_t, alignment3, 505);
WIRE_OFFSET(EsaInfo_t, selectTimeout, 508);
