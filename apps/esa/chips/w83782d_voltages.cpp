// SPDX-License-Identifier: Apache-2.0
// W83782D: the seven voltage channels.
#include "bus/esa_i2c.h"
#include "chips/w83782d.h"
#include "chips/winbond.h"
#include "state/esa_trace.h"

namespace {

// Volts of a reading: (reading x 0.016 - offset) / divisor x scale, by the channel's kind.
enum class Kind { PLAIN, SCALED, NEGATIVE };

struct Channel {
    U8_t reading;
    Kind kind;
    double scale;   // SCALED: factor; NEGATIVE: divisor
    double offset;  // NEGATIVE: volts
    const char* name;
    const char* end;             // of the raw line
    double EsaControl_t::*kept;  // null: logged only
    double low;                  // tolerance of what is kept, volts
    double high;
};
constexpr Channel CHANNELS[] = {
    {W83782D_REG_VCOREA, Kind::PLAIN, 0, 0, "Vcorea", ".", nullptr, 0, 0},
    {W83782D_REG_VINR0, Kind::PLAIN, 0, 0, "Vinr0", "", nullptr, 0, 0},
    {W83782D_REG_POSITIVE_3_3VIN, Kind::PLAIN, 0, 0, "+3.3Vin", "", nullptr, 0, 0},
    {W83782D_REG_POSITIVE_5VIN, Kind::SCALED, 1.68, 0, "+5Vin", "",
     &EsaControl_t::powerSupplyVoltage5V, 4.5, 5.5},
    {W83782D_REG_POSITIVE_12VIN, Kind::SCALED, 3.8, 0, "+12Vin", "",
     &EsaControl_t::powerSupplyVoltage12V, 10.8, 13.2},
    // To the digit: 2.9000000000000004 is not the double nearest 2.9.
    {W83782D_REG_NEGATIVE_12VIN, Kind::NEGATIVE, 0.19444444444444442, 2.9000000000000004, "-12Vin",
     "", nullptr, 0, 0},
    {W83782D_REG_NEGATIVE_5VIN, Kind::NEGATIVE, 0.31818181818181823, 2.4545454545454546, "-5Vin",
     "", nullptr, 0, 0},
};
constexpr double VOLTS_PER_STEP = 0.016;

double voltsOf(const Channel& channel, U8_t reading) {
    const double volts = reading * VOLTS_PER_STEP;
    switch (channel.kind) {
        case Kind::SCALED:
            return volts * channel.scale;
        case Kind::NEGATIVE:
            return (volts - channel.offset) / channel.scale;
        case Kind::PLAIN:
            break;
    }
    return volts;
}

ESA_CODE_e channelProc(U8_t i2cAddr, const Channel& channel) {
    U8_t reading = 0;
    const ESA_CODE_e code = esaI2CDataRead(i2cAddr, channel.reading, &reading, 1);
    if (code != ESA_E_OK) {
        return code;
    }
    const double volts = voltsOf(channel, reading);
    ESA_TRACE("%s = [%d]%s", channel.name, reading, channel.end);
    ESA_TRACE("Converted %s = [%f]V.", channel.name, volts);
    if (channel.kept == nullptr) {
        return ESA_E_OK;
    }
    esaControl.*channel.kept = volts;
    return winbondRailIsGood(volts, channel.low, channel.high, channel.name) ? ESA_E_OK
                                                                             : ESA_E_GENERR;
}

}  // namespace

ESA_CODE_e esaW83782dPowerVoltageToleranceStatusRead(U8_t i2cAddr) {
    ESA_TRACE("Read Voltage Tolerance, I2C address = [0x%x].", i2cAddr);
    for (const Channel& channel : CHANNELS) {
        const ESA_CODE_e code = channelProc(i2cAddr, channel);
        if (code != ESA_E_OK) {
            return code;
        }
    }
    return ESA_E_OK;
}
