// SPDX-License-Identifier: Apache-2.0
// Names, refusals and the catalog of the chassis. Their wiring shows in what the service makes of
// them beside its model (tests/story).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>

#include "lab/chassis/catalog.h"
#include "tools/chassis/service_chassis.h"

namespace enclab {
namespace {

TEST(Chassis, GoesByNamesAndAddressesAndNamesWhatItHas) {
    const auto vsc055 = makeChassis("vsc055"), w83792ad = makeChassis("w83792ad");
    EXPECT_EQ(vsc055->addressOf("lm75-2"), 0x4A);
    EXPECT_EQ(vsc055->addressOf("0x4d"), 0x4D);
    EXPECT_EQ(vsc055->nameOf(0x4B) + vsc055->nameOf(0x20), "lm75-10x20");
    const std::pair<std::function<void()>, const char*> wrong[] = {
        {[&] { makeChassis("vsc"); },
         "no chassis \"vsc\": there are vsc055, xyratex, w83792ad, w83782d, chenbro"},
        {[&] { vsc055->pullFan(4); }, "no fan 4: the chassis has 4, from 0"},
        {[&] { w83792ad->setRail("-12", 1); },
         "no rail \"-12\": the chassis has 5, 12, 3.3, vcorea, vcoreb"}};
    for (const auto& [act, text] : wrong) {
        EXPECT_THAT(act, testing::ThrowsMessage<std::out_of_range>(text));
    }
    for (const char* const name : {"lm75-4", "lm75", "", "0x", "0x80", "0x4g", "77"}) {
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
