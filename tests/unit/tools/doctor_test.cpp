// SPDX-License-Identifier: Apache-2.0
// What the doctor says of a platform that is made step by step; each missing step has its line.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/doctor/account.h"
#include "tools/doctor/cli.h"
#include "tools/esaparams/area.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(DoctorTest, OwnerGroupAndModeDecideAsTheKernelDoes) {
    const doctor::Account account{"somebody", 1000, {100, 200}};
    for (unsigned mode = 0; mode < 01000; ++mode) {
        for (unsigned wanted = 0; wanted < 8; ++wanted) {
            const auto holds = [wanted](unsigned bits) { return (bits & 7 & wanted) == wanted; };
            EXPECT_EQ(account.may(1000, 200, mode, wanted), holds(mode / 64)) << mode;
            EXPECT_EQ(account.may(1, 200, mode, wanted), holds(mode / 8)) << mode;
            EXPECT_EQ(account.may(1, 1, mode, wanted), holds(mode)) << mode;
            EXPECT_TRUE(doctor::Account({"root", 0, {}}).may(1, 1, mode, wanted));
        }
    }
}

class DoctorPlatformTest : public testing::Test {
  protected:
    DoctorPlatformTest() {
        for (const char* directory : {"mmsg", "nv", "log", "startup", "web/OEM"}) {
            fs::create_directories(root_ / directory);
        }
        fs::permissions(root_, fs::perms(0755));
        std::ofstream(root_ / "settings") << "# of the unit\nESA_SHM_KEY=" << key_
                                          << "\nSTARTUP=" << (root_ / "startup").native() << "\n";
    }
    ~DoctorPlatformTest() override {
        shmctl(shmget(key_, 0, 0), IPC_RMID, nullptr);
        fs::remove_all(root_);
    }

    // The lines of a subject; there is no bus, so the service can never run.
    std::string says(const std::string& subject, const char* user = "nobody") {
        const std::string settings = root_ / "settings";
        const char* const argv[] = {"esa-doctor", "--settings", settings.c_str(), "--user",
                                    user,         "--bus",      "/dev/null"};
        std::ostringstream out, err;
        EXPECT_EQ(doctor::run(std::size(argv), argv, out, err), 6) << err.str();
        std::istringstream lines(out.str());
        std::string found;
        bool isIn = false;
        for (std::string line; std::getline(lines, line);) {
            isIn = line.starts_with(' ') ? isIn : line.substr(10).starts_with(subject);
            found += isIn ? line + "\n" : "";
        }
        for (std::size_t at; (at = found.find(root_)) != found.npos;) {
            found.replace(at, root_.native().size(), "$");
        }
        return found;
    }
    void bindSocket() const {
        sockaddr_un address = {AF_UNIX, ""};
        (root_ / "mmsg/esadapter").native().copy(address.sun_path, sizeof address.sun_path - 1);
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        close(fd);
        fs::permissions(root_ / "mmsg/esadapter", fs::perms(0666));
    }

    const int key_ = 0x46000000 | getpid();
    const fs::path root_ = fs::temp_directory_path() / fmt::format("doctor-{}", getpid());
};

TEST_F(DoctorPlatformTest, EachMissingStepIsNamedWithItsCure) {
    EXPECT_THAT(says("service's user", "no-such-user"), HasSubstr("there is no user no-such-user"));
    EXPECT_THAT(says("parameter area"), HasSubstr("esaparams create"));
    esaparams::create(key_, {root_ / "mmsg", root_ / "nv", root_ / "log", ""});
    EXPECT_THAT(says("parameter area"),
                HasSubstr("ok        parameter area            version 16"));
    EXPECT_THAT(says("start-up"), HasSubstr("note      start-up                  not complete"));
    esaparams::Area(key_, esaparams::Access::change).setFlags(0xFFFFFFFF, true);
    EXPECT_THAT(says("start-up"),
                HasSubstr("ok        start-up                  complete, trace on"));

    EXPECT_THAT(says("message switch"), HasSubstr("unusable  message switch            $/mmsg/"));
    bindSocket();
    EXPECT_THAT(says("message switch"), HasSubstr("ok "));
    fs::permissions(root_ / "mmsg", fs::perms(0700));
    EXPECT_THAT(says("message switch"), HasSubstr("$/mmsg: nobody may not use it"));
    EXPECT_THAT(says("message switch", "root"), HasSubstr("ok "));

    EXPECT_THAT(says("trace log"), HasSubstr("warning   trace log                 $/log: nobody"));
    fs::permissions(root_ / "log", fs::perms(0777));
    EXPECT_THAT(says("trace log"), HasSubstr("ok "));

    EXPECT_THAT(says("personality"), HasSubstr("unusable  personality"));
    std::ofstream(root_ / "web/OEM/EnvPersonalityParams.xml") << "\"Xyratex 2U12ATX\"\n";
    EXPECT_THAT(says("personality"), HasSubstr("more: personality $/startup/../web/OEM/"));
    fs::permissions(root_ / "web", fs::perms(0700));
    EXPECT_THAT(says("personality"), HasSubstr("$/startup/../web: nobody may not read it"));

    EXPECT_THAT(says("I2C adapter"), HasSubstr("unusable  I2C adapter               /dev/null: "));
    EXPECT_THAT(says("clock"), HasSubstr("ok "));
}

TEST_F(DoctorPlatformTest, AnAreaOfAnotherKindIsRefused) {
    shmget(key_, 747, IPC_CREAT | 0600);
    EXPECT_THAT(says("parameter area"), HasSubstr("747 bytes is no parameter area, which has 748"));
    shmctl(shmget(key_, 0, 0), IPC_RMID, nullptr);
    shmget(key_, 748, IPC_CREAT | 0600);
    EXPECT_THAT(says("parameter area"), HasSubstr("version 0, not 16"));
    shmctl(shmget(key_, 0, 0), IPC_RMID, nullptr);
    esaparams::create(key_, {root_ / "mmsg", root_ / "nv", root_ / "log", "root"});
    EXPECT_THAT(says("parameter area"), HasSubstr("mode 0640: nobody may not read it"));
}

}  // namespace
