// SPDX-License-Identifier: Apache-2.0
// The service manager's side of the notify socket: readiness, the state in words, and life.
#include "notify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

#include "chassis/table.h"
#include "start/esa_manager.h"
#include "state/chassis.h"
#include "tests/support/laws.h"

namespace {

// A manager that listens at an abstract name.
class Notify : public testing::Test {
  protected:
    Notify() {
        const std::string name = text("notify-", getpid());
        sockaddr_un address = {AF_UNIX, ""};
        name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
        const auto length = offsetof(sockaddr_un, sun_path) + 1 + name.size();
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), static_cast<socklen_t>(length)),
                  0);
        setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
    }
    ~Notify() override { close(fd_); }
    static void open(const char* watchdog) {
        setenv("WATCHDOG_USEC", watchdog, 1);
        notifyOpen();
    }
    // What came since the last call.
    Lines heard() const {
        Lines lines;
        char text[500];
        for (ssize_t n; (n = recv(fd_, text, sizeof text, MSG_DONTWAIT)) >= 0;) {
            lines.emplace_back(text, static_cast<std::size_t>(n));
        }
        return lines;
    }

  private:
    const int fd_ = socket(AF_UNIX, SOCK_DGRAM, 0);
};
using NotifyDeathTest = Notify;

TEST_F(NotifyDeathTest, ANameThatIsNoneIsNoManager) {
    for (const std::string& name : {std::string(), std::string(108, '/')}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        EXPECT_EXIT((notifyOpen(), notifyReady(), esaManagerTell(), std::exit(notifyIsOn())),
                    testing::ExitedWithCode(0), "");
    }
}

TEST_F(Notify, TheManagerHearsOfReadinessStateAndLife) {
    unsetenv("WATCHDOG_USEC");
    notifyOpen();
    notifyReady();
    notifyAlive();
    notifyStatus(std::string(200, 'x').c_str());
    EXPECT_EQ(heard(), (Lines{"READY=1", "STATUS=" + std::string(120, 'x')}));
    open("4000000000");
    notifyAlive();
    notifyAlive();
    EXPECT_EQ(heard(), Lines{"WATCHDOG=1"}) << "no more in a quarter of its time";
    open("8000");
    for (int n = 0; n < 2; ++n) {
        usleep(2000);
        notifyAlive();
    }
    EXPECT_EQ(heard(), (Lines{"WATCHDOG=1", "WATCHDOG=1"}));
    for (int n = 0; n < 10000; ++n) {
        notifyReady();  // a manager that does not read holds nobody up
    }
}

TEST_F(Notify, TheStateIsToldInWordsWhenItChanges) {
    esaChassisTableUse(esaChassisTable());
    open("4");
    const std::tuple<KORVO_E_CHASSIS_t, U8_t, int, U32_t, const char*> states[] = {
        {KORVO_E_CHASSIS_NONE, 0, -1, 0x80000000, "none, not polled, link down, faults: none"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 0, -1, 1,
         "VSC055, not polled, link down, faults: supply voltage"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 1, -1, 2, "VSC055, link down, faults: supply redundancy"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 1, 3, 4, "VSC055, link up, faults: fan"},
        {KORVO_E_CHASSIS_KORVO_VSC055, 1, 3, 0x8000001F,
         "VSC055, link up, faults: supply voltage supply redundancy fan overheat I2C"}};
    for (const auto& [type, connected, socket, faults, words] : states) {
        esaControl.enclosureType = type;
        esaControl.i2cConnected = connected;
        esaControl.socketFdMSM = socket;
        esaControl.compositeFaultStatus = faults;
        for (const Lines& expected :
             {Lines{text("STATUS=", words), "WATCHDOG=1"}, Lines{"WATCHDOG=1"}}) {
            usleep(1);
            esaManagerTell();
            EXPECT_EQ(heard(), expected);
        }
    }
}

}  // namespace
