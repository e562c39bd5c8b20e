// SPDX-License-Identifier: Apache-2.0
// Supply voltage and redundancy on every chassis: what a poll and a status page make of a supply
// that goes bad and comes back, and of a chip that does not answer.
#include <regex>

#include "tests/support/enclosure_rig.h"

namespace {

constexpr auto XYRATEX = KORVO_E_CHASSIS_XYRATEX_2U12ATX;
constexpr auto VSC055 = KORVO_E_CHASSIS_KORVO_VSC055;
constexpr auto W83792AD = KORVO_E_CHASSIS_KORVO_W83792AD;
constexpr auto W83782D = KORVO_E_CHASSIS_KORVO_W83782D;
constexpr auto CHENBRO = KORVO_E_CHASSIS_CHENBRO_3U16ATX;

// The register that tells of the supply.
struct Cause {
    KORVO_E_CHASSIS_e type;
    U8_t address;
    U8_t number;
    U8_t good;
    U8_t bad;
    const char* words;  // what the lines of interest hold
};
constexpr Cause XYRATEX_VOLTAGE = {XYRATEX, 0x63, 0x04, 0x30, 0x20, "Power Voltage|PSU.OK"};
constexpr Cause XYRATEX_REDUNDANCY = {XYRATEX, 0x63, 0x04, 0x30, 0x10, "Power Redundancy"};
constexpr Cause VSC055_REDUNDANCY = {VSC055, 0x41, 0x04, 0x80, 0x00, "Power (Fail|Redundancy)"};
constexpr Cause W83792AD_REDUNDANCY = {W83792AD, 0x2C, 0x1C, 0x80, 0x00, "Power Redundancy S"};
constexpr Cause W83782D_5V = {W83782D, 0x2D, 0x23, 0xBA, 0xA7, "Power (V|R)"};
constexpr Cause W83782D_12V = {W83782D, 0x2D, 0x24, 0xC6, 0xB1, "Power (V|R)"};
constexpr Cause CHENBRO_5V = {CHENBRO, 0x30, 0x23, 0xBA, 0xCD, "Power (V|R)"};

// What one look at the supply did.
struct Seen {
    std::string element;  // status page: "commonStatus acFail fail", and "changed"
    Lines lines;
    Lines leds;  // writes to the port of the status LEDs
    Lines sent;
    bool operator==(const Seen&) const = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
    *out << seen.element;
    for (const Lines& part : {seen.lines, seen.leds, seen.sent}) {
        *out << "\n " << testing::PrintToString(part);
    }
}

class SupplyRules : public EnclosureRig {
  protected:
    void start(const Cause& cause) {
        running(cause.type);
        esaChassis()->poll();  // reports what it finds, once
        bus.takeLog();
        trace.take();
        sentTake();
    }
    void set(const Cause& cause, bool good) {
        bus.reg(cause.address, cause.number) = good ? cause.good : cause.bad;
    }
    static std::string pageElement(int supply) {
        PowerSupplyElementStat_t element = {};
        EsaPageChange_t change = {};
        esaChassis()->supplyPageStatus(supply, &element, &change);
        EXPECT_FALSE(change.fan);
        return std::to_string(element.commonStatus) + " " + std::to_string(element.acFail) + " " +
               std::to_string(element.fail) + (change.powerSupply ? " changed" : "");
    }
    Seen seen(const Cause& cause, std::string element) {
        Seen seen = {std::move(element), takeLines(), bus.takeLog(), sentTake()};
        std::erase_if(seen.lines, [&](const std::string& line) {
            return !std::regex_search(line, std::regex(cause.words));
        });
        std::erase_if(seen.leds,
                      [](const std::string& entry) { return !entry.starts_with("W 63 06"); });
        return seen;
    }
};

// Of a poll or a page with the supply just gone bad, still bad, just good again, still good.
struct Looks {
    Cause cause;
    Seen bad;
    Seen stillBad;
    Seen good;
    Seen stillGood;
};

TEST_F(SupplyRules, PollReportsEachEdgeOnce) {
    const std::string lost5V =
        "Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.";
    const std::string lost12V =
        "Return Power Voltage Tolerance Status [ERROR] because of +12Vin measurement.";
    const std::string turnedBad = "Power Voltage Tolerance Status changed from [OK] to [NOT OK].";
    const std::string isBad = "Power Voltage Tolerance Status already [NOT OK].";
    const std::string turnedGood = "Power Voltage Tolerance Status changed from [NOT OK] to [OK].";
    const std::string isGood = "Power Voltage Tolerance Status already [OK].";
    const std::string event62 = "event 6/2 enclosureType=";
    const std::string event61 = "event 6/1 enclosureType=";
    const Looks cases[] = {
        // clang-format off
        {XYRATEX_VOLTAGE,
         {"", {"Return Power Voltage Status [ERROR].", "Turn [OFF] PSU_OK LED."}, {"W 63 06=0F"},
          {"led on", "mail", event62 + "2 numberOfPowerSupply=2 powerSupplyStatus=0x2"}},
         {"", {"Return Power Voltage Status [ERROR]."}, {}, {}},
         {"", {"Turn [ON] PSU_OK LED."}, {"W 63 06=2F"},
          {"led off", event61 + "2 numberOfPowerSupply=2 powerSupplyStatus=0x3"}},
         {"", {}, {}, {}}},
        {XYRATEX_REDUNDANCY,
         {"", {"Return Power Redundancy Fail Status [ERROR].",
               "Turn [ON] Power Redundancy Fail LED."}, {"W 63 06=6F"},
          {"led on", "mail", event62 + "2 numberOfPowerSupply=2 powerSupplyStatus=0x1"}},
         {"", {"Return Power Redundancy Fail Status [ERROR]."}, {}, {}},
         {"", {"Return Power Redundancy Fail Status [OK].",
               "Turn [OFF] Power Redundancy Fail LED."}, {"W 63 06=2F"},
          {"led off", event61 + "2 numberOfPowerSupply=2 powerSupplyStatus=0x3"}},
         {"", {"Return Power Redundancy Fail Status [OK]."}, {}, {}}},
        {VSC055_REDUNDANCY,
         {"", {"Return Power Fail Status [ERROR]."}, {},
          {"led on", "mail", event62 + "5 numberOfPowerSupply=2 powerSupplyStatus=0x1"}},
         {"", {"Return Power Fail Status [ERROR].",
               "Power Redundancy Status already [NOT OK]."}, {}, {}},
         {"", {"Return Power Fail Status [OK]."}, {},
          {"led off", event61 + "5 numberOfPowerSupply=2 powerSupplyStatus=0x3"}},
         {"", {"Return Power Fail Status [OK].",
               "Power Redundancy Status already [OK]."}, {}, {}}},
        {W83792AD_REDUNDANCY,  // the LED is on for the voltage already
         {"", {"Return Power Redundancy Status [ERROR]."}, {},
          {"mail", event62 + "7 numberOfPowerSupply=2"}},
         {"", {"Return Power Redundancy Status [ERROR].",
               "Power Redundancy Status already [NOT OK]."}, {}, {}},
         {"", {"Return Power Redundancy Status [OK]."}, {},
          {event61 + "7 numberOfPowerSupply=2 powerSupplyStatus=0x2"}},
         {"", {"Return Power Redundancy Status [OK].",
               "Power Redundancy Status already [OK]."}, {}, {}}},
        {W83782D_5V,
         {"", {lost5V, turnedBad}, {}, {"led on", "mail", event62 + "6 numberOfPowerSupply=2"}},
         {"", {lost5V, isBad}, {}, {}},
         {"", {turnedGood}, {},
          {"led off", event61 + "6 numberOfPowerSupply=2 powerSupplyStatus=0x1"}},
         {"", {isGood}, {}, {}}},
        {W83782D_12V,
         {"", {lost12V, turnedBad}, {}, {"led on", "mail", event62 + "6 numberOfPowerSupply=2"}},
         {"", {lost12V, isBad}, {}, {}},
         {"", {turnedGood}, {},
          {"led off", event61 + "6 numberOfPowerSupply=2 powerSupplyStatus=0x1"}},
         {"", {isGood}, {}, {}}},
        {CHENBRO_5V,
         {"", {lost5V, turnedBad}, {}, {"led on", "mail", event62 + "4 numberOfPowerSupply=3"}},
         {"", {lost5V, isBad}, {}, {}},
         {"", {turnedGood}, {},
          {"led off", event61 + "4 numberOfPowerSupply=3 powerSupplyStatus=0x1"}},
         {"", {isGood}, {}, {}}},
        // clang-format on
    };
    for (const Looks& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.cause.type << ", " << c.cause.words);
        start(c.cause);
        const auto look = [&](bool good) {
            set(c.cause, good);
            esaChassis()->poll();
            return seen(c.cause, "");
        };
        EXPECT_EQ(look(false), c.bad);
        EXPECT_EQ(look(false), c.stillBad);
        EXPECT_EQ(look(true), c.good);
        EXPECT_EQ(look(true), c.stillGood);
    }
}

TEST_F(SupplyRules, PageJudgesAndKeepsTheBooksByTheChassis) {
    const std::string lost5V =
        "Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.";
    const std::string isGood = "Power Voltage Tolerance Status already [OK].";
    // A voltage that stays bad is said in the words of redundancy.
    const std::string isBad = "Power Redundancy Status already [NOT OK].";
    const Looks cases[] = {
        // clang-format off
        {XYRATEX_VOLTAGE,
         {"1 1 1 changed", {"Return Power Voltage Status [ERROR].", "Turn [OFF] PSU_OK LED."},
          {"W 63 06=0F"}, {}},
         {"1 1 1", {"Return Power Voltage Status [ERROR].", "PSU OK LED already [OFF]."}, {}, {}},
         {"1 0 0 changed", {"Turn [ON] PSU_OK LED."}, {"W 63 06=2F"}, {}},
         {"1 0 0", {"PSU OK LED already [ON]."}, {}, {}}},
        {XYRATEX_REDUNDANCY,
         {"5 0 1 changed", {"Return Power Redundancy Fail Status [ERROR].",
                            "Turn [ON] Power Redundancy Fail LED."}, {"W 63 06=6F"}, {}},
         {"5 0 1", {"Return Power Redundancy Fail Status [ERROR].",
                    "Power Redundancy Fail LED already [ON]."}, {}, {}},
         {"1 0 0 changed", {"Return Power Redundancy Fail Status [OK].",
                            "Turn [OFF] Power Redundancy Fail LED."}, {"W 63 06=2F"}, {}},
         {"1 0 0", {"Return Power Redundancy Fail Status [OK].",
                    "Power Redundancy Fail LED already [OFF]."}, {}, {}}},
        {VSC055_REDUNDANCY,
         {"5 0 1 changed", {"Return Power Fail Status [ERROR]."}, {}, {"led on", "mail"}},
         {"5 0 1", {"Return Power Fail Status [ERROR].",
                    "Power Redundancy Status already [NOT OK]."}, {}, {}},
         {"1 0 0 changed", {"Return Power Fail Status [OK]."}, {}, {"led off"}},
         {"1 0 0", {"Return Power Fail Status [OK].",
                    "Power Redundancy Status already [OK]."}, {}, {}}},
        // The voltage is judged last and is always lost; its lasting fault speaks of redundancy.
        {W83792AD_REDUNDANCY,
         {"5 1 1 changed", {"Return Power Redundancy Status [ERROR].", isBad}, {}, {"mail"}},
         {"5 1 1", {"Return Power Redundancy Status [ERROR].", isBad, isBad}, {}, {}},
         {"5 1 1 changed", {"Return Power Redundancy Status [OK].", isBad}, {}, {}},
         {"5 1 1", {"Return Power Redundancy Status [OK].",
                    "Power Redundancy Status already [OK].", isBad}, {}, {}}},
        {W83782D_5V,
         {"5 1 1 changed", {lost5V}, {}, {"led on", "mail"}},
         {"5 1 1", {lost5V, isBad}, {}, {}},
         {"1 0 0 changed", {}, {}, {"led off"}},
         {"1 0 0", {isGood}, {}, {}}},
        {CHENBRO_5V,
         {"5 1 1 changed", {lost5V}, {}, {"led on", "mail"}},
         {"5 1 1", {lost5V, isBad}, {}, {}},
         {"1 0 0 changed", {}, {}, {"led off"}},
         {"1 0 0", {isGood}, {}, {}}},
        // clang-format on
    };
    for (const Looks& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.cause.type << ", " << c.cause.words);
        start(c.cause);
        const auto look = [&](bool good) {
            set(c.cause, good);
            return seen(c.cause, pageElement(0));
        };
        EXPECT_EQ(look(false), c.bad);
        EXPECT_EQ(look(false), c.stillBad);
        EXPECT_EQ(look(true), c.good);
        EXPECT_EQ(look(true), c.stillGood);
    }
}

TEST_F(SupplyRules, SecondSupplyOfAPageDoesNotTakeTheChangeBack) {
    for (const Cause& cause :
         {XYRATEX_VOLTAGE, XYRATEX_REDUNDANCY, VSC055_REDUNDANCY, W83782D_5V, CHENBRO_5V}) {
        SCOPED_TRACE(testing::Message() << "type " << cause.type);
        start(cause);
        set(cause, false);
        PowerSupplyElementStat_t element = {};
        EsaPageChange_t change = {};
        esaChassis()->supplyPageStatus(0, &element, &change);
        esaChassis()->supplyPageStatus(1, &element, &change);
        EXPECT_TRUE(change.powerSupply);
    }
}

TEST_F(SupplyRules, PageShowsAFailureAPeerAskedForOnThatSupplyOnly) {
    for (const Cause& cause : {XYRATEX_VOLTAGE, VSC055_REDUNDANCY, W83782D_5V, CHENBRO_5V}) {
        SCOPED_TRACE(testing::Message() << "type " << cause.type);
        start(cause);
        esaControl.powerSupplyElementControl[1].rqstFail = 1;
        EXPECT_EQ(pageElement(0), "1 0 0");
        EXPECT_EQ(pageElement(1), "1 0 1");
    }
}

// Of one chip that hears nothing any more.
TEST_F(SupplyRules, DeadChipIsAFaultToPagesButToPollsOfTheVsc055Nothing) {
    const struct {
        KORVO_E_CHASSIS_e type;
        U8_t address;
        U32_t supplies;  // powerSupplyStatus after the poll
        U32_t faults;
        Lines sent;
        std::string element;
    } cases[] = {
        // clang-format off
        {XYRATEX, 0x63, 0x3, 0x80000010,
         {"led on", "mail", "event 10/2 enclosureType=2 information=3 general_use1=0xffffffff",
          "event 9/1 enclosureType=2 numberOfAlarm=1 alarmState=7"}, "5 1 1 changed"},
        {VSC055, 0x41, 0x3, 0x80000010,
         {"led on", "mail", "event 10/2 enclosureType=5 information=3 general_use1=0xffffffff"},
         "5 0 1 changed"},
        {W83792AD, 0x2C, 0, 0x80000017,
         {"mail", "event 10/2 enclosureType=7 information=6 general_use1=0xffffffff",
          "mail", "event 6/2 enclosureType=7 numberOfPowerSupply=2",
          "event 7/2 enclosureType=7 numberOfFan=6 fanFaultStatus=0x3f", "mail"}, "5 1 1"},
        {W83782D, 0x2D, 0, 0x80000015,
         {"led on", "mail", "event 10/2 enclosureType=6 general_use1=0xffffffff",
          "mail", "event 6/2 enclosureType=6 numberOfPowerSupply=2",
          "event 7/2 enclosureType=6 numberOfFan=3 fanFaultStatus=0x7", "mail"}, "5 1 1"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type);
        start({c.type, 0, 0, 0, 0, ""});
        bus.cut(c.address);
        esaChassis()->poll();
        EXPECT_EQ(sentTake(), c.sent);
        EXPECT_EQ(esaControl.powerSupplyStatus, c.supplies);
        EXPECT_EQ(esaControl.compositeFaultStatus, c.faults);
        EXPECT_EQ(pageElement(0), c.element);
    }
}

TEST_F(SupplyRules, FirstPollOfAW83792adReportsBothConditions) {
    running(W83792AD);
    esaChassis()->poll();
    EXPECT_EQ(
        sentTake(),
        (Lines{"event 6/1 enclosureType=7 numberOfPowerSupply=2 powerSupplyStatus=0x3", "led on",
               "mail", "event 6/2 enclosureType=7 numberOfPowerSupply=2 powerSupplyStatus=0x2"}));
    esaChassis()->poll();
    EXPECT_EQ(sentTake(), Lines{});
}

}  // namespace
