// SPDX-License-Identifier: Apache-2.0
#include "tests/support/lab_bus.h"

#include <algorithm>

#include "i2c.h"

static enclab::Bus* theBus = nullptr;

LabBus::LabBus(enclab::Bus& bus) {
    theBus = &bus;
}
LabBus::~LabBus() {
    theBus = nullptr;
}

// -1 with errno, as the platform gives it.
static int result(int error) {
    errno = error;
    return error == 0 ? 0 : -1;
}

int read_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    std::vector<enclab::BusMessage> messages{{i2cAddress, false, {registerNumber}},
                                             {i2cAddress, true, std::vector<std::uint8_t>(length)}};
    const int error = theBus->transfer(messages).error;
    if (error == 0) {
        std::ranges::copy(messages[1].bytes, buffer);
    }
    return result(error);
}

int write_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    std::vector<enclab::BusMessage> messages{{i2cAddress, false, {registerNumber}}};
    messages[0].bytes.insert(messages[0].bytes.end(), buffer, buffer + length);
    return result(theBus->transfer(messages).error);
}
