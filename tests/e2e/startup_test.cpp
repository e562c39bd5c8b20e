// SPDX-License-Identifier: Apache-2.0
// Start-up of the shipped daemon: the sequence as its peers see it, and what is missing.
#include "tests/e2e/e2e.h"

using namespace enclab;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class StartupTest : public LabTest {
  protected:
    // The daemon's end, when it gives up.
    std::optional<int> exitStatus() {
        prepare().startDaemon();
        bool ended = false;
        lab().onDaemonExit([&] { ended = true; });
        lab().runUntil([&] { return ended; });
        return lab().daemon().exitStatus();
    }
    bool untilInformation(std::uint32_t information) {
        return lab().runUntil([&] { return informationEvents(information) > 0; });
    }
    std::string output() const {
        std::string text;
        for (const std::string& line : const_cast<StartupTest*>(this)->lab().daemonOutput()) {
            text += line + "\n";
        }
        return text;
    }
};

}  // namespace

TEST_F(StartupTest, TellsWhatItFoundThenThatItIsUpThenThatTheEnclosureAnswers) {
    start();
    const auto& received = lab().received();
    ASSERT_EQ(received.size(), 3u);

    const Bytes& personality = received[0].message.bytes();
    ASSERT_EQ(personality.size(), 360u);
    const Bytes header = {14, 1, 0x01, 0x68, 8, 0, 0, 1, 33, 0, 0, 0, 0x08, 0,
                          0,  0, 0,    0,    0, 0, 0, 0, 0,  0, 0, 0, 0,    0};
    EXPECT_EQ(Bytes(personality.begin() + 8, personality.begin() + 36), header);
    EXPECT_EQ(Bytes(personality.begin() + 64, personality.begin() + 211), Bytes(147, 0))
        << "the part of the record the event manager fills in";
    const Bytes record = {1, 3, 1, 0, 10, 5, 0, 0, 0};
    EXPECT_EQ(Bytes(personality.begin() + 211, personality.begin() + 220), record);
    EXPECT_EQ(describe(received[0].message),
              "event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, "
              "overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, "
              "least load 25 %");

    const Bytes& complete = received[1].message.bytes();
    Bytes expected(64, 0);
    const Bytes start = {14, 1, 0, 64, 12, 0, 0, 1, 33, 0, 0, 0, 0x00, 0x04, 0x00, 0x00};
    std::copy(start.begin(), start.end(), expected.begin() + 8);
    EXPECT_EQ(Bytes(complete.begin() + 8, complete.end()),
              Bytes(expected.begin() + 8, expected.end()));
    EXPECT_EQ(Bytes(complete.begin(), complete.begin() + 4),
              Bytes(complete.begin() + 4, complete.begin() + 8))
        << "both links are the message's own address";

    EXPECT_EQ(describe(received[2].message),
              "event   enclosure bus: information, enclosure VSC055, answers");
    EXPECT_THAT(fanLoads(), ElementsAre(50, 50, 50, 50));
    EXPECT_FALSE(lab().chassis().driveFaultLed(0));
    EXPECT_FALSE(lab().startupProcess().compositeLedLit());
    EXPECT_TRUE(answers());
}

TEST_F(StartupTest, PollsEveryEleventhPassOnAQuietLink) {
    start();
    ASSERT_TRUE(untilPolls(1));
    const double first = lab().time();
    ASSERT_TRUE(untilPolls(4));
    EXPECT_GE(lab().time() - first, 32.0) << "three polls, eleven seconds each";
    EXPECT_LE(lab().time() - first, 120.0) << "a busy machine is slower";
}

TEST_F(StartupTest, WaitsForThePlatformThreeMinutesAndNoLonger) {
    options.speed = 100;
    options.rcpComplete = false;
    options.trace = true;
    start();
    const double wait = lab().received()[2].time - lab().received()[1].time;
    EXPECT_GE(wait, 180.0);
    EXPECT_LE(wait, 400.0);
    EXPECT_EQ(traced("rcpWaitRetryCount = [18]"), 1);
}

TEST_F(StartupTest, WithoutADeviceItServesNoEnclosureButAnswers) {
    options.device = false;
    prepare().startDaemon();
    ASSERT_TRUE(untilInformation(ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES));
    EXPECT_EQ(lab().received().size(), 2u) << "no personality event";
    EXPECT_EQ(lab().count(Kind::initComplete), 1);
    EXPECT_TRUE(answers());
    lab().runFor(1s);
    EXPECT_EQ(polls(), 0);
}

TEST_F(StartupTest, WithoutAPersonalityFileItServesNoEnclosure) {
    options.personalityFile = false;
    prepare().startDaemon();
    ASSERT_TRUE(untilInformation(ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES));
    EXPECT_EQ(informationEvents(ESA_E_EVENT_INFO_NO_PERSONALITY_TOOLKIT_INFO), 1);
    EXPECT_TRUE(answers());
}

TEST_F(StartupTest, WithoutStartupInItsEnvironmentItFindsNoPersonalityFile) {
    options.startupVariable = false;
    options.trace = true;
    prepare().startDaemon();
    ASSERT_TRUE(untilInformation(ESA_E_EVENT_INFO_NO_ENCLOSURE_SERVICES));
    EXPECT_EQ(informationEvents(ESA_E_EVENT_INFO_NO_PERSONALITY_TOOLKIT_INFO), 1);
    EXPECT_EQ(traced("Personality Toolkit XML File Path = [/../web/OEM/"
                     "EnvPersonalityParams.xml]."),
              1);
    EXPECT_TRUE(answers());
}

TEST_F(StartupTest, APersonalityFileOfTheWholeBufferIsReadToItsEnd) {
    Personality personality;
    personality.fanPwmLoadMinimum = 75;
    std::string text = personality.xml();
    options.personality = std::string(8192 - text.size(), ' ') + text;
    start();
    const auto found = events(ESA_E_ID_ES_ADAPTERMP_INFORMATION);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0].data.enclosureType, 5);
    EXPECT_EQ(found[0].data.general_use5, 75u << 16 | 1500u);
}

TEST_F(StartupTest, AKeyWithoutAValueCountsAsZero) {
    std::string text = Personality().xml();
    text.erase(text.find(" value=\"25\""));
    options.personality = text;
    options.trace = true;
    start();
    EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_INFORMATION)[0].data.general_use5, 1500u);
    EXPECT_GE(traced("fanPwmLoadMinimum"), 1);
}

// More fans and sensors than there are arrays for: reported as read, never acted on beyond.
TEST_F(StartupTest, CountsAboveTheArraysAreReportedAndServed) {
    for (const int count : {44, 255}) {
        Personality personality;
        personality.coolingMaxNumber = count;
        personality.temperatureSensorMaxNumber = 4;
        options.personality = personality.xml();
        start();
        EXPECT_EQ(events(ESA_E_ID_ES_ADAPTERMP_INFORMATION)[0].data.numberOfFan,
                  static_cast<std::uint32_t>(count));
        ASSERT_TRUE(untilPolls(2));
        SesClient client(lab());
        const auto reply = client.request(getPage(2));
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->bytes().size(), 92u + 4 * (16 + 2 + static_cast<unsigned>(count) + 4 + 1));
        EXPECT_TRUE(lab().daemonRunning());
    }
}

TEST_F(StartupTest, ASocketPathTooLongIsNotConnectedTo) {
    options.messageDirectory = "/tmp/" + std::string(110, 'x');
    options.trace = true;
    prepare().parameters().setFlag(MPU_K_FLAG_RCP_COMPLETE);
    lab().startDaemon();
    ASSERT_TRUE(untilTraced("Finish initializing for the Vsc055 based Enclosure."));
    ASSERT_TRUE(untilPolls(2));
    EXPECT_EQ(traced("Linux connect function fails for MSM/ESA socket!"), 1);
    EXPECT_TRUE(lab().received().empty());
}

TEST_F(StartupTest, WrongArgumentsEndItWithTheirOwnStatus) {
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* text;
    } cases[] = {
        {{}, 1, "main(): Arguments few than 2."},
        {{"99"}, 2, "main(): shared memory key less than 100."},
        {{"0"}, 2, "main(): shared memory key less than 100."},
        {{"abc"}, 2, "main(): shared memory key less than 100."},
        {{"-5"}, 2, "main(): shared memory key less than 100."},
        {{"2000000000"}, 3, "esa: Unable to share parameters.esa: Giving up."},
        {{"2000000000"}, 3, "Error opening the MPU shared memory area."},
    };
    for (const auto& c : cases) {
        options.arguments = c.arguments;
        EXPECT_EQ(exitStatus(), c.status);
        EXPECT_THAT(output(), HasSubstr("main(): Start the Enclosure Services Adapter."));
        EXPECT_THAT(output(), HasSubstr(c.text));
    }
}

TEST_F(StartupTest, AnAreaOfAnotherVersionEndsIt) {
    prepare().parameters().values().version = 17;
    lab().startDaemon();
    bool ended = false;
    lab().onDaemonExit([&] { ended = true; });
    ASSERT_TRUE(lab().runUntil([&] { return ended; }));
    EXPECT_EQ(lab().daemon().exitStatus(), 3);
    EXPECT_THAT(output(), HasSubstr("  Expected version 16, attached to version 17.\n"));
}

TEST_F(StartupTest, TheKeyIsTakenInHexadecimalToo) {
    options.arguments = {"{:#x} and more"};
    start();
    EXPECT_TRUE(answers());
}

TEST_F(StartupTest, TheSameEnclosureIsServedThroughAnSmbusOnlyAdapter) {
    options.adapter = AdapterKind::kSmbusOnly;
    start();
    ASSERT_TRUE(untilPolls(2));
    SesClient client(lab());
    const auto reply = client.request(getPage(2));
    ASSERT_TRUE(reply);
    // Temperature of the last sensor, 30 degrees and the offset of 20.
    EXPECT_EQ(reply->bytes().at(65 + 8 + 68 + 12 + 20 + 4 + 4 * 3 + 2), 50);
    EXPECT_TRUE(events(ESA_E_ID_ES_ADAPTERMP_FAN_FAULT_STATUS).empty());
}

TEST_F(StartupTest, ADeadBusIsReportedAndTheDaemonServesOn) {
    prepare().chassis().bus().cut(0x41);
    lab().startDaemon();
    ASSERT_TRUE(untilLoop());
    const auto found = events(ESA_E_ID_ES_ADAPTERMP_INFORMATION);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1].header.evType, 2);
    EXPECT_EQ(found[1].data.general_use1, 0xFFFFFFFFu);
    EXPECT_TRUE(answers());
    EXPECT_TRUE(lab().startupProcess().compositeLedLit());
    EXPECT_EQ(lab().startupProcess().mails(), 1);
}
