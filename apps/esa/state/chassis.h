// SPDX-License-Identifier: Apache-2.0
// THE chassis table: everything that depends on the enclosure type is one row here. Policies,
// pages and the loop look the row up and call through it; no other code chooses by chassis.
#pragma once

#include <cstddef>

#include "state/esa_control.h"

// Said in a row where a chassis has no such thing.
struct EsaNotFitted {};
inline constexpr EsaNotFitted ESA_NOT_FITTED;

// A routine of a row, or ESA_NOT_FITTED. Has no default, so a row that forgets one does not
// compile.
template <typename Function>
class EsaEntry;

template <typename Result, typename... Arguments>
class EsaEntry<Result(Arguments...)> {
  public:
    using Function = Result(Arguments...);

    constexpr EsaEntry(Function* function) : function_(function) {}
    constexpr EsaEntry(EsaNotFitted) : function_(nullptr) {}
    constexpr explicit operator bool() const { return function_ != nullptr; }
    Result operator()(Arguments... arguments) const { return function_(arguments...); }

  private:
    Function* function_;
};

// Fault tracking of one I2C device (esaI2CData...).
struct EsaI2cDevice_t {
    U8_t address;       // 7-bit
    U32_t faultBit;     // in i2cDeviceFaultStatus
    U32_t information;  // an EsaEventInfo_e
    U32_t sensor;       // temperatureSensorPosition of the event; 0 also for what is no sensor
};

struct EsaI2cDevices_t {
    const EsaI2cDevice_t* rows;  // null: every address is known and uses fault bit 0x001
    std::size_t count;
};

// What building the status page found out about supplies and fans.
struct EsaPageChange_t {
    bool powerSupply;  // powerSupplyStatus changed: send the event
    bool fan;          // fanFaultStatus changed: send the event
};

struct EsaChassis_t {
    KORVO_E_CHASSIS_t type;

    // Start-up. Not fitted: no enclosure services. The texts are the trace lines of its outcome.
    EsaEntry<ESA_CODE_e()> init;
    const char* initSuccessText;
    const char* initFailureText;

    EsaEntry<void()> poll;

    // Fans. Speed in RPM through the pointer; the code is what the reader gives.
    EsaEntry<ESA_CODE_e(int fan, U16_t* rpm)> fanSpeedRead;
    // An unreachable bus (ESA_E_GENERR_I2C_UNAVAILABLE) ends the fan sweep of a poll.
    bool fanSweepEndsWhenUnavailable;
    // Load of the policy's ladder: 25, 50, 75 or 100 percent, in the chip's own values.
    EsaEntry<void(U8_t fan, U8_t percent)> fanLoad;
    // Fans (or fan groups) the policy handles; 0: coolingMaxNumber.
    U8_t policyFans;
    // Control page: switch a fan (or the group that starts at `fan`) on or off.
    EsaEntry<void(U8_t fan, bool on)> fanSwitch;
    // Fans switched together by the control page: 1, or the size of a group, which divides
    // SES_K_FANS_MAX.
    U8_t fanGroupSize;

    // Alarm state asked for by the composite fault manager.
    EsaEntry<void(EsaAlarmState_e state)> alarmSet;
    // Control page: silence, and sound with the given state.
    EsaEntry<void()> alarmSilence;
    EsaEntry<void(EsaAlarmState_e state)> alarmSound;
    // State of an alarm that a peer sounds as unrecoverable or critical; FAULT_S1 where the chassis
    // knows no other sound or has no alarm.
    EsaAlarmState_e alarmCriticalState;
    // Status page: the alarm's present state, 0 counts as muted. Not fitted: the page copies the
    // peer's last mute request.
    EsaEntry<U32_t()> alarmPageState;

    // Drives. Not fitted: no fault LEDs; every slot counts as present.
    EsaEntry<ESA_CODE_e(int drive)> driveLedSet;
    EsaEntry<ESA_CODE_e(int drive)> driveLedClear;
    EsaEntry<ESA_CODE_e(int drive)> drivePresent;

    // Status page: reads supply `supply` (below SES_K_POWER_SUPPLIES_MAX) and keeps the books;
    // fills commonStatus, acFail and fail of the zeroed `element`. The page sends the supply event
    // and fills the rest. Not fitted: OK, fail copies the peer's last fault request.
    EsaEntry<void(int supply, PowerSupplyElementStat_t* element, EsaPageChange_t* change)>
        supplyPageStatus;
    // Control page: fault indication on (ESA_E_GENERR) or off (ESA_E_OK). The page keeps the books.
    EsaEntry<void(ESA_CODE_e status)> supplyFaultIndicate;

    // Status page: marks and LED after fan `fan` (below SES_K_FANS_MAX) was read at `rpm`; fills
    // fail of `element`. The page sends the fan event. Not fitted: no marks, fail stays 0.
    EsaEntry<void(int fan, U16_t rpm, CoolingElementStat_t* element, EsaPageChange_t* change)>
        fanPageStatus;
    // Status page: reads all temperatures into temperatureSensor[], as far as the array goes. Not
    // fitted: the page answers what stands there.
    EsaEntry<void()> temperaturesPageRead;

    EsaI2cDevices_t i2cDevices;
};

// The row of `enclosureType`; null when the type is not in the table (0 and above 7).
const EsaChassis_t* esaChassisOf(KORVO_E_CHASSIS_t enclosureType);
// The row of esaControl.enclosureType.
const EsaChassis_t* esaChassis();
// The row the pages go by: a type outside the table has no back-end, like KORVO_E_CHASSIS_NONE.
inline const EsaChassis_t& esaChassisOrNone() {
    const EsaChassis_t* row = esaChassis();
    return row != nullptr ? *row : *esaChassisOf(KORVO_E_CHASSIS_NONE);
}
