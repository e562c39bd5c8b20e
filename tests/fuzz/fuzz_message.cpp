// SPDX-License-Identifier: Apache-2.0
// Any bytes as a message: the first byte picks the chassis, whether the bus answers and whether the
// rest is the raw stream or the user data behind a good SES header. A loop pass must take it
// without touching memory it does not own.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "chassis/table.h"
#include "esamain.h"
#include "i2c.h"
#include "link/esa_mmsg.h"
#include "state/esa_control.h"
#include "sys_msg.h"
#include "tests/support/fake_alt_event_log.h"

// The enclosure bus: one device, or none.
static bool isOnBus = false;
static U8_t registers[256];

static bool answers(U8_t i2cAddress) {
    return isOnBus && i2cAddress == 0x41;
}

void begin_i2c_data(int) {}

int read_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t) {
    *buffer = answers(i2cAddress) ? registers[registerNumber] : *buffer;
    return answers(i2cAddress) ? 0 : -1;
}

int write_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t) {
    registers[registerNumber] = *buffer;
    return answers(i2cAddress) ? 0 : -1;
}

namespace {

void enclosureSet(std::uint8_t choice) {
    esaChassisTableUse(esaChassisTable());
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
    isOnBus = (choice & 0x8) != 0;
    std::memset(registers, 0, sizeof registers);
    registers[0x04] = 0x80;
}

// What the switch sends.
std::vector<std::uint8_t> streamOf(std::uint8_t choice, const std::uint8_t* data,
                                   std::size_t size) {
    std::vector<std::uint8_t> stream(data, data + size);
    if ((choice & 0x80) != 0) {
        return stream;
    }
    MMCH_t header = {};
    header.message_type = MSG_E_TYPE_MMSG;
    header.mmsg_length = static_cast<U16_t>(sizeof header + size);
    header.opcode.request.protocol = MMSG_E_PROTOCOL_SES;
    header.opcode.request.type = (choice & 0x40) != 0 ? SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND
                                                      : SES_K_SEND_DIAGNOSTIC_COMMAND;
    header.requestor = MMSG_E_EPID_ENVIRONMP;
    header.recipient_loc_bm[1] = 2;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&header);
    stream.insert(stream.begin(), bytes, bytes + sizeof header);
    return stream;
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
    enclosureSet(data[0]);
    esaControl.socketFdMSM = pair[0];
    const auto stream = streamOf(data[0], data + 1, size - 1);
    if (send(pair[1], stream.data(), stream.size(), MSG_NOSIGNAL) >= 0) {
        shutdown(pair[1], SHUT_WR);
        esaControl.selectTimeout = {0, 1000};
        for (int pass = 0; pass < 4 && esaLinkIsUp(); ++pass) {
            esaLoopPass();
        }
    }
    esaLinkDown();
    close(pair[1]);
    takeAltRecords();
    return 0;
}
