// SPDX-License-Identifier: Apache-2.0
// Register sequences as data: rows of register, value and shadow, walked by one routine. The shadow
// changes first, then that byte is written.
#pragma once

#include "bus/esa_i2c.h"
#include "state/esa_control.h"
#include "state/esa_trace.h"

// One write of a start-up sequence into a chip whose shadows are in `Shadows`.
template <typename Shadows>
struct EsaRegisterRow_t {
    U8_t number;  // the chip's register
    U8_t value;
    U8_t Shadows::*shadow;
    const char* writtenText;  // said with the value after a good write; null: nothing is said
    const char* failedName;   // named when the write fails; null: nothing is said
};

// Where the rows go: `chip` is the name failures are reported with.
template <typename Shadows>
struct EsaRegisterTarget_t {
    U8_t i2cAddr;
    Shadows& shadows;
    const char* chip;
};

// ESA_E_GENERR when the write failed, whatever the transfer's code was.
template <typename Shadows>
ESA_CODE_e esaRegisterRowWrite(const EsaRegisterTarget_t<Shadows>& target,
                               const EsaRegisterRow_t<Shadows>& row) {
    U8_t& shadow = target.shadows.*row.shadow;
    shadow = row.value;
    if (esaI2CDataWrite(target.i2cAddr, row.number, &shadow, 1) != ESA_E_OK) {
        if (row.failedName != nullptr) {
            ESA_TRACE("Setting %s on %s failed", row.failedName, target.chip);
        }
        return ESA_E_GENERR;
    }
    if (row.writtenText != nullptr) {
        ESA_TRACE("%s = [%d]", row.writtenText, shadow);
    }
    return ESA_E_OK;
}

// Writes the rows in order up to the first that fails.
template <typename Shadows, std::size_t N>
ESA_CODE_e esaRegisterRowsWrite(const EsaRegisterTarget_t<Shadows>& target,
                                const EsaRegisterRow_t<Shadows> (&rows)[N]) {
    for (const EsaRegisterRow_t<Shadows>& row : rows) {
        if (esaRegisterRowWrite(target, row) != ESA_E_OK) {
            return ESA_E_GENERR;
        }
    }
    return ESA_E_OK;
}
