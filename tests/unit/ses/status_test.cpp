// SPDX-License-Identifier: Apache-2.0
// Which command gets which answer, and the bytes of every answer but the enclosure status page.
#include "ses/esa_status.h"

#include "tests/unit/ses/ses_fixture.h"

namespace {

constexpr U32_t RECEIVE = 28;
constexpr U32_t SEND = 29;

// RECEIVE DIAGNOSTIC RESULTS of page 1 with the given allocation length.
Bytes configCommand(U16_t allocation) {
    return {0x1C, 0x80, 0x01, 0, static_cast<U8_t>(allocation >> 8), static_cast<U8_t>(allocation),
            0,    0};
}

class StatusTest : public SesTest {};

TEST_F(StatusTest, GoodStatusOfSendDiagnosticIsTheStatusByteAlone) {
    esaStatusSend(request(SEND, Bytes(8)), 0, 0, 0, 0, 0);
    EXPECT_EQ(hexText(takeOne()), hexText(R"(
        00000000 00000000   # links, blanked
        0E 01 0044          # type 14, version 1, length 68
        12 00001D           # protocol and command of the request
        21 40 1D 00         # from 33, a response, to 29
        20000000 00000000   # recipients
        00000000 00000000
        00000000 A1B2C3D4   # return code, handle of the request
        00000000 00000000 00000000
        00000000 00000000
        00 000000           # GOOD
    )"));
}

TEST_F(StatusTest, LinkFieldsCarryTheMessagesOwnAddress) {
    esaStatusSend(request(SEND, Bytes(8)), 0, 0, 0, 0, 0);
    const Bytes reply = peer_.take().at(0);
    const auto address =
        static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(esaControl.esaWorkSpace));
    EXPECT_EQ(be32At(reply, 0), address);
    EXPECT_EQ(be32At(reply, 4), address);
}

TEST_F(StatusTest, CheckConditionCarriesSenseDataForBothCommands) {
    for (const U32_t command : {RECEIVE, SEND}) {
        esaStatusSend(request(command, Bytes(8)), 2, 2, 5, 0x24, 0x81);
        const Bytes reply = takeOne();
        EXPECT_EQ(be32At(reply, 12), 0x12000000 | command);
        EXPECT_EQ(be32At(reply, 36), 2u);  // return code
        EXPECT_EQ(hexText(part(reply, 64, reply.size() - 64)), hexText(R"(
            02
            E0 00 50 00   # current error, ILLEGAL REQUEST
            00000000
            00 000000
            00000000
            24 81 00 00   # code, qualifier
            0000 0000
            000000        # behind the sense data
        )"));
    }
}

TEST_F(StatusTest, AnyOtherStatusGetsNoReply) {
    for (const U32_t command : {RECEIVE, SEND}) {
        for (const U8_t status : std::initializer_list<U8_t>{1, 3, 4, 8, 255}) {
            esaStatusSend(request(command, configCommand(255)), status, 1, 0, 0, 0);
        }
    }
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_TRUE(trace_.take().empty());
}

TEST_F(StatusTest, AnyOtherCommandGetsOnlyATraceLine) {
    for (const U32_t command : {0u, 27u, 30u, 0x01001Cu}) {
        for (const U8_t status : std::initializer_list<U8_t>{0, 2}) {
            esaStatusSend(request(command, configCommand(255)), status, 1, 0, 0, 0);
            EXPECT_EQ(trace_.take(),
                      std::vector{"Un-supported SES Command [" + std::to_string(command) + "]."});
        }
    }
    EXPECT_TRUE(peer_.take().empty());
}

TEST_F(StatusTest, SupportedPagesPageGetsNoReplyAndNoLine) {
    esaStatusSend(request(RECEIVE, configCommand(255)), 0, 0, 0, 0, 0);
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_TRUE(trace_.take().empty());
}

TEST_F(StatusTest, PagesAboveTwoGetOnlyATraceLine) {
    for (int page = 3; page <= 255; ++page) {
        esaStatusSend(request(RECEIVE, configCommand(255)), 0, static_cast<U8_t>(page), 0, 0, 0);
        EXPECT_EQ(trace_.take(),
                  std::vector{"Un-supported SES Page [" + std::to_string(page) + "]."});
    }
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_TRUE(fake.calls.empty());
}

struct RecipientCase {
    U8_t requestor;
    const char* maps;  // recipient_loc_bm
};

TEST_F(StatusTest, ReplyGoesToTheRequestor) {
    for (const RecipientCase& c : {RecipientCase{0, "00000001 00000000"},
                                   {20, "00100000 00000000"},
                                   {31, "80000000 00000000"},
                                   {32, "00000000 00000001"},
                                   {33, "00000000 00000002"},
                                   {63, "00000000 80000000"}}) {
        esaStatusSend(request(SEND, Bytes(8), c.requestor), 0, 0, 0, 0, 0);
        const Bytes reply = takeOne();
        EXPECT_EQ(hexText(part(reply, 20, 8)), hexText(c.maps));
        EXPECT_EQ(reply.at(16), 33);
        EXPECT_EQ(reply.at(18), c.requestor);
    }
}

TEST_F(StatusTest, RequestorThatIsNoRecipientCostsOneLineAndTouchesNothing) {
    for (const U8_t requestor : std::initializer_list<U8_t>{64, 65, 255}) {
        esaStatusSend(request(RECEIVE, configCommand(255), requestor), 0, 2, 0, 0, 0);
        EXPECT_EQ(trace_.take().size(), 1u);
        esaStatusSend(request(SEND, Bytes(8), requestor), 2, 0, 5, 0x24, 0);
        EXPECT_EQ(trace_.take().size(), 1u);
    }
    EXPECT_TRUE(peer_.take().empty());
    EXPECT_TRUE(fake.calls.empty());
}

TEST_F(StatusTest, ConfigurationPageListsFiveTypesWithTheirCounts) {
    counts(16, 3, 0, 0, 1);
    esaStatusSend(request(RECEIVE, configCommand(68)), 0, 1, 0, 0, 0);
    const Bytes reply = takeOne();
    EXPECT_EQ(be16At(reply, 10), 132);
    EXPECT_EQ(reply.size(), 132u);
    EXPECT_EQ(reply.at(64), 0);
    // The last byte of the page is left out.
    EXPECT_EQ(hexText(part(reply, 65, 67)), hexText(R"(
        01 00 0040 00000000            # 64 bytes follow
        20 00 05 24                    # one process, five types, 36 bytes follow
        0000000000000000 0000000000000000
        00000000000000000000000000000000 00000000
        01 10 00 00
        02 03 00 00
        03 00 00 00
        04 00 00 00
        06 01 00
    )"));
}

TEST_F(StatusTest, ConfigurationPageReportsCountsAboveTheArraysAsTheyStand) {
    struct {
        U8_t supplies, fans, sensors;
        const char* types;
    } const cases[] = {
        {2, 4, 4, "01100000 02020000 03040000 04040000 060100"},
        {2, 44, 8, "01100000 02020000 032C0000 04080000 060100"},
        {3, 255, 255, "01100000 02030000 03FF0000 04FF0000 060100"},
    };
    for (const auto& c : cases) {
        counts(16, c.supplies, c.fans, c.sensors, 1);
        esaStatusSend(request(RECEIVE, configCommand(68)), 0, 1, 0, 0, 0);
        const Bytes reply = takeOne();
        EXPECT_EQ(hexText(part(reply, 65 + 48, reply.size() - 65 - 48)), hexText(c.types));
    }
}

TEST_F(StatusTest, TypesBeyondTheFiveAreEmptyDescriptors) {
    esaControl.elementTypeMaxNumber = 255;
    esaStatusSend(request(RECEIVE, configCommand(1068)), 0, 1, 0, 0, 0);
    const Bytes reply = takeOne();
    EXPECT_EQ(reply.size(), 1132u);
    EXPECT_EQ(be16At(reply, 67), 1064);
    EXPECT_EQ(hexText(part(reply, 65 + 64, 8)), hexText("06010000 00000000"));
    EXPECT_EQ(part(reply, 65 + 68, 999), Bytes(999));
}

TEST_F(StatusTest, ConfigurationPageNeedsRoomForTheWholePage) {
    for (const U16_t allocation : std::initializer_list<U16_t>{0, 1, 67}) {
        esaStatusSend(request(RECEIVE, configCommand(allocation)), 0, 1, 0, 0, 0);
        EXPECT_TRUE(peer_.take().empty()) << allocation;
    }
    for (const U16_t allocation : std::initializer_list<U16_t>{68, 255, 65535}) {
        esaStatusSend(request(RECEIVE, configCommand(allocation)), 0, 1, 0, 0, 0);
        EXPECT_EQ(peer_.take().size(), 1u) << allocation;
    }
}

TEST_F(StatusTest, AllocationLengthThatDidNotComeIsZero) {
    Bytes command = configCommand(0x4400);
    for (const std::size_t came : {5, 4, 3, 0}) {
        command.resize(came);  // behind it stands an older message full of large numbers
        esaStatusSend(request(RECEIVE, command), 0, 1, 0, 0, 0);
        EXPECT_EQ(peer_.take().size(), came == 5 ? 1u : 0u) << came;
    }
}

TEST_F(StatusTest, ReplyIsAnnouncedThenPrintedThenSent) {
    esaStatusSend(request(SEND, Bytes(8)), 0, 0, 0, 0, 0);
    const std::vector<std::string> lines = trace_.take();
    ASSERT_GT(lines.size(), 10u);
    EXPECT_EQ(lines[0], "Send out a Diagnostic Page.");
    EXPECT_TRUE(contains(lines, "This is a Response Message."));
}

TEST_F(StatusTest, ReplyThatDoesNotGoOutIsAFaultOfTheDiagnosticPage) {
    esaControl.socketFdMSM = 1023;  // not open
    esaStatusSend(request(SEND, Bytes(8)), 0, 0, 0, 0, 0);
    EXPECT_TRUE(contains(fake.calls, "esaSndDiagPage()"));
}

}  // namespace
