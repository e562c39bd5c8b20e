// SPDX-License-Identifier: Apache-2.0
// The service manager's side of the notify socket.
#include "notify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// A manager that listens at an abstract name.
class Manager {
  public:
    explicit Manager(const std::string& name) : fd_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        sockaddr_un address = {AF_UNIX, ""};
        name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
        const auto length = offsetof(sockaddr_un, sun_path) + 1 + name.size();
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), static_cast<socklen_t>(length)),
                  0);
    }
    ~Manager() { close(fd_); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

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
    int fd_;
};

TEST(NotifyTest, TheManagerHearsOfReadinessStateAndLife) {
    unsetenv("NOTIFY_SOCKET");
    notifyOpen();
    notifyReady();
    notifyAlive();
    EXPECT_FALSE(notifyIsOn());

    const std::string name = "notify-" + std::to_string(getpid());
    const Manager manager(name);
    setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
    unsetenv("WATCHDOG_USEC");
    notifyOpen();
    ASSERT_TRUE(notifyIsOn());
    notifyReady();
    notifyAlive();
    notifyStatus(std::string(200, 'x').c_str());
    EXPECT_EQ(manager.heard(), (Lines{"READY=1", "STATUS=" + std::string(120, 'x')}));

    setenv("WATCHDOG_USEC", "4000000000", 1);
    notifyOpen();
    notifyAlive();
    notifyAlive();
    EXPECT_EQ(manager.heard(), Lines{"WATCHDOG=1"}) << "no more in a quarter of its time";
    setenv("WATCHDOG_USEC", "8000", 1);
    notifyOpen();
    usleep(2000);
    notifyAlive();
    usleep(2000);
    notifyAlive();
    EXPECT_EQ(manager.heard(), (Lines{"WATCHDOG=1", "WATCHDOG=1"}));

    for (int n = 0; n < 10000; ++n) {
        notifyReady();  // a manager that does not read holds nobody up
    }
    EXPECT_FALSE(manager.heard().empty());
}

TEST(NotifyDeathTest, ANameThatIsNoneIsNoManager) {
    for (const std::string& name : {std::string(), std::string(108, '/')}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        EXPECT_EXIT(
            {
                notifyOpen();
                std::exit(notifyIsOn());
            },
            testing::ExitedWithCode(0), "");
    }
}

}  // namespace
