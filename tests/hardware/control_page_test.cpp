// SPDX-License-Identifier: Apache-2.0
// Random control pages, cut anywhere, against a model of what each element asks for. What the row
// of a chassis does then is asked of the row: tests of the chassis judge it.
#include <cstring>

#include "tests/hardware/bench.h"

namespace {

// What the state holds of a section.
#define SECTION(element)                                                       \
    esaControl.element##MaxNumber, &esaControl.element##ElementControlOverall, \
        esaControl.element##ElementControl

// Works on the service's own state, which is put back for the service.
class Model {
  public:
    Model(Bench* bench, const Bytes& list, int length)
        : bench_(*bench), list_(list), length_(length) {}

    void play(bool isVolumeManager) {
        if (!drives() ||
            !(isVolumeManager ? say("Rx Drive Fault LED SES msg from VM. No further processing.")
                              : supplies() && fansAndBehind())) {
            say("Enclosure control page is cut by the end of the message, mmsg_length = [{}].",
                80 + length_);
        }
    }
    ESA_CODE_e result = ESA_E_OK;

  private:
    template <typename... Arguments>
    bool say(const char* text, const Arguments&... arguments) {
        bench_.say(fmt::format(fmt::runtime(text), arguments...));
        return true;
    }
    // The next four bytes; false when they are not wholly there.
    template <typename Record>
    bool take(Record* record) {
        if (at_ + 4 > length_) {
            return false;
        }
        std::memcpy(record, &list_[static_cast<std::size_t>(at_)], 4);
        at_ += 4;
        return true;
    }
    // What changed is told, whether all records came or not.
    template <typename Record, int N, typename Act>
    bool section(const char* event, int count, U32_t* overall, Record (&records)[N], Act act) {
        changed_ = false;
        const bool whole = recordsTake(count, overall, records, act);
        return (!changed_ || say(event)) && whole;
    }
    template <typename Record, int N, typename Act>
    bool recordsTake(int count, U32_t* overall, Record (&records)[N], Act act) {
        Be32 word;
        bool whole = take(&word);
        *overall = whole ? U32_t{word} : *overall;
        for (int n = 0; whole && n < count; ++n) {
            U8_t record[4];
            whole = take(&record);
            if (whole && n < N) {
                std::memcpy(&records[n], record, 4);
                act(n, (word >> 7 & 1) != 0 && record[0] >= 0x80, record[3]);
            }
        }
        return whole;
    }

    // An LED follows RQST FAULT without SELECT.
    bool drives() {
        const auto act = [&](int n, bool, int flags) {
            const bool on = (flags & 4) != 0;
            if (on == ((esaControl.driveFaultLedStatus0 >> n & 1) != 0)) {
                say("Drive Fault LED already {} Drive [{}].", on ? "ON" : "OFF", n);
                return;
            }
            say("Turn {} Fault LED on Drive [{}].", on ? "On" : "Off", n);
            esaControl.driveFaultLedStatus0 ^= 1U << n;
            changed_ = true;
            if (row_.driveLedSet) {
                result = (on ? row_.driveLedSet : row_.driveLedClear)(n);
            }
        };
        return section("event 5/2", SECTION(device), act);
    }

    // One indication for all: the latest selected request counts.
    bool supplies() {
        const auto act = [&](int, bool selected, int flags) {
            const bool fault = (flags & 2) != 0;
            if (selected && fault == ((esaControl.powerSupplyStatus & 4) == 0)) {
                say("Fault LED already [{}] for Power Supply.", fault ? "ON" : "OFF");
            } else if (selected) {
                say("Turn {} Fault LED for Power Supply.", fault ? "On" : "Off");
                if (row_.supplyFaultIndicate) {
                    row_.supplyFaultIndicate(fault ? ESA_E_GENERR : ESA_E_OK);
                }
                esaControl.powerSupplyStatus ^= 4;
                changed_ = true;
            }
        };
        return section("event 6/2", SECTION(powerSupply), act);
    }

    // Sensors are stored from a place shifted by the fans; the alarm is where it should be.
    bool fansAndBehind() {
        const int fans = at_;
        const int sensors = esaControl.temperatureSensorMaxNumber;
        const auto fanAct = [this](int n, bool selected, int flags) {
            if (selected) {
                fan(n, (flags & 4) != 0);
            }
        };
        const auto alarmAct = [this](int, bool selected, int flags) {
            if (selected && (flags & 0xF2) != 0) {
                alarm(flags);
            }
        };
        if (!section("", SECTION(cooling), fanAct)) {
            return false;
        }
        at_ = fans + 4 + 4 * sensors;
        section("", SECTION(temperatureSensor), [](int, bool, int) {});
        at_ = fans + 8 + 4 * (sensors + esaControl.coolingMaxNumber);
        return section("", SECTION(audibleAlarm), alarmAct);
    }
    void fan(int n, bool on) {
        const int size = row_.fanGroupSize, first = n / size * size;
        say("Turn {} Fan [{}].", on ? "On" : "Off", n);
        if (row_.fanSwitch) {
            row_.fanSwitch(u8(first), on);
        }
        std::fill_n(esaControl.fanPwmLoad + first, size, u8(on ? 100 : 0));
        std::fill_n(esaControl.coolingElementOnOff + first, size, u8(on ? 2 : 1));
    }
    // SET MUTE before UNRECOV and CRIT before NON-CRIT and INFO.
    void alarm(int flags) {
        const bool mutes = (flags & 0x02) != 0;
        const auto state = mutes                 ? ESA_E_ALARM_STATE_MUTE_S3
                           : (flags & 0xC0) != 0 ? row_.alarmCriticalState
                                                 : ESA_E_ALARM_STATE_FAULT_S1;
        if (row_.alarmSet) {
            row_.alarmSet(state);
        }
        esaControl.alarmState = state;
        if (mutes && row_.alarmSilenced) {
            row_.alarmSilenced();
        }
    }

    const EsaChassis_t& row_ = esaChassisOrNone();
    Bench& bench_;
    const Bytes& list_;
    int length_, at_ = 0;
    bool changed_ = false;
};

// Bytes of a list of all elements.
std::size_t stateChoose(Bench* bench) {
    std::size_t elements = 0;
    for (const auto& [name, count, most] : SECTIONS) {
        esaControl.*count = u8(bench->below(most + 3));
        elements += esaControl.*count;
    }
    esaControl.driveFaultLedStatus0 = static_cast<U32_t>(bench->below(0x10000));
    esaControl.powerSupplyStatus = static_cast<U32_t>(bench->below(8));
    esaControl.alarmState = static_cast<U32_t>(bench->below(8));
    bench->randomize(&esaControl.fanPwmLoad);
    bench->randomize(&esaControl.temperatureSensorElementControl);
    return 4 * (std::size(SECTIONS) + elements);
}

TEST(ControlPage, DoesWhatItsRecordsAskFor) {
    Bench bench(KORVO_E_CHASSIS_NONE);
    for (int n = 0; n < 1500; ++n) {
        bench.restart(u8(1 + n % 9));  // the last two are of no row
        const Bytes list = bench.random.bytes(stateChoose(&bench));
        const int size = static_cast<int>(list.size());
        const int lost = n % 2 == 0 ? 0 : bench.below(size + 17);
        const bool isVolumeManager = bench.below(8) == 0;
        const EsaControl_t before = esaControl;
        Model model(&bench, list, size - lost);
        model.play(isVolumeManager);
        const Lines expected = bench.take();
        EsaControl_t after = std::exchange(esaControl, before);
        EXPECT_EQ(bench.controlPage(list, lost, isVolumeManager ? 20 : 2), model.result);
        ASSERT_EQ(bench.take(), expected)
            << "type " << 1 + n % 9 << ", " << lost << " bytes short, page " << n;
        std::ranges::copy(esaControl.esaInMsg, after.esaInMsg);
        EXPECT_EQ(std::memcmp(&esaControl, &after, sizeof after), 0) << "state, page " << n;
    }
}

}  // namespace
