// SPDX-License-Identifier: Apache-2.0
// W83792AD voltages: ten bits a channel, the upper eight in a register of their own, the low two
// packed. The Vcore channels add the low bits; on the five others the low bits replace the value,
// so that +5Vcc never reads more than 0.018 V and the tolerance is reported as lost: boards in the
// field behave so, and their operators know it. (compatibility: low-bits-w83792ad)
#include "bus/esa_i2c.h"
#include "chips/w83792ad.h"
#include "chips/winbond.h"
#include "state/esa_trace.h"

namespace {

constexpr U8_t LOW_BITS_MASK = 0x3;
constexpr int STEPS_PER_READING = 4;

// Volts.
constexpr double RAIL_5V_LOW = 4.5;
constexpr double RAIL_5V_HIGH = 5.5;

struct Channel {
    U8_t reading;
    U8_t lowBits;
    U8_t shift;     // of the channel's two bits in lowBits
    double factor;  // volts per step
    bool isSum;     // low bits are added; otherwise they replace
    const char* name;
    const char* highName;  // null: the high part is not said
    const char* finalName;
    const char* end;  // of the raw and low-bits lines
};
constexpr Channel CHANNELS[] = {
    {W83792AD_REG_VCOREA, W83792AD_REG_LOW_BITS_1, 0, 0.002, true, "Vcorea", "Vcorea", "Vcorea",
     "."},
    {W83792AD_REG_VCOREB, W83792AD_REG_LOW_BITS_1, 2, 0.002, true, "Vcoreb", "Vcoreb", "Vcoreb",
     "."},
    // "Vinr0" and "=5Vcc" are the log's own words. (compatibility: limit-names)
    {W83792AD_REG_VIN0, W83792AD_REG_LOW_BITS_1, 4, 0.004, false, "Vin0", "Vinr0", "Vin0", ""},
    {W83792AD_REG_VIN1, W83792AD_REG_LOW_BITS_1, 6, 0.004, false, "Vin1", "Vin1", "Vin1", ""},
    {W83792AD_REG_VIN2, W83792AD_REG_LOW_BITS_2, 0, 0.004, false, "Vin2", "Vin2", "Vin2", ""},
    {W83792AD_REG_VIN3, W83792AD_REG_LOW_BITS_2, 2, 0.004, false, "Vin3", "Vin3", "Vin3", ""},
    {W83792AD_REG_POSITIVE_5VCC, W83792AD_REG_LOW_BITS_2, 4, 0.006, false, "+5Vcc", nullptr,
     "=5Vcc", ""},
};

// From W83792AD_REG_VCOREA_HIGH_LIMIT up.
constexpr const char* LIMIT_NAMES[] = {
    "Vcorea High Limit", "Vcorea Low Limit", "Vcoreb High Limit", "Vcoreb Low Limit",
    "Vin0 High Limit",   "Vin0 Low Limit",   "Vin1 High Limit",   "Vin1 Low Limit",
    "Vin2 High Limit",   "Vin2 Low Limit",   "Vin3 High Limit",   "Vin3 Low Limit",
    "+5Vin High Limit",  "+5Vin Low Limit",
};

ESA_CODE_e registerRead(U8_t number, U8_t* value) {
    return esaI2CDataRead(esaControl.i2cAddressW83792ad, number, value, 1);
}

ESA_CODE_e channelRead(const Channel& channel, double* volts) {
    U8_t reading = 0;
    ESA_CODE_e code = registerRead(channel.reading, &reading);
    if (code != ESA_E_OK) {
        return code;
    }
    ESA_TRACE("%s = [%d]%s", channel.name, reading, channel.end);
    const double highPart = reading * STEPS_PER_READING * channel.factor;
    if (channel.highName != nullptr) {
        ESA_TRACE("Converted %s = [%f]V.", channel.highName, highPart);
    }
    U8_t packed = 0;
    code = registerRead(channel.lowBits, &packed);
    if (code != ESA_E_OK) {
        return code;
    }
    const int lowBits = (packed >> channel.shift) & LOW_BITS_MASK;
    ESA_TRACE("Low Bits %d = [%d]%s", channel.lowBits == W83792AD_REG_LOW_BITS_1 ? 1 : 2, lowBits,
              channel.end);
    const double lowPart = lowBits * channel.factor;
    *volts = channel.isSum ? highPart + lowPart : lowPart;
    ESA_TRACE("Converted %s = [%f]V.", channel.finalName, *volts);
    return ESA_E_OK;
}

ESA_CODE_e limitsTrace() {
    U8_t number = W83792AD_REG_VCOREA_HIGH_LIMIT;
    for (const char* name : LIMIT_NAMES) {
        U8_t value = 0;
        const ESA_CODE_e code = registerRead(number++, &value);
        if (code != ESA_E_OK) {
            return code;
        }
        ESA_TRACE("%s = [%d]", name, value);
    }
    return ESA_E_OK;
}

}  // namespace

ESA_CODE_e esaW83792adPowerVoltageToleranceStatusRead() {
    ESA_TRACE("Read Voltage Tolerance, I2C address = [0x%x].", esaControl.i2cAddressW83792ad);
    double volts = 0;
    for (const Channel& channel : CHANNELS) {
        const ESA_CODE_e code = channelRead(channel, &volts);
        if (code != ESA_E_OK) {
            return code;
        }
    }
    esaControl.powerSupplyVoltage5V = volts;  // +5Vcc is the last channel
    if (!winbondRailIsGood(volts, RAIL_5V_LOW, RAIL_5V_HIGH, "+5Vin")) {
        return ESA_E_GENERR;
    }
    return limitsTrace();
}
