// SPDX-License-Identifier: Apache-2.0
// sesctl's codec: typed bytes to structs and structs to typed bytes, and replies that lie.
#include "tools/sesctl/codec.h"

#include <gmock/gmock.h>

#include <random>
#include <utility>

#include "tests/support/hex.h"
#include "tests/unit/tools/typed_pages.h"
#include "tools/sesctl/control_page.h"
#include "tools/sesctl/failure.h"

using namespace sesctl;
using testing::ElementsAre;

namespace {

Bytes configurationPage() {
    return completePage(hexBytes(CONFIGURATION_PAYLOAD), 1);
}
Bytes statusPage() {
    return completePage(hexBytes(STATUS_PAYLOAD), 2);
}
Configuration configuration() {
    return decodeConfiguration(configurationPage());
}

Bytes with(Bytes bytes, std::size_t offset, std::uint8_t value) {
    bytes.at(offset) = value;
    return bytes;
}

// The status with some bytes of the page changed.
Status statusWith(std::initializer_list<std::pair<unsigned, std::uint8_t>> changes) {
    Bytes page = statusPage();
    for (const auto& [offset, value] : changes) {
        page.at(offset) = value;
    }
    return decodeStatus(page, configuration());
}

template <typename Action>
bool isMalformed(Action action) {
    try {
        action();
    } catch (const Failure& failure) {
        return failure.code() == ExitCode::malformedReply;
    }
    return false;
}

template <typename Owner, std::size_t N>
std::string keysSet(const Owner& owner, const Flag<Owner> (&flags)[N]) {
    std::string keys;
    for (const Flag<Owner>& flag : flags) {
        keys += owner.*flag.set ? std::string(flag.key) + " " : "";
    }
    return keys;
}

// Every flag of every element that is set.
std::string keysSet(const Status& status) {
    std::string keys = keysSet(status.page, PAGE_FLAGS);
    for (const Device& device : status.devices) {
        keys += keysSet(device, DEVICE_FLAGS);
    }
    for (const PowerSupply& supply : status.powerSupplies) {
        keys += keysSet(supply, POWER_SUPPLY_FLAGS);
    }
    for (const Fan& fan : status.fans) {
        keys += keysSet(fan, FAN_FLAGS);
    }
    for (const Sensor& sensor : status.sensors) {
        keys += keysSet(sensor, SENSOR_FLAGS);
    }
    return keys;
}

}  // namespace

TEST(SesctlRequest, ReceiveDiagnosticAsksForAPage) {
    EXPECT_EQ(hexText(receiveDiagnostic(2)), hexText(R"(
        00000000 00000000 0E010048 1200001C 1A002100 00000000 00000002 00000000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        1C 80 02 00 0F A0 00 00)"));
}

TEST(SesctlRequest, SendDiagnosticCarriesThePage) {
    EXPECT_EQ(hexText(sendDiagnostic(hexBytes("02 00 00 01 AA"))), hexText(R"(
        00000000 00000000 0E01004D 1200001D 1A002100 00000000 00000002 00000000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        1D 08 00 00 00 05 00 00
        02 00 00 01 AA)"));
}

TEST(SesctlReply, IsRecognisedByHandleOpcodeSenderAndResponseBit) {
    Bytes request = receiveDiagnostic(2);
    request[43] = 7;
    const Bytes reply = hexBytes(R"(
        00000000 00000000 0E010041 1200001C 21401A00 04000000 00000000 00000000
        00000000 00000000 00000007 00000000 00000000 00000000 00000000 00000000 00)");
    EXPECT_TRUE(answers(reply, request));
    EXPECT_FALSE(answers(with(reply, 43, 8), request)) << "handle";
    EXPECT_FALSE(answers(with(reply, 15, 0x1D), request)) << "opcode type";
    EXPECT_FALSE(answers(with(reply, 12, 12), request)) << "protocol";
    EXPECT_FALSE(answers(with(reply, 16, 26), request)) << "requestor";
    EXPECT_FALSE(answers(with(reply, 17, 0), request)) << "response bit";
}

TEST(SesctlReply, StatusByteDecides) {
    Bytes message(64 + 28);
    EXPECT_FALSE(decodeReply(message).checkCondition);
    EXPECT_EQ(decodeReply(message).payload.size(), 27U);

    const Bytes sense = hexBytes("02 E0 00 50 00 00000000 00 000000 00000000 24 01");
    std::copy(sense.begin(), sense.end(), message.begin() + 64);
    const Reply reply = decodeReply(message);
    ASSERT_TRUE(reply.checkCondition);
    EXPECT_EQ(reply.checkCondition->key, 5U);
    EXPECT_EQ(reply.checkCondition->code, 0x24U);
    EXPECT_EQ(reply.checkCondition->qualifier, 1U);

    EXPECT_TRUE(isMalformed([&] { decodeReply(with(message, 64, 8)); })) << "other status";
    EXPECT_TRUE(isMalformed([&] { decodeReply(View(message).first(64)); })) << "no status";
    EXPECT_TRUE(isMalformed([&] { decodeReply(View(message).first(88)); })) << "short sense data";
}

TEST(SesctlPage, LastByteIsCompletedWithZero) {
    EXPECT_EQ(hexText(completePage(hexBytes("02 FF 00 02 AA"), 2)), hexText("02 FF 00 02 AA 00"));
}

TEST(SesctlPage, OfAnotherLengthOrCodeIsMalformed) {
    for (const char* payload : {"", "02", "02 00 00", "02 00 00 02", "02 00 00 02 AA BB",
                                "01 00 00 02 AA", "02 00 FF FF AA", "02 00 00 00"}) {
        SCOPED_TRACE(payload);
        EXPECT_TRUE(isMalformed([&] { completePage(hexBytes(payload), 2); }));
    }
}

TEST(SesctlConfiguration, NamesAndCountsAreRead) {
    Bytes page = configurationPage();
    page[7] = 9;
    page[13 + 8] = 0x07;  // second vendor letter
    const Configuration read = decodeConfiguration(page);
    EXPECT_EQ(read.generation, 9U);
    EXPECT_EQ(read.vendor, "A.ME");
    EXPECT_EQ(read.product, "Box");
    EXPECT_EQ(read.revision, "1.02");
    EXPECT_THAT(read.counts, ElementsAre(16U, 2U, 4U, 4U, 1U));
}

TEST(SesctlConfiguration, OfAnotherShapeIsMalformed) {
    const std::pair<std::size_t, std::uint8_t> changes[] = {
        {1, 1},     // a second enclosure
        {10, 4},    // element types
        {10, 6},    // more types than descriptors
        {11, 35},   // enclosure descriptor length
        {11, 255},  //
        {48, 2},    // first type
        {60, 6},    // a type out of place
        {51, 1},    // text behind the descriptors that is not there
        {63, 255},  //
    };
    for (const auto& [offset, value] : changes) {
        SCOPED_TRACE(offset);
        EXPECT_TRUE(isMalformed(
            [&, o = offset, v = value] { decodeConfiguration(with(configurationPage(), o, v)); }));
    }
    Bytes longer = configurationPage();
    longer.push_back(0);
    EXPECT_TRUE(isMalformed([&] { decodeConfiguration(longer); }));
}

TEST(SesctlStatus, EachBitHasOneMeaning) {
    struct Case {
        unsigned offset;
        std::uint8_t mask;
        const char* key;
    };
    const Case cases[] = {
        {1, 0x80, "unrecoverable "},
        {1, 0x40, "critical "},
        {1, 0x20, "nonCritical "},
        {1, 0x10, "information "},
        {1, 0x08, "invalidOperation "},
        {1, 0x07, ""},
        {SLOT_0 + 2, 0x40, "ident "},
        {SLOT_0 + 2, 0x02, "doNotRemove "},
        {SLOT_0 + 2, 0xBD, ""},
        {SLOT_0 + 3, 0x08, "off "},
        {SLOT_0 + 3, 0x04, "faultRequested "},
        {SLOT_0 + 3, 0x02, "faultSensed "},
        {SLOT_0 + 3, 0xF1, ""},
        {SUPPLY_0 + 1, 0x01, "ident "},
        {SUPPLY_0 + 1, 0xFE, ""},
        {SUPPLY_0 + 2, 0x40, "dcOverCurrent "},
        {SUPPLY_0 + 2, 0x20, "dcUnderVoltage "},
        {SUPPLY_0 + 2, 0x10, "dcOverVoltage "},
        {SUPPLY_0 + 2, 0x8F, ""},
        {SUPPLY_0 + 3, 0x80, "dcFail "},
        {SUPPLY_0 + 3, 0x40, "acFail "},
        {SUPPLY_0 + 3, 0x20, "temperatureWarning "},
        {SUPPLY_0 + 3, 0x10, "overTemperature "},
        {SUPPLY_0 + 3, 0x08, "off "},
        {SUPPLY_0 + 3, 0x04, "requestedOn "},
        {SUPPLY_0 + 3, 0x02, "fail "},
        {SUPPLY_0 + 3, 0x01, ""},
        {FAN_0 + 1, 0x01, "ident "},
        {FAN_0 + 1, 0xFE, ""},
        {FAN_0 + 3, 0x08, "off "},
        {FAN_0 + 3, 0x04, "requestedOn "},
        {FAN_0 + 3, 0x02, "fail "},
        {FAN_0 + 3, 0xF1, ""},
        {SENSOR_0 + 1, 0x01, "ident "},
        {SENSOR_0 + 1, 0xFE, ""},
        {SENSOR_0 + 3, 0x80, "underTemperatureWarning "},
        {SENSOR_0 + 3, 0x40, "underTemperatureFailure "},
        {SENSOR_0 + 3, 0x20, "overTemperatureWarning "},
        {SENSOR_0 + 3, 0x10, "overTemperatureFailure "},
        {SENSOR_0 + 3, 0x0F, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(keysSet(statusWith({{c.offset, c.mask}})), c.key)
            << "byte " << c.offset << " mask " << int{c.mask};
    }
}

TEST(SesctlStatus, FirstByteHoldsCodeAndDisabled) {
    const Status status = statusWith({{SLOT_0, 0x05}, {SUPPLY_0 + 4, 0x22}, {ALARM_0, 0x20}});
    EXPECT_EQ(status.devices[0].code, 5);
    EXPECT_FALSE(status.devices[0].disabled);
    EXPECT_EQ(status.devices[1].code, 1);
    EXPECT_EQ(status.devices[15].slot, 15U);
    EXPECT_EQ(status.powerSupplies[1].code, 2);
    EXPECT_TRUE(status.powerSupplies[1].disabled);
    EXPECT_EQ(status.alarms[0].code, 0);
    EXPECT_TRUE(status.alarms[0].disabled);
    EXPECT_FALSE(status.alarmsDisabled);
    EXPECT_TRUE(statusWith({{ALARM_OVERALL + 3, 0x20}}).alarmsDisabled);
}

TEST(SesctlStatus, FanSpeedIsTensOfRpm) {
    struct Case {
        std::uint8_t msb, low, flags;
        std::optional<unsigned> rpm;
    };
    for (const Case& c :
         {Case{0x00, 225, 0xE0, 2250}, Case{0x40, 0, 0xE0, 2560}, Case{0xC0, 255, 0xE0, 10230},
          Case{0x3E, 1, 0xE0, 10}, Case{0x00, 0, 0x08, 0}, Case{0x00, 0, 0xE0, std::nullopt}}) {
        const Status status =
            statusWith({{FAN_0 + 1, c.msb}, {FAN_0 + 2, c.low}, {FAN_0 + 3, c.flags}});
        EXPECT_EQ(status.fans[0].rpm, c.rpm) << int{c.msb} << " " << int{c.low};
        EXPECT_EQ(status.fans[0].speedCode, c.flags >> 5U);
    }
}

TEST(SesctlStatus, TemperatureIsOffBy20) {
    struct Case {
        std::uint8_t byte, flags;
        std::optional<int> celsius;
    };
    for (const Case& c : {Case{50, 0, 30}, Case{1, 0xC0, -19}, Case{255, 0x30, 235},
                          Case{0, 0xC0, -20}, Case{0, 0x00, std::nullopt}}) {
        const Status status = statusWith({{SENSOR_0 + 2, c.byte}, {SENSOR_0 + 3, c.flags}});
        EXPECT_EQ(status.sensors[0].celsius, c.celsius) << int{c.byte};
    }
}

TEST(SesctlStatus, OnlyTheLastAlarmsFlagsAreUnknown) {
    Configuration two = configuration();
    two.counts[alarms] = 2;
    Bytes page = statusPage();
    const Bytes second = {0, 0, 0, 0};
    page.insert(page.end(), second.begin(), second.end());
    page[ALARM_0 + 3] = 0x82;
    const Status status = decodeStatus(page, two);
    ASSERT_TRUE(status.alarms[0].flags);
    EXPECT_EQ(keysSet(*status.alarms[0].flags, ALARM_FLAGS), "unrecoverable muted ");
    EXPECT_FALSE(status.alarms[1].flags);
}

TEST(SesctlStatus, ThatDoesNotFitTheConfigurationIsMalformed) {
    const Bytes page = statusPage();
    for (std::size_t size = 0; size < page.size(); size++) {
        EXPECT_TRUE(isMalformed([&] { decodeStatus(View(page).first(size), configuration()); }))
            << size;
    }
    Bytes longer = page;
    longer.push_back(0);
    EXPECT_TRUE(isMalformed([&] { decodeStatus(longer, configuration()); }));
    Configuration other = configuration();
    other.generation = 1;
    EXPECT_TRUE(isMalformed([&] { decodeStatus(page, other); }));
    other = configuration();
    other.counts[fans] = 255;
    EXPECT_TRUE(isMalformed([&] { decodeStatus(page, other); }));
}

// Whatever the bytes are, the answer is a result or "malformed"; the sanitizers watch the rest.
TEST(SesctlPage, SurvivesNoise) {
    std::mt19937 random(1);
    const Bytes pages[] = {hexBytes(CONFIGURATION_PAYLOAD), hexBytes(STATUS_PAYLOAD)};
    int accepted = 0;
    for (int round = 0; round < 4000; round++) {
        Bytes payload = pages[round % 2];
        payload.resize(random() % 8 == 0 ? random() % payload.size() : payload.size());
        for (auto changes = random() % 4; changes > 0 && !payload.empty(); changes--) {
            payload[random() % payload.size()] = static_cast<std::uint8_t>(random());
        }
        try {
            if (round % 2 == 0) {
                decodeConfiguration(completePage(payload, 1));
            } else {
                decodeStatus(completePage(payload, 2), configuration());
            }
            accepted++;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), ExitCode::malformedReply);
        }
    }
    EXPECT_GT(accepted, 100);
}

TEST(SesctlFault, IsAnythingThatNeedsALook) {
    struct Case {
        const char* what;
        bool fault;
        std::initializer_list<std::pair<unsigned, std::uint8_t>> changes;
    };
    const Case cases[] = {
        {"healthy", false, {}},
        {"page: critical", true, {{1, 0x40}}},
        {"page: information", false, {{1, 0x10}}},
        {"slot empty", false, {{SLOT_0, 5}}},
        {"slot critical", true, {{SLOT_0, 2}}},
        {"drive fault LED", true, {{SLOT_0 + 3, 0x04}}},
        {"drive to be found", false, {{SLOT_0 + 2, 0x40}}},
        {"supply fault", true, {{SUPPLY_0 + 3, 0x03}}},
        {"supply requested on", false, {{SUPPLY_0 + 3, 0x05}}},
        {"fan stands", true, {{FAN_0 + 2, 0}, {FAN_0 + 3, 0x08}}},
        {"fan unreadable", true, {{FAN_0 + 2, 0}}},
        {"sensor unreadable", true, {{SENSOR_0 + 2, 0}}},
        {"sensor warns", true, {{SENSOR_0 + 2, 76}, {SENSOR_0 + 3, 0x20}}},
        {"alarm disabled", false, {{ALARM_0, 0x20}}},
        {"alarm unrecoverable", true, {{ALARM_0, 4}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(faultPresent(statusWith(c.changes)), c.fault) << c.what;
    }
}

namespace {

// A page of requests: slots 3 and 12, supply 1, fan 2, alarms disabled.
Status requested() {
    return statusWith({{SLOT_0 + 4 * 3 + 3, 0x04},
                       {SLOT_0 + 4 * 12 + 3, 0x04},
                       {SUPPLY_0 + 4 + 3, 0x07},
                       {FAN_0 + 4 * 2 + 3, 0xE4},
                       {ALARM_OVERALL + 3, 0x20},
                       {ALARM_0, 0x20}});
}

constexpr char REQUESTED[] = R"(
    02000084 00000000
    00000000
    00000000 00000000 00000000 00000004  00000000 00000000 00000000 00000000
    00000000 00000000 00000000 00000000  00000004 00000000 00000000 00000000
    00000000 00000000 00000006
    00000000 00000000 00000000 00000004 00000000
    00000000 00000000 00000000 00000000 00000000
    00000020 20000000)";

// REQUESTED with some bytes changed.
std::string requestedWith(std::initializer_list<std::pair<unsigned, std::uint8_t>> changes) {
    Bytes page = hexBytes(REQUESTED);
    for (const auto& [offset, value] : changes) {
        page.at(offset) = value;
    }
    return hexText(page);
}

std::string changed(void (*change)(ControlPage&)) {
    ControlPage page(configuration(), requested());
    change(page);
    return hexText(page.bytes());
}

}  // namespace

TEST(SesctlControlPage, BeginsAsWhatIsRequestedNow) {
    EXPECT_EQ(changed([](ControlPage&) {}), hexText(REQUESTED));
}

TEST(SesctlControlPage, ChangesOneThingAndSelectsIt) {
    EXPECT_EQ(changed([](ControlPage& page) { page.driveFault(0, true); }),
              requestedWith({{11, 0x80}, {12, 0x80}, {15, 0x04}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.driveFault(12, false); }),
              requestedWith({{11, 0x80}, {60, 0x80}, {63, 0x00}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.powerSupplyFault(0, true); }),
              requestedWith({{79, 0x80}, {80, 0x80}, {83, 0x02}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.powerSupplyFault(1, false); }),
              requestedWith({{79, 0x80}, {84, 0x80}, {87, 0x04}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.fan(3, true); }),
              requestedWith({{91, 0x80}, {104, 0x80}, {107, 0x04}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.fan(2, false); }),
              requestedWith({{91, 0x80}, {100, 0x80}, {103, 0x00}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.alarm(0, AlarmRequest::mute); }),
              requestedWith({{131, 0xA0}, {132, 0xA0}, {135, 0x02}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.alarm(0, AlarmRequest::information); }),
              requestedWith({{131, 0xA0}, {132, 0xA0}, {135, 0x10}}));
    EXPECT_EQ(changed([](ControlPage& page) { page.alarm(0, AlarmRequest::critical); }),
              requestedWith({{131, 0xA0}, {132, 0xA0}, {135, 0x40}}));
}

TEST(SesctlControlPage, ASuppliesOwnFaultIsNotRepeatedAsARequest) {
    for (const std::uint8_t code : {std::uint8_t{5}, std::uint8_t{1}}) {
        const bool ac = code == 1;
        const Status status = statusWith(
            {{SUPPLY_0, code}, {SUPPLY_0 + 3, static_cast<std::uint8_t>(ac ? 0x42 : 0x02)}});
        const ControlPage page(configuration(), status);
        EXPECT_EQ(page.bytes()[SUPPLY_0 + 3], 0) << int{code};
    }
}
