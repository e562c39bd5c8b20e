// SPDX-License-Identifier: Apache-2.0
// Transfers fail, one after the other at every place. Whatever is lost and when: the process lives,
// its messages are whole, what its peers were told is what it remembers, and an enclosure that
// answers again is in good health at the next poll.
#include <gtest/gtest.h>

#include "tests/story/service.h"

namespace {

using Command = void (*)(StoryService*);

bool has(U32_t bits, U32_t bit) {
    return (bits & bit) != 0;
}

// A service that loses transfers, and what must hold of it.
class EveryTransfer : public testing::TestWithParam<std::tuple<StoryRow, bool>> {
  protected:
    void begin() {
        service_.reset();
        service_ = std::make_unique<StoryService>(std::get<0>(GetParam()));
        service_->chassis->bus().observe([this](const enclab::BusTransfer& transfer) {
            lost_ |= transfer.error != 0;
            if (transfer.error != 0 && std::get<1>(GetParam())) {
                service_->chassis->bus().cut(transfer.messages[0].address);
            }
        });
        down_.clear();
        led_ = false;
    }

    void run(Command command) {
        command(service_.get());
        for (const enclab::Message& message : service_->take()) {
            hear(message);
        }
        consistencyCheck();
    }

    // The n-th transfer from now fails, and its device stays away or not. False when there are
    // less than n.
    bool runWithout(std::uint32_t n, Command command) {
        SCOPED_TRACE(testing::Message() << "without transfer " << n);
        lost_ = false;
        const int fault = service_->chassis->bus().add({.nth = n});
        run(command);
        service_->chassis->bus().remove(fault);
        const bool lost = lost_;
        recover();
        return lost;
    }

    // All devices answer again.
    void recover() {
        for (const enclab::ChassisDevice& device : service_->chassis->devices()) {
            service_->chassis->bus().mend(device.address);
        }
        // Nothing else goes to an expander for LEDs.
        run([](auto* service) { service->put({{{DRIVES, 0}, 4}, {{DRIVES, 8}, 4}}); });
        run([](auto* service) { service->put({}); });
        run([](auto* service) { service->poll(); });
        const U32_t faults = esaControl.compositeFaultStatus & ESA_K_FAULT_ALL;
        if (esaControl.i2cConnected == 0) {
            EXPECT_EQ(faults, ESA_K_FAULT_I2C_BUS) << "never polled again";
        } else {
            const bool isNeverGood = service_->row.board == Board::w83792ad;
            EXPECT_EQ(faults & ~missedFault(), isNeverGood ? VOLTAGE : 0U);
            EXPECT_EQ(esaControl.i2cDeviceFaultStatus, 0U);
        }
        for (int n = 0; n < 3; ++n) {  // the fans' way down the ladder
            service_->poll();
        }
        EXPECT_TRUE(service_->take().empty()) << "good health has nothing to say";
    }

  private:
    // What the peers know from the messages they got.
    void hear(const enclab::Message& message) {
        const EsaEvent_t* event = message.event();
        EXPECT_FALSE(message.kind() == enclab::Kind::other ||
                     message.kind() == enclab::Kind::broken);
        if (message.kind() == enclab::Kind::compositeLed) {
            const bool on = message.header().general_use2 == 2U;
            EXPECT_NE(on, led_) << "asked for twice";
            led_ = on;
        } else if (event != nullptr && event->header.evId == 10U && event->header.evType == 2) {
            down_[{event->data.information, event->data.temperatureSensorPosition}] =
                event->data.general_use1 != 0U;
        }
    }

    void consistencyCheck() {
        const U32_t faults = esaControl.compositeFaultStatus;
        const U32_t devices = esaControl.i2cDeviceFaultStatus;
        EXPECT_EQ(has(faults, ESA_K_FAULT_LED_ON), has(faults, ESA_K_FAULT_ALL));
        EXPECT_EQ(led_, has(faults, ESA_K_FAULT_LED_ON));
        EXPECT_EQ(has(faults, ESA_K_FAULT_FAN), esaControl.fanFaultStatus != 0);
        EXPECT_EQ(has(faults & ~missedFault(), ESA_K_FAULT_I2C_BUS), devices != 0);
        for (const StoryDevice& device : service_->row.devices) {
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
        const bool missed =
            service_->row.board >= Board::w83782d && esaControl.i2cDeviceFaultStatus == 0;
        return missed ? ESA_K_FAULT_I2C_BUS : U32_t{0};
    }

    std::unique_ptr<StoryService> service_;
    std::map<std::pair<U32_t, U32_t>, bool> down_;  // by information and sensor
    bool led_ = false;
    bool lost_ = false;
};

TEST_P(EveryTransfer, MayBeLostDuringBringUp) {
    std::uint32_t n = 1;
    do {
        begin();
    } while (runWithout(n++, [](auto* service) { service->start(); }));
}

void poll(StoryService* service) {
    service->poll();
}
template <Section section, int element, U32_t record>
void put(StoryService* service) {
    service->put({{{section, element}, record}});
}

TEST_P(EveryTransfer, MayBeLostInService) {
    const struct {
        Command before;  // so that the command has something to do
        Command command;
    } scenes[] = {
        {poll, poll},
        {poll, [](auto* service) { service->page(2, 0xFFFF); }},
        {poll, put<DRIVES, 9, 4>},
        {put<DRIVES, 9, 4>, put<DRIVES, 9, 0>},
        {poll, put<FANS, 1, SELECT | 4>},
        {put<SUPPLIES, 0, SELECT>, put<SUPPLIES, 0, SELECT | 2>},
        {put<SUPPLIES, 0, SELECT | 2>, put<SUPPLIES, 0, SELECT>},
        {put<ALARMS, 0, SELECT | 2>, put<ALARMS, 0, SELECT | 0x10>},
        {put<ALARMS, 0, SELECT | 0x10>, put<ALARMS, 0, SELECT | 2>},
    };
    begin();
    run([](auto* service) { service->start(); });
    recover();
    for (const auto& scene : scenes) {
        SCOPED_TRACE(testing::Message() << "scene " << &scene - scenes);
        std::uint32_t n = 1;
        do {
            run(scene.before);
        } while (runWithout(n++, scene.command));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryTransfer,
                         testing::Combine(testing::ValuesIn(STORY_ROWS), testing::Bool()),
                         [](const auto& row) {
                             return std::get<0>(row.param).name +
                                    std::string(std::get<1>(row.param) ? "ForGood" : "Once");
                         });

}  // namespace
