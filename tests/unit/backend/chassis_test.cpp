// SPDX-License-Identifier: Apache-2.0
// The chassis table: what the rows say.
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
