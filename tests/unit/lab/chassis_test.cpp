// SPDX-License-Identifier: Apache-2.0
// Each chassis by its wiring (docs/chassis), as far as the service beside its model does not show
// it (tests/story): rails to the last bit, what is fitted, names and refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>

#include "lab/chassis/catalog.h"
#include "tests/support/hex.h"
#include "tests/unit/lab/random.h"
#include "tools/chassis/service_chassis.h"

namespace enclab {
namespace {

// Address and register; of a W83792AD that of the two lower bits and their place, too.
const struct {
    const char* chassis;
    const char* name;
    const char* place;
    double step, offset;  // volts
} kRails[] = {{"w83792ad", "5", "2C26 3F04", 0.006, 0},
              {"w83792ad", "12", "2C22 3E04", 0.016, 0},
              {"w83792ad", "3.3", "2C23 3E06", 0.004, 0},
              {"w83792ad", "vcoreb", "2C21 3E02", 0.002, 0},
              {"chenbro", "vcorea@2", "2C20", 0.016, 0},
              {"chenbro", "5@3", "3023", 0.02688, 0},
              {"chenbro", "12@2", "2C24", 0.0608, 0},
              {"chenbro", "-12@2", "2C25", 0.082286, -14.91429},
              {"chenbro", "-5@2", "2C26", 0.050286, -7.71429}};

// Whatever is set first must not be disturbed by the others.
TEST(Chassis, RailsReadBackToHalfAStepWithinTheirRange) {
    std::map<std::string, std::unique_ptr<Chassis>> chassis;
    for (int world = 0; world < 200; ++world) {
        std::vector<double> volts;
        for (const auto& rail : kRails) {
            auto& made = chassis[rail.chassis];
            made = made ? std::move(made) : makeChassis(rail.chassis);
            volts.push_back(between(rail.offset - 1, rail.offset + 1200 * rail.step));
            made->setRail(rail.name, volts.back());
        }
        for (std::size_t n = 0; n < volts.size(); ++n) {
            const auto& rail = kRails[n];
            const auto place = hexBytes(rail.place);
            Bus& bus = chassis[rail.chassis]->bus();
            const bool isLong = place.size() > 2;
            int code = *bus.readRegister(place[0], place[1]);
            code =
                isLong ? code << 2 | (*bus.readRegister(place[0], place[2]) >> place[3] & 3) : code;
            const double most = (isLong ? 1023 : 255) * rail.step + rail.offset;
            ASSERT_NEAR(code * rail.step + rail.offset, std::clamp(volts[n], rail.offset, most),
                        rail.step * 0.51)
                << rail.chassis << " " << rail.name << " at " << volts[n];
        }
    }
}

TEST(Chassis, GoesByNamesAndAddressesAndNamesWhatItHas) {
    const auto vsc055 = makeChassis("vsc055"), w83792ad = makeChassis("w83792ad");
    const auto w83782d = makeChassis("w83782d");
    EXPECT_EQ(vsc055->addressOf("lm75-2"), 0x4A);
    EXPECT_EQ(vsc055->addressOf("0x4d"), 0x4D);
    EXPECT_EQ(vsc055->nameOf(0x4B) + vsc055->nameOf(0x20), "lm75-10x20");
    const std::pair<std::function<void()>, const char*> wrong[] = {
        {[&] { makeChassis("vsc"); },
         "no chassis \"vsc\": there are vsc055, xyratex, w83792ad, w83782d, chenbro"},
        {[&] { vsc055->pullFan(4); }, "no fan 4: the chassis has 4, from 0"},
        {[&] { vsc055->setRail("5", 5); },
         "the chassis has no supply rails that anything measures"},
        {[&] { w83782d->driveFaultLed(0); }, "the chassis has no drive fault LEDs"},
        {[&] { w83792ad->setRail("-12", 1); },
         "no rail \"-12\": the chassis has 5, 12, 3.3, vcorea, vcoreb"}};
    for (const auto& [act, text] : wrong) {
        EXPECT_THAT(act, testing::ThrowsMessage<std::out_of_range>(text));
    }
    for (const char* const name : {"lm75-4", "lm75", "", "0x", "0x80", "0x1ff", "0x4g", "77"}) {
        EXPECT_THROW(vsc055->addressOf(name), std::out_of_range) << name;
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
