// SPDX-License-Identifier: Apache-2.0
// Supply conditions with texts of their own, as the chips bring them.
#include "backend/supply.h"

#include "tests/support/enclosure_rig.h"

namespace {

constexpr EsaSupplyCondition_t VOLTAGE = {
    ESA_K_FAULT_POWER_SUPPLY_VOLTAGE_TOLERANCE,
    ESA_K_POWER_VOLTAGE_OK,
    {"became good", "still good"},
    {"became bad", "still bad"},
};

class Supply : public EnclosureRig {
  protected:
    Supply() {
        esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
        esaControl.powerSupplyMaxNumber = 2;
        esaControl.powerSupplyStatus = 0x7;
    }
};

TEST_F(Supply, PollSaysAndSendsWhatChanged) {
    const struct {
        bool ok;
        U32_t status;
        const char* line;
        Lines sent;
    } polls[] = {
        {true, 0x7, "still good", {}},
        {false,
         0x6,
         "became bad",
         {"led on", "mail",
          "event 6/2 enclosureType=5 numberOfPowerSupply=2 powerSupplyStatus=0x6"}},
        {false, 0x6, "still bad", {}},
        {true,
         0x7,
         "became good",
         {"led off", "event 6/1 enclosureType=5 numberOfPowerSupply=2 powerSupplyStatus=0x7"}},
    };
    for (const auto& p : polls) {
        SCOPED_TRACE(p.line);
        esaSupplyConditionPoll(VOLTAGE, p.ok);
        EXPECT_EQ(takeLines().back(), p.line);
        EXPECT_EQ(esaControl.powerSupplyStatus, p.status);
        EXPECT_EQ(sentTake(), p.sent);
    }
}

TEST_F(Supply, ConditionWithoutFaultBitKeepsTheBooksOnly) {
    EsaSupplyCondition_t condition = VOLTAGE;
    condition.faultBit = 0;
    EXPECT_TRUE(esaSupplyConditionUpdate(condition, false));
    EXPECT_FALSE(esaSupplyConditionUpdate(condition, false));
    EXPECT_EQ(esaControl.powerSupplyStatus, 0x6u);
    EXPECT_EQ(sentTake(), Lines{});
    EXPECT_EQ(takeLines(), (Lines{"became bad", "still bad"}));
}

}  // namespace
