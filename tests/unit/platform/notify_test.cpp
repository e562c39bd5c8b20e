// SPDX-License-Identifier: Apache-2.0
// The service manager's side of the notify socket.
#include "notify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

#include "tests/support/laws.h"

namespace {

// A manager that listens at an abstract name.
class Notify : public testing::Test {
  protected:
    Notify() {
        const std::string name = text("@notify-", getpid());
        sockaddr_un address = {AF_UNIX, ""};
        name.copy(address.sun_path, name.size());
        address.sun_path[0] = '\0';
        const auto length = offsetof(sockaddr_un, sun_path) + name.size();
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), static_cast<socklen_t>(length)),
                  0);
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
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
    const std::string longest(108, '/');
    for (const char* name : {longest.c_str(), "", static_cast<const char*>(nullptr)}) {
        name != nullptr ? setenv("NOTIFY_SOCKET", name, 1) : unsetenv("NOTIFY_SOCKET");
        EXPECT_EXIT((notifyOpen(), std::exit(notifyIsOn())), testing::ExitedWithCode(0), "");
    }
}

TEST_F(Notify, TheManagerHearsOfReadinessStateAndLife) {
    unsetenv("WATCHDOG_USEC");
    notifyOpen();
    EXPECT_TRUE(notifyIsOn());
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

}  // namespace
