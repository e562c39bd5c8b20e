// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fake_bus.h"

#include <cerrno>
#include <cstdio>

#include "i2c.h"

static FakeBus* theBus = nullptr;

FakeBus::FakeBus() {
    theBus = this;
}
FakeBus::~FakeBus() {
    theBus = nullptr;
}

void FakeBus::clear() {
    devices_.clear();
    scripts_.clear();
    inputs_.clear();
    cut_.clear();
    log_.clear();
    failIn_ = 0;
    transfers_ = 0;
}

void FakeBus::script(std::uint8_t address, std::uint8_t number, std::vector<std::uint8_t> values) {
    reg(address, number);
    scripts_[{address, number}] = std::move(values);
}

std::vector<std::string> FakeBus::takeLog() {
    std::vector<std::string> log;
    log.swap(log_);
    return log;
}

int FakeBus::transfer(bool read, std::uint8_t address, std::uint8_t number, std::uint8_t* data,
                      std::uint32_t length) {
    ++transfers_;
    const bool scheduled = failIn_ > 0 && --failIn_ == 0;
    char text[32];
    if (scheduled || length != 1 || cut_.contains(address) || !devices_.contains(address)) {
        std::snprintf(text, sizeof text, "%c %02X %02X fails", read ? 'R' : 'W', address, number);
        log_.emplace_back(text);
        errno = ENXIO;
        return -1;
    }
    std::uint8_t& stored = devices_[address][number];
    auto script = scripts_.find({address, number});
    if (!read) {
        const std::uint8_t inputs = inputs_[{address, number}];
        stored = static_cast<std::uint8_t>((stored & inputs) | (*data & ~inputs));
    } else if (script != scripts_.end() && !script->second.empty()) {
        *data = script->second.front();
        script->second.erase(script->second.begin());
    } else {
        *data = stored;
    }
    std::snprintf(text, sizeof text, "%c %02X %02X=%02X", read ? 'R' : 'W', address, number, *data);
    log_.emplace_back(text);
    return 0;
}

int read_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    return theBus == nullptr ? -1
                             : theBus->transfer(true, i2cAddress, registerNumber, buffer, length);
}

int write_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    U8_t value = length > 0 ? *buffer : U8_t{0};
    return theBus == nullptr ? -1
                             : theBus->transfer(false, i2cAddress, registerNumber, &value, length);
}
