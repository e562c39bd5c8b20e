// SPDX-License-Identifier: Apache-2.0
// Every transfer of each chassis in the four situations of its life, in order, against what was
// written by hand from the registers' descriptions.
#include <map>
#include <sstream>

#include "ses/esa_control_page.h"
#include "ses/status_page.h"
#include "tests/support/enclosure_rig.h"
#include "tests/support/golden_traffic.h"

namespace {

void wordSet(U32_t offset, U32_t value) {
    *wireView<Be32>(esaControl.esaInMsg + offset) = value;
}

// Sends the control page that asks for "drive 1 fault; fan 0 off".
void controlPageSend(const std::string& requests) {
    constexpr U32_t CONTROL_LIST = 64 + 8 + 8;
    const std::map<std::string, U32_t> words = {
        {"drive fault", 0x00000004},    {"supply ok", 0x80000000},  {"supply fault", 0x80000002},
        {"fan off", 0x80000000},        {"fan on", 0x80000004},     {"alarm mute", 0x80000002},
        {"alarm critical", 0x80000040}, {"alarm info", 0x80000010},
    };
    std::fill_n(esaControl.esaInMsg, sizeof esaControl.esaInMsg, U8_t{0});
    std::map<std::string, U32_t> sections;  // offset of the overall word
    U32_t offset = CONTROL_LIST;
    const std::pair<const char*, U8_t> counts[] = {
        {"drive", esaControl.deviceMaxNumber},
        {"supply", esaControl.powerSupplyMaxNumber},
        {"fan", esaControl.coolingMaxNumber},
        {"sensor", esaControl.temperatureSensorMaxNumber},
        {"alarm", esaControl.audibleAlarmMaxNumber},
    };
    for (const auto& [name, count] : counts) {
        sections[name] = offset;
        wordSet(offset, 0x00000080);
        offset += 4 + 4 * U32_t{count};
    }
    std::istringstream list(requests);
    for (std::string request; std::getline(list, request, ';');) {
        std::istringstream parts(request);
        std::string element;
        U32_t number = 0;
        std::string action;
        parts >> element >> number >> action;
        wordSet(sections.at(element) + 4 + 4 * number, words.at(element + " " + action));
    }
    auto* message = wireView<MMSG_t>(esaControl.esaInMsg);
    message->mmch.requestor = 29;
    message->mmch.mmsg_length = static_cast<U16_t>(offset);
    esaEncContPageProc(message);
}

class RegisterTraffic : public EnclosureRig,
                        public testing::WithParamInterface<std::tuple<int, std::string>> {
  protected:
    // What the situation does to the bus; control pages are taken from `golden`.
    Lines traffic(const std::string& situation, const Lines& golden) {
        const EsaChassis_t& row = *esaChassis();
        if (situation == "bring-up") {
            EXPECT_EQ(row.init(), ESA_E_OK);
            return bus.takeLog();
        }
        row.init();
        bus.takeLog();
        if (situation == "poll") {
            row.poll();
        } else if (situation == "status-page") {
            StatusPageElements_t elements = {};
            statusPageRead(&elements);
        } else {
            for (const std::string& entry : golden) {
                if (entry.starts_with("page ")) {
                    bus.note(entry);
                    controlPageSend(entry.substr(5));
                }
            }
        }
        return bus.takeLog();
    }
};

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST_P(RegisterTraffic, IsTheOneWrittenDown) {
    const auto& [number, situation] = GetParam();
    const auto type = static_cast<KORVO_E_CHASSIS_e>(number);
    const Lines golden = goldenTraffic(goldenFolder(type) + "/" + situation);
    ASSERT_FALSE(golden.empty());
    healthy(type);
    EXPECT_EQ(joined(traffic(situation, golden)), joined(golden));
}

using Case = testing::TestParamInfo<std::tuple<int, std::string>>;

std::string caseName(const Case& info) {
    std::string name =
        "Type" + std::to_string(std::get<0>(info.param)) + "_" + std::get<1>(info.param);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(AllChassis, RegisterTraffic,
                         testing::Combine(testing::Range(2, 8),
                                          testing::Values("bring-up", "poll", "status-page",
                                                          "control-page")),
                         caseName);

}  // namespace
