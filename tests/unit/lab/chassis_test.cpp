// SPDX-License-Identifier: Apache-2.0
// Each chassis by its wiring (docs/chassis): what an engineer does is seen in the registers it
// reaches, and in no other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <set>

#include "lab/chassis/catalog.h"
#include "lab/chassis/chenbro_chassis.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"
#include "tools/chassis/service_chassis.h"

namespace enclab {
namespace {

// A register, "41.98", hexadecimal.
int at(Chassis& chassis, const std::string& place) {
    const auto bytes = hexBytes(place.substr(0, 2) + place.substr(3));
    return chassis.bus().readRegister(bytes[0], bytes[1]).value();
}
void set(Chassis& chassis, const std::string& place, int value) {
    const auto bytes = hexBytes(place.substr(0, 2) + place.substr(3));
    EXPECT_TRUE(chassis.bus().writeRegister(bytes[0], bytes[1], byteOf(unsigned(value))));
}

struct Rail {
    std::string name, place;
    double step, offset = 0;  // volts
};
struct Wiring {
    const char* name;
    double fullRpm, perMinute;    // a fan's count is `perMinute` / RPM
    double (*percent)(int code);  // of a duty register
    const char* duties;           // of each fan
    const char* counts;
    const char* sensors;
    double coldest, hottest, step;  // degrees
    std::vector<Rail> rails = {};
};
double vsc055Percent(int code) {
    return (code & 0x20) != 0 ? (code % 32 + 1) / 0.32 : 0;
}
double w83782dPercent(int code) {
    return code / 2.55;
}
double w83792adPercent(int code) {
    return code % 16 / 0.16;
}
std::vector<Rail> w83782dRails(const std::string& monitor, const std::string& at) {
    return {{"vcorea" + at, monitor + ".20", 0.016},
            {"vinr0" + at, monitor + ".21", 0.016},
            {"3.3" + at, monitor + ".22", 0.016},
            {"5" + at, monitor + ".23", 0.02688},
            {"12" + at, monitor + ".24", 0.0608},
            {"-12" + at, monitor + ".25", 0.082286, -14.91429},
            {"-5" + at, monitor + ".26", 0.050286, -7.71429}};
}
const std::vector<Rail> kW83792adRails = {{"5", "2C.26", 0.006},
                                          {"12", "2C.22", 0.016},
                                          {"3.3", "2C.23", 0.004},
                                          {"vcorea", "2C.20", 0.002},
                                          {"vcoreb", "2C.21", 0.002}};
const Wiring kWirings[] = {
    {"vsc055", 9000, 300000, vsc055Percent, "41.98 41.99 41.9A 41.9B", "41.32 41.36 41.3A 41.3E",
     "4C.00 4B.00 4A.00 4D.00", -55, 125, 1.51},  // the upper byte of a rounded half
    {"xyratex", 20000, 1200000, vsc055Percent, "63.98 63.98 63.98 63.98 63.99 63.99 63.99 63.99",
     "63.32 63.36 63.3A 63.3E 63.42 63.46 63.4A 63.4E", "4C.00 4D.00", -55, 125, 1.51},
    {"w83792ad", 9000, 1350000, w83792adPercent, "2C.81 2C.83 2C.94 2C.A3 2C.A4 2C.A5",
     "2C.28 2C.29 2C.2A 2C.B8 2C.B9 2C.BA", "2C.27 2C.C0 2C.C8", -128, 127.5, 0.5, kW83792adRails},
    {"w83782d", 12000, 675000, w83782dPercent, "2D.5B 2D.5E 2D.5F", "2D.28 2D.29 2D.2A", "2D.27",
     -128, 127, 1, w83782dRails("2D", "")},
    {"chenbro", 12000, 675000, w83782dPercent, "28.5B 28.5A 29.5B 2A.5B 2B.5B 2B.5A",
     "28.28 28.29 29.28 2A.28 2B.28 2B.29", "28.27 2A.27 2C.27 30.27", -128, 127, 1,
     w83782dRails("2C", "@2")}};

// Something measured, and how it is read back.
struct Quantity {
    std::string name;
    std::function<void(double)> set;
    std::function<double()> read;
    double least, most, step;
};
std::vector<Quantity> quantitiesOf(const Wiring& w, Chassis& chassis) {
    const bool isW83792ad = std::string(w.name) == "w83792ad";
    std::vector<Quantity> all;
    for (int n = 0; n < chassis.sensors(); ++n) {
        const std::string place = Words(w.sensors)[std::size_t(n)];
        const bool halves = isW83792ad && n > 0, isUnsigned = isW83792ad && n == 0;
        const std::string low = place.substr(0, 4) + (place[4] == '0' ? '1' : '9');
        all.push_back({"sensor " + place, [&, n](double to) { chassis.setTemperature(n, to); },
                       [=, &chassis] {
                           const int byte = at(chassis, place);
                           return (isUnsigned ? byte : static_cast<std::int8_t>(byte)) +
                                  (halves ? at(chassis, low) / 256.0 : 0);
                       },
                       isUnsigned ? 0 : w.coldest, isUnsigned ? 255 : w.hottest,
                       isUnsigned ? 1 : w.step});
    }
    for (const Rail& rail : w.rails) {
        // Two more bits of the W83792AD's channels stand side by side.
        const int channel = rail.place[4] - '0', shift = channel % 4 * 2;
        const std::string low = channel < 4 ? "2C.3E" : "2C.3F";
        all.push_back({"rail " + rail.name, [&](double to) { chassis.setRail(rail.name, to); },
                       [=, &chassis] {
                           const int byte = at(chassis, rail.place);
                           const int bits = isW83792ad ? at(chassis, low) >> shift & 3 : 0;
                           return (isW83792ad ? byte * 4 + bits : byte) * rail.step + rail.offset;
                       },
                       rail.offset, (isW83792ad ? 1023 : 255) * rail.step + rail.offset,
                       rail.step * 1.02});
    }
    return all;
}
// Three bits in each half of a W83792AD's registers.
int divisorOf(const Wiring& w, Chassis& chassis, int fan) {
    const char* const places[] = {"2C.47", "2C.5B", "2C.5C"};
    const bool has = std::string(w.name) == "w83792ad";
    return has ? std::max(at(chassis, places[fan / 2]) >> fan % 2 * 4 & 7, 1) : 1;
}

// Whoever is set first must not be disturbed by the others.
TEST(Chassis, WhatIsMeasuredReadsBackToHalfAStepWithinItsRange) {
    for (const Wiring& wiring : kWirings) {
        const auto chassis = makeChassis(wiring.name);
        const auto quantities = quantitiesOf(wiring, *chassis);
        ASSERT_EQ(chassis->sensors(), int(Words(wiring.sensors).all.size())) << wiring.name;
        for (int world = 0; world < 100; ++world) {
            std::vector<double> values;
            for (const Quantity& q : quantities) {
                values.push_back(between(q.least - 1, q.most * 1.2));
                q.set(values.back());
            }
            for (std::size_t n = 0; n < values.size(); ++n) {
                const Quantity& q = quantities[n];
                ASSERT_NEAR(q.read(), std::clamp(values[n], q.least, q.most), q.step / 2)
                    << wiring.name << " " << q.name << " at " << values[n];
            }
        }
    }
}

// A fan follows its load, later somebody's word.
TEST(Chassis, FansAreDrivenByTheirDutyAndCountedByTheirTachometer) {
    for (const Wiring& wiring : kWirings) {
        const auto chassis = makeChassis(wiring.name);
        const Words duties(wiring.duties), counts(wiring.counts);
        ASSERT_EQ(chassis->fans(), int(counts.all.size())) << wiring.name;
        double word = 0;
        for (int world = 0; world < 400; ++world) {
            const int moved = below(chassis->fans());
            set(*chassis, duties[std::size_t(moved)], below(256));
            below(3) == 0 ? chassis->pullFan(moved) : chassis->returnFan(moved);
            if (std::string(wiring.name) == "w83792ad") {
                set(*chassis, Words("2C.47 2C.5B 2C.5C")[numbers() % 3], below(256));
            }
            if (world >= 200) {
                word = std::exp(between(0, 16));
                chassis->turnFansBy([&](int fan) { return word * (fan + 1); });
            }
            for (int fan = 0; fan < chassis->fans(); ++fan) {
                const double load = wiring.percent(at(*chassis, duties[std::size_t(fan)]));
                const double turns = word > 0 ? word * (fan + 1) : load * wiring.fullRpm / 100;
                const double rpm = chassis->fanPresent(fan) ? turns : 0;
                EXPECT_NEAR(chassis->fanLoadPercent(fan), load, 1e-9) << wiring.name << fan;
                EXPECT_NEAR(chassis->fanRpm(fan), rpm, 1e-6) << wiring.name << fan;
                const double ideal = wiring.perMinute / (rpm * divisorOf(wiring, *chassis, fan));
                ASSERT_NEAR(at(*chassis, counts[std::size_t(fan)]),
                            rpm == 0 ? 255 : std::clamp(ideal, 1.0, 254.0), 0.5)
                    << wiring.name << " fan " << fan << " at " << rpm;
            }
        }
    }
}

// Latches of the LEDs of slots 0 and 8 on, their directions, and the level that lights one.
TEST(Chassis, DriveLedsFollowTheirPinsAndAreDarkWhileNothingDrivesThem) {
    for (const char* const row :
         {"vsc055 41.06 41.07 41.16 41.17 0 16", "xyratex 63.07 63.06 63.17 63.16 0 12",
          "w83792ad 74.02 74.03 74.06 74.07 1 16"}) {
        const Words w(row);
        const auto chassis = makeChassis(w[0]);
        ASSERT_EQ(chassis->slots(), w.number(6));
        for (int world = 0; world < 50; ++world) {
            const int levels = below(0x10000);
            for (std::size_t n = 0; n < 2 && world > 0; ++n) {
                set(*chassis, w[1 + n], levels >> 8 * n & 0xFF);
                set(*chassis, w[3 + n], 0);
            }
            for (int slot = 0; slot < chassis->slots(); ++slot) {
                const bool lit = world > 0 && (levels >> slot & 1) == w.number(5);
                ASSERT_EQ(chassis->driveFaultLed(slot), lit) << row << " slot " << slot;
            }
        }
    }
}

TEST(Chassis, PinsAreWhereTheyBelong) {
    const auto vsc055 = makeChassis("vsc055"), w83792ad = makeChassis("w83792ad");
    const auto xyratex = makeChassis("xyratex");
    set(*vsc055, "41.11", 0);   // fan power
    set(*xyratex, "63.16", 0);  // status LEDs
    for (int world = 0; world < 300; ++world) {
        const bool redundant = below(2) != 0, present = below(2) != 0;
        const int slot = below(12), power = below(16), lit = below(8);
        const double five = between(4.3, 5.7), twelve = between(10.3, 13.7);
        for (Chassis* const chassis : {vsc055.get(), w83792ad.get(), xyratex.get()}) {
            chassis->setRedundancy(redundant);
            EXPECT_EQ(chassis->redundancy(), redundant);
        }
        xyratex->setDrivePresent(slot, present);
        xyratex->setRail("5", five);
        xyratex->setRail("12", twelve);
        set(*xyratex, "63.06", lit << 5);
        set(*vsc055, "41.01", power);
        EXPECT_EQ(at(*vsc055, "41.04") >> 7 & 1, redundant);
        EXPECT_EQ(at(*w83792ad, "2C.1C") >> 7 & 1, redundant);
        const bool good = std::abs(five - 5) <= 0.5 && std::abs(twelve - 12) <= 1.2;
        EXPECT_EQ(at(*xyratex, "63.04") >> 4 & 3, redundant << 1 | good) << five << " " << twelve;
        EXPECT_EQ(xyratex->drivePresent(slot), present);
        EXPECT_EQ(at(*xyratex, slot < 8 ? "63.00" : "63.03") >> slot % 8 & 1, !present) << slot;
        const auto leds = xyratex->statusLeds();
        EXPECT_EQ(leds[0].lit + leds[1].lit * 2 + leds[2].lit * 4, lit);
        EXPECT_EQ(leds[0].name + leds[1].name + leds[2].name, "psu-okredundancy-failfan-fail");
        for (int fan = 0; fan < 4; ++fan) {
            EXPECT_EQ(vsc055->fanLoadPercent(fan), (power >> fan & 1) * 100);
        }
    }
}

TEST(Chassis, TheXyratexAlarmHangsOnItsPortAndHearsTheSupplies) {
    const auto chassis = makeChassis("xyratex");
    const auto strobe = [&](int state) {
        set(*chassis, "63.05", 8 | state);
        set(*chassis, "63.05", state);
        return chassis->alarm();
    };
    EXPECT_EQ(chassis->alarm(), "S0 idle") << "quiet until somebody drives the pins";
    set(*chassis, "63.15", 0x10);
    const char* const names[] = {"S0 idle",     "S1 fault",   "S2 remind",  "S3 mute",
                                 "S4 critical", "S5 invalid", "S6 invalid", "S7 invalid"};
    for (int state = 7; state >= 0; --state) {
        EXPECT_EQ(strobe(state), names[state]);
        for (int bit = 0; bit < 3; ++bit) {
            set(*chassis, "63.05", bit);
            EXPECT_EQ(at(*chassis, "63.05"), bit | (state >> bit & 1) << 4);
        }
    }
    chassis->setRedundancy(false);
    chassis->setRail("12", 10.7);
    chassis->setRedundancy(true);
    EXPECT_EQ(chassis->alarm(), "S1 fault");
    EXPECT_EQ(strobe(3), "S3 mute");
    chassis->advance(std::chrono::seconds(60));
    EXPECT_EQ(chassis->alarm(), "S2 remind");
}

// Two rules of addresses meet at 2A: fan registers are monitor 2's there, all others monitor 1's.
TEST(Chassis, TheChenbroMonitorsShareAnAddress) {
    const auto chassis = makeChassis("chenbro");
    for (const char* const number : {"2B", "3D", "40", "4D", "5A", "5B", "5E", "5F"}) {
        const std::string there = std::string(".") + number;
        set(*chassis, "2A" + there, 0x40);
        EXPECT_EQ(at(*chassis, "2A" + there), 0x40) << there;
        EXPECT_EQ(at(*chassis, (number[0] == '5' ? "2C" : "29") + there), 0x40) << there;
    }
    EXPECT_EQ(chassis->alarm(), "sounding on monitor 0 2 3");
    for (const char* const monitor : {"28", "2C", "30"}) {
        set(*chassis, monitor + std::string(".40"), 0x40);
    }
    EXPECT_EQ(chassis->alarm(), "muted");
    const struct {
        const char* cut;
        const char* left;
        bool count;  // of monitor 2 at the shared address
    } rows[] = {{"0x20", "28 29 2A 2B 2C 30", true},      {"w83782d-0", "29 2A 2B 2C 30", true},
                {"w83782d-1", "28 2B 2C 30", true},       {"w83782d-2", "28 29 2A 2B 30", false},
                {"w83782d-1/2", "28 29 2B 2C 30", false}, {"0x30", "28 29 2A 2C", true}};
    for (const auto& row : rows) {
        const std::uint8_t cut = chassis->addressOf(row.cut);
        chassis->bus().cut(cut);
        std::vector<std::uint8_t> answering;
        for (std::uint8_t address = 0; address < 0x80; ++address) {
            if (chassis->bus().readRegister(address, 0x48)) {
                answering.push_back(address);
            }
        }
        EXPECT_EQ(hexLine(answering), row.left) << row.cut;
        EXPECT_EQ(chassis->bus().readRegister(0x2A, 0x28).has_value(), row.count) << row.cut;
        chassis->bus().mend(cut);
    }
    chassis->setRail("12", 10.7616);
    EXPECT_EQ(at(*chassis, "28.24") + at(*chassis, "30.24"), 2 * 0xB1) << "of every backplane";
}

TEST(Chassis, CountsAreThePersonalitysWithinItsOwn) {
    const auto counts = [](const char* name, int fans, int sensors) {
        const auto chassis = makeChassis(name, {fans, sensors, 0});
        return chassis->fans() * 10 + chassis->sensors();
    };
    EXPECT_EQ(counts("vsc055", 44, 255), 86);
    EXPECT_EQ(counts("vsc055", 0, 0), 0);
    EXPECT_EQ(counts("xyratex", 44, 255), 82);
    EXPECT_EQ(counts("xyratex", 5, 1), 52);
    EXPECT_EQ(counts("w83792ad", 44, 255), 63);
    EXPECT_EQ(counts("w83792ad", 1, 1), 11);
    EXPECT_EQ(counts("w83782d", 1, 1), 31);
    EXPECT_EQ(counts("chenbro", 1, 1), 64);
    EXPECT_EQ(at(*makeChassis("vsc055", {1, 1, 0}), "41.32"), 133) << "divisor 0 is 1";
}

TEST(Chassis, GoesByNamesAndAddressesAndNamesWhatItHas) {
    const auto vsc055 = makeChassis("vsc055"), w83792ad = makeChassis("w83792ad");
    const auto w83782d = makeChassis("w83782d"), chenbro = makeChassis("chenbro");
    EXPECT_EQ(vsc055->addressOf("lm75-2"), 0x4A);
    EXPECT_EQ(vsc055->addressOf("0x4d"), 0x4D);
    EXPECT_EQ(vsc055->nameOf(0x4B) + vsc055->nameOf(0x20), "lm75-10x20");
    EXPECT_EQ(w83792ad->addressOf("pca9539"), 0x74);
    const std::pair<std::function<void()>, const char*> wrong[] = {
        {[&] { makeChassis("vsc"); },
         "no chassis \"vsc\": there are vsc055, xyratex, w83792ad, w83782d, chenbro"},
        {[&] { vsc055->pullFan(4); }, "no fan 4: the chassis has 4, from 0"},
        {[&] { vsc055->setTemperature(-1, 1); }, "no sensor -1: the chassis has 4, from 0"},
        {[&] { vsc055->driveFaultLed(16); }, "no slot 16: the chassis has 16, from 0"},
        {[&] { vsc055->setRail("5", 5); },
         "the chassis has no supply rails that anything measures"},
        {[&] { w83782d->setRedundancy(false); }, "the chassis has no redundancy input"},
        {[&] { w83782d->driveFaultLed(0); }, "the chassis has no drive fault LEDs"},
        {[&] { w83792ad->setDrivePresent(0, false); }, "the chassis has no drive presence inputs"},
        {[&] { w83792ad->setRail("-12", 1); },
         "no rail \"-12\": the chassis has 5, 12, 3.3, vcorea, vcoreb"}};
    for (const auto& [act, text] : wrong) {
        EXPECT_THAT(act, testing::ThrowsMessage<std::out_of_range>(text));
    }
    for (const char* const name : {"lm75-4", "lm75", "", "0x", "0x80", "0x1ff", "0x4g", "77"}) {
        EXPECT_THROW(vsc055->addressOf(name), std::out_of_range) << name;
        EXPECT_THROW(chenbro->setRail(std::string("5@") + name, 1), std::out_of_range) << name;
    }
}

using Names = std::set<std::string>;

Names namesIn(const std::string& folder) {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(REPOSITORY "/" + folder)) {
        names.insert(entry.path().stem());
    }
    names.erase("README");
    return names;
}

// A chassis stands in many places; none may be forgotten.
TEST(Chassis, EveryPlaceIsFilled) {
    Names built;
    KORVO_E_CHASSIS_t type = KORVO_E_CHASSIS_NONE;
    for (; const EsaChassis_t* const row = service::chassisRow(type); ++type) {
        const std::string name(chassisOfType(type));
        EXPECT_NE(name.empty(), static_cast<bool>(row->init))
            << "the lab builds what gives services, and nothing else: " << row->facts.title;
        built.insert(name);
        for (const EsaPersonalityName_t& selector : row->names) {
            EXPECT_EQ(service::chassisSelected(std::string("name=") + selector.quoted), type);
        }
    }
    built.erase("");
    const auto names = chassisNames();
    EXPECT_EQ(built, Names(names.begin(), names.end())) << "the lab's, by enclosure type";
    EXPECT_EQ(namesIn("docs/chassis"), built) << "pages";
    EXPECT_EQ(namesIn("tests/golden"), built) << "register traffic";
}

}  // namespace
}  // namespace enclab
