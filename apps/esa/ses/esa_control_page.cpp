// SPDX-License-Identifier: Apache-2.0
// Enclosure control page: walks the control list in page order by the service's own counts, stores
// every record and acts on the selected ones. Records that did not come end the walk.
#include "ses/esa_control_page.h"

#include <cstddef>
#include <optional>

#include "link/esa_element_event.h"
#include "link/esa_event.h"
#include "ses/esa_mmsg_read.h"
#include "state/chassis.h"
#include "state/esa_trace.h"

namespace {

constexpr U32_t CONTROL_LIST_OFFSET = MMSG_K_HEADER_SIZE +
                                      offsetof(SndDiagCommandMsg_t, sndDiagCommandList) +
                                      offsetof(EncContDiagPage_t, controlList);
constexpr U32_t OVERALL_SELECT = 0x80;  // bit 7 of the overall word's last byte
constexpr U8_t FAN_LOAD_ON = 100;       // percent
constexpr U8_t FAN_LOAD_OFF = 0;

struct ControlWalk {
    const MMSG_t* message;
    U32_t size;    // its bytes
    U32_t offset;  // message byte of the next record
    const EsaChassis_t& chassis;
    ESA_CODE_e result;  // of the last back-end call that gave one
};

// Nothing when the next record does not lie wholly inside the message.
template <typename Record>
std::optional<Record> recordTake(ControlWalk* walk) {
    static_assert(sizeof(Record) == SES_K_ELEMENT_SIZE);
    if (walk->offset + sizeof(Record) > walk->size) {
        return std::nullopt;
    }
    const Record record = *wireView<Record>(wireView<U8_t>(walk->message) + walk->offset);
    walk->offset += SES_K_ELEMENT_SIZE;
    return record;
}

// Stores one section's overall word and records; act(index, selected) follows each record that was
// stored. False when the section does not lie wholly inside the message.
template <typename Record, int N, typename Act>
bool sectionProc(ControlWalk* walk, U8_t count, U32_t* overall, Record (&records)[N], Act act) {
    const auto word = recordTake<Be32>(walk);
    if (!word) {
        return false;
    }
    *overall = *word;
    for (int n = 0; n < count; ++n) {
        const auto record = recordTake<Record>(walk);
        if (!record) {
            return false;
        }
        if (n < N) {
            records[n] = *record;
            act(n, (*word & OVERALL_SELECT) != 0 &&
                       (record->commonControl & SES_K_CONTROL_SELECT) != 0);
        }
    }
    return true;
}

void driveLedSwitch(ControlWalk* walk, int slot, bool on) {
    const auto& entry = on ? walk->chassis.driveLedSet : walk->chassis.driveLedClear;
    if (entry) {
        walk->result = entry(slot);
    }
}

// True when the LED changed.
bool deviceAct(ControlWalk* walk, int slot) {
    const U32_t bit = U32_t{1} << slot;
    const bool on = esaControl.deviceElementControl[slot].rqstFault != 0;
    if (on == ((esaControl.driveFaultLedStatus0 & bit) != 0)) {
        ESA_TRACE(on ? "Drive Fault LED already ON Drive [%d]."
                     : "Drive Fault LED already OFF Drive [%d].",
                  slot);
        return false;
    }
    ESA_TRACE(on ? "Turn On Fault LED on Drive [%d]." : "Turn Off Fault LED on Drive [%d].", slot);
    driveLedSwitch(walk, slot, on);
    esaControl.driveFaultLedStatus0 ^= bit;
    return true;
}

void driveLedEventSend() {
    EsaEventData_t event = {};
    event.enclosureType = esaControl.enclosureType;
    event.numberOfDrive = esaControl.deviceMaxNumber;
    event.driveFaultLedStatus0 = esaControl.driveFaultLedStatus0;
    esaEventMmsgToEmpSend(ESA_E_ID_ES_ADAPTERMP_DRIVE_FAULT_LED_STATUS, EMP_E_TYPE_WARNING, &event);
}

bool devicesProc(ControlWalk* walk) {
    bool changed = false;
    // Every slot follows its record: peers set drive LEDs without SELECT.
    // (compatibility: drives-no-select)
    const bool whole = sectionProc(
        walk, esaControl.deviceMaxNumber, &esaControl.deviceElementControlOverall,
        esaControl.deviceElementControl, [&](int slot, bool) { changed |= deviceAct(walk, slot); });
    if (changed) {
        driveLedEventSend();
    }
    return whole;
}

// True when the indication changed. There is one for all supplies.
bool powerSupplyAct(const EsaChassis_t& chassis, bool fault) {
    const bool indicated = (esaControl.powerSupplyStatus & ESA_K_POWER_NO_FAULT_REQUESTED) == 0;
    if (fault == indicated) {
        ESA_TRACE(fault ? "Fault LED already [ON] for Power Supply."
                        : "Fault LED already [OFF] for Power Supply.");
        return false;
    }
    ESA_TRACE(fault ? "Turn On Fault LED for Power Supply."
                    : "Turn Off Fault LED for Power Supply.");
    if (chassis.supplyFaultIndicate) {
        chassis.supplyFaultIndicate(fault ? ESA_E_GENERR : ESA_E_OK);
    }
    esaControl.powerSupplyStatus ^= ESA_K_POWER_NO_FAULT_REQUESTED;
    return true;
}

bool powerSuppliesProc(ControlWalk* walk) {
    bool changed = false;
    const bool whole = sectionProc(
        walk, esaControl.powerSupplyMaxNumber, &esaControl.powerSupplyElementControlOverall,
        esaControl.powerSupplyElementControl, [&](int supply, bool selected) {
            if (selected) {
                changed |= powerSupplyAct(
                    walk->chassis, esaControl.powerSupplyElementControl[supply].rqstFail != 0);
            }
        });
    if (changed) {
        esaPowerSupplyEventSend(EMP_E_TYPE_WARNING);
    }
    return whole;
}

void fanAct(const EsaChassis_t& chassis, int fan, bool on) {
    const int first = fan - fan % chassis.fanGroupSize;
    ESA_TRACE(on ? "Turn On Fan [%d]." : "Turn Off Fan [%d].", fan);
    if (chassis.fanSwitch) {
        chassis.fanSwitch(static_cast<U8_t>(first), on);
    }
    for (int n = first; n < first + chassis.fanGroupSize; ++n) {
        esaControl.fanPwmLoad[n] = on ? FAN_LOAD_ON : FAN_LOAD_OFF;
        esaControl.coolingElementOnOff[n] = on ? ESA_E_FAN_ON : ESA_E_FAN_OFF;
    }
}

bool fansProc(ControlWalk* walk) {
    return sectionProc(walk, esaControl.coolingMaxNumber, &esaControl.coolingElementControlOverall,
                       esaControl.coolingElementControl, [&](int fan, bool selected) {
                           if (selected) {
                               fanAct(walk->chassis, fan,
                                      esaControl.coolingElementControl[fan].rqstOn != 0);
                           }
                       });
}

// Stores only. Takes a walk of its own: the section may be read from a shifted place, where even a
// complete message can end before its last record.
void temperaturesProc(ControlWalk walk) {
    sectionProc(&walk, esaControl.temperatureSensorMaxNumber,
                &esaControl.temperatureSensorElementControlOverall,
                esaControl.temperatureSensorElementControl, [](int, bool) {});
}

void alarmSet(const EsaChassis_t& chassis, EsaAlarmState_e state) {
    if (chassis.alarmSet) {
        chassis.alarmSet(state);
    }
    esaControl.alarmState = state;
}

void alarmAct(const EsaChassis_t& chassis, const AudibleAlarmElementCont_t& control) {
    if (control.setMute) {
        alarmSet(chassis, ESA_E_ALARM_STATE_MUTE_S3);
        if (chassis.alarmSilenced) {
            chassis.alarmSilenced();
        }
    } else if (control.unrecov || control.crit) {
        alarmSet(chassis, chassis.alarmCriticalState);
    } else if (control.info || control.nonCrit) {
        alarmSet(chassis, ESA_E_ALARM_STATE_FAULT_S1);
    }
}

bool alarmsProc(ControlWalk* walk) {
    return sectionProc(
        walk, esaControl.audibleAlarmMaxNumber, &esaControl.audibleAlarmElementControlOverall,
        esaControl.audibleAlarmElementControl, [&](int alarm, bool selected) {
            if (selected) {
                alarmAct(walk->chassis, esaControl.audibleAlarmElementControl[alarm]);
            }
        });
}

constexpr U32_t sectionSize(U8_t count) {
    return SES_K_ELEMENT_SIZE * (1 + U32_t{count});
}

// False when the walk ended with the message.
bool controlListProc(ControlWalk* walk) {
    if (!devicesProc(walk)) {
        return false;
    }
    if (walk->message->mmch.requestor == MMSG_E_EPID_VOLMGRMP) {
        ESA_TRACE("Rx Drive Fault LED SES msg from VM. No further processing.");
        return true;
    }
    if (!powerSuppliesProc(walk)) {
        return false;
    }
    const U32_t fanSection = walk->offset;
    if (!fansProc(walk)) {
        return false;
    }
    // Fans are skipped by the number of sensors and sensors by the number of fans, deliberately:
    // together the two steps find the alarm where peers put it. Where the counts differ the
    // temperature records are stored from a shifted place; nothing acts on them.
    // (compatibility: skip-by-other-count)
    walk->offset = fanSection + sectionSize(esaControl.temperatureSensorMaxNumber);
    temperaturesProc(*walk);
    walk->offset += sectionSize(esaControl.coolingMaxNumber);
    return alarmsProc(walk);
}

}  // namespace

ESA_CODE_e esaEncContPageProc(const MMSG_t* rcvMmsgPtr) {
    ControlWalk walk = {rcvMmsgPtr, esaMmsgSize(rcvMmsgPtr), CONTROL_LIST_OFFSET,
                        esaChassisOrNone(), ESA_E_OK};
    if (!controlListProc(&walk)) {
        ESA_TRACE("Enclosure control page is cut by the end of the message, mmsg_length = [%d].",
                  static_cast<int>(rcvMmsgPtr->mmch.mmsg_length));
    }
    return walk.result;
}
