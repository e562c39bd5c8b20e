// SPDX-License-Identifier: Apache-2.0
// The trace log: what a line looks like, when it is written, where it goes, and how it ends.
#include "trace.h"

#include <gmock/gmock.h>
#include "tests/support/trace_capture.h"

using testing::ElementsAre;

TEST(TraceStatement, WritesOneLinePerStatementWithoutPrefix) {
    TraceCapture log;
    TRACE_STATEMENT(0, 0x10, "esamain.cpp", "fan %d of %s", 3, "four");
    TRACE_STATEMENT(0, 0x01, "esamain.cpp", "second");
    EXPECT_THAT(log.take(), ElementsAre("fan 3 of four", "second"));
}
