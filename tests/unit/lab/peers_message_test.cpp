// SPDX-License-Identifier: Apache-2.0
// The decoder and the framer against bytes typed in from the message layouts.
#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "lab/peers/message.h"

using enclab::Bytes;
using enclab::describe;
using enclab::Framer;
using enclab::Kind;
using enclab::Message;

namespace {

// Bytes put at an offset of the message.
using Patch = std::pair<std::size_t, std::initializer_list<std::uint8_t>>;

Message patched(std::size_t length, std::initializer_list<Patch> patches) {
    Bytes bytes(length, 0);
    bytes[8] = 14;
    bytes[9] = 1;
    bytes[10] = static_cast<std::uint8_t>(length >> 8);
    bytes[11] = static_cast<std::uint8_t>(length);
    bytes[16] = 33;
    for (const auto& [offset, values] : patches) {
        std::copy(values.begin(), values.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return Message(bytes);
}

// An event record; offsets of `patches` count from the start of the event data.
Message event(std::uint8_t id, std::uint8_t type, std::initializer_list<Patch> patches) {
    Bytes bytes =
        patched(360, {{12, {8, 0, 0, 1}}, {20, {8, 0, 0, 0}}, {211, {type, 3, 1, 0, id}}}).bytes();
    for (const auto& [offset, values] : patches) {
        std::copy(values.begin(), values.end(),
                  bytes.begin() + 216 + static_cast<std::ptrdiff_t>(offset));
    }
    return Message(bytes);
}

struct Line {
    Message message;
    const char* text;
};

}  // namespace

TEST(Describe, RequestsToTheStartupProcess) {
    const Line lines[] = {
        {patched(64, {{12, {12, 0, 0, 1}}}), "startup initialisation complete"},
        {patched(64, {{12, {12, 0, 0, 16}}}), "mail    e-mail notification"},
        {patched(64, {{12, {12, 0, 0, 14}}, {44, {0, 0, 0, 2, 0, 0, 0, 2}}}),
         "led     composite fault LED on"},
        {patched(64, {{12, {12, 0, 0, 14}}, {44, {0, 0, 0, 2, 0, 0, 0, 1}}}),
         "led     composite fault LED off"},
        {patched(64, {{12, {12, 0, 0, 14}}, {44, {0, 0, 0, 7, 0, 0, 0, 9}}}),
         "led     LED 7 to state 9"},
        {patched(64, {{12, {13, 0, 0, 1}}, {48, {0, 0, 0, 1}}}), "stop    orderly shutdown"},
        {patched(64, {{12, {12, 0, 0, 14}}, {16, {18, 0x40}}, {36, {0, 0, 0, 1}}}),
         "answer  start-up process: OK"},
        {patched(64, {{12, {12, 0, 0, 14}}, {16, {18, 0x40}}, {36, {0, 0, 0, 2}}}),
         "answer  start-up process: REJECTED"},
    };
    for (const Line& line : lines) {
        EXPECT_EQ(describe(line.message), line.text);
    }
}

TEST(Describe, Events) {
    const Line lines[] = {
        {event(5, 2, {{4, {0, 0, 0, 16}}, {24, {0, 0, 0x80, 0x05}}}),
         "event   drive fault LEDs: warning, drives 16, lit 0x8005 (drives 0, 2, 15)"},
        {event(6, 2, {{8, {0, 0, 0, 2}}, {32, {0, 0, 0, 5}}}),
         "event   power supply status: warning, supplies 2, status 0x05 (voltage good, redundancy "
         "lost)"},
        {event(6, 1, {{8, {0, 0, 0, 2}}, {32, {0, 0, 0, 2}}}),
         "event   power supply status: information, supplies 2, status 0x02 (voltage bad, "
         "redundancy good)"},
        {event(7, 2, {{12, {0, 0, 0, 4}}, {36, {0, 0, 0, 2}}}),
         "event   fan fault status: warning, fans 4, failed 0x02 (fan 1)"},
        {event(7, 2, {{12, {0, 0, 0, 4}}}),
         "event   fan fault status: warning, fans 4, failed 0x00 (none)"},
        {event(8, 2, {{16, {0, 0, 0, 4}}, {40, {0, 0, 0, 3, 0, 0, 0, 1, 0, 46}}}),
         "event   temperature: warning, sensor 1 of 4 at 46 degrees, over 45"},
        {event(8, 1, {{16, {0, 0, 0, 4}}, {40, {0, 0, 0, 1, 0, 0, 0, 0, 0xFF, 0xFB}}}),
         "event   temperature: information, sensor 0 of 4 at -5 degrees, below 35"},
        {event(9, 1, {{20, {0, 0, 0, 1}}, {52, {0, 0, 0, 3}}}),
         "event   alarm status: information, alarms 1, state mute"},
        {event(10, 3, {{0, {5}}, {56, {0, 0, 0, 1}}}),
         "event   overheated, shutdown requested: error, enclosure VSC055"},
        {event(10, 1, {{0, {5}}, {56, {0, 0, 0, 2}}}),
         "event   enclosure bus: information, enclosure VSC055, answers"},
        {event(10, 2,
               {{0, {5}}, {44, {0, 0, 0, 2}}, {56, {0, 0, 0, 4}}, {112, {255, 255, 255, 255}}}),
         "event   device LM75 of sensor 2: warning, enclosure VSC055, does not answer"},
        {event(10, 2, {{0, {5}}, {56, {0, 0, 0, 3}}}),
         "event   device VSC055: warning, enclosure VSC055, answers"},
        {event(10, 1, {{0, {1}}, {56, {0, 0, 0, 8}}}),
         "event   no enclosure services: information, enclosure none"},
        {event(10, 1,
               {{0, {7}},
                {12, {0, 0, 0, 2, 0, 0, 0, 2}},
                {56, {0, 0, 0, 9}},
                {64, {0x40, 0x14, 0, 0, 0, 0, 0, 0, 0x40, 0x28, 0x80, 0, 0, 0, 0, 0}},
                {80, {0x23, 0x28, 0x0B, 0xB8}},
                {96, {0, 30, 0xFF, 0xFF}}}),
         "event   statistics: information, enclosure W83792AD, 5.00 V, 12.25 V, fans 9000 3000 "
         "RPM, "
         "temperatures 30 -1 degrees"},
        {event(10, 1, {{0, {1}}, {56, {0, 0, 0, 10}}}),
         "event   no personality file: information, enclosure none"},
        {event(10, 1,
               {{0, {5}},
                {12, {0, 0, 0, 4, 0, 0, 0, 6}},
                {56, {0, 0, 0, 11}},
                {112, {0, 60, 0, 4, 0, 38, 0, 32, 0, 41, 0, 44, 0, 29, 0, 35, 0, 25, 5, 220}}}),
         "event   personality: information, enclosure VSC055, fans 4, sensors 6, divisor 4, "
         "overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least "
         "load "
         "25 %"},
        {event(10, 2, {{0, {9}}, {56, {0, 0, 0, 2}}, {112, {255, 255, 255, 255}}}),
         "event   enclosure bus: warning, enclosure 9, does not answer"},
        {event(11, 4, {}), "event   id 11: 4"},
    };
    for (const Line& line : lines) {
        EXPECT_EQ(describe(line.message), line.text);
    }
}

TEST(Describe, SesCommandsAndReplies) {
    const Line lines[] = {
        {patched(72, {{12, {18, 0, 0, 28}},
                      {16, {26}},
                      {40, {0, 0, 0, 7}},
                      {64, {28, 0x80, 2, 0, 0x0F, 0xA0}}}),
         "ses     from environment manager: get enclosure status page, at most 4000 bytes, 72 "
         "bytes, "
         "handle 7"},
        {patched(72, {{12, {18, 0, 0, 28}}, {16, {26}}, {64, {28, 0, 2, 0, 0, 68}}}),
         "ses     from environment manager: get the page last sent, at most 68 bytes, 72 bytes, "
         "handle 0"},
        {patched(100, {{12, {18, 0, 0, 29}}, {16, {20}}, {64, {29, 0x08, 0, 0, 0, 28, 0, 0, 2}}}),
         "ses     from volume manager: put enclosure control page, 28 bytes of parameters, 100 "
         "bytes, handle 0"},
        {patched(72, {{12, {18, 0, 0, 29}}, {16, {22}}, {64, {29}}}),
         "ses     from endpoint 22: put no page, 0 bytes of parameters, 72 bytes, handle 0"},
        {patched(132, {{12, {18, 0, 0, 28}}, {17, {0x40, 26}}, {40, {0, 0, 0, 7}}, {64, {0, 1}}}),
         "reply   to environment manager: GOOD, configuration page, 132 bytes, handle 7"},
        {patched(68, {{12, {18, 0, 0, 29}}, {17, {0x40, 26}}}),
         "reply   to environment manager: GOOD, 68 bytes, handle 0"},
        {patched(92, {{12, {18, 0, 0, 29}},
                      {17, {0x40, 26}},
                      {64, {2, 0xE0, 0, 0x50}},
                      {81, {0x24, 0x00}}}),
         "reply   to environment manager: CHECK CONDITION, key 5, code 0x24/0x00, 92 bytes, handle "
         "0"},
    };
    for (const Line& line : lines) {
        EXPECT_EQ(describe(line.message), line.text);
    }
}

TEST(Describe, ShortAndForeignMessagesAreShownByTheirHeader) {
    const Line lines[] = {
        {patched(359, {{12, {8, 0, 0, 1}}, {20, {8, 0, 0, 0}}}),
         "broken  protocol 8, type 1, from adapter, recipients 0x08000000 0x00000000, return code "
         "0, 359 bytes, handle 0"},
        {patched(64, {{12, {18, 0, 0, 28}}}),
         "broken  protocol 18, type 28, from adapter, recipients 0x00000000 0x00000000, return "
         "code 0, 64 bytes, handle 0"},
        {patched(64, {{12, {18, 0, 0, 28}}, {17, {0x40}}, {24, {0, 0, 0, 2}}}),
         "broken  protocol 18, type 28, from adapter, recipients 0x00000000 0x00000002, return "
         "code 0, 64 bytes, handle 0"},
        {patched(64, {{12, {1, 1, 0, 0}}, {16, {40}}}),
         "other   protocol 1, type 65536, from endpoint 40, recipients 0x00000000 0x00000000, "
         "return code 0, 64 bytes, handle 0"},
    };
    for (const Line& line : lines) {
        EXPECT_EQ(describe(line.message), line.text);
    }
}

// A record may claim anything; a line comes out for every command, page and length.
TEST(Describe, SurvivesEveryLengthAndByteValue) {
    for (int protocol : {8, 12, 13, 18}) {
        for (std::size_t length = 64; length < 100; ++length) {
            for (int value = 0; value < 256; value += 5) {
                Bytes bytes(length, static_cast<std::uint8_t>(value));
                bytes[12] = static_cast<std::uint8_t>(protocol);
                EXPECT_FALSE(describe(Message(bytes)).empty());
            }
        }
    }
}

TEST(MessageRecipients, AreBitsOfTwoWords) {
    Message message = Message::make(12, 14, 33);
    message.addRecipient(18);
    message.addRecipient(33);
    message.addRecipient(63);
    const Bytes expected = {0x00, 0x04, 0x00, 0x00, 0x80, 0x00, 0x00, 0x02};
    EXPECT_EQ(Bytes(message.bytes().begin() + 20, message.bytes().begin() + 28), expected);
    EXPECT_TRUE(message.isFor(33));
    EXPECT_FALSE(message.isFor(34));
}

TEST(Framer, CutsMessagesWhereverTheStreamIsSplit) {
    Bytes stream = patched(64, {{40, {1, 2, 3, 4}}}).bytes();
    const Bytes second = patched(72, {{71, {0xAB}}}).bytes();
    stream.insert(stream.end(), second.begin(), second.end());
    for (std::size_t split = 0; split <= stream.size(); ++split) {
        Framer framer;
        std::vector<Bytes> messages;
        const auto drain = [&] {
            while (auto message = framer.next()) {
                messages.push_back(message->bytes());
            }
        };
        framer.append(std::span(stream).first(split));
        drain();
        framer.append(std::span(stream).subspan(split));
        drain();
        ASSERT_EQ(messages.size(), 2u) << "split at " << split;
        EXPECT_EQ(messages[0].size(), 64u);
        EXPECT_EQ(messages[1], second);
    }
}

TEST(Framer, StopsAtALengthNoMessageHas) {
    for (std::uint16_t length :
         {std::uint16_t{0}, std::uint16_t{63}, std::uint16_t{4065}, std::uint16_t{65535}}) {
        Framer framer;
        Bytes good = patched(64, {}).bytes();
        framer.append(good);
        Bytes bad = good;
        bad[10] = static_cast<std::uint8_t>(length >> 8);
        bad[11] = static_cast<std::uint8_t>(length);
        framer.append(bad);
        framer.append(good);
        EXPECT_TRUE(framer.next().has_value());
        EXPECT_FALSE(framer.next().has_value());
        EXPECT_TRUE(framer.broken()) << length;
    }
}
