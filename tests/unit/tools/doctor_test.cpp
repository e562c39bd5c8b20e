// SPDX-License-Identifier: Apache-2.0
// What the doctor says of a platform that is made step by step; each missing step has its line. The
// I2C adapter stands behind this program's own ioctl.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include <cstdarg>
#include <set>

#include "tests/unit/tools/tools.h"
#include "tools/doctor/account.h"
#include "tools/esaparams/area.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Adapter {
    unsigned long functions;
    std::set<std::uintptr_t> chips;
    std::uintptr_t address;  // of the chip that is asked
};
Adapter adapter;

int handle(unsigned long request, void* argument) {
    if (request == I2C_FUNCS) {
        *static_cast<unsigned long*>(argument) = adapter.functions;
        return adapter.functions != 0 ? 0 : -1;
    }
    if (request == I2C_SLAVE) {
        adapter.address = reinterpret_cast<std::uintptr_t>(argument);
        return 0;
    }
    if (request == I2C_RDWR) {
        adapter.address = static_cast<const i2c_rdwr_ioctl_data*>(argument)->msgs->addr;
    }
    errno = ENXIO;
    return adapter.chips.contains(adapter.address) ? 2 : -1;
}

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
    // The settings as systemd reads them, too.
    DoctorPlatformTest() {
        for (const char* directory : {"mmsg", "nv", "log", "startup", "web/OEM"}) {
            fs::create_directories(directory);
        }
        fs::permissions(".", fs::perms(0755));
        std::ofstream("settings") << "ESA_SHM_KEY=99\n  # ESA_SHM_KEY=98\n;ESA_SHM_KEY=97\n"
                                  << " ESA_SHM_KEY\t= \"" << key_ << "\" \nSTARTUP='"
                                  << place_.directory << "/startup'\n#STARTUP=/\nESA_SHM\n";
    }
    ~DoctorPlatformTest() override { shmctl(shmget(key_, 0, 0), IPC_RMID, nullptr); }

    // The lines of a subject.
    std::string says(const std::string& subject, const std::string& user = "nobody") {
        const Told all = told("esa-doctor --settings settings --bus /dev/null --user " + user);
        EXPECT_EQ(all.code, all.out.find("unusable") == all.out.npos ? 0 : 6) << all.err;
        std::string found;
        bool isIn = false;
        for (const std::string& line : linesIn(all.out)) {
            isIn = line.starts_with(' ') ? isIn : line.substr(10).starts_with(subject);
            found += isIn ? squeezed(line) + "\n" : "";
        }
        for (std::size_t at; (at = found.find(place_.directory)) != found.npos;) {
            found.replace(at, place_.directory.size(), "$");
        }
        return found;
    }

    void createArea(const std::string& group) const {
        const std::string& root = place_.directory;
        esaparams::create(key_, {root + "/mmsg", root + "/nv", root + "/log", group});
    }

    const int key_ = 0x46000000 | getpid();
    const Place place_;
};

TEST_F(DoctorPlatformTest, EachMissingStepIsNamedWithItsCure) {
    EXPECT_THAT(says("service's user", "no-such-user"), HasSubstr("there is no user no-such-user"));
    EXPECT_THAT(says("parameter area"), HasSubstr("there is no parameter area\n-> the platform's"));
    createArea("root");
    EXPECT_THAT(says("parameter area"), HasSubstr("mode 0640: nobody may not read it"));
    shmctl(shmget(key_, 0, 0), IPC_RMID, nullptr);
    createArea("");
    EXPECT_EQ(says("parameter area"), "ok parameter area version 16\n");
    EXPECT_THAT(says("start-up"), HasSubstr("note start-up not complete, trace off\n->"));
    esaparams::Area(key_, esaparams::Access::change).setFlags(0xFFFFFFFF, true);
    EXPECT_EQ(says("start-up"), "ok start-up complete, trace on\n");

    EXPECT_THAT(says("message switch"), HasSubstr("unusable message switch $/mmsg/esadapter: No"));
    mknod("mmsg/esadapter", S_IFSOCK, 0);
    fs::permissions("mmsg/esadapter", fs::perms(0666));
    EXPECT_EQ(says("message switch"), "ok message switch $/mmsg/esadapter\n");
    fs::permissions("mmsg", fs::perms(0700));
    EXPECT_THAT(says("message switch"), HasSubstr("$/mmsg: nobody may not use it"));
    fs::permissions("mmsg", fs::perms(0755));

    EXPECT_THAT(says("trace log"), HasSubstr("warning trace log $/log: nobody"));
    fs::permissions("log", fs::perms(0777));
    EXPECT_EQ(says("trace log"), "ok trace log $/log\n");

    EXPECT_THAT(says("personality"), HasSubstr("unusable personality"));
    std::ofstream("web/OEM/EnvPersonalityParams.xml") << "\"Xyratex 2U12ATX\"\n";
    EXPECT_THAT(says("personality"), HasSubstr("-> more: personality $/startup/../web/OEM/"));
    fs::permissions("web", fs::perms(0700));
    EXPECT_THAT(says("personality"), HasSubstr("$/startup/../web: nobody may not read it"));

    EXPECT_THAT(says("I2C adapter"), HasSubstr("unusable I2C adapter /dev/null: "));
    EXPECT_THAT(says("clock"), HasSubstr("ok "));
}

// The personality counts two sensors.
TEST_F(DoctorPlatformTest, TheChosenChassisHasItsChipsOnTheBus) {
    std::ofstream("web/OEM/EnvPersonalityParams.xml")
        << R"("Vitesse VSC055 Custom" "temperatureSensorMaxNumber" value="2")";
    adapter = {I2C_FUNC_I2C, {0x41, 0x4C}, 0};
    EXPECT_EQ(says("I2C adapter"), "ok I2C adapter /dev/null: plain I2C\n");
    EXPECT_THAT(says("chips of VSC055"),
                HasSubstr("unusable chips of VSC055 VSC055 0x41, LM75 0x4c answer; missing LM75 "
                          "0x4b (No such device or address)\n->"));
    EXPECT_EQ(says("chips of X"), "note chips of Xyratex 2U12ATX LM75 0x4c answer\n");
    EXPECT_EQ(says("chips of W"), "note chips of W83792AD none answers\n");
    adapter = {I2C_FUNC_SMBUS_BYTE_DATA, {0x41, 0x4B, 0x4C}, 0};
    EXPECT_THAT(says("I2C adapter"),
                HasSubstr("note I2C adapter /dev/null: SMBus only, byte data"));
    EXPECT_EQ(says("chips of VSC055"),
              "ok chips of VSC055 VSC055 0x41, LM75 0x4c, LM75 0x4b answer\n");
    adapter = {I2C_FUNC_SMBUS_READ_BYTE_DATA, {}, 0};
    EXPECT_THAT(says("I2C adapter"), HasSubstr("neither I2C nor SMBus byte data"));
    adapter = {};
}

}  // namespace

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return handle(request, argument);
}
