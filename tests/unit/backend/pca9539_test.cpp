// SPDX-License-Identifier: Apache-2.0
#include "backend/pca9539.h"

#include "tests/support/enclosure_rig.h"

namespace {

class Pca9539 : public EnclosureRig {
  protected:
    Pca9539() {
        running(KORVO_E_CHASSIS_KORVO_W83792AD);
        esaControl.deviceMaxNumber = 12;
    }
    static ESA_CODE_e ledWrite(int drive, bool lit) {
        return lit ? esaPca9539DriveFaultLEDSet(drive) : esaPca9539DriveFaultLEDClear(drive);
    }
};

TEST_F(Pca9539, LedsAreBitsOfTwoPortsNamedInOppositeStyles) {
    const struct {
        int drive;
        bool lit;
        ESA_CODE_e code;
        Lines log;
        std::string line;
    } cases[] = {
        {3, true, ESA_E_OK, {"W 74 02=08"}, "pca9539.outputPort0 = [0x8]"},
        {5, true, ESA_E_OK, {"W 74 02=28"}, "pca9539.outputPort0 = [0x28]"},
        {5, true, ESA_E_OK, {"W 74 02=28"}, "pca9539.outputPort0 = [0x28]"},
        {3, false, ESA_E_OK, {"W 74 02=20"}, "pca9539.outputPort0Register = [0x20]"},
        {8, true, ESA_E_OK, {"W 74 03=01"}, "pca9539.outputPort1Register = [0x1]"},
        {9, true, ESA_E_OK, {"W 74 03=03"}, "pca9539.outputPort1Register = [0x3]"},
        {9, false, ESA_E_OK, {"W 74 03=01"}, "pca9539.outputPort1 = [0x1]"},
        {11, true, ESA_E_OK, {"W 74 03=09"}, "pca9539.outputPort1Register = [0x9]"},
        {12, true, ESA_E_GENERR, {}, "Un-supported Drive Number = [12]"},
        {-1, false, ESA_E_GENERR, {}, "Un-supported Drive Number = [-1]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(ledWrite(c.drive, c.lit), c.code);
        EXPECT_EQ(bus.takeLog(), c.log);
        EXPECT_EQ(takeLines(), (Lines{(c.lit ? "Set Fault LED on Drive ["
                                             : "Clear Fault LED on "
                                               "Drive [") +
                                          std::to_string(c.drive) + "]",
                                      c.line}));
    }
}

TEST_F(Pca9539, FirstPortDoesNotDependOnTheNumberOfDrives) {
    esaControl.deviceMaxNumber = 4;
    EXPECT_EQ(ledWrite(7, true), ESA_E_OK);
    EXPECT_EQ(ledWrite(8, true), ESA_E_GENERR);
    esaControl.deviceMaxNumber = 255;
    EXPECT_EQ(ledWrite(15, true), ESA_E_OK);
    EXPECT_EQ(ledWrite(16, true), ESA_E_GENERR);
}

TEST_F(Pca9539, FailedWriteIsNotTheCallersMatterAndIsMadeUpByTheNext) {
    bus.failTransfer(1);
    EXPECT_EQ(ledWrite(0, true), ESA_E_OK);
    EXPECT_EQ(sentTake(), (Lines{"led on", "mail",
                                 "event 10/2 enclosureType=7 information=7 "
                                 "general_use1=0xffffffff"}));
    EXPECT_EQ(ledWrite(1, true), ESA_E_OK);
    EXPECT_EQ(bus.takeLog(), (Lines{"W 74 02 fails", "W 74 02=03"}));
}

}  // namespace
