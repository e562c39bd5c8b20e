// SPDX-License-Identifier: Apache-2.0
// Transfers fail, one after the other at every place. Whatever is lost and when: the process lives,
// its messages are whole, what its peers were told is what it remembers, and an enclosure that
// answers again is in good health at the next poll.
#include <gtest/gtest.h>

#include <map>

#include "tests/story/service.h"

namespace {

using enclab::Kind;
using enclab::Message;

// What the peers know from the messages they got.
class Peers {
  public:
    void hear(const Message& message) {
        const EsaEvent_t* event = message.event();
        EXPECT_EQ(message.kind() == Kind::other || message.kind() == Kind::broken, false);
        if (message.kind() == Kind::compositeLed) {
            const bool on = message.header().general_use2 == 2U;
            EXPECT_NE(on, led) << "asked for twice";
            led = on;
        } else if (event != nullptr && event->header.evId == 10U && event->header.evType == 2) {
            down_[{event->data.information, event->data.temperatureSensorPosition}] =
                event->data.general_use1 != 0U;
        }
    }

    // Whether the device's last event said that it does not answer.
    bool isDown(const StoryDevice& device) const {
        const auto found = down_.find({device.information, device.sensor});
        return found != down_.end() && found->second;
    }

    bool led = false;

  private:
    std::map<std::pair<std::uint32_t, std::uint32_t>, bool> down_;
};

bool has(U32_t bits, U32_t bit) {
    return (bits & bit) != 0;
}

// A service that loses transfers, and what must hold of it.
class Loss {
  public:
    explicit Loss(const StoryRow& row) : service_(row), bus_(service_.chassis().bus()) {
        bus_.observe([this](const enclab::BusTransfer& transfer) {
            lost_ |= transfer.error != 0;
            if (transfer.error != 0 && forGood_) {
                bus_.cut(transfer.messages[0].address);
            }
        });
    }

    void run(const char* command) {
        service_.run(command);
        consistencyCheck();
    }

    // The n-th transfer from now fails, or it is the first its device does not answer. False when
    // there are less than n.
    bool runWithout(std::uint32_t n, bool forGood, const char* command) {
        lost_ = false;
        forGood_ = forGood;
        const int fault = bus_.add({.nth = n});
        run(command);
        bus_.remove(fault);
        return lost_;
    }

    // All devices answer again.
    void recover() {
        service_.run("mend all");
        run("put leds 0 8");  // nothing else goes to an expander for LEDs
        run("put leds");
        run("poll");
        const U32_t faults = esaControl.compositeFaultStatus & ESA_K_FAULT_ALL;
        if (esaControl.i2cConnected == 0) {
            EXPECT_EQ(faults, ESA_K_FAULT_I2C_BUS) << "never polled again";
        } else {
            EXPECT_EQ(faults & ~missedFault(), service_.row().lastingFaults);
            EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0U);
        }
        service_.run("poll 3");  // the fans' way down the ladder
        EXPECT_TRUE(service_.take().empty()) << "good health has nothing to say";
    }

  private:
    void consistencyCheck() {
        for (const Message& message : service_.take()) {
            peers_.hear(message);
        }
        const U32_t faults = esaControl.compositeFaultStatus;
        EXPECT_EQ(has(faults, ESA_K_FAULT_LED_ON), has(faults, ESA_K_FAULT_ALL));
        EXPECT_EQ(peers_.led, has(faults, ESA_K_FAULT_LED_ON));
        EXPECT_EQ(has(faults, ESA_K_FAULT_FAN), esaControl.fanFaultStatus != 0);
        EXPECT_EQ(has(faults & ~missedFault(), ESA_K_FAULT_I2C_BUS),
                  esaControl.i2cDeviceFaultStatus != 0);
        if (esaControl.i2cConnected == 1) {
            devicesCheck();
        }
    }

    // A Winbond monitor missed by its probe is a bus fault and marks no device; where others
    // answer, it lasts until a transfer fails and works again.
    U32_t missedFault() const {
        const bool missed = service_.row().isWinbond() && esaControl.i2cDeviceFaultStatus == 0;
        return missed ? ESA_K_FAULT_I2C_BUS : U32_t{0};
    }

    void devicesCheck() const {
        const bool isOneForAll = service_.row().devices[0].information == 0;
        for (const StoryDevice& device : service_.row().devices) {
            const bool marked = has(esaControl.i2cDeviceFaultStatus, device.bit);
            // Where the alarm is a register of the lost monitor, a monitor that takes that write
            // counts as good again before peers are told that it is lost.
            EXPECT_TRUE(peers_.isDown(device) == marked || (isOneForAll && !marked))
                << device.name << (marked ? " marked" : " not marked");
        }
    }

    StoryService service_;
    enclab::Bus& bus_;
    Peers peers_;
    bool forGood_ = false;
    bool lost_ = false;
};

class EveryTransfer : public testing::TestWithParam<std::tuple<StoryRow, bool>> {
  protected:
    const StoryRow& row() const { return std::get<0>(GetParam()); }
    bool forGood() const { return std::get<1>(GetParam()); }
};

TEST_P(EveryTransfer, MayBeLostDuringBringUp) {
    bool lost = true;
    for (std::uint32_t n = 1; lost; ++n) {
        SCOPED_TRACE(n);
        Loss loss(row());
        lost = loss.runWithout(n, forGood(), "start");
        loss.recover();
    }
}

TEST_P(EveryTransfer, MayBeLostInService) {
    const struct {
        const char* before;  // so that the command has something to do
        const char* command;
    } scenes[] = {
        {"poll", "poll"},
        {"poll", "page"},
        {"put leds", "put leds 3 9"},
        {"put leds 3 9", "put leds"},
        {"poll", "put fans 1 80000004"},
        {"put supply 0 80000000", "put supply 0 80000002"},
        {"put supply 0 80000002", "put supply 0 80000000"},
        {"put alarms 0 80000002", "put alarms 0 80000010"},
        {"put alarms 0 80000010", "put alarms 0 80000002"},
    };
    Loss loss(row());
    loss.run("start");
    loss.recover();
    for (const auto& scene : scenes) {
        bool lost = true;
        for (std::uint32_t n = 1; lost; ++n) {
            SCOPED_TRACE(testing::Message() << "transfer " << n << " of " << scene.command);
            loss.run(scene.before);
            lost = loss.runWithout(n, forGood(), scene.command);
            loss.recover();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryTransfer,
                         testing::Combine(testing::ValuesIn(storyRows()), testing::Bool()),
                         [](const auto& row) {
                             return std::get<0>(row.param).name +
                                    std::string(std::get<1>(row.param) ? "ForGood" : "Once");
                         });

}  // namespace
