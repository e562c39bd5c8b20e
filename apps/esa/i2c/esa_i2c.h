// SPDX-License-Identifier: Apache-2.0
// Register transfers with fault tracking per device. One transfer a call, no retry.
#pragma once

#include "core/esa_control.h"

// 0 on success, ESA_E_GENERR_I2C_UNAVAILABLE (1) on failure or while i2cConnected is 0.
ESA_CODE_e esaI2CDataWrite(U8_t i2cAddr, U8_t regAddr, const U8_t* writeDataPtr, U32_t dataLen);
ESA_CODE_e esaI2CDataRead(U8_t i2cAddr, U8_t regAddr, U8_t* readDataPtr, U32_t dataLen);
