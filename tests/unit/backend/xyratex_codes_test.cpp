// SPDX-License-Identifier: Apache-2.0
// The Xyratex alarm below transfers that end with any code: the first step of a reading counts an
// unreachable bus as a failure and nothing else, the two others any code.
#include "backend/xyratex.h"
#include "i2c/esa_i2c.h"
#include "tests/support/enclosure_rig.h"

namespace {

struct Answer {
    ESA_CODE_e code;
    U8_t value;
};
std::vector<Answer> answers;

}  // namespace

// Takes the place of the fault tracking.
ESA_CODE_e esaI2CDataRead(U8_t, U8_t, U8_t* readDataPtr, U32_t) {
    const Answer answer = answers.front();
    answers.erase(answers.begin());
    if (answer.code == ESA_E_OK) {
        *readDataPtr = answer.value;
    }
    return answer.code;
}
ESA_CODE_e esaI2CDataWrite(U8_t, U8_t, const U8_t*, U32_t) {
    return ESA_E_GENERR;
}
void esaI2CStatusEventSend(U32_t, U32_t, ESA_CODE_e) {}

namespace {

class XyratexCodes : public EnclosureRig {};

TEST_F(XyratexCodes, FirstAlarmStepMindsAnUnreachableBusOnly) {
    constexpr Answer CLEAR = {ESA_E_OK, 0xEF};
    constexpr Answer SET = {ESA_E_OK, 0x10};
    constexpr Answer ERROR = {ESA_E_GENERR, 0};
    constexpr Answer UNREACHABLE = {ESA_E_GENERR_I2C_UNAVAILABLE, 0};
    const struct {
        std::vector<Answer> steps;
        U32_t state;
    } cases[] = {
        {{SET, CLEAR, CLEAR}, 1},         {{CLEAR, SET, CLEAR}, 2},
        {{CLEAR, CLEAR, SET}, 4},         {{ERROR, CLEAR, CLEAR}, 0},
        {{ERROR, SET, CLEAR}, 2},         {{ERROR, SET, SET}, 6},
        {{CLEAR, ERROR, CLEAR}, 7},       {{CLEAR, CLEAR, ERROR}, 7},
        {{UNREACHABLE, CLEAR, CLEAR}, 7}, {{CLEAR, UNREACHABLE, CLEAR}, 7},
    };
    for (const auto& c : cases) {
        answers = c.steps;
        EXPECT_EQ(xyratexAlarmStateRead(), c.state);
        EXPECT_TRUE(answers.empty());
    }
}

}  // namespace
