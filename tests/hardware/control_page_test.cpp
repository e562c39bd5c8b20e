// SPDX-License-Identifier: Apache-2.0
// Random control pages, cut anywhere, against a model of what each element asks for. The rows keep
// what they say of themselves, but what they would do to the hardware is a line.
#include <gtest/gtest.h>

#include <algorithm>

#include "chassis/table.h"
#include "tests/hardware/bench.h"

namespace {

using fmt::format;

Bench* bench;

// ---- rows that say what they are asked for ----

template <typename Function>
void watch(EsaEntry<Function>* entry, std::type_identity_t<Function>* fake) {
    if (*entry) {
        *entry = fake;
    }
}

const char* onOff(bool on) {
    return on ? "on" : "off";
}

EsaChassis_t watched(EsaChassis_t row) {
    watch(&row.driveLedSet, [](int drive) {
        bench->say(format("led {} on", drive));
        return drive % 2 == 0 ? ESA_E_OK : ESA_E_GENERR;
    });
    watch(&row.driveLedClear, [](int drive) {
        bench->say(format("led {} off", drive));
        return drive % 3 == 0 ? ESA_E_OK : ESA_E_GENERR;
    });
    watch(&row.supplyFaultIndicate,
          [](ESA_CODE_e status) { bench->say(format("supply {}", int{status})); });
    watch(&row.fanSwitch,
          [](U8_t fan, bool on) { bench->say(format("fan {} {}", fan, onOff(on))); });
    watch(&row.alarmSet,
          [](EsaAlarmState_e state) { bench->say(format("alarm {}", U32_t{state})); });
    watch(&row.alarmSilenced, [] { bench->say("silenced"); });
    return row;
}

EsaChassisTable_t watchedTable() {
    static std::vector<EsaChassis_t> rows;
    static std::vector<const EsaChassis_t*> pointers;
    for (const EsaChassis_t* row : esaChassisTable()) {
        rows.push_back(watched(*row));
    }
    for (const EsaChassis_t& row : rows) {
        pointers.push_back(&row);
    }
    return pointers;
}

// ---- the model ----

// What a type has; one outside the table has nothing.
struct Fitted {
    bool driveLeds, supplies, fans, alarm, silenced;
    int fanGroup, critical;
};
Fitted fittedTo(int type) {
    const bool any = type >= 2 && type <= 7, isVsc055 = type == 3 || type == 5;
    return {type == 2 || isVsc055 || type == 7,
            any,
            any,
            any,
            isVsc055,
            type == 2 ? 4 : 1,
            type == 2 ? 4 : 1};
}

class Model {
  public:
    Model(const std::vector<U8_t>& list, int length, const Fitted& fitted)
        : control(esaControl), list_(list), length_(length), fitted_(fitted) {}

    // Whether the list was whole, as far as it was looked at.
    bool play(bool isVolumeManager) {
        const U32_t before = control.driveFaultLedStatus0;
        const bool drives = section(control.deviceMaxNumber, &control.deviceElementControlOverall,
                                    control.deviceElementControl, [&](int n, bool) { drive(n); });
        if (control.driveFaultLedStatus0 != before || toggled_) {
            text += format(
                "event 5/2{}{}\n",
                control.deviceMaxNumber == 0 ? "" : format(" drives={}", control.deviceMaxNumber),
                control.driveFaultLedStatus0 == 0
                    ? ""
                    : format(" leds={}", static_cast<S32_t>(control.driveFaultLedStatus0)));
        }
        if (drives && isVolumeManager) {
            text += "Rx Drive Fault LED SES msg from VM. No further processing.\n";
            return true;
        }
        return drives && supplies() && fansAndBehind();
    }

    EsaControl_t control;  // as it must be
    std::string text;
    ESA_CODE_e result = ESA_E_OK;

  private:
    // The next four bytes; false when they are not wholly there.
    bool take(U8_t (&bytes)[4]) {
        if (at_ + 4 > length_) {
            return false;
        }
        std::copy_n(&list_.at(static_cast<std::size_t>(at_)), 4, bytes);
        at_ += 4;
        return true;
    }
    template <typename Record, std::size_t N, typename Act>
    bool section(int count, U32_t* overall, Record (&records)[N], Act act) {
        U8_t word[4];
        if (!take(word)) {
            return false;
        }
        *overall = static_cast<U32_t>(word[0]) << 24 | static_cast<U32_t>(word[1]) << 16 |
                   static_cast<U32_t>(word[2]) << 8 | word[3];
        for (int n = 0; n < count; ++n) {
            U8_t record[4];
            if (!take(record)) {
                return false;
            }
            if (n < static_cast<int>(N)) {
                std::copy_n(record, 4, reinterpret_cast<U8_t*>(&records[n]));
                last_ = record[3];
                act(n, word[3] >> 7 == 1 && record[0] >> 7 == 1);
            }
        }
        return true;
    }

    // Follows RQST FAULT without SELECT.
    void drive(int n) {
        const bool on = (last_ & 0x04) != 0, isOn = (control.driveFaultLedStatus0 >> n & 1) != 0;
        if (on == isOn) {
            text += format("Drive Fault LED already {} Drive [{}].\n", on ? "ON" : "OFF", n);
            return;
        }
        text += format("Turn {} Fault LED on Drive [{}].\n", on ? "On" : "Off", n);
        control.driveFaultLedStatus0 ^= 1U << n;
        toggled_ = true;
        if (fitted_.driveLeds) {
            text += format("led {} {}\n", n, onOff(on));
            result = n % (on ? 2 : 3) == 0 ? ESA_E_OK : ESA_E_GENERR;
        }
    }
    // One indication for all: the latest selected request counts.
    bool supplies() {
        bool changed = false;
        const bool whole = section(
            control.powerSupplyMaxNumber, &control.powerSupplyElementControlOverall,
            control.powerSupplyElementControl, [&](int, bool selected) {
                const bool fault = (last_ & 0x02) != 0,
                           isFault = (control.powerSupplyStatus & 4) == 0;
                if (selected && fault == isFault) {
                    text +=
                        format("Fault LED already [{}] for Power Supply.\n", fault ? "ON" : "OFF");
                } else if (selected) {
                    text += format("Turn {} Fault LED for Power Supply.\n", fault ? "On" : "Off");
                    text += !fitted_.supplies ? "" : fault ? "supply -1\n" : "supply 0\n";
                    control.powerSupplyStatus ^= 4;
                    changed = true;
                }
            });
        if (changed) {
            text += format("event 6/2 supplies={}{}\n", control.powerSupplyMaxNumber,
                           control.powerSupplyStatus == 0
                               ? ""
                               : format(" supply={}", control.powerSupplyStatus));
        }
        return whole;
    }
    void fan(int n, bool selected) {
        const bool on = (last_ & 0x04) != 0;
        const int first = n / fitted_.fanGroup * fitted_.fanGroup;
        if (selected) {
            text += format("Turn {} Fan [{}].\n", on ? "On" : "Off", n);
            text += fitted_.fans ? format("fan {} {}\n", first, onOff(on)) : "";
            std::fill_n(control.fanPwmLoad + first, fitted_.fanGroup, u8(on ? 100 : 0));
            std::fill_n(control.coolingElementOnOff + first, fitted_.fanGroup, u8(on ? 2 : 1));
        }
    }
    // Sensors are stored from a place shifted by the fans; the alarm is where it should be.
    bool fansAndBehind() {
        const int fans = at_;
        if (!section(control.coolingMaxNumber, &control.coolingElementControlOverall,
                     control.coolingElementControl,
                     [&](int n, bool selected) { fan(n, selected); })) {
            return false;
        }
        at_ = fans + 4 + 4 * control.temperatureSensorMaxNumber;
        section(control.temperatureSensorMaxNumber, &control.temperatureSensorElementControlOverall,
                control.temperatureSensorElementControl, [](int, bool) {});
        at_ = fans + 8 + 4 * (control.temperatureSensorMaxNumber + control.coolingMaxNumber);
        return section(control.audibleAlarmMaxNumber, &control.audibleAlarmElementControlOverall,
                       control.audibleAlarmElementControl,
                       [&](int, bool selected) { alarm(selected); });
    }
    // SET MUTE before UNRECOV and CRIT before NON-CRIT and INFO.
    void alarm(bool selected) {
        const bool mutes = (last_ & 0x02) != 0;
        if (!selected || (last_ & 0xF2) == 0) {
            return;
        }
        control.alarmState = mutes                 ? 3U
                             : (last_ & 0xC0) != 0 ? static_cast<U32_t>(fitted_.critical)
                                                   : 1U;
        text += fitted_.alarm ? format("alarm {}\n", control.alarmState) : "";
        text += mutes && fitted_.silenced ? "silenced\n" : "";
    }

    const std::vector<U8_t>& list_;
    int length_, at_ = 0;
    Fitted fitted_;
    U8_t last_ = 0;  // byte of the record
    bool toggled_ = false;
};

// ---- the law ----

void countsChoose() {
    esaControl.deviceMaxNumber = u8(bench->below(19));
    esaControl.powerSupplyMaxNumber = u8(bench->below(5));
    esaControl.coolingMaxNumber = u8(bench->below(11));
    esaControl.temperatureSensorMaxNumber = u8(bench->below(11));
    esaControl.audibleAlarmMaxNumber = u8(bench->below(3));
}

TEST(ControlPage, DoesWhatItsRecordsAskFor) {
    Bench own(KORVO_E_CHASSIS_NONE);
    bench = &own;
    esaChassisTableUse(watchedTable());
    for (int n = 0; n < 1500; ++n) {
        const int type = 1 + n % 9;
        bench->restart(u8(type));
        countsChoose();
        esaControl.driveFaultLedStatus0 = static_cast<U32_t>(bench->below(0x10000));
        esaControl.powerSupplyStatus = static_cast<U32_t>(bench->below(8));
        esaControl.alarmState = static_cast<U32_t>(bench->below(8));
        bench->randomize(&esaControl.fanPwmLoad);
        bench->randomize(&esaControl.temperatureSensorElementControl);
        const int counts = esaControl.deviceMaxNumber + esaControl.powerSupplyMaxNumber +
                           esaControl.coolingMaxNumber + esaControl.temperatureSensorMaxNumber +
                           esaControl.audibleAlarmMaxNumber;
        std::vector<U8_t> list(4 * (5 + static_cast<std::size_t>(counts)));
        std::ranges::generate(list, [] { return bench->byte(); });
        const int lost = n % 2 == 0 ? 0 : bench->below(static_cast<int>(list.size()) + 17);
        const bool isVolumeManager = bench->below(8) == 0;
        Model model(list, static_cast<int>(list.size()) - lost, fittedTo(type));
        if (!model.play(isVolumeManager)) {
            model.text += format(
                "Enclosure control page is cut by the end of the message, mmsg_length = [{}].\n",
                80 + static_cast<int>(list.size()) - lost);
        }
        EXPECT_EQ(bench->controlPage(list, lost, isVolumeManager ? 20 : 2), model.result);
        ASSERT_EQ(bench->take(), model.text)
            << "type " << type << ", " << lost << " bytes short, page " << n;
        std::ranges::copy(esaControl.esaInMsg, model.control.esaInMsg);
        EXPECT_EQ(std::memcmp(&esaControl, &model.control, sizeof esaControl), 0)
            << "state, type " << type << ", page " << n;
    }
}

}  // namespace
