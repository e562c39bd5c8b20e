// SPDX-License-Identifier: Apache-2.0
// Whatever happens to an enclosure, the service and the model say the same after each step: in
// messages to the byte, in the log, in LEDs, loads and faults.
#include <gtest/gtest.h>

#include "tests/story/model.h"
#include "tests/story/service.h"
#include "tests/support/hex.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

#ifdef __powerpc__
constexpr unsigned SEEDS = 4;  // is emulated
#else
constexpr unsigned SEEDS = 16;
#endif
constexpr int STEPS = 45;

// Functions whose lines the model says; those of chips and link are judged elsewhere.
constexpr std::string_view LOGGING =
    " faultNameTrace esaCompositeFaultManage faultSet faultClear ledOn esaSupplyConditionUpdate "
    "esaFanFaultMark esaFanFailStatusRead fanFailLedFollow temperatureAverage ladderStep "
    "esaSndDiagPage esaStatusSend knownPageSend ladderMove fansToFullLoad coolReport bandReport "
    "esaTemperatureOverheatCheck fanRead ";

// The service beside its model. What happens is noted for whoever reads a failure.
class Walk {
  public:
    Walk(const StoryRow& row, unsigned seed)
        : service_(row), chassis_(*service_.chassis), random_(seed) {
        personalityChoose(&service_.personality);
        model_ = std::make_unique<Model>(service_);
    }

    // False when the two differ.
    bool start() {
        if (random_.onceIn(4)) {
            deviceTouch();
        }
        history_ += service_.personality.xml();
        return both("start", [](auto& side) { side.start(); });
    }

    bool step() {
        static constexpr void (Walk::*TOUCHES[])() = {
            &Walk::fanTouch,    &Walk::fanTouch,    &Walk::heat,        &Walk::heat,
            &Walk::heat,        &Walk::deviceTouch, &Walk::deviceTouch, &Walk::driveTouch,
            &Walk::supplyTouch, &Walk::supplyTouch, &Walk::wait};
        do {
            (this->*TOUCHES[random_.below(std::size(TOUCHES))])();
        } while (random_.onceIn(3));
        requestorChoose();
        switch (random_.below(7)) {
            case 0:
                return configurationAsk();
            case 1:
            case 2:
                return both("page", [](auto& side) { side.page(2, 0xFFFF); });
            case 3:
            case 4:
                return put();
            default:
                return both("poll", [](auto& side) { side.poll(); });
        }
    }

  private:
    // ---- what may happen ----

    int below(int limit) { return static_cast<int>(random_.below(static_cast<unsigned>(limit))); }

    void personalityChoose(enclab::Personality* key) {
        for (const auto& [name, value] : enclab::kPersonalityKeys) {
            if (name.ends_with("Threshold")) {
                key->*value += below(5) - 2;
            }
        }
        key->overheatTemperatureLimit = random_.of({0, 48, 60, 60});
        key->fanPwmLoadMinimum = random_.of({0, 25, 26, 50, 51, 76});
        key->fanFaultRpmLimit = random_.of({0, 1500, 4477, 4478, 5000});
        if (random_.onceIn(6)) {
            key->coolingMaxNumber = random_.of({0, 9, 44});
            key->temperatureSensorMaxNumber = random_.of({0, 1, 12});
        }
    }

    template <typename... Arguments>
    void note(const char* text, const Arguments&... arguments) {
        history_ += fmt::format(fmt::runtime(text), arguments...) + "\n";
    }

    void fanTouch() {
        const int fan = below(chassis_.fans());
        const bool pulls = random_.onceIn(3);
        note("fan {} {}", fan, pulls ? "out" : "in");
        pulls ? chassis_.pullFan(fan) : chassis_.returnFan(fan);
    }
    void heat() {
        const double degrees =
            random_.of({0, 29, 32, 35, 38, 41, 44, 48, 54, 60}) + below(10) / 2.0 - 2;
        const int only = random_.onceIn(3) ? below(chassis_.sensors()) : -1;
        note("{} degrees at {}", degrees, only);
        for (int sensor = 0; sensor < chassis_.sensors(); ++sensor) {
            chassis_.setTemperature(
                sensor, only < 0 || sensor == only ? degrees : chassis_.temperature(sensor));
        }
    }
    void deviceTouch() {
        const auto& devices = chassis_.devices();
        const std::string& name = devices[random_.below(devices.size())].name;
        const bool cuts = random_.onceIn(3), all = random_.onceIn(cuts ? 4 : 2);
        note("{} {}", cuts ? "cut" : "mend", all ? "all" : name);
        for (const enclab::ChassisDevice& device : devices) {
            if (all || device.name == name) {
                cuts ? chassis_.bus().cut(device.address) : chassis_.bus().mend(device.address);
            }
        }
    }
    void driveTouch() {
        if (chassis_.parts().drivePresence) {
            const int slot = below(chassis_.slots());
            note("drive {}", slot);
            chassis_.setDrivePresent(slot, !chassis_.drivePresent(slot));
        }
    }
    void supplyTouch() {
        const auto& rails = chassis_.rails();
        if (chassis_.parts().redundancy && (rails.empty() || random_.onceIn(2))) {
            note("redundancy {}", !chassis_.redundancy());
            chassis_.setRedundancy(!chassis_.redundancy());
        } else if (!rails.empty()) {
            const std::string rail = rails[random_.below(rails.size())].name;
            const double part = random_.of({1.0, 1.0, 1.08, 0.92, 1.12, 0.88});
            note("rail {} at {}", rail, part);
            chassis_.setRail(rail, part * (rail.starts_with("12") ? 12 : 5));
        }
    }
    void wait() {
        note("half a minute");
        chassis_.advance(std::chrono::seconds(30));
    }

    // ---- what peers may ask for ----

    void requestorChoose() {
        service_.requestor = model_->requestor =
            random_.of<U8_t>({MMSG_E_EPID_ENVIRONMP, MMSG_E_EPID_ENVIRONMP, MMSG_E_EPID_VOLMGRMP,
                              static_cast<U8_t>(random_.below(80))});
        service_.handle = model_->handle = static_cast<U32_t>(random_());
    }

    bool configurationAsk() {
        const int room = random_.of({67, 68, 69, 0xFFFF});
        return both(fmt::format("configuration in {} bytes", room),
                    [=](auto& side) { side.page(1, room); });
    }

    // Off is rare for fans: it ends the story of a VSC055 chassis.
    void requestAdd(Records* records) {
        const U32_t flag = U32_t{1} << random_.below(8);
        const int fan = below(std::min<int>(esaControl.coolingMaxNumber, 8) + 1);
        const U32_t supply = random_.of<U32_t>({SELECT, SELECT | 2, SELECT | 6, 2});
        switch (random_.below(4)) {
            case 0:
                (*records)[{SUPPLIES, 0}] = supply;
                (*records)[{SUPPLIES, 1}] = random_.onceIn(2) ? supply : 0;
                break;
            case 1:
                if (fan < esaControl.coolingMaxNumber) {
                    (*records)[{FANS, fan}] =
                        random_.onceIn(8) ? SELECT : random_.of<U32_t>({SELECT | 4, 4, 0});
                }
                break;
            default:
                (*records)[{ALARMS, 0}] = random_.of<U32_t>(
                    {SELECT | flag, SELECT | flag, 0xA00000FF ^ flag, flag, SELECT | 2});
        }
    }

    bool put() {
        std::erase_if(records_, [&](const auto& request) {
            return request.first.first != DRIVES || random_.onceIn(3);
        });
        for (std::size_t n = random_.below(3); n > 0; --n) {
            records_[{DRIVES, below(esaControl.deviceMaxNumber)}] = random_.of<U32_t>({4, SELECT});
        }
        requestAdd(&records_);
        requestAdd(&records_);
        std::string text = fmt::format("put of {}:", service_.requestor);
        for (const auto& [place, record] : records_) {
            text += fmt::format(" {}/{}={:08X}", int{place.first}, place.second, record);
        }
        return both(text, [this](auto& side) { side.put(records_); });
    }

    // ---- the two, side by side ----

    template <typename Command>
    bool both(const std::string& text, Command command) {
        note("> {}", text);
        model_->observe();
        command(*model_);
        model_->sound = model_->soundText();
        command(service_);
        const std::string expected = shown(model_->messages, model_->log, *model_);
        const std::string got = shown(messages(text == "start" ? 2 : 0), log(), state());
        if (expected != got) {
            EXPECT_EQ(expected, got) << history_;
        }
        return expected == got;
    }

    // For a reader: messages as lines, then their bytes.
    static std::string shown(const std::vector<enclab::Message>& messages, const Lines& log,
                             const StoryState& state) {
        std::string text = state.text();
        std::string rows;
        for (const enclab::Message& message : messages) {
            text += describe(message) + "\n";
            rows += fmt::format("{}\n", fmt::join(hexRows(message.bytes()), "\n"));
        }
        return text + fmt::format("{}\n", fmt::join(log, "\n")) + rows;
    }

    // Links 0, and with a page's last byte, which is not sent. The first two are of any start.
    std::vector<enclab::Message> messages(std::size_t without) {
        std::vector<enclab::Message> all = service_.take();
        all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(without));
        for (enclab::Message& message : all) {
            Bytes bytes = message.bytes();
            std::fill_n(bytes.begin(), 8, std::uint8_t{0});
            if (message.kind() == enclab::Kind::reply && bytes.size() > 68) {
                bytes.push_back(esaControl.esaWorkSpace[bytes.size()]);
            }
            message = enclab::Message(bytes);
        }
        return all;
    }

    Lines log() {
        Lines lines;
        for (const std::string& line : trace_.take()) {
            const std::string function = line.substr(0, line.find(':'));
            if (LOGGING.find(" " + function + " ") != LOGGING.npos) {
                lines.push_back(function + line.substr(line.find(":  ")));
            }
        }
        return lines;
    }

    StoryState state() const {
        const EsaControl_t& c = esaControl;
        StoryState now;
        for (int fan = 0; fan < chassis_.fans(); ++fan) {
            now.duties.push_back(chassis_.fanLoadPercent(fan));
        }
        for (int slot = 0; chassis_.parts().driveLeds && slot < chassis_.slots(); ++slot) {
            now.lit |= U32_t{chassis_.driveFaultLed(slot)} << slot;
        }
        U32_t bit = Model::PSU_OK;
        for (const enclab::ChassisLed& led : chassis_.statusLeds()) {
            now.lit |= led.lit ? bit : 0;
            bit <<= 1;
        }
        now.sound = chassis_.alarm();
        now.sound.resize(now.sound.starts_with('S') ? 2 : now.sound.size());  // "S3 mute"
        now.faults = c.compositeFaultStatus;
        now.devices = c.i2cDeviceFaultStatus;
        now.alarm = c.alarmState;
        now.failed = c.fanFaultStatus;
        now.supply = c.powerSupplyStatus;
        now.average = c.temperatureSensorAverage;
        for (std::size_t n = 0; n < now.loads.size(); ++n) {
            now.loads[n] = c.fanPwmLoad[n];
            now.bands[n] = std::bit_width(c.temperatureReportStatus[n]);
        }
        return now;
    }

    TraceCapture trace_{0x0010 | TRACE_K_FUNCTION};
    StoryService service_;
    enclab::Chassis& chassis_;
    std::unique_ptr<Model> model_;
    Random random_;
    Records records_;  // of the latest control page
    std::string history_;
};

class EnclosureWalk : public testing::TestWithParam<StoryRow> {};

TEST_P(EnclosureWalk, AgreesWithTheModel) {
    for (unsigned seed = 1; seed <= SEEDS; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Walk walk(GetParam(), seed);
        ASSERT_TRUE(walk.start());
        for (int n = 0; n < STEPS; ++n) {
            ASSERT_TRUE(walk.step());
        }
    }
}

std::string nameOf(const testing::TestParamInfo<StoryRow>& row) {
    return row.param.name;
}
INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(STORY_ROWS), nameOf);
INSTANTIATE_TEST_SUITE_P(Beside, EnclosureWalk, testing::ValuesIn(STORY_ROWS_WITHOUT_SERVICES),
                         nameOf);

// 4060 bytes fit, a record more does not.
TEST(StatusPage, ThatFitsNoMessageIsNotSent) {
    StoryService service(STORY_ROWS_WITHOUT_SERVICES[0]);
    service.start();
    for (const auto count : COUNTS) {
        esaControl.*count = 255;
    }
    esaControl.temperatureSensorMaxNumber = 0;
    for (std::size_t alarms = 220; alarms < 256; ++alarms) {
        esaControl.audibleAlarmMaxNumber = static_cast<U8_t>(alarms);
        service.take();
        service.page(2, 0xFFFF);
        const std::size_t size = 92 + 4 * (3 * 255 + alarms);
        const auto replies = service.take();
        ASSERT_EQ(replies.size(), size <= 4060 ? 1U : 0U) << size;
        ASSERT_TRUE(replies.empty() || replies[0].bytes().size() == size);
    }
}

}  // namespace
