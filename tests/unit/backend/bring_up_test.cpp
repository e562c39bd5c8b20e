// SPDX-License-Identifier: Apache-2.0
// Bring-up of every chassis beyond its traffic: what it says, what it leaves behind, and what
// becomes of it when a device is missing or a single transfer fails.
#include <map>
#include <regex>

#include "tests/support/enclosure_rig.h"
#include "tests/support/golden_traffic.h"

namespace {

Lines transfersOf(Lines log) {
    std::erase_if(log, [](const std::string& entry) { return entry.starts_with("sleep"); });
    return log;
}

class BringUp : public EnclosureRig {};

// ---- devices missing ----

TEST_F(BringUp, MissingDeviceIsReportedAsTheChassisDoes) {
    const char* const vsc055Line =
        "Read I2C fails. I2C cable is not connected or wrong enclosure type.";
    const struct {
        KORVO_E_CHASSIS_e type;
        U8_t missing;
        Lines traffic;
        std::string line;
        U32_t deviceFaults;
        U8_t connected;
        U32_t information;
        bool eventFirst;  // in front of LED and mail
    } cases[] = {
        // clang-format off
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, 0x63, {"R 63 10 fails"}, vsc055Line, 1, 0, 3, false},
        {KORVO_E_CHASSIS_PELTO_TOLVEX, 0x41, {"R 41 10 fails"}, vsc055Line, 1, 0, 2, false},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0x41, {"R 41 10 fails"}, vsc055Line, 1, 0, 2, false},
        {KORVO_E_CHASSIS_KORVO_W83792AD, 0x2C, {"R 2C 48 fails"},
         "Read I2C address [0x2c] fails. I2C cable is not connected or wrong enclosure type on "
         "Backplane.", 0, 0, 6, true},
        {KORVO_E_CHASSIS_KORVO_W83782D, 0x2D, {"R 2D 48 fails"},
         "Read I2C address [0x2d] fails. I2C cable is not connected or wrong enclosure type on "
         "Backplane[0].", 0, 0, 5, true},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 0x28, {"R 28 48 fails"},
         "Read I2C address [0x28] fails. I2C cable is not connected or wrong enclosure type on "
         "Backplane[0].", 0, 0, 5, true},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 0x2C, {"R 28 48=28", "R 2A 48=2A", "R 2C 48 fails"},
         "Read I2C address [0x2c] fails. I2C cable is not connected or wrong enclosure type on "
         "Backplane[2].", 0, 1, 5, true},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << ", " << c.line);
        healthy(c.type);
        bus.cut(c.missing);
        EXPECT_EQ(esaChassis()->init(), ESA_E_GENERR_I2C_UNAVAILABLE);
        bus.mend(c.missing);
        EXPECT_EQ(bus.takeLog(), c.traffic);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, c.deviceFaults);
        EXPECT_EQ(esaControl.compositeFaultStatus, 0x80000010u);
        EXPECT_EQ(esaControl.i2cConnected, c.connected);
        const std::string event = "event 10/2 enclosureType=" + std::to_string(c.type) +
                                  " information=" + std::to_string(c.information) +
                                  " general_use1=0xffffffff";
        EXPECT_EQ(sentTake(), c.eventFirst ? (Lines{event, "led on", "mail"})
                                           : (Lines{"led on", "mail", event}));
        Lines lines = takeLines();
        std::erase(lines, "Read I2C succeeds. I2C cable is connected");
        EXPECT_EQ(lines[0], c.line);
    }
}

// ---- single transfers failing ----

// What becomes of bring-up when the transfer fails. The first rule that fits counts; '#' stands
// for the backplane.
struct FailureRule {
    const char* types;
    const char* transfers;
    ESA_CODE_e code;
    const char* said;
};
const FailureRule FAILURE_RULES[] = {
    // clang-format off
    {"[235]", "R .*", ESA_E_GENERR_I2C_UNAVAILABLE, ""},
    {"[235]", "W .*", ESA_E_OK, ""},
    {"7", "R 2C 48", ESA_E_GENERR_I2C_UNAVAILABLE, ""},
    {"7", "W 2C [23].", ESA_E_GENERR, ""},
    // Under the next register's name.
    {"7", "W 2C 4B", ESA_E_GENERR, "Setting smiOvtPropertyRegister on W83792AD failed"},
    {"7", "W 2C 4C", ESA_E_GENERR, "Setting smiOvtPropertyRegister on W83792AD failed"},
    {"7", "W 2C 1A", ESA_E_GENERR, "Setting gpioEnableRegister on W83792AD failed"},
    {"7", "W 2C 1B", ESA_E_GENERR, "Setting gpioaOutputControlRegister on W83792AD failed"},
    {"7", "W 2C 1C", ESA_E_GENERR, "Setting gpioaDataStatusRegister on W83792AD failed"},
    {"7", "W 2C 1D", ESA_E_GENERR, "Setting gpiobOutputControlRegister on W83792AD failed"},
    {"7", "W 2C 1E", ESA_E_GENERR, "Setting gpiobDataStatusRegister on W83792AD failed"},
    {"7", "W 2C 47", ESA_E_GENERR, "Setting fanDivisor1Register on W83792AD failed"},
    {"7", "W 2C 5B", ESA_E_GENERR, "Setting fanDivisor2Register on W83792AD failed"},
    {"7", "W 2C 5C", ESA_E_GENERR, "Setting fanDivisor3Register on W83792AD failed"},
    {"7", "W 2C (80|82|93|A[012])", ESA_E_GENERR, "Setting fanPreScaleRegister on W83792AD failed"},
    {"7", "W 2C (81|83|94|A[345])", ESA_E_OK, ""},
    {"7", "W 2C 4A", ESA_E_GENERR,
     "Setting temperature23SerialBusAddressRegister on W83792AD failed"},
    {"7", "W 2C 59", ESA_E_GENERR, "Setting thermalDiodeSelectRegister on W83792AD failed"},
    {"7", "W 74 06", ESA_E_GENERR, "Setting pca9539.configurationPort0Register on PCA9539 failed"},
    {"7", "W 74 07", ESA_E_GENERR, "Setting pca9539.configurationPort1Register on PCA9539 failed"},
    {"[46]", "R .. 48", ESA_E_GENERR_I2C_UNAVAILABLE, ""},
    {"[46]", "W .. 39", ESA_E_GENERR,
     "Setting temperatureSensor1HighLimitRegister on Backplane [#] failed"},
    {"[46]", "W .. 3A", ESA_E_GENERR,
     "Setting temperatureSensor1HysteresisRegister on Backplane [#] failed"},
    {"6", "R .. 4D", ESA_E_GENERR, "Setting fanInOutBeepGpoRegister on Backplane [#] failed"},
    {"4", "R .. 4D", ESA_E_GENERR, "Reading fanInOutBeepGpoRegister on Backplane [#] failed"},
    {"[46]", "W .. 4D", ESA_E_GENERR, "Setting fanInOutBeepGpoRegister on Backplane [#] failed"},
    {"[46]", "W .. [23].", ESA_E_GENERR, ""},
    {"[46]", "W .. (5.|40)", ESA_E_OK, ""},
    {"4", "R .. ([23].|40)", ESA_E_OK, ""},  // the dump
    // clang-format on
};

std::string backplaneOf(const std::string& transfer) {
    const std::map<std::string, std::string> indexes = {{"2A", "1"}, {"2C", "2"}, {"30", "3"}};
    const auto found = indexes.find(transfer.substr(2, 2));
    return found == indexes.end() ? "0" : found->second;
}

// `transfer` without its value.
FailureRule ruleOf(KORVO_E_CHASSIS_e type, const std::string& transfer) {
    for (const FailureRule& rule : FAILURE_RULES) {
        if (std::regex_match(std::to_string(type), std::regex(rule.types)) &&
            std::regex_match(transfer, std::regex(rule.transfers))) {
            return rule;
        }
    }
    ADD_FAILURE() << "no rule";
    return {};
}

// The last line when it is bring-up's own.
std::string lastSaid(const Lines& lines) {
    const std::string& last = lines.back();
    return last.ends_with(" failed") ? last : "";
}

class BringUpFailure : public BringUp, public testing::WithParamInterface<int> {};

TEST_P(BringUpFailure, EachTransferStopsItOrDoesNotMatter) {
    const auto type = static_cast<KORVO_E_CHASSIS_e>(GetParam());
    const Lines golden = transfersOf(goldenTraffic(goldenFolder(type) + "/bring-up"));
    for (std::size_t n = 0; n < golden.size(); ++n) {
        const std::string transfer = golden[n].substr(0, 7);
        SCOPED_TRACE(testing::Message() << "transfer " << n + 1 << " fails: " << transfer);
        healthy(type);
        bus.failTransfer(static_cast<int>(n) + 1);
        const FailureRule rule = ruleOf(type, transfer);
        EXPECT_EQ(esaChassis()->init(), rule.code);
        const Lines log = transfersOf(bus.takeLog());
        Lines expected(golden.begin(), golden.begin() + static_cast<std::ptrdiff_t>(n));
        expected.push_back(transfer + " fails");
        ASSERT_GE(log.size(), expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), log.begin()));
        const Lines lines = takeLines();
        if (rule.code != ESA_E_OK) {
            EXPECT_EQ(log.size(), expected.size());
            EXPECT_EQ(lastSaid(lines),
                      std::regex_replace(rule.said, std::regex("#"), backplaneOf(transfer)));
        } else if (n + 1 < golden.size()) {
            // A failed read ends the dump.
            EXPECT_EQ(log[n + 1].substr(0, 7),
                      transfer[0] == 'R' ? "W 28 2B" : golden[n + 1].substr(0, 7));
            EXPECT_EQ(log.back(), golden.back());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Type, BringUpFailure, testing::Range(2, 8),
                         testing::PrintToStringParamName());

// ---- what it says ----

void append(Lines* lines, const Lines& more) {
    lines->insert(lines->end(), more.begin(), more.end());
}

const Lines CONNECTED = {"Read I2C succeeds. I2C cable is connected"};

// `%` becomes the number.
void appendNumbered(Lines* lines, const char* text, int from, int to) {
    for (int n = from; n < to; ++n) {
        lines->push_back(std::regex_replace(text, std::regex("%"), std::to_string(n)));
    }
}

Lines directionLines(const std::vector<const char*>& values) {
    Lines lines = {"Setup the data direction for all VSC055 ports."};
    for (std::size_t n = 0; n < values.size(); ++n) {
        const std::string port = std::to_string(n);
        const std::string value = std::string("[0x") + values[n] + "]";
        lines.push_back("ESA internal database, esaControl.vitesse.vsc055DDP[" + port +
                        "] = " + value);
        lines.push_back("Read VSC055_DDP[" + port + "] Register, returned value = " + value);
    }
    return lines;
}

Lines vsc055Lines() {
    Lines lines = CONNECTED;
    append(&lines, {"Set Backplane Alarm State to [MUTE_S3]."});
    append(&lines, directionLines({"ff", "0", "ff", "ff", "80", "0", "0", "0"}));
    append(&lines, {"Read VSC055_GPD Register"});
    appendNumbered(&lines, "Read VSC055_GPD[%] Register, returned value = [0x0]", 0, 4);
    append(&lines, {"Read VSC055_GPD[4] Register, returned value = [0xd0]"});
    appendNumbered(&lines, "Read VSC055_GPD[%] Register, returned value = [0x0]", 5, 8);
    append(&lines, CONNECTED);
    append(&lines, CONNECTED);
    appendNumbered(&lines, "Load PWM [50] Percent to Fan [%]", 0, 3);
    appendNumbered(&lines, "Initialize vsc055FSC[%] Register with value = [0x81]", 0, 3);
    return lines;
}

Lines xyratexLines() {
    Lines lines = CONNECTED;
    append(&lines, directionLines({"ff", "0", "ff", "f", "30", "10", "0", "0"}));
    appendNumbered(&lines, "Load PWM [25] Percent to Fan [%]", 0, 2);
    appendNumbered(&lines, "Initialize VSC055_FSC[%] Register with value = [0x80]", 0, 8);
    append(&lines, {"Set the Alarm State to [IDEL_S0]."});
    return lines;
}

Lines w83792adLines() {
    Lines lines = CONNECTED;
    append(
        &lines,
        {"Set Vcorea High Limit = [255]", "Set Vcorea Low Limit = [1]",
         "Set Vcoreb High Limit = [255]", "Set Vcoreb Low Limit = [1]",
         "Set Vin0 High Limit = [255]", "Set VIN0 Low Limit = [1]", "Set Vin1 High Limit = [255]",
         "Set VIN1 Low Limit = [1]", "Set Vin2 High Limit = [255]", "Set VIN2 Low Limit = [1]",
         "Set Vin3 High Limit = [255]", "Set VIN3 Low Limit = [1]", "Set +5VCC High Limit = [255]",
         "Set +5VCC Low Limit = [1]", "Set Temperature Sensor1 High Limit = [60]",
         "Set Temperature Sensor1 Low Limit = [1]", "Set Fan1 Count High Limit = [255]",
         "Set Fan2 Count High Limit = [255]", "Set Fan3 Count High Limit = [255]"});
    appendNumbered(&lines, "Load PWM Winbond[8] Percent to Fan [%]", 0, 6);
    append(&lines, {"Set Backplane Alarm State to [MUTE_S3].",
                    "Finish the initialization for the W83792AD guideline based enclosure.",
                    "Finish the initialization for the PCA9539."});
    return lines;
}

const Lines W83782D_LIMITS = {"Set Vcorea High Limit = [255]",  "Set Vcorea Low Limit = [1]",
                              "Set Vinr0 High Limit = [255]",   "Set Vinr0 Low Limit = [1]",
                              "Set +3.3Vin High Limit = [255]", "Set +3.3Vin Low Limit = [1]",
                              "+5Vin High Limit = [255]",       "Set +5Vin Low Limit = [1]",
                              "Set +12Vin High Limit = [255]",  "Set +12Vin Low Limit = [1]",
                              "Set -12Vin High Limit = [255]",  "Set -12Vin Low Limit = [1]",
                              "Set -5Vin High Limit = [255]",   "Set -5Vin Low Limit = [1]"};

Lines w83782dLines() {
    Lines lines = CONNECTED;
    append(&lines, W83782D_LIMITS);
    appendNumbered(&lines, "Load PWM Winbond[255] Percent to Fan [%]", 0, 3);
    append(&lines, {"Set Backplane Alarm State to [MUTE_S3].",
                    "Finish the initialization for the W83782D guideline based enclosure."});
    return lines;
}

// From register 0x20 up.
const char* const W83782D_REGISTERS[] = {"VCOREA_READING",
                                         "VINR0_READING",
                                         "POSITIVE_3_3VIN_READING",
                                         "POSITIVE_5VIN_READING",
                                         "POSITIVE_12VIN_READING",
                                         "NEGATIVE_12VIN_READING",
                                         "NEGATIVE_5VIN_READING",
                                         "TEMPERATURE_READING",
                                         "FAN1_READING",
                                         "FAN2_READING",
                                         "FAN3_READING",
                                         "VCOREA_HIGH_LIMIT",
                                         "VCOREA_LOW_LIMIT",
                                         "VINR0_HIGH_LIMIT",
                                         "VINR0_LOW_LIMIT",
                                         "POSITIVE_3_3VIN_HIGH_LIMIT",
                                         "POSITIVE_3_3VIN_LOW_LIMIT",
                                         "POSITIVE_5VIN_HIGH_LIMIT",
                                         "POSITIVE_5VIN_LOW_LIMIT",
                                         "POSITIVE_12VIN_HIGH_LIMIT",
                                         "POSITIVE_12VIN_LOW_LIMIT",
                                         "NEGATIVE_12VIN_HIGH_LIMIT",
                                         "NEGATIVE_12VIN_LOW_LIMIT",
                                         "NEGATIVE_5VIN_HIGH_LIMIT",
                                         "NEGATIVE_5VIN_LOW_LIMIT",
                                         "TEMPERATURE_SENSOR1_HIGH_LIMIT",
                                         "TEMPERATURE_SENSOR1_HYSTERESIS",
                                         "FAN1_FAN_COUNT_LIMIT",
                                         "FAN2_FAN_COUNT_LIMIT",
                                         "FAN3_FAN_COUNT_LIMIT"};

Lines chenbroDumpLines(FakeBus* bus, U8_t address, int backplane) {
    const std::string start = "Chenbro Backplane [" + std::to_string(backplane) + "], ";
    Lines lines;
    U8_t number = 0x20;
    for (const char* name : W83782D_REGISTERS) {
        lines.push_back(start + "ESA_K_W83782D_" + name + "_REG = [" +
                        std::to_string(bus->reg(address, number++)) + "]");
    }
    lines.push_back(start + "configurationRegister = [1]");
    return lines;
}

Lines chenbroLines(FakeBus* bus) {
    Lines lines;
    for (int n = 0; n < 4; ++n) {
        append(&lines, CONNECTED);
    }
    int backplane = 0;
    for (const U8_t address : {U8_t{0x28}, U8_t{0x2A}, U8_t{0x2C}, U8_t{0x30}}) {
        append(&lines, chenbroDumpLines(bus, address, backplane++));
    }
    for (int n = 0; n < 4; ++n) {
        append(&lines, W83782D_LIMITS);
    }
    const char* const fansOnMonitors[] = {"0", "1", "0", "0", "0", "1"};
    for (int fan = 0; fan < 6; ++fan) {
        append(&lines,
               {"Load PWM Esa[50] Percent to Fan [" + std::to_string(fan) + "]",
                std::string("Load PWM Winbond[128] Percent to Fan [") + fansOnMonitors[fan] + "]"});
    }
    for (int n = 0; n < 4; ++n) {
        append(&lines, {"Set Backplane Alarm State to [MUTE_S3]."});
    }
    append(&lines, {"Finish the Chenbro initialization."});
    return lines;
}

TEST_F(BringUp, SaysWhatItDoes) {
    const struct {
        KORVO_E_CHASSIS_e type;
        Lines (*lines)(FakeBus*);
    } cases[] = {
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, [](FakeBus*) { return xyratexLines(); }},
        {KORVO_E_CHASSIS_KORVO_VSC055, [](FakeBus*) { return vsc055Lines(); }},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, chenbroLines},
        {KORVO_E_CHASSIS_KORVO_W83782D, [](FakeBus*) { return w83782dLines(); }},
        {KORVO_E_CHASSIS_KORVO_W83792AD, [](FakeBus*) { return w83792adLines(); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type);
        healthy(c.type);
        const Lines expected = c.lines(&bus);
        esaChassis()->init();
        EXPECT_EQ(takeLines(), expected);
    }
}

// ---- what it leaves behind ----

TEST_F(BringUp, LeavesTheServiceReadyToPoll) {
    const struct {
        KORVO_E_CHASSIS_e type;
        U32_t alarmState;
        U32_t powerSupplyStatus;
        int fansLoaded;
        U8_t load;
        int fansOn;
        U8_t divisor;
    } cases[] = {
        {KORVO_E_CHASSIS_XYRATEX_2U12ATX, 0, 0x3, 2, 25, 8, 1},
        {KORVO_E_CHASSIS_PELTO_TOLVEX, 3, 0x3, 3, 50, 3, 4},
        {KORVO_E_CHASSIS_CHENBRO_3U16ATX, 3, 0x1, 6, 50, 6, 4},
        {KORVO_E_CHASSIS_KORVO_W83782D, 3, 0x1, 3, 100, 3, 2},
        {KORVO_E_CHASSIS_KORVO_W83792AD, 3, 0x1, 6, 50, 6, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type);
        healthy(c.type);
        esaControl.fanSpeedDivisor = 4;
        esaChassis()->init();
        EXPECT_EQ(esaControl.i2cConnected, 1);
        EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0u);
        EXPECT_EQ(esaControl.alarmState, c.alarmState);
        EXPECT_EQ(esaControl.powerSupplyStatus, c.powerSupplyStatus);
        EXPECT_EQ(esaControl.fanSpeedDivisor, c.divisor);
        for (int fan = 0; fan < 8; ++fan) {
            EXPECT_EQ(esaControl.fanPwmLoad[fan], fan < c.fansLoaded ? c.load : 0);
            EXPECT_EQ(esaControl.coolingElementOnOff[fan], fan < c.fansOn ? ESA_E_FAN_ON : 0);
        }
        EXPECT_EQ(sentTake(), Lines{});
    }
}

using Counts = std::vector<int>;

Counts countsNow() {
    return {esaControl.elementTypeMaxNumber,       esaControl.deviceMaxNumber,
            esaControl.powerSupplyMaxNumber,       esaControl.coolingMaxNumber,
            esaControl.temperatureSensorMaxNumber, esaControl.audibleAlarmMaxNumber};
}
std::vector<U32_t> tuningNow() {
    return {esaControl.fanFaultRpmLimit,
            esaControl.overheatTemperatureLimit,
            esaControl.fanPwm25To50TemperatureThreshold,
            esaControl.fanPwm50To75TemperatureThreshold,
            esaControl.fanPwm75To100TemperatureThreshold,
            esaControl.fanPwm100To75TemperatureThreshold,
            esaControl.fanPwm75To50TemperatureThreshold,
            esaControl.fanPwm50To25TemperatureThreshold};
}

TEST_F(BringUp, ChassisWithoutPersonalityBringTheirOwnCountsAndTuning) {
    healthy(KORVO_E_CHASSIS_CHENBRO_3U16ATX);
    esaChassis()->init();
    EXPECT_EQ(countsNow(), (Counts{5, 16, 3, 6, 4, 1}));
    EXPECT_EQ(tuningNow(), (std::vector<U32_t>{500, 60, 30, 40, 50, 45, 35, 20}));

    healthy(KORVO_E_CHASSIS_KORVO_W83782D);
    esaChassis()->init();
    EXPECT_EQ(countsNow(), (Counts{5, 16, 2, 3, 3, 1}));
    EXPECT_EQ(tuningNow(), (std::vector<U32_t>{500, 60, 35, 38, 40, 35, 34, 32}));
}

// A chassis of another type may use the same start-up with counts of its own.
TEST_F(BringUp, W83782dLeavesTheCountsOfOtherTypesAlone) {
    healthy(KORVO_E_CHASSIS_KORVO_W83782D);
    esaControl.enclosureType = KORVO_E_CHASSIS_CHENBRO_3U16ATX;
    esaChassisOf(KORVO_E_CHASSIS_KORVO_W83782D)->init();
    EXPECT_EQ(countsNow(), (Counts{0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(esaControl.fanSpeedDivisor, 2);
    EXPECT_EQ(esaControl.overheatTemperatureLimit, 60u);
    EXPECT_EQ(esaControl.fanPwm50To25TemperatureThreshold, 32u);
}

}  // namespace
