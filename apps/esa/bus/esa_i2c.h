// SPDX-License-Identifier: Apache-2.0
// Register transfers with fault tracking per device. One transfer a call, no retry.
#pragma once

#include "state/esa_control.h"

// ESA_E_OK, or ESA_E_GENERR_I2C_UNAVAILABLE on failure and while i2cConnected is 0. Readers pass
// that code up as it is, so that policies can tell a lost bus from a fault, but for these: rows of
// a start-up sequence (chips/register_rows.h) and Chenbro's fans and voltages make it ESA_E_GENERR,
// a temperature becomes unreadable, and a supply condition says itself what it makes of it
// (EsaSupplyInput_t::keptWhenUnavailable).
ESA_CODE_e esaI2CDataWrite(U8_t i2cAddr, U8_t regAddr, const U8_t* writeDataPtr, U32_t dataLen);
ESA_CODE_e esaI2CDataRead(U8_t i2cAddr, U8_t regAddr, U8_t* readDataPtr, U32_t dataLen);

// Reports the state of a device or of the bus (ESA_E_OK or ESA_E_GENERR) to the event manager:
// event 10, type warning. `information` is an EsaEventInfo_e or 0, `sensorPosition` a sensor index.
void esaI2CStatusEventSend(U32_t information, U32_t sensorPosition, ESA_CODE_e status);
