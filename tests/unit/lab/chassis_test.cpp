// SPDX-License-Identifier: Apache-2.0
// Each chassis by its wiring (docs/chassis): what an engineer does is seen in the registers it
// reaches, and in no other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <regex>
#include <span>

#include "lab/chassis/catalog.h"
#include "lab/chassis/chenbro_chassis.h"
#include "tests/support/hex.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

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

// Chassis, the chip that measures, a fan's full speed, what its count is the quotient of; each fan
// as "duty>count", each sensor as "~", each rail with its volts a step, and "%": the rails of a
// W83782D.
constexpr char kWirings[] = R"(
vsc055 vsc055 9000 300000 41.98>41.32 41.99>41.36 41.9A>41.3A 41.9B>41.3E ~4C.00 ~4B.00 ~4A.00 ~4D.00
vsc055-full vsc055 9000 600000 41.98>41.32 41.99>41.36 41.9A>41.3A 41.9B>41.3E 41.9C>41.42 41.9D>41.46
    41.9E>41.4A 41.9F>41.4E ~4C.00 ~4B.00 ~4A.00 ~4D.00 ~4E.00 ~4F.00
xyratex vsc055 20000 1200000 63.98>63.32 63.98>63.36 63.98>63.3A 63.98>63.3E 63.99>63.42 63.99>63.46
    63.99>63.4A 63.99>63.4E ~4C.00 ~4D.00
w83792ad w83792ad 9000 1350000 2C.81>2C.28 2C.83>2C.29 2C.94>2C.2A 2C.A3>2C.B8 2C.A4>2C.B9 2C.A5>2C.BA
    ~2C.27 ~2C.C0 ~2C.C8 5=2C.26*0.006 12=2C.22*0.016 3.3=2C.23*0.004 vcorea=2C.20*0.002 vcoreb=2C.21*0.002
w83782d w83782d 12000 675000 2D.5B>2D.28 2D.5E>2D.29 2D.5F>2D.2A ~2D.27 %2D
chenbro w83782d 12000 675000 28.5B>28.28 28.5A>28.29 29.5B>29.28 2A.5B>2A.28 2B.5B>2B.28 2B.5A>2B.29
    ~28.27 ~2A.27 ~2C.27 ~30.27 %28@0 %2A@1 %2C@2 %30@3
chenbro-by-shift w83782d 12000 675000 28.5B>28.28 28.5A>28.29 2A.5B>2A.28 2C.5B>2C.28 30.5B>30.28
    30.5A>30.29 ~28.27 ~2A.27 ~2C.27 ~30.27 %28@0 %2A@1 %2C@2 %30@3
chenbro-in-sequence w83782d 12000 675000 28.5B>28.28 28.5A>28.29 29.5B>29.28 2A.5B>2A.28 2B.5B>2B.28
    2B.5A>2B.29 ~28.27 ~29.27 ~2A.27 ~2B.27 %28@0 %29@1 %2A@2 %2B@3
)";
constexpr char kW83782dRails[] =
    "vcorea=20*0.016 vinr0=21*0.016 3.3=22*0.016 5=23*0.02688 12=24*0.0608 "
    "-12=25*0.082286-14.91429 -5=26*0.050286-7.71429";

struct Rail {
    char name[20], place[20];
    double step, offset;
};
struct Wiring {
    explicit Wiring(const Words& words)
        : name(words[0]), chip(words[1]), fullRpm(words.number(2)), perMinute(words.number(3)) {
        for (const std::string& word : std::span(words.all).subspan(4)) {
            add(word);
        }
    }
    void add(const std::string& word) {
        Rail rail{};
        if (word[0] == '~') {
            sensors.push_back(word.substr(1));
        } else if (word[0] == '%') {
            const std::string there = word.substr(3) + "=" + word.substr(1, 2) + ".";
            for (const std::string& each : Words(kW83782dRails).all) {
                const std::size_t equals = each.find('=');
                add(each.substr(0, equals) + there + each.substr(equals + 1));
            }
        } else if (word[5] == '>') {
            fans.push_back({word.substr(0, 5), word.substr(6)});
        } else {
            std::sscanf(word.c_str(), "%[^=]=%[^*]*%lf%lf", rail.name, rail.place, &rail.step,
                        &rail.offset);
            rails.push_back(rail);
        }
    }
    std::unique_ptr<Chassis> make() const {
        using W = ChenbroChassis::Wiring;
        return name == "vsc055-full"           ? makeChassis("vsc055", {8, 6, 2})
               : name == "chenbro-by-shift"    ? std::make_unique<ChenbroChassis>(W::kByShift)
               : name == "chenbro-in-sequence" ? std::make_unique<ChenbroChassis>(W::kInSequence)
                                               : makeChassis(name);
    }
    double degrees(Chassis& chassis, const std::string& place) const {
        const int byte = at(chassis, place);
        const bool halves = chip == "w83792ad" && place[3] == 'C';
        const int low = halves ? at(chassis, place.substr(0, 4) + std::string(1, place[4] + 1)) : 0;
        return chip == "w83792ad" && !halves ? byte : static_cast<std::int8_t>(byte) + low / 256.0;
    }
    struct Range {
        double least, most, step;
    };
    Range range(const std::string& place) const {
        const Range w83792ad = place[3] == 'C' ? Range{-128, 127.5, 0.5} : Range{0, 255, 1};
        return chip == "vsc055"    ? Range{-55, 125, 1.51}  // its upper byte, of rounded halves
               : chip == "w83782d" ? Range{-128, 127, 1}
                                   : w83792ad;
    }
    double volts(Chassis& chassis, const Rail& rail) const {
        int steps = at(chassis, rail.place);
        if (chip == "w83792ad") {  // two more bits
            const int channel = rail.place[4] - '0';
            steps =
                steps * 4 + (at(chassis, channel < 4 ? "2C.3E" : "2C.3F") >> channel % 4 * 2 & 3);
        }
        return steps * rail.step + rail.offset;
    }
    double count(Chassis& chassis, std::size_t fan, double rpm) const {
        int divisor = 1;
        if (chip == "w83792ad") {  // three bits in each half of a register
            const char* const places[] = {"2C.47", "2C.5B", "2C.5C"};
            divisor = std::max(at(chassis, places[fan / 2]) >> fan % 2 * 4 & 7, 1);
        }
        return rpm == 0 ? 255 : std::clamp(perMinute / (rpm * divisor), 1.0, 254.0);
    }
    double percent(int code) const {
        const double vsc055 = (code & 0x20) != 0 ? (code % 32 + 1) / 0.32 : 0;
        return chip == "vsc055" ? vsc055 : chip == "w83782d" ? code / 2.55 : code % 16 / 0.16;
    }
    std::string name, chip;
    double fullRpm, perMinute;
    std::vector<std::pair<std::string, std::string>> fans;
    std::vector<std::string> sensors;
    std::vector<Rail> rails;
};
std::vector<Wiring> wirings() {
    std::vector<Wiring> all;
    std::istringstream table(std::regex_replace(kWirings, std::regex("\n    "), " "));
    for (std::string line; std::getline(table, line);) {
        line.empty() ? void() : void(all.emplace_back(Words(line)));
    }
    return all;
}

// A chassis and what has been done to it.
class World {
  public:
    explicit World(const Wiring& wiring) : w(wiring), chassis(w.make()) {}
    bool complete() const {
        return chassis->fans() == int(w.fans.size()) && chassis->sensors() == int(degrees.size()) &&
               chassis->rails().size() == (w.name == "xyratex" ? 2 : volts.size());
    }
    void act() {
        for (std::size_t n = 0; n < rpm.size(); ++n) {
            set(*chassis, w.fans[n].first, below(256));
            rpm[n] = std::exp(between(0, 16));
            below(4) == 0 ? chassis->pullFan(int(n)) : chassis->returnFan(int(n));
        }
        for (const char* const divisors : {"2C.47", "2C.5B", "2C.5C"}) {
            w.chip == "w83792ad" ? set(*chassis, divisors, below(256)) : void();
        }
        for (std::size_t n = 0; n < degrees.size(); ++n) {
            chassis->setTemperature(int(n), degrees[n] = between(-150, 270));
        }
        for (std::size_t n = 0; n < volts.size(); ++n) {
            volts[n] = between(-20, 1200) * w.rails[n].step + w.rails[n].offset;
            chassis->setRail(w.rails[n].name, volts[n]);
        }
    }
    // The fans follow their load, or somebody's word.
    void expectFans(bool byWord) const {
        for (std::size_t n = 0; n < rpm.size(); ++n) {
            const double load = w.percent(at(*chassis, w.fans[n].first));
            const double turns = byWord ? rpm[n] : load * w.fullRpm / 100;
            const double speed = chassis->fanPresent(int(n)) ? turns : 0;
            EXPECT_NEAR(chassis->fanLoadPercent(int(n)), load, 1e-9) << w.name << n;
            EXPECT_NEAR(chassis->fanRpm(int(n)), speed, 1e-6) << w.name << n;
            ASSERT_NEAR(at(*chassis, w.fans[n].second), w.count(*chassis, n, speed), 0.5)
                << w.name << " fan " << n << " at " << speed;
        }
    }
    void expectSensors() const {
        for (std::size_t n = 0; n < degrees.size(); ++n) {
            const auto [least, most, step] = w.range(w.sensors[n]);
            ASSERT_NEAR(w.degrees(*chassis, w.sensors[n]), std::clamp(degrees[n], least, most),
                        step / 2)
                << w.name << " sensor " << n;
        }
    }
    void expectRails() const {
        for (std::size_t n = 0; n < volts.size(); ++n) {
            const Rail& rail = w.rails[n];
            const double most = (w.chip == "w83792ad" ? 1023 : 255) * rail.step + rail.offset;
            ASSERT_NEAR(w.volts(*chassis, rail), std::clamp(volts[n], rail.offset, most),
                        rail.step * 0.51)
                << w.name << " " << rail.name;
        }
    }
    const Wiring& w;
    std::unique_ptr<Chassis> chassis;
    std::vector<double> rpm = std::vector<double>(w.fans.size());
    std::vector<double> degrees = std::vector<double>(w.sensors.size());
    std::vector<double> volts = std::vector<double>(w.rails.size());
};

TEST(Chassis, WhatIsDoneToItIsSeenInItsRegisters) {
    for (const Wiring& wiring : wirings()) {
        World world(wiring);
        ASSERT_TRUE(world.complete()) << wiring.name;
        for (int step = 0; step < 200; ++step) {
            world.act();
            if (step == 100) {
                world.chassis->turnFansBy([&](int fan) { return world.rpm[std::size_t(fan)]; });
            }
            world.chassis->spinFans();
            world.expectFans(step >= 100);
            world.expectSensors();
            world.expectRails();
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
    EXPECT_EQ(vsc055->addressOf("vsc055"), 0x41);
    EXPECT_EQ(vsc055->addressOf("lm75-2"), 0x4A);
    EXPECT_EQ(vsc055->addressOf("0x4d"), 0x4D);
    EXPECT_EQ(vsc055->nameOf(0x4B) + vsc055->nameOf(0x20), "lm75-10x20");
    EXPECT_EQ(w83792ad->addressOf("pca9539"), 0x74);
    const std::pair<std::function<void()>, const char*> wrong[] = {
        {[&] { vsc055->pullFan(4); }, "no fan 4: the chassis has 4, from 0"},
        {[&] { vsc055->fanRpm(-1); }, "no fan -1: the chassis has 4, from 0"},
        {[&] { vsc055->setTemperature(4, 1); }, "no sensor 4: the chassis has 4, from 0"},
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
    for (const char* const device : {"lm75-4", "lm75", "", "0x", "0x80", "0x1ff", "0x4g", "77"}) {
        EXPECT_THROW(vsc055->addressOf(device), std::out_of_range) << device;
    }
    for (const char* const rail : {"1", "@2", "5@4", "5@"}) {
        EXPECT_THROW(chenbro->setRail(rail, 1), std::out_of_range) << rail;
    }
}

}  // namespace
}  // namespace enclab
