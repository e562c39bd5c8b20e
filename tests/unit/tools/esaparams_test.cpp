// SPDX-License-Identifier: Apache-2.0
// What esaparams makes is what the service attaches; what is no area of ours stays as it was.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/shm.h>

#include "mpu_gbl.h"
#include "tests/unit/tools/tools.h"

namespace {

using testing::HasSubstr;

const int KEY = 0x45000000 | getpid();

// Output, error line, and an exit status that is not 0; "KEY" is the key.
std::string esaparams(std::string command, bool isFull = false) {
    command.replace(command.find("KEY"), 3, std::to_string(KEY));
    const Told all = told("esaparams " + command, isFull);
    return all.out + all.err + (all.code == 0 ? "" : std::to_string(all.code));
}

class EsaparamsTest : public testing::Test {
  protected:
    ~EsaparamsTest() override { shmctl(shmget(KEY, 0, 0), IPC_RMID, nullptr); }
    static std::string create(const std::string& log = "/var/") {
        return esaparams("create KEY --mmsg /tmp --nv / --log " + log);
    }
    const std::string said_ = fmt::format("esaparams: key {:#x}: ", KEY);
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
    EXPECT_THAT(esaparams("show KEY"), HasSubstr("mode 0644, attached by 2\n"
                                                 "flags                    0x80001001\n"
                                                 "  start-up complete      yes\n"
                                                 "  trace                  no\n"));
    EXPECT_THAT(esaparams("show --json KEY"), HasSubstr("\"trace\": false"));
    EXPECT_EQ(esaparams("show KEY", true), "esaparams: the output cannot be written\n1");
    EXPECT_EQ(create(), said_ + "there is an area already; remove it first\n1");
    EXPECT_EQ(esaparams("remove KEY"), "");
    EXPECT_EQ(shmget(KEY, 0, 0), -1);
}

TEST_F(EsaparamsTest, WhatCannotBeIsSaidAndLeavesNothing) {
    EXPECT_EQ(esaparams("show KEY"), said_ + "there is no parameter area\n1");
    for (const auto& [log, error] :
         {std::pair<std::string, std::string>("var", "--log: var does not begin with /"),
          {"/nowhere", "--log: /nowhere is no directory"},
          {"/" + std::string(127, '.'), "is longer than 127 characters"},
          {"/ --group no-such-group", "--group: there is no group no-such-group"}}) {
        EXPECT_THAT(create(log), testing::EndsWith(error + "\n1"));
        EXPECT_EQ(shmget(KEY, 0, 0), -1);
    }
}

TEST_F(EsaparamsTest, WhatIsNoAreaIsLeftAlone) {
    for (const auto& [version, error] :
         {std::pair(15U, "version 15, not 16"),
          {0x10000000U, "version 268435456, not 16 (made in the other byte order)"},
          {16U, "a segment of 749 bytes is no parameter area, which has 748"}}) {
        const int id = shmget(KEY, version == 16 ? 749 : 748, IPC_CREAT | 0600);
        auto* const area = static_cast<U32_t*>(shmat(id, nullptr, 0));
        area[0] = version;
        for (const char* command : {"show KEY", "trace KEY on", "rcp KEY complete", "remove KEY"}) {
            EXPECT_EQ(esaparams(command), said_ + error + "\n1") << command;
        }
        EXPECT_EQ(area[1], 0U);
        shmdt(area);
        shmctl(id, IPC_RMID, nullptr);
    }
}

}  // namespace
