// SPDX-License-Identifier: Apache-2.0
#include "tests/support/enclosure_rig.h"

static EnclosureRig* rig = nullptr;

// Takes the place of the C library's.
extern "C" unsigned sleep(unsigned seconds) {
    rig->sleeps.push_back({rig->bus.transfers(), seconds});
    return 0;
}

EnclosureRig::EnclosureRig() {
    rig = this;
    esaControl = {};
    sentTake();
}

EnclosureRig::~EnclosureRig() {
    rig = nullptr;
}

void EnclosureRig::healthyVsc055() {
    esaControl = {};
    esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
    esaControl.i2cAddressVsc055 = 0x41;
    const U8_t sensors[] = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F};
    std::copy(std::begin(sensors), std::end(sensors), esaControl.i2cAddressLM75);
    esaControl.deviceMaxNumber = 16;
    esaControl.powerSupplyMaxNumber = 2;
    esaControl.coolingMaxNumber = 3;
    esaControl.temperatureSensorMaxNumber = 2;
    esaControl.fanSpeedDivisor = 2;
    esaControl.fanFaultRpmLimit = 1000;
    esaControl.overheatTemperatureLimit = 60;
    esaControl.fanPwm25To50TemperatureThreshold = 30;
    esaControl.fanPwm50To75TemperatureThreshold = 40;
    esaControl.fanPwm75To100TemperatureThreshold = 50;
    esaControl.fanPwm50To25TemperatureThreshold = 20;
    esaControl.fanPwm75To50TemperatureThreshold = 35;
    esaControl.fanPwm100To75TemperatureThreshold = 45;
    bus.reg(0x41, 0x04) = 0x80;
    for (U8_t speed : {U8_t{0x32}, U8_t{0x36}, U8_t{0x3A}}) {
        bus.reg(0x41, speed) = 120;  // 1200000 / (120 x 2) = 5000 RPM
    }
    bus.reg(0x4C, 0x00) = 25;
    bus.reg(0x4B, 0x00) = 25;
}

Lines EnclosureRig::takeLines() {
    Lines lines = trace.take();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("Already marked OK on I2C Device");
    });
    return lines;
}
