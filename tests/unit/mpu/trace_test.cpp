// SPDX-License-Identifier: Apache-2.0
// The trace log: what a line looks like, when it is written, and what a bug check leaves.
#include "trace.h"

#include <gmock/gmock.h>

#include <csignal>
#include <ctime>

#include "tests/support/trace_capture.h"
#include "tests/unit/mpu/last_record.h"

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;
using testing::KilledBySignal;
using testing::MatchesRegex;

namespace {

constexpr char FILE_NAME[] = "esamain.cpp";
const std::string TIMESTAMP = "[A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9]  ";
const std::string LONG_NAME = "abcdefghijklmnopqrstuvwxyz0123456789";  // 36 characters
const std::string LONG_NAME_CUT = "abcdefghijklmnopqrstuvwxyz012345";  // 32 of them

// The address line head of a dump row: eight digits, the low 32 bits.
std::string row(const void* address) {
    char text[16];
    std::snprintf(
        text, sizeof text, "0x%08lX: ",
        static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(address) & 0xFFFFFFFFU));
    return text;
}

struct PrefixCase {
    U16_t mask;
    std::string info;
    std::string enter;
    std::string dump;
};

}  // namespace

TEST(TraceLine, PrefixFollowsTheModuleMask) {
    const PrefixCase cases[] = {
        {0x0010, "text", "ENTERING into func: fan: text", "text"},
        {0x2010, "esamain\\.cpp:77:  text", "esamain\\.cpp:77:ENTERING into func: fan: text",
         "esamain\\.cpp:77: text"},
        {0x4010, "fan:77:  text", "ENTERING into func: fan: text", "fan:77: text"},
        {0x6010, "esamain\\.cpp:fan:77:  text", "esamain\\.cpp:77:ENTERING into func: fan: text",
         "esamain\\.cpp:fan:77: text"},
        {0x8010, TIMESTAMP + "text", TIMESTAMP + "ENTERING into func: fan: text", "text"},
        {0xC0FF, TIMESTAMP + "fan:77:  text", TIMESTAMP + "ENTERING into func: fan: text",
         "fan:77: text"},
        {0xE010, TIMESTAMP + "esamain\\.cpp:fan:77:  text",
         TIMESTAMP + "esamain\\.cpp:77:ENTERING into func: fan: text",
         "esamain\\.cpp:fan:77: text"},
    };
    for (const PrefixCase& c : cases) {
        SCOPED_TRACE(c.mask);
        TraceCapture log(c.mask);
        TRACE__statement(0, FILE_NAME, "fan", 77, "text");
        TRACE__enterStatement(0, FILE_NAME, "fan", 77, "text");
        TRACE__dumpStatement(0, FILE_NAME, "fan", 77, nullptr, 0, "text");
        EXPECT_THAT(log.take(),
                    ElementsAre(MatchesRegex(c.info), MatchesRegex(c.enter), MatchesRegex(c.dump)));
    }
}

TEST(TraceLine, ReturnLineSaysExiting) {
    TraceCapture log(0x2010);
    TRACE__returnStatement(0, FILE_NAME, "fan", 8, "rc = %d", -1);
    EXPECT_THAT(log.take(), ElementsAre("esamain.cpp:8:EXITING from func: fan: rc = -1"));
}

TEST(TraceLine, NamesAreCutTo32Characters) {
    TraceCapture log(0x6010);
    TRACE__statement(0, LONG_NAME.c_str(), LONG_NAME.c_str(), 1, "text");
    TRACE__enterStatement(0, LONG_NAME.c_str(), "fan", 1, "text");
    TRACE__dumpStatement(0, LONG_NAME.c_str(), LONG_NAME.c_str(), 1, nullptr, 0, "text");
    EXPECT_THAT(log.take(), ElementsAre(LONG_NAME_CUT + ":" + LONG_NAME_CUT + ":1:  text",
                                        LONG_NAME_CUT + ":1:ENTERING into func: fan: text",
                                        LONG_NAME_CUT + ":" + LONG_NAME_CUT + ":1: text"));
}

TEST(TraceLine, PrefixNeverExceedsItsBuffer) {
    TraceCapture log(0x0010);
    TRACE__enterStatement(0, FILE_NAME, std::string(200, 'f').c_str(), 1, "text");
    EXPECT_THAT(log.take(),
                ElementsAre("ENTERING into func: " + std::string(167 - 20, 'f') + "text"));
}

TEST(TraceLine, TextIsCutTo1023Characters) {
    TraceCapture log;
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "%s", std::string(1023, 'a').c_str());
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "%s", std::string(1024, 'b').c_str());
    EXPECT_EQ(traceData.infoBufLen, 1023U);
    TRACE_DUMP_STATEMENT(0, 0x10, FILE_NAME, nullptr, 0, "%s", std::string(5000, 'c').c_str());
    EXPECT_THAT(log.take(), ElementsAre(std::string(1023, 'a'), std::string(1023, 'b'),
                                        std::string(1023, 'c')));
}

TEST(TraceLine, WritersCapALengthTheyAreHanded) {
    TraceCapture log;
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "%s", std::string(1023, 'a').c_str());
    pthread_mutex_lock(&traceData.lock);
    traceData.infoBufLen = 4000;
    traceData.funcName = "f";
    TRACE__logEnter();
    pthread_mutex_lock(&traceData.lock);
    traceData.infoBufLen = 4000;
    TRACE__logDump(nullptr, 0);
    EXPECT_THAT(log.take(), ElementsAre(std::string(1023, 'a'),
                                        "ENTERING into func: f: " + std::string(1023, 'a'),
                                        std::string(1023, 'a')));
}

TEST(TraceLine, IsFlushedAtOnce) {
    char* text = nullptr;
    std::size_t size = 0;
    TraceCapture log;
    std::FILE* const captured = traceData.fd;
    traceData.fd = open_memstream(&text, &size);
    std::setvbuf(traceData.fd, nullptr, _IOFBF, 4096);
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "seen");
    EXPECT_EQ(size, 5U);
    TRACE_DUMP_STATEMENT(0, 0x10, FILE_NAME, "A", 1, "dump");
    EXPECT_EQ(size, 5U + 4 + 1 + 12 + 2 + 1);
    std::fclose(traceData.fd);
    std::free(text);
    traceData.fd = captured;
}

TEST(TraceLine, IsNotWrittenWhenOutputIsOff) {
    TraceCapture log;
    pthread_mutex_lock(&traceData.lock);
    TRACE__logInfo(0, 0);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(TraceStatement, OffEvaluatesNothing) {
    TraceCapture log(0x0001);
    int evaluated = 0;
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "%d", ++evaluated);
    TRACE_DUMP_STATEMENT(0, 0x10, FILE_NAME, &evaluated, 4, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    TRACE_STATEMENT(0, 0x01, FILE_NAME, "%d", ++evaluated);
    EXPECT_THAT(log.take(), ElementsAre("1"));
}

TEST(TraceStatement, IsOffBeforeTheLogOpensAndAfterItCloses) {
    int evaluated = 0;
    TRACE_STATEMENT(0, 0xFFFF, FILE_NAME, "%d", ++evaluated);
    { TraceCapture log(0xFFFF); }
    TRACE_STATEMENT(0, 0xFFFF, FILE_NAME, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(traceData.fd, stderr);
}

static int tracedValue() {
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "inner");
    return 5;
}

TEST(TraceStatement, ArgumentsMayTraceThemselves) {
    TraceCapture log;
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "outer %d", tracedValue());
    EXPECT_THAT(log.take(), ElementsAre("inner", "outer 5"));
}

TEST(TraceStatement, NamesItsPlace) {
    TraceCapture log(0x6010);
    const int line = __LINE__ + 1;
    TRACE_STATEMENT(0, 0x10, FILE_NAME, "text");
    EXPECT_THAT(log.take(),
                ElementsAre("esamain.cpp:TestBody:" + std::to_string(line) + ":  text"));
    EXPECT_EQ(traceData.mpuParams, nullptr);
}

TEST(TraceDump, RowsHold32BytesInGroupsOfEight) {
    TraceCapture log;
    U8_t bytes[33];
    for (U8_t i = 0; i < sizeof bytes; i++) {
        bytes[i] = static_cast<U8_t>(0xF0 + i);
    }
    TRACE_DUMP_STATEMENT(0, 0x10, FILE_NAME, bytes, 33, "esaMMSG =");
    EXPECT_THAT(log.take(), ElementsAre("esaMMSG =",
                                        row(bytes) + "F0F1F2F3F4F5F6F7 F8F9FAFBFCFDFEFF "
                                                     "0001020304050607 08090A0B0C0D0E0F",
                                        row(bytes + 32) + "10"));
}

TEST(TraceDump, LongDumpLosesNoByte) {
    TraceCapture log;
    U8_t bytes[4064];
    std::vector<std::string> expected = {"esaInMsg  ="};
    for (std::size_t i = 0; i < sizeof bytes; i++) {
        bytes[i] = 0xA5;
        if (i % 32 == 0) {
            expected.push_back(
                row(bytes + i) +
                "A5A5A5A5A5A5A5A5 A5A5A5A5A5A5A5A5 A5A5A5A5A5A5A5A5 A5A5A5A5A5A5A5A5");
        }
    }
    const U32_t before = traceData.logWriteCount;
    TRACE_DUMP_STATEMENT(0, 0x10, FILE_NAME, bytes, sizeof bytes, "esaInMsg  =");
    EXPECT_EQ(log.take(), expected);
    // 80 characters a row, written in pieces of 1009 to 1023: each piece counts as a write.
    EXPECT_EQ(traceData.logWriteCount - before, 11U);
}

TEST(TraceLevel, IsKeptPerModule) {
    static const char* const names[] = {"ESA", "I2C"};
    TRACE__init(nullptr, "", 2, names);
    EXPECT_STREQ(traceData.modNames[0], "ESA");
    EXPECT_STREQ(traceData.modNames[1], "I2C");
    EXPECT_EQ(TRACE__getTraceLevel(1), 0);
    EXPECT_EQ(TRACE__setTraceLevel(1, 0xC0FF), 0);
    EXPECT_EQ(TRACE__getTraceLevel(0), 0);
    EXPECT_EQ(TRACE__getTraceLevel(1), 0xC0FF);
    TRACE__done();
}

TEST(TraceLevel, RejectsWhatIsNoModule) {
    TraceCapture log;
    for (const int index : {-1, 1, 256}) {
        SCOPED_TRACE(index);
        testing::internal::CaptureStderr();
        EXPECT_EQ(TRACE__setTraceLevel(index, 0x10), -1);
        EXPECT_EQ(TRACE__getTraceLevel(index), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "ERROR !! TRACE__setTraceLevel: Invalid trace MODULE INDEX \n"
                  "ERROR !! TRACE__getTraceLevel: Invalid trace MODULE INDEX \n");
    }
}

TEST(TraceTimestamp, IsLocalTimeWithoutTheYear) {
    setenv("TZ", "XYZ-05:30", 1);
    tzset();
    const std::time_t before = std::time(nullptr);
    char stamp[64];
    const int length = TRACE_getTimestamp(stamp, sizeof stamp);
    const std::time_t after = std::time(nullptr);
    char first[32];
    char last[32];
    std::strftime(first, sizeof first, "%b %e %H:%M:%S", std::localtime(&before));
    std::strftime(last, sizeof last, "%b %e %H:%M:%S", std::localtime(&after));
    EXPECT_TRUE(std::string(stamp) == first || std::string(stamp) == last) << stamp;
    EXPECT_EQ(length, 15);
    unsetenv("TZ");
}

TEST(TraceTimestamp, StaysInsideItsBuffer) {
    char stamp[8] = "1234567";
    EXPECT_EQ(TRACE_getTimestamp(nullptr, 64), 0);
    EXPECT_EQ(TRACE_getTimestamp(stamp, 0), 0);
    EXPECT_STREQ(stamp, "1234567");
    EXPECT_EQ(TRACE_getTimestamp(stamp, 4), 3);
    EXPECT_EQ(std::string(stamp + 4), "567");
}

TEST(TraceBugCheck, StatementLeavesALineAndARecordAndAborts) {
    LastRecord record;
    TraceCapture log(0x2000);
    traceData.fd = stderr;
    EXPECT_EXIT(TRACE__bugCheckStatement(0, "esa.main.cpp", "esaInit", 0x12345, "count %d", 9),
                KilledBySignal(SIGABRT),
                "^TRACE LOG BUG-CHECK AT: esa.main.cpp:74565:  count 9\nstored with no area\n");
    EXPECT_TRUE(record.zero(0, 12));
    EXPECT_EQ(record.hex(12, 4), "08000001");
    EXPECT_TRUE(record.zero(16, 210));
    EXPECT_EQ(record.hex(210, 6), "1703010107D0");
    EXPECT_EQ(record.hex(216, 2), "2345");
    EXPECT_EQ(record.text(218, 17), std::string("esa.main\0esaInit\0", 17));
    EXPECT_TRUE(record.zero(235, 248));
    EXPECT_EQ(record.text(248, 20), std::string("BUG CHECK: count 9\n\0", 20));
    EXPECT_TRUE(record.zero(268, 4064));
}

TEST(TraceBugCheck, RecordFieldsAreFilledButNotExceeded) {
    LastRecord record;
    TraceCapture log;
    EXPECT_EXIT(TRACE__bugCheckStatement(0, LONG_NAME.c_str(), LONG_NAME.c_str(), 1, "%s",
                                         std::string(500, 'x').c_str()),
                KilledBySignal(SIGABRT), "");
    EXPECT_EQ(record.text(218, 30), std::string("abcdefghijklmnopqrst\0abcdefghi", 30));
    EXPECT_EQ(record.text(248, 256),
              "BUG CHECK: " + std::string(243, 'x') + "\n" + std::string(1, '\0'));
    EXPECT_TRUE(record.zero(504, 4064));
}

TEST(TraceLock, FailureIsABugCheckWithItsCode) {
    TraceCapture log;
    // The mutex belongs to the thread that dies, so it is taken there.
    EXPECT_EXIT(
        {
            pthread_mutex_lock(&traceData.lock);
            TRACE_STATEMENT(0, 0x10, FILE_NAME, "text");
        },
        ExitedWithCode(6),
        "^MPU_BUGCHECK\\(\\) encountered: Resource deadlock avoided\n"
        ": mpuMutex_Get\\(\\): get lock failure\\.\n$");
    EXPECT_EXIT(
        {
            pthread_mutex_lock(&traceData.lock);
            TRACE__done();
        },
        ExitedWithCode(5),
        "^MPU_BUGCHECK\\(\\) encountered: Device or resource busy\n"
        ": mpuMutex_Done\\(\\): done failure\\.\n$");
    EXPECT_EXIT(TRACE__logInfo(0, 0), ExitedWithCode(7),
                "^MPU_BUGCHECK\\(\\) encountered: Operation not permitted\n"
                ": mpuMutex_Unlock\\(\\): release lock failure\\.\n$");
}
