// SPDX-License-Identifier: Apache-2.0
// Transfers fail, one after the other at every place. Whatever is lost and when: the process lives,
// its messages are whole, peers know of its faults, and an enclosure that answers again is in good
// health at the next poll.
#include <gtest/gtest.h>

#include "tests/story/service.h"
#include "tests/support/laws.h"

namespace {

// A service that loses transfers, of devices that may stay away then; and what must hold of it.
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

    // The n-th transfer of the command fails. False when there are less than n.
    template <typename Command>
    bool without(std::size_t n, Command command) {
        SCOPED_TRACE(testing::Message() << "without transfer " << n);
        lost_ = false;
        const int fault = bus_.add({.nth = narrowTo<std::uint32_t>(n)});
        command(&service_);
        bus_.remove(fault);
        ledCheck();
        const bool lost = lost_;
        recoverCheck();
        return lost;
    }

  private:
    void ledCheck() {
        for (const enclab::Message& message : service_.take()) {
            EXPECT_LT(message.kind(), enclab::Kind::other);
            if (message.kind() == enclab::Kind::compositeLed) {
                EXPECT_EQ(message.header().general_use2, led_ ? 1U : 2U) << "asked for twice";
                led_ = !led_;
            }
        }
        EXPECT_EQ(led_, esaControl.compositeFaultStatus > ESA_K_FAULT_LED_ON);
        EXPECT_EQ(led_, esaControl.compositeFaultStatus != 0);
    }

    // All devices answer again; nothing else goes to an expander for LEDs. A Winbond monitor missed
    // by its probe is a bus fault that lasts until a transfer fails and works again.
    void recoverCheck() {
        for (const enclab::ChassisDevice& device : service_.chassis->devices()) {
            bus_.mend(device.address);
        }
        service_.put({{{DRIVES, 0}, 4}, {{DRIVES, 8}, 4}, {{SUPPLIES, 0}, SELECT}});
        service_.put({});
        service_.poll();
        ledCheck();
        const bool isConnected = esaControl.i2cConnected == 1;
        const U32_t missed = service_.row.board >= Board::w83782d ? ESA_K_FAULT_I2C_BUS : 0U;
        const U32_t lasting = service_.row.board == Board::w83792ad ? VOLTAGE : 0;
        const U32_t faults = esaControl.compositeFaultStatus & ESA_K_FAULT_ALL & ~missed;
        EXPECT_EQ(faults, isConnected ? lasting : ESA_K_FAULT_I2C_BUS & ~missed);
        EXPECT_FALSE(isConnected && esaControl.i2cDeviceFaultStatus != 0);
        for (int n = 0; n < 3; ++n) {  // the fans' way down the ladder
            service_.poll();
        }
        EXPECT_TRUE(service_.take().empty()) << "good health has nothing to say";
    }

    StoryService service_;
    enclab::Bus& bus_;
    bool led_ = false, lost_ = false;
};

class EveryTransfer : public testing::TestWithParam<std::tuple<StoryRow, bool>> {};

// In bring-up, some of a long dump, and then some in service.
TEST_P(EveryTransfer, MayBeLost) {
    const auto& [row, forGood] = GetParam();
    Random random(1);
    bool lost = true;
    for (std::size_t n = 1; lost; n += 1 + n / 16) {
        Loss loss(row, forGood);
        lost = loss.without(n, [](StoryService* service) { service->start(); });
        for (int round = 0; round < 3 && esaControl.i2cConnected == 1; ++round) {
            loss.without(1 + random.below(30), [](StoryService* service) { service->poll(); });
            loss.without(1 + random.below(40), [](auto* service) { service->page(2, 0xFFFF); });
            loss.without(1 + random.below(5), [&](StoryService* service) {
                service->put({{{DRIVES, static_cast<int>(random.below(12))}, 4},
                              {{SUPPLIES, 0}, SELECT | random.of<U32_t>({0, 2})},
                              {{FANS, 1}, SELECT | 4},
                              {{ALARMS, 0}, SELECT | random.of<U32_t>({2, 0x10})}});
            });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryTransfer,
                         testing::Combine(testing::ValuesIn(&STORY_ROWS[2], std::end(STORY_ROWS)),
                                          testing::Bool()),
                         [](const auto& row) {
                             return std::get<0>(row.param).name +
                                    std::string(std::get<1>(row.param) ? "ForGood" : "Once");
                         });

}  // namespace
