// SPDX-License-Identifier: Apache-2.0
// Transfers fail, one after the other at every place. Whatever is lost and when: the process lives,
// its messages are whole, what its peers were told is what it remembers, and an enclosure that
// answers again is in good health at the next poll.
#include <gtest/gtest.h>

#include "tests/story/service.h"
#include "tests/support/laws.h"

namespace {

#ifdef __powerpc__
constexpr int ROUNDS = 40;  // is emulated
#else
constexpr int ROUNDS = 300;
#endif

constexpr auto poll = [](StoryService* service) { service->poll(); };
constexpr auto page = [](StoryService* service) { service->page(2, 0xFFFF); };

constexpr bool has(U32_t bits, U32_t bit) {
    return (bits & bit) != 0;
}

// A service that loses transfers, of a device that may stay away then; and what must hold of it.
class Loss {
  public:
    Loss(const StoryRow& row, bool forGood) : service_(row), bus_(service_.chassis->bus()) {
        bus_.observe([=, this](const enclab::BusTransfer& transfer) {
            lost_ |= transfer.error != 0;
            if (transfer.error != 0 && forGood) {
                bus_.cut(transfer.messages[0].address);
            }
        });
    }

    template <typename Command>
    void run(Command command) {
        command(&service_);
        consistencyCheck();
    }

    // The n-th transfer of the command fails. False when there are less than n.
    template <typename Command>
    bool runWithout(std::size_t n, Command command) {
        lost_ = false;
        const int fault = bus_.add({.nth = static_cast<std::uint32_t>(n)});
        run(command);
        bus_.remove(fault);
        return lost_;
    }

    // All devices answer again.
    void recover() {
        for (const enclab::ChassisDevice& device : service_.chassis->devices()) {
            bus_.mend(device.address);
        }
        // Nothing else goes to an expander for LEDs.
        service_.put({{{DRIVES, 0}, 4}, {{DRIVES, 8}, 4}, {{SUPPLIES, 0}, SELECT}});
        service_.put({});
        run(poll);
        const U32_t faults = esaControl.compositeFaultStatus & ESA_K_FAULT_ALL;
        if (esaControl.i2cConnected == 0) {
            EXPECT_EQ(faults, ESA_K_FAULT_I2C_BUS) << "never polled again";
        } else {
            const bool isNeverGood = service_.row.board == Board::w83792ad;
            EXPECT_EQ(faults & ~missedFault(), isNeverGood ? VOLTAGE : 0U);
            EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0U);
        }
        for (int n = 0; n < 3; ++n) {  // the fans' way down the ladder
            service_.poll();
        }
        EXPECT_TRUE(service_.take().empty()) << "good health has nothing to say";
    }

  private:
    // What the peers know from the messages they got.
    void hear(const enclab::Message& message) {
        const EsaEvent_t* event = message.event();
        EXPECT_LT(message.kind(), enclab::Kind::other);
        if (message.kind() == enclab::Kind::compositeLed) {
            EXPECT_NE(std::exchange(led_, message.header().general_use2 == 2U), led_) << "twice";
        } else if (event != nullptr && event->header.evId == 10U && event->header.evType == 2) {
            down_[{event->data.information, event->data.temperatureSensorPosition}] =
                event->data.general_use1 != 0U;
        }
    }

    void consistencyCheck() {
        for (const enclab::Message& message : service_.take()) {
            hear(message);
        }
        const U32_t faults = esaControl.compositeFaultStatus;
        const U32_t devices = esaControl.i2cDeviceFaultStatus;
        EXPECT_EQ(has(faults, ESA_K_FAULT_LED_ON), has(faults, ESA_K_FAULT_ALL));
        EXPECT_EQ(led_, has(faults, ESA_K_FAULT_LED_ON));
        EXPECT_EQ(has(faults, ESA_K_FAULT_FAN), esaControl.fanFaultStatus != 0);
        EXPECT_EQ(has(faults & ~missedFault(), ESA_K_FAULT_I2C_BUS), devices != 0);
        for (const StoryDevice& device : service_.row.devices) {
            // Where the alarm is a register of the lost monitor, a monitor that takes that write
            // counts as good again before peers are told that it is lost.
            const bool marked = has(devices, device.bit), isAlarms = device.information == 0;
            const bool told = down_[{device.information, device.sensor}];
            EXPECT_TRUE(esaControl.i2cConnected != 1 || told == marked || (isAlarms && told))
                << device.name << (marked ? " marked" : " not marked");
        }
    }

    // A Winbond monitor missed by its probe is a bus fault and marks no device; where others
    // answer, it lasts until a transfer fails and works again.
    U32_t missedFault() const {
        const bool isWinbond = service_.row.board >= Board::w83782d;
        return isWinbond && esaControl.i2cDeviceFaultStatus == 0 ? ESA_K_FAULT_I2C_BUS : U32_t{0};
    }

    StoryService service_;
    enclab::Bus& bus_;
    std::map<std::pair<U32_t, U32_t>, bool> down_;  // by information and sensor
    bool led_ = false, lost_ = false;
};

class EveryTransfer : public testing::TestWithParam<std::tuple<StoryRow, bool>> {};

TEST_P(EveryTransfer, MayBeLostDuringBringUp) {
    const auto& [row, forGood] = GetParam();
    bool lost = true;
    for (std::size_t n = 1; lost; ++n) {
        SCOPED_TRACE(n);
        Loss loss(row, forGood);
        lost = loss.runWithout(n, [](StoryService* service) { service->start(); });
        loss.recover();
    }
}

TEST_P(EveryTransfer, MayBeLostInService) {
    const auto& [row, forGood] = GetParam();
    Random random(1);
    const auto put = [&](StoryService* service) {
        const std::pair<Section, U32_t> request =
            random.of<std::pair<Section, U32_t>>({{DRIVES, 4},
                                                  {SUPPLIES, SELECT | 2},
                                                  {SUPPLIES, SELECT},
                                                  {FANS, SELECT | 4},
                                                  {ALARMS, SELECT | 2},
                                                  {ALARMS, SELECT | 0x10}});
        const int element = request.first == DRIVES ? static_cast<int>(random.below(12)) : 0;
        service->put({{{request.first, element}, request.second}});
    };
    Loss loss(row, forGood);
    loss.run([](StoryService* service) { service->start(); });
    for (int n = 0; n < ROUNDS; ++n) {
        const std::size_t lost = 1 + random.below(n % 3 == 0 ? 4 : 40);
        SCOPED_TRACE(testing::Message() << "round " << n << ", without transfer " << lost);
        loss.run(put);
        n % 3 == 0   ? loss.runWithout(lost, put)
        : n % 3 == 1 ? loss.runWithout(lost, page)
                     : loss.runWithout(lost, poll);
        loss.recover();
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryTransfer,
                         testing::Combine(testing::ValuesIn(STORY_ROWS), testing::Bool()),
                         [](const auto& row) {
                             return std::get<0>(row.param).name +
                                    std::string(std::get<1>(row.param) ? "ForGood" : "Once");
                         });

}  // namespace
