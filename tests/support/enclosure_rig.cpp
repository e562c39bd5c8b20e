// SPDX-License-Identifier: Apache-2.0
#include "tests/support/enclosure_rig.h"

static EnclosureRig* rig = nullptr;

// Takes the place of the C library's.
extern "C" unsigned sleep(unsigned seconds) {
    rig->bus.note("sleep " + std::to_string(seconds));
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

static void tuningSet() {
    esaControl.fanSpeedDivisor = 2;
    esaControl.fanFaultRpmLimit = 1000;
    esaControl.overheatTemperatureLimit = 60;
    esaControl.fanPwm25To50TemperatureThreshold = 30;
    esaControl.fanPwm50To75TemperatureThreshold = 40;
    esaControl.fanPwm75To100TemperatureThreshold = 50;
    esaControl.fanPwm50To25TemperatureThreshold = 20;
    esaControl.fanPwm75To50TemperatureThreshold = 35;
    esaControl.fanPwm100To75TemperatureThreshold = 45;
}

static void countsSet(U8_t drives, U8_t supplies, U8_t fans, U8_t sensors) {
    esaControl.deviceMaxNumber = drives;
    esaControl.powerSupplyMaxNumber = supplies;
    esaControl.coolingMaxNumber = fans;
    esaControl.temperatureSensorMaxNumber = sensors;
    esaControl.audibleAlarmMaxNumber = 1;
}

// Registers from `number` up.
static void registersSet(FakeBus* bus, U8_t address, U8_t number, std::vector<U8_t> values) {
    for (U8_t value : values) {
        bus->reg(address, number++) = value;
    }
}

static void xyratexSet(FakeBus* bus) {
    countsSet(12, 2, 8, 2);
    esaControl.i2cAddressVsc055 = 0x63;
    bus->reg(0x63, 0x00) = 0x24;  // slots 2 and 5 are empty
    bus->reg(0x63, 0x03) = 0x08;  // slot 11
    bus->reg(0x63, 0x04) = 0x30;
    bus->input(0x63, 0x04, 0x30);
    bus->reg(0x63, 0x05) = 0x00;
    bus->input(0x63, 0x05, 0x10);
    for (U8_t fan = 0; fan < 8; ++fan) {
        bus->reg(0x63, static_cast<U8_t>(0x32 + 4 * fan)) = 240;
    }
    bus->reg(0x4C, 0x00) = 25;
    bus->reg(0x4D, 0x00) = 26;
}

static void vsc055Set(FakeBus* bus) {
    countsSet(16, 2, 3, 2);
    esaControl.i2cAddressVsc055 = 0x41;
    const U8_t sensors[] = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F};
    std::copy(std::begin(sensors), std::end(sensors), esaControl.i2cAddressLM75);
    bus->reg(0x41, 0x04) = 0x80;
    bus->input(0x41, 0x04, 0x80);
    for (U8_t speed : {U8_t{0x32}, U8_t{0x36}, U8_t{0x3A}}) {
        bus->reg(0x41, speed) = 120;
    }
    bus->reg(0x4C, 0x00) = 25;
    bus->reg(0x4B, 0x00) = 25;
}

static void w83792adSet(FakeBus* bus) {
    countsSet(16, 2, 6, 3);
    esaControl.i2cAddressW83792ad = 0x2C;
    esaControl.i2cAddressPca9539 = 0x74;
    bus->reg(0x2C, 0x1C) = 0x80;
    bus->input(0x2C, 0x1C, 0x80);
    registersSet(bus, 0x2C, 0x20, {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xD0, 25, 135, 135, 135});
    registersSet(bus, 0x2C, 0x3E, {0xE4, 0x1B});
    bus->reg(0x2C, 0x48) = 0x2C;
    registersSet(bus, 0x2C, 0xB8, {135, 135, 135});
    registersSet(bus, 0x2C, 0xC0, {26, 0x80});
    registersSet(bus, 0x2C, 0xC8, {27, 0x00});
    bus->reg(0x74, 0x02) = 0;
}

static void monitorSet(FakeBus* bus, U8_t address, U8_t degrees) {
    registersSet(bus, address, 0x20, {80, 81, 206, 186, 198, 33, 53, degrees});
    bus->reg(address, 0x48) = address;
}

// The counts are the start-up's own.
static void w83782dSet(FakeBus* bus) {
    countsSet(0, 0, 0, 0);
    esaControl.i2cAddressW83782d = 0x2D;
    monitorSet(bus, 0x2D, 25);
    registersSet(bus, 0x2D, 0x28, {135, 135, 135});
    bus->reg(0x2D, 0x4D) = 0x15;
}

// Each monitor answers at both of its addresses.
static void chenbroSet(FakeBus* bus) {
    countsSet(0, 0, 0, 0);
    U8_t n = 0;
    for (U8_t address : {U8_t{0x28}, U8_t{0x2A}, U8_t{0x2C}, U8_t{0x30}}) {
        monitorSet(bus, address, static_cast<U8_t>(25 + n));
        bus->reg(address, 0x40) = 0x01;
        bus->reg(address, 0x4D) = static_cast<U8_t>(0x10 + n++);
    }
    registersSet(bus, 0x28, 0x28, {135, 135});
    registersSet(bus, 0x29, 0x28, {135});
    registersSet(bus, 0x2A, 0x28, {135});
    registersSet(bus, 0x2B, 0x28, {135, 135});
}

struct Enclosure {
    const char* folder;
    void (*set)(FakeBus* bus);
};
// From type 2 up.
static const Enclosure ENCLOSURES[] = {
    {"xyratex", xyratexSet}, {"vsc055", vsc055Set},   {"chenbro", chenbroSet},
    {"vsc055", vsc055Set},   {"w83782d", w83782dSet}, {"w83792ad", w83792adSet},
};

static const Enclosure& enclosureOf(KORVO_E_CHASSIS_t type) {
    return ENCLOSURES[type - KORVO_E_CHASSIS_XYRATEX_2U12ATX];
}

std::string goldenFolder(KORVO_E_CHASSIS_t type) {
    return enclosureOf(type).folder;
}

void EnclosureRig::healthy(KORVO_E_CHASSIS_t type) {
    bus.clear();
    esaControl = {};
    esaControl.enclosureType = type;
    tuningSet();
    enclosureOf(type).set(&bus);
}

void EnclosureRig::running(KORVO_E_CHASSIS_t type) {
    healthy(type);
    EXPECT_EQ(esaChassis()->init(), ESA_E_OK);
    bus.takeLog();
    trace.take();
    sentTake();
}

Lines EnclosureRig::takeLines() {
    Lines lines = trace.take();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("Already marked OK on I2C Device");
    });
    return lines;
}
