// SPDX-License-Identifier: Apache-2.0
// A chassis stands in many places; none may be forgotten.
#include "lab/chassis/catalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <stdexcept>

#include "tools/chassis/service_chassis.h"

namespace enclab {
namespace {

using Names = std::set<std::string>;

struct Row {
    KORVO_E_CHASSIS_t type;
    const EsaChassis_t& chassis;
};

std::vector<Row> rows() {
    std::vector<Row> all;
    KORVO_E_CHASSIS_t type = KORVO_E_CHASSIS_NONE;
    for (; const EsaChassis_t* row = service::chassisRow(type); ++type) {
        all.push_back({type, *row});
    }
    return all;
}

Names namesIn(const std::string& folder) {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(REPOSITORY "/" + folder)) {
        if (entry.path().filename() != "README.md") {
            names.insert(entry.path().stem());
        }
    }
    return names;
}

TEST(Chassis, EveryPlaceIsFilled) {
    Names built;
    for (const Row& row : rows()) {
        const std::string name(chassisOfType(row.type));
        EXPECT_NE(name.empty(), static_cast<bool>(row.chassis.init))
            << "the lab builds what gives services, and nothing else: " << row.chassis.facts.title;
        built.insert(name);
    }
    built.erase("");
    const auto names = chassisNames();
    EXPECT_EQ(built, Names(names.begin(), names.end())) << "the lab's, by enclosure type";
    EXPECT_EQ(namesIn("docs/chassis"), built) << "pages";
    EXPECT_EQ(namesIn("tests/golden"), built) << "register traffic";
}

TEST(Chassis, NameOfAPersonalityFileSelectsItsOwnRow) {
    for (const Row& row : rows()) {
        for (const EsaPersonalityName_t& name : row.chassis.names) {
            EXPECT_EQ(service::chassisSelected(std::string("name=") + name.quoted), row.type);
        }
    }
}

TEST(Chassis, UnknownNameIsAnsweredWithTheKnownOnes) {
    EXPECT_THAT([] { makeChassis("vsc"); },
                testing::ThrowsMessage<std::out_of_range>(
                    testing::StartsWith("no chassis \"vsc\": there are vsc055, xyratex, ")));
}

}  // namespace
}  // namespace enclab
