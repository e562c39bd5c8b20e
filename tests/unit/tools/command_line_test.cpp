// SPDX-License-Identifier: Apache-2.0
// What every tool does alike.
#include <gtest/gtest.h>

#include <sstream>

#include "tools/doctor/cli.h"
#include "tools/esaparams/cli.h"
#include "tools/personality/cli.h"
#include "tools/sesctl/cli.h"

namespace {

struct Tool {
    const char* name;
    int (*run)(int, const char* const*, std::ostream&, std::ostream&);
};
constexpr Tool TOOLS[] = {{"esa-doctor", doctor::run},
                          {"esaparams", esaparams::run},
                          {"personality", personality::run},
                          {"sesctl", sesctl::run}};

TEST(CommandLineTest, VersionGoesToTheOutputAndAMistakeIsOneLine) {
    for (const Tool& tool : TOOLS) {
        std::ostringstream out, err;
        const char* const version[] = {tool.name, "--version"};
        EXPECT_EQ(tool.run(2, version, out, err), 0);
        EXPECT_EQ(out.str(), std::string(tool.name) + " " ESA_VERSION "\n");
        EXPECT_EQ(err.str(), "");
        const char* const wrong[] = {tool.name, "--frobnicate"};
        EXPECT_EQ(tool.run(2, wrong, out, err), 2);
        EXPECT_TRUE(err.str().starts_with(tool.name + std::string(": "))) << err.str();
        EXPECT_EQ(err.str().find('\n'), err.str().size() - 1);
    }
}

}  // namespace
