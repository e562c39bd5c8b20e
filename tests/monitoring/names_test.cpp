// SPDX-License-Identifier: Apache-2.0
// Alert rules and dashboard go by metrics that the lab gives.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "lab/web/metrics.h"

TEST(MonitoringTest, RulesAndDashboardNameMetricsOfTheLab) {
    enclab::LabOptions options;
    options.directory = std::filesystem::temp_directory_path() / fmt::format("names-{}", getpid());
    enclab::Lab lab(options);
    const std::string given = enclab::Metrics(lab).text();
    std::set<std::string> used;
    for (const char* file : {"/esa.rules.yml", "/esa-dashboard.json"}) {
        std::stringstream text;
        text << std::ifstream(std::string(RULES) + file).rdbuf();
        const std::string all = text.str();
        const std::regex name("\\besa_[a-z0-9_]+");
        used.insert(std::sregex_token_iterator(all.begin(), all.end(), name), {});
    }
    EXPECT_GE(used.size(), 10U);
    for (const std::string& name : used) {
        EXPECT_NE(given.find("# TYPE " + name + " "), given.npos) << name;
    }
}
