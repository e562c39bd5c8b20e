// SPDX-License-Identifier: Apache-2.0
// The chassis table: what the rows say, and that a chassis without back-end says so.
#include "backend/chassis.h"

#include "tests/support/enclosure_rig.h"

namespace {

class Chassis : public EnclosureRig {};

TEST_F(Chassis, TypesOutsideTheTableHaveNoRow) {
    EXPECT_EQ(esaChassisOf(0), nullptr);
    EXPECT_EQ(esaChassisOf(8), nullptr);
    EXPECT_EQ(esaChassisOf(255), nullptr);
    for (U8_t type = 1; type <= 7; ++type) {
        ASSERT_NE(esaChassisOf(type), nullptr);
        EXPECT_EQ(esaChassisOf(type)->type, type);
        esaControl.enclosureType = type;
        EXPECT_EQ(esaChassis(), esaChassisOf(type));
    }
}

TEST_F(Chassis, TypeOneHasNoEnclosureServices) {
    const EsaChassis_t& row = *esaChassisOf(KORVO_E_CHASSIS_NONE);
    EXPECT_FALSE(row.init);
    EXPECT_FALSE(row.poll);
    EXPECT_FALSE(row.supplyPageStatus);
    EXPECT_FALSE(row.alarmPageState);
}

TEST_F(Chassis, BackEndThatIsNotBuiltYetFailsLoudly) {
    const struct {
        KORVO_E_CHASSIS_e type;
        const char* line;
    } cases[] = {
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX,
         "The back-end of the Xyratex 2U12ATX chassis is not built yet."},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX,
         "The back-end of the Chenbro 3U16ATX chassis is not built yet."},
        {KORVO_E_CHASSIS_KORVO_W83782D, "The back-end of the W83782D chassis is not built yet."},
        {KORVO_E_CHASSIS_KORVO_W83792AD, "The back-end of the W83792AD chassis is not built yet."},
    };
    for (const auto& c : cases) {
        esaControl.enclosureType = c.type;
        testing::internal::CaptureStderr();
        EXPECT_EQ(esaChassis()->init(), ESA_E_GENERR);
        esaChassis()->poll();
        const std::string line = std::string(c.line) + "\n";
        EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
        EXPECT_EQ(takeLines(), (Lines{c.line, c.line}));
    }
    EXPECT_EQ(bus.transfers(), 0);
}

TEST_F(Chassis, FanGroupsOfFourAreSwitchedTogether) {
    healthyVsc055();
    esaControl.i2cConnected = 1;
    const EsaChassis_t& row = *esaChassisOf(KORVO_E_CHASSIS_XYRATEX_2U12ATX);
    row.fanSwitch(0, true);
    row.fanSwitch(4, true);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 41 98=3F", "W 41 99=3F"}));
}

TEST_F(Chassis, PeersFaultRequestsRecordTheFaultOfTheChassis) {
    const U32_t faults[] = {0, 0, 0, 0x2, 0x1, 0x2, 0x1, 0x2};
    for (KORVO_E_CHASSIS_t type : {U8_t{3}, U8_t{4}, U8_t{5}, U8_t{6}, U8_t{7}}) {
        esaChassisOf(type)->supplyFaultIndicate(ESA_E_GENERR);
        EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000000u | faults[type]);
        esaChassisOf(type)->supplyFaultIndicate(ESA_E_OK);
        EXPECT_EQ(esaControl.compositeFaultStatus, 0u);
    }
}

}  // namespace
