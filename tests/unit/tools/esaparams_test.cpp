// SPDX-License-Identifier: Apache-2.0
// What esaparams makes is what the service attaches; what is no area of ours stays as it was.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/shm.h>
#include <unistd.h>

#include <sstream>

#include "mpu_gbl.h"
#include "tools/esaparams/cli.h"

namespace {

const int KEY = 0x45000000 | getpid();

const std::string said = fmt::format("esaparams: key {:#x}: ", KEY);

// Output and error line of a command, and its exit code behind them unless it is 0.
std::string esaparams(const std::string& command) {
    std::istringstream stream(command);
    std::vector<std::string> words = {"esaparams"};
    for (std::string word; stream >> word;) {
        words.push_back(word == "KEY" ? std::to_string(KEY) : word);
    }
    std::vector<const char*> argv;
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out, err;
    const int code = esaparams::run(static_cast<int>(argv.size()), argv.data(), out, err);
    return out.str() + err.str() + (code == 0 ? "" : std::to_string(code));
}

class EsaparamsTest : public testing::Test {
  protected:
    ~EsaparamsTest() override { shmctl(shmget(KEY, 0, 0), IPC_RMID, nullptr); }
    static std::string create(const std::string& log = "/var/") {
        return esaparams("create KEY --mmsg /tmp --nv / --log " + log);
    }
    // A segment of somebody else.
    static U32_t* foreign(std::size_t size) {
        return static_cast<U32_t*>(shmat(shmget(KEY, size, IPC_CREAT | 0600), nullptr, 0));
    }
};

TEST_F(EsaparamsTest, TheServiceReadsWhatWasMadeAndChanged) {
    ASSERT_EQ(create(), "");
    const MPU_PARAMS_t* const params = MPU_getMpuParams(KEY);
    ASSERT_NE(params, nullptr);
    EXPECT_STREQ(params->mmsgDirectory, "/tmp");
    EXPECT_STREQ(params->nonVolatileDirectory, "/");
    EXPECT_STREQ(params->logDirectory, "/var/");
    auto& flags = static_cast<MPU_PARAMS_t*>(shmat(shmget(KEY, 0, 0), nullptr, 0))->flags;
    EXPECT_EQ(flags, 0U);
    flags = 0x80000001;  // of other processes
    for (const auto& [command, value] : {std::pair("trace KEY on", 0x81000001U),
                                         {"rcp KEY complete", 0x81001001U},
                                         {"trace KEY off", 0x80001001U}}) {
        EXPECT_EQ(esaparams(command), "");
        EXPECT_EQ(flags, value) << command;
    }
    EXPECT_THAT(esaparams("show KEY"), testing::HasSubstr("mode 0644, attached by 2\n"
                                                          "flags                    0x80001001\n"
                                                          "  start-up complete      yes\n"
                                                          "  trace                  no\n"));
    EXPECT_THAT(esaparams("show --json KEY"),
                testing::AllOf(testing::HasSubstr("\"trace\": false"),
                               testing::HasSubstr("\"nonVolatileDirectory\": \"/\"")));
    shmdt(&flags - 1);
    EXPECT_EQ(esaparams("remove KEY"), "");
    EXPECT_EQ(shmget(KEY, 0, 0), -1);
}

TEST_F(EsaparamsTest, WhatCannotBeIsSaidAndChangesNothing) {
    EXPECT_EQ(esaparams("show KEY"), said + "there is no parameter area\n1");
    for (const auto& [log, error] : {std::pair("var", "var does not begin with /"),
                                     {"/nowhere", "/nowhere is no directory"}}) {
        EXPECT_EQ(create(log), std::string("esaparams: --log: ") + error + "\n1");
    }
    EXPECT_THAT(create("/" + std::string(127, '.')),
                testing::EndsWith("is longer than 127 characters\n1"));
    EXPECT_EQ(create("/ --group no-such-group"),
              "esaparams: --group: there is no group no-such-group\n1");
    EXPECT_EQ(shmget(KEY, 0, 0), -1) << "none of them left a segment";
    EXPECT_EQ(create(), "");
    EXPECT_EQ(create(), said + "there is an area already; remove it first\n1");
    EXPECT_EQ(esaparams("show 99"),
              "esaparams: KEY: Value 99 not in range 100 to 2147483647 (see --help)\n2");
}

TEST_F(EsaparamsTest, WhatIsNoAreaIsLeftAlone) {
    U32_t* const area = foreign(sizeof(MPU_PARAMS_t));
    const auto refuses = [](const std::string& why) {
        for (const char* command : {"show KEY", "trace KEY on", "rcp KEY complete", "remove KEY"}) {
            EXPECT_EQ(esaparams(command), said + why + "\n1") << command;
        }
    };
    area[0] = 15;
    refuses("version 15, not 16");
    area[0] = 0x10000000;
    refuses("version 268435456, not 16 (made in the other byte order)");
    EXPECT_EQ(area[1], 0U);
    shmdt(area);
    shmctl(shmget(KEY, 0, 0), IPC_RMID, nullptr);
    shmdt(foreign(749));
    refuses("a segment of 749 bytes is no parameter area, which has 748");
}

}  // namespace
