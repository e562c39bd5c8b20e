// SPDX-License-Identifier: Apache-2.0
// Whatever happens to an enclosure, the service and the model say the same after each step: in
// messages to the byte, in the log, in LEDs, loads and faults.
#include <gtest/gtest.h>

#include "tests/story/model.h"
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

// For a reader: messages as lines, then their bytes.
std::string shown(const std::vector<enclab::Message>& messages, const Lines& log,
                  const StoryView& seen) {
    std::string text = seen.text() + fmt::format("{}\n", fmt::join(log, "\n"));
    for (const enclab::Message& message : messages) {
        text +=
            describe(message) + fmt::format("\n{}\n", fmt::join(hexRows(message.bytes()), "\n"));
    }
    return text;
}

// The service beside its model. What happens is noted for whoever reads a failure.
class Walk {
  public:
    Walk(const StoryRow& row, unsigned seed) : service_(row), random_(seed) {
        personalityChoose(&service_.personality);
        model_ = std::make_unique<Model>(service_);
    }

    // False when the two differ.
    bool start() {
        history_ = service_.personality.xml();
        return both("start", [](auto& side) { side.start(); });
    }

    bool step() {
        touch();
        service_.requestor =
            random_.of<U8_t>({26, 26, MMSG_E_EPID_VOLMGRMP, static_cast<U8_t>(random_.below(80))});
        service_.handle = narrowTo<U32_t>(random_());
        const int room = random_.of({67, 68, 69, 0xFFFF});
        switch (random_.below(4)) {
            case 0:
                recordsChoose();
                return both("put", [this](auto& side) { side.put(records_); });
            case 1:
                return random_.onceIn(4) ? both("types", [=](auto& side) { side.page(1, room); })
                                         : both("page", [](auto& side) { side.page(2, 8); });
            default:
                return both("poll", [](auto& side) { side.poll(); });
        }
    }

  private:
    int below(int limit) { return static_cast<int>(random_.below(static_cast<unsigned>(limit))); }

    template <typename... Arguments>
    void note(const char* text, const Arguments&... arguments) {
        history_ += fmt::format(fmt::runtime(text), arguments...);
    }

    // ---- what may happen ----

    void personalityChoose(enclab::Personality* key) {
        for (const auto& [name, value] : enclab::kPersonalityKeys) {
            key->*value += name.ends_with("Threshold") ? below(5) - 2 : 0;
        }
        key->overheatTemperatureLimit = random_.of({0, 48, 60, 60});
        key->fanPwmLoadMinimum = random_.of({0, 25, 26, 50, 51, 76});
        key->fanFaultRpmLimit = random_.of({0, 1500, 4477, 4478, 5000});
        if (random_.onceIn(6)) {  // a VSC055 chassis wants all its sensors
            key->coolingMaxNumber = random_.of({0, 9, 44});
            key->temperatureSensorMaxNumber =
                random_.of({0, 1, service_.row.board == Board::vsc055 ? 2 : 12});
        }
    }

    void touch() {
        chassis_.advance(std::chrono::seconds(10));
        if (random_.onceIn(3)) {
            const int fan = below(chassis_.fans());
            random_.onceIn(3) ? chassis_.pullFan(fan) : chassis_.returnFan(fan);
        }
        if (random_.onceIn(3)) {
            deviceTouch();
        }
        if (random_.onceIn(3)) {
            supplyTouch();
        }
        if (chassis_.parts().drivePresence) {
            chassis_.setDrivePresent(below(chassis_.slots()), random_.onceIn(2));
        }
        if (random_.onceIn(2)) {
            heat();
        }
    }
    void heat() {
        const int around = random_.of({0, 29, 32, 35, 38, 41, 44, 48, 54, 60});
        const int first = below(chassis_.sensors());
        const int end = random_.onceIn(3) ? first + 1 : chassis_.sensors();
        for (int sensor = first; sensor < end; ++sensor) {
            chassis_.setTemperature(sensor, around + below(10) / 2.0 - 2);
        }
    }
    void deviceTouch() {
        const auto& devices = chassis_.devices();
        const std::string& name = devices[random_.below(devices.size())].name;
        const bool cuts = random_.onceIn(3), all = random_.onceIn(cuts ? 4 : 2);
        for (const enclab::ChassisDevice& device : devices) {
            if (all || device.name == name) {
                cuts ? chassis_.bus().cut(device.address) : chassis_.bus().mend(device.address);
            }
        }
    }
    void supplyTouch() {
        if (chassis_.parts().redundancy) {
            chassis_.setRedundancy(random_.onceIn(2));
        }
        if (const auto& rails = chassis_.rails(); !rails.empty()) {
            const std::string rail = rails[random_.below(rails.size())].name;
            const double part = random_.of({1.0, 1.0, 1.09, 0.91, 1.11, 0.89});
            chassis_.setRail(rail, part * (rail.starts_with("12") ? 12 : 5));
        }
    }
    void enclosureNote() {
        for (int sensor = 0; sensor < chassis_.sensors(); ++sensor) {
            note(" {} degrees", chassis_.temperature(sensor));
        }
        for (const auto& [name, address] : chassis_.devices()) {
            note(chassis_.bus().isCut(address) ? " without {}" : "", name);
        }
        note("\n");
    }

    // ---- what peers may ask for ----

    // Drives stay as they were asked for last, mostly. Off is rare for fans: it ends the story of a
    // VSC055 chassis.
    void recordsChoose() {
        std::erase_if(records_, [&](const auto& request) {
            return request.first.first != DRIVES || random_.onceIn(3);
        });
        const U32_t flag = U32_t{1} << random_.below(8);
        const U32_t supply = random_.of<U32_t>({SELECT, SELECT | 2, SELECT | 6, 2});
        const U32_t fan = random_.onceIn(8) ? SELECT : random_.of<U32_t>({SELECT | 4, 4, 0});
        const std::pair<Section, U32_t> requests[] = {
            {DRIVES, 4},
            {DRIVES, SELECT},
            {SUPPLIES, supply},
            {SUPPLIES, supply},
            {FANS, fan},
            {ALARMS, SELECT | flag},
            {ALARMS, random_.of({SELECT | 2, 0xA00000FF ^ flag, flag})}};
        for (int n = 0; n < 4; ++n) {
            const auto& [section, record] = requests[random_.below(std::size(requests))];
            if (const int count = esaControl.*COUNTS[section]; count > 0) {
                records_[{section, below(std::min(count, 16))}] = record;
            }
        }
        for (const auto& [place, record] : records_) {
            note("{}/{}={:08X} ", int{place.first}, place.second, record);
        }
    }

    // ---- the two, side by side ----

    template <typename Command>
    bool both(const char* name, Command command) {
        note("{} for {}:", name, service_.requestor);
        enclosureNote();
        model_->observe(service_);
        command(*model_);
        command(service_);
        const std::string expected = shown(model_->messages, model_->log, model_->seen);
        const std::string got = shown(messages(), log(), StoryView(chassis_));
        if (expected != got) {
            EXPECT_EQ(expected, got) << history_;
        }
        return expected == got;
    }

    // Links 0, and with a page's last byte, which is not sent. The first two of all are any
    // start's.
    std::vector<enclab::Message> messages() {
        std::vector<enclab::Message> all;
        for (enclab::Message& message : service_.take()) {
            Bytes bytes = message.bytes();
            std::fill_n(bytes.begin(), 8, std::uint8_t{0});
            if (message.kind() == enclab::Kind::reply && bytes.size() > 68) {
                bytes.push_back(esaControl.esaWorkSpace[bytes.size()]);
            }
            if (++taken_ > 2) {
                all.emplace_back(bytes);
            }
        }
        return all;
    }

    Lines log() {
        Lines lines;
        for (const std::string& line : trace_.take()) {
            const std::string function = line.substr(0, line.find(':'));
            if (LOGGING.find(" " + function + " ") != LOGGING.npos) {
                lines.push_back(line.substr(line.find(":  ") + 3));
            }
        }
        return lines;
    }

    TraceCapture trace_{0x0010 | TRACE_K_FUNCTION};
    StoryService service_;
    enclab::Chassis& chassis_ = *service_.chassis;
    std::unique_ptr<Model> model_;
    Random random_;
    Records records_;  // of the latest control page
    std::string history_;
    int taken_ = 0;
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

INSTANTIATE_TEST_SUITE_P(Of, EnclosureWalk, testing::ValuesIn(STORY_ROWS),
                         [](const auto& row) { return row.param.name; });

// 4060 bytes.
TEST(StatusPage, IsSentWhenItFitsAMessage) {
    StoryService service(STORY_ROWS[0]);
    service.start();
    std::ranges::for_each(COUNTS, [](auto count) { esaControl.*count = 255; });
    esaControl.temperatureSensorMaxNumber = 0;
    for (const bool fits : {true, false}) {
        esaControl.audibleAlarmMaxNumber = fits ? 227 : 228;
        service.take();
        service.page(2, 0xFFFF);
        EXPECT_EQ(service.take().size(), fits ? 1U : 0U);
    }
}

}  // namespace
