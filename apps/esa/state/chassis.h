// SPDX-License-Identifier: Apache-2.0
// A chassis as the floors below it see it: one row, in which everything stands that depends on the
// enclosure type. Start-up hands the table of all rows in; policies, pages and the loop look up the
// row in force and call through it. No other code chooses by chassis.
#pragma once

#include <span>

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

// A name of the personality file that selects a chassis.
struct EsaPersonalityName_t {
    const char* quoted;  // as it is looked for
    const char* traced;
};

// What such a name sets: counts of elements, 7-bit addresses of devices.
struct EsaChassisSetup_t {
    U8_t deviceMaxNumber;
    U8_t powerSupplyMaxNumber;
    U8_t addressVsc055 = 0;
    std::span<const U8_t> addressesLM75 = {};  // index = sensor number
    U8_t addressW83792ad = 0;
    U8_t addressPca9539 = 0;
};

// What becomes of sensors a personality file counts beyond those the chassis has.
enum class EsaSurplusSensors_e : U8_t {
    NOT_ASKED,      // no service is given
    COUNT_AS_ZERO,  // 0 degrees, which pulls the average down
    NO_START,       // the enclosure does not start up and is never polled
    LEFT_OUT,       // unreadable, left out of the average
};

// Fans that, switched off by a peer, may stay off: no poll turns them on again.
struct EsaFansStayOff_t {
    U8_t first;         // of them, to the last
    const char* until;  // what gives them back; null: there are no such fans
};

// For people and tools; the service itself does not read it.
struct EsaChassisFacts_t {
    const char* title;  // "Xyratex 2U12ATX"
    const char* words;  // "Xyratex 2U12ATX, two fan groups"
    U8_t fans;          // tachometers
    U8_t sensors;
    EsaSurplusSensors_e surplusSensors;
    U32_t tachometerClock;  // RPM at count 1 and divisor 1; 0: no fans
    // A fan too slow to be measured: counts as stopped, or looks like one of the slowest speed.
    bool slowLooksStopped;
    U8_t divisorHighest;  // the chip takes; of a higher one its low bits
    U32_t hottest;        // degrees Celsius, the highest reading
    EsaFansStayOff_t fansStayOff = {};
};

// Load of a fan, 0 to 100.
struct EsaPercent_t {
    U8_t percent;
    constexpr bool operator==(const EsaPercent_t&) const = default;
};

// Trace lines of a supply condition; null: nothing is said.
struct EsaSupplyTexts_t {
    const char* changed;
    const char* already;
};

// One of the two conditions of the power supplies, voltage tolerance and redundancy, as a poll or a
// page keeps it.
struct EsaSupplyCondition_t {
    U32_t faultBit;   // an ESA_K_FAULT_ bit; 0: the composite fault manager is not told
    U32_t statusBit;  // an ESA_K_POWER_ bit of powerSupplyStatus
    EsaSupplyTexts_t ok;
    EsaSupplyTexts_t notOk;
};

// Where a chassis reads a supply condition.
struct EsaSupplyInput_t {
    ESA_CODE_e (*read)();
    const EsaSupplyCondition_t& polled;
    const EsaSupplyCondition_t& onPage;
    // Of a poll: an unreachable bus leaves the condition as it is; otherwise it counts as not OK.
    bool keptWhenUnavailable;
    bool isMains;  // a page shows it as AC FAIL
    // Follows each reading, before the event of a change: LEDs.
    EsaEntry<void(bool ok, bool changed)> follow;
};

// Fault tracking of one I2C device (esaI2CData...).
struct EsaI2cDevice_t {
    U8_t address;       // 7-bit
    U32_t faultBit;     // in i2cDeviceFaultStatus
    U32_t information;  // an EsaEventInfo_e
    U32_t sensor;       // temperatureSensorPosition of the event; 0 also for what is no sensor
};

struct EsaChassis_t {
    EsaChassisFacts_t facts;

    // The personality file: the first name that is found selects the first row that has it. A row
    // without names is never selected by it.
    std::span<const EsaPersonalityName_t> names;
    EsaChassisSetup_t setup;

    // Start-up. Not fitted: no enclosure services. The texts are the trace lines of its outcome.
    EsaEntry<ESA_CODE_e()> init;
    const char* initSuccessText;
    const char* initFailureText;

    EsaEntry<void()> poll;

    // Power supplies: what a poll reads, in its order.
    std::span<const EsaSupplyInput_t> supplyInputs;
    // Status page: reads supply `supply` (below SES_K_POWER_SUPPLIES_MAX) and keeps the books;
    // fills commonStatus, acFail and fail of the zeroed `element`, the page the rest. True when
    // powerSupplyStatus changed, whose event the page sends. Not fitted: OK, fail copies the peer's
    // last fault request.
    EsaEntry<bool(int supply, PowerSupplyElementStat_t* element)> supplyPageStatus;
    // Control page: fault indication on (ESA_E_GENERR) or off (ESA_E_OK). The page keeps the books.
    EsaEntry<void(ESA_CODE_e status)> supplyFaultIndicate;

    // Fans. Speed in RPM through the pointer; the code is what the reader gives.
    EsaEntry<ESA_CODE_e(int fan, U16_t* rpm)> fanSpeedRead;
    // An unreachable bus (ESA_E_GENERR_I2C_UNAVAILABLE) ends the fan sweep of a poll.
    bool fanSweepEndsWhenUnavailable;
    // The tachometer divisor the chassis sets itself; 0: the personality file's.
    U8_t fanSpeedDivisor;
    // Loads of the policy's ladder: 25, 50, 75 or 100 percent, in the chip's own values.
    EsaEntry<void(U8_t fan, EsaPercent_t load)> fanLoad;
    EsaPercent_t loadAtStart;
    // Fans (or fan groups) the policy handles; 0: coolingMaxNumber.
    U8_t policyFans;
    // Poll: fans were swept, and whether one has failed.
    EsaEntry<void(bool failed)> fanFaultShow;
    // Control page: switch a fan (or the group that starts at `fan`) on or off.
    EsaEntry<void(U8_t fan, bool on)> fanSwitch;
    // Fans switched together by the control page: 1, or the size of a group, which divides
    // SES_K_FANS_MAX.
    U8_t fanGroupSize;
    // Status page: marks and LED after fan `fan` (below SES_K_FANS_MAX) was read at `rpm`; fills
    // fail of `element`. True when fanFaultStatus changed, whose event the page sends. Not fitted:
    // no marks, fail stays 0.
    EsaEntry<bool(int fan, U16_t rpm, CoolingElementStat_t* element)> fanPageStatus;

    // Temperatures: degrees Celsius of sensor `sensor`, or ESA_K_TEMPERATURE_UNREADABLE.
    EsaEntry<S16_t(int sensor)> temperatureRead;
    // Sensors that are read; 0: temperatureSensorMaxNumber.
    U8_t temperatureSensors;
    // Both read all sensors into temperatureSensor[], as far as the array goes. Not fitted: the
    // page answers what stands there.
    EsaEntry<void()> temperaturesPoll;
    EsaEntry<void()> temperaturesPageRead;

    // Sets the alarm. Where it runs by itself only peers set it, not the composite fault manager.
    EsaEntry<void(EsaAlarmState_e state)> alarmSet;
    bool alarmRunsByItself;
    // Control page: what silencing takes besides the state MUTE_S3.
    EsaEntry<void()> alarmSilenced;
    // State of an alarm that a peer sounds as unrecoverable or critical; FAULT_S1 where the chassis
    // knows no other sound or has no alarm.
    EsaAlarmState_e alarmCriticalState;
    // Status page: the alarm's present state, 0 counts as muted. Not fitted: the page copies the
    // peer's last mute request.
    EsaEntry<U32_t()> alarmPageState;
    // The last step of a poll.
    EsaEntry<void()> alarmPoll;

    // Drives. Not fitted: no fault LEDs; every slot counts as present.
    EsaEntry<ESA_CODE_e(int drive)> driveLedSet;
    EsaEntry<ESA_CODE_e(int drive)> driveLedClear;
    EsaEntry<ESA_CODE_e(int drive)> drivePresent;

    // Devices with a fault bit of their own. None: every address is known and uses bit 0x001.
    std::span<const EsaI2cDevice_t> i2cDevices;
};

// What a row counts stays inside the arrays.
constexpr bool esaChassisIsSound(const EsaChassis_t& row) {
    return row.fanGroupSize != 0 && SES_K_FANS_MAX % row.fanGroupSize == 0 &&
           row.policyFans <= SES_K_FANS_MAX && row.temperatureSensors <= SES_K_SENSORS_MAX &&
           row.setup.addressesLM75.size() <= ESA_K_LM75_MAX;
}

// The rows of types 1, 2, ... in their order.
using EsaChassisTable_t = std::span<const EsaChassis_t* const>;

// Hands the table in; before that no type has a row.
void esaChassisTableUse(EsaChassisTable_t table);
EsaChassisTable_t esaChassisTableInUse();

// The row of `enclosureType`; null when the type is not in the table (0 and above the last).
const EsaChassis_t* esaChassisOf(KORVO_E_CHASSIS_t enclosureType);
// The row in force, that of esaControl.enclosureType.
const EsaChassis_t* esaChassis();
// The row the pages go by: a type outside the table has no back-end, like KORVO_E_CHASSIS_NONE.
const EsaChassis_t& esaChassisOrNone();
