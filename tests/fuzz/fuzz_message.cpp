// SPDX-License-Identifier: Apache-2.0
// Any bytes as a message: the first byte picks the chassis and whether the bus answers, the rest is
// what the switch sends. A loop pass must take it without touching memory it does not own.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include "core/esa_control.h"
#include "esamain.h"
#include "msg/esa_mmsg.h"
#include "tests/support/fake_bus.h"

namespace {

void enclosureSet(FakeBus* bus, std::uint8_t choice) {
    esaControl = {};
    esaControl.enclosureType = choice & 0x7;
    esaControl.i2cConnected = 1;
    esaControl.i2cAddressVsc055 = 0x41;
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    esaControl.deviceMaxNumber = SES_K_DEVICES_MAX;
    esaControl.powerSupplyMaxNumber = SES_K_POWER_SUPPLIES_MAX;
    esaControl.audibleAlarmMaxNumber = SES_K_ALARMS_MAX;
    // Counts as a file may claim them, beyond the arrays too.
    esaControl.coolingMaxNumber = (choice & 0x10) != 0 ? 255 : 4;
    esaControl.temperatureSensorMaxNumber = (choice & 0x20) != 0 ? 44 : 4;
    if ((choice & 0x8) != 0) {
        bus->reg(0x41, 0x04) = 0x80;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair) != 0) {
        return 0;
    }
    FakeBus bus;
    enclosureSet(&bus, data[0]);
    esaControl.socketFdMSM = pair[0];
    if (send(pair[1], data + 1, size - 1, MSG_NOSIGNAL) >= 0) {
        shutdown(pair[1], SHUT_WR);
        esaControl.selectTimeout = {0, 1000};
        for (int pass = 0; pass < 4 && esaLinkIsUp(); ++pass) {
            esaLoopPass();
        }
    }
    esaLinkDown();
    close(pair[1]);
    return 0;
}
