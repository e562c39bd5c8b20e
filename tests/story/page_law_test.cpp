// SPDX-License-Identifier: Apache-2.0
// The configuration page, and whom a reply is for.
#include "tests/story/walk.h"

namespace {

// A configuration page, with its last byte: 48 bytes in front of the types, and a type with its
// count each. Types beyond the five are empty.
Bytes configurationPage(std::size_t types, const std::vector<U8_t>& counts) {
    static constexpr U8_t CODES[] = {1, 2, 3, 4, 6};
    Bytes page(48 + 4 * types);
    Model::put(&page, 0, 4, static_cast<std::int64_t>(0x01000000 + 44 + 4 * types));
    Model::put(&page, 8, 4, static_cast<std::int64_t>(0x20000024 + (types << 8)));
    for (std::size_t n = 0; n < std::min<std::size_t>(types, 5); ++n) {
        page[48 + 4 * n] = CODES[n];
        page[49 + 4 * n] = counts[n];
    }
    return page;
}

// It needs room for all of it.
TEST(PageLaw, ConfigurationPageNamesTypesAndCounts) {
    Random random(1);
    Walk walk(noneRow());
    walk.service.run("link 1");
    for (int n = 0; n < STEPS; ++n) {
        const std::size_t types = random.of<std::size_t>({0, 1, 4, 5, 5, 5, 6, 255});
        std::vector<U8_t> counts;
        esaControl.elementTypeMaxNumber = static_cast<U8_t>(types);
        for (const PageSection& section : PAGE_SECTIONS) {
            counts.push_back(static_cast<U8_t>(random.below(256)));
            esaControl.*section.count = counts.back();
        }
        const std::size_t room =
            48 + 4 * types + random.of<std::size_t>({0, 1}) - random.of<std::size_t>({0, 1});
        if (room >= 48 + 4 * types) {
            walk.model.reply(0x1C, configurationPage(types, counts));
        }
        walk.service.run(fmt::format("send 1C800100{:04X}0000", room));
        ASSERT_TRUE(walk.agree(fmt::format("{} types, room for {}", types, room)));
    }
}

// Its number in one of two words, and its handle. One that no word has room for gets none.
TEST(PageLaw, RepliesAreForTheRequestor) {
    Walk walk(noneRow());
    walk.service.run("link 1");
    for (U32_t from = 0; from < 256; ++from) {
        if (from >= 64) {
            walk.model.say("esaStatusSend", "MMSG requestor [{}] can not be a recipient, no reply.",
                           from);
        } else {
            walk.model.reply(0x1D, Bytes(4));
            Bytes& reply = walk.model.messages.back();
            reply.pop_back();
            reply[18] = static_cast<U8_t>(from);
            Model::put(&reply, 20, 8, 0);
            Model::put(&reply, 20 + from / 32 * 4, 4, std::int64_t{1} << from % 32);
            Model::put(&reply, 40, 4, 0xA1B2C300 + from);
        }
        // The volume manager gets no reply to a control page; this is none.
        walk.service.run(fmt::format("send from={} handle={} command=29 1D10000000000000", from,
                                     0xA1B2C300 + from));
        ASSERT_TRUE(walk.agree(fmt::format("from {}", from)));
    }
}

// Without a back-end, and of a type nobody knows: what peers asked for comes back, sensors as they
// were read last, and what is beyond the arrays as unreadable.
TEST(PageLaw, RequestsAreEchoed) {
    Random random(1);
    Walk walk(noneRow());
    walk.service.run("link 1");
    for (int n = 0; n < STEPS / 4; ++n) {
        walk.model.type = esaControl.enclosureType = random.of<U8_t>({1, 9});
        walk.model.key["coolingMaxNumber"] = random.of<int>({2, 8, 9});
        walk.model.key["temperatureSensorMaxNumber"] = random.of<int>({0, 8, 12});
        esaControl.deviceMaxNumber = 16;
        esaControl.powerSupplyMaxNumber = 3;
        esaControl.audibleAlarmMaxNumber = 1;
        esaControl.coolingMaxNumber = static_cast<U8_t>(walk.model.fans());
        esaControl.temperatureSensorMaxNumber = static_cast<U8_t>(walk.model.sensors());
        for (std::size_t sensor = 0; sensor < Model::SENSORS; ++sensor) {
            const int degrees =
                random.onceIn(9) ? 32767 : static_cast<int>(random.below(256)) - 128;
            walk.model.readings[sensor] = degrees;
            esaControl.temperatureSensor[sensor] = static_cast<S16_t>(degrees);
        }
        const auto record = [&] { return fmt::format("{:08X}", random.below(0x10000) * 0x10001U); };
        ASSERT_TRUE(walk.step(fmt::format("put drives {} {}, supply {} {}, fans {} {}, alarms 0 {}",
                                          random.below(16), record(), random.below(3), record(),
                                          random.below(2), record(), record())));
        ASSERT_TRUE(walk.step("page"));
    }
}

// 4060 bytes fit, a record more does not.
TEST(PageLaw, WhatFitsNoMessageIsNotSent) {
    StoryService service(noneRow());
    service.run("link 1");
    for (const PageSection& section : PAGE_SECTIONS) {
        esaControl.*section.count = 255;
    }
    esaControl.temperatureSensorMaxNumber = 0;
    for (std::size_t alarms = 220; alarms < 256; ++alarms) {
        esaControl.audibleAlarmMaxNumber = static_cast<U8_t>(alarms);
        service.run("page");
        const std::size_t size = 92 + 4 * (3 * 255 + alarms);
        const auto replies = service.take();
        ASSERT_EQ(replies.size(), size <= 4060 ? 1U : 0U) << size;
        ASSERT_TRUE(replies.empty() || replies[0].bytes().size() == size);
    }
}

}  // namespace
