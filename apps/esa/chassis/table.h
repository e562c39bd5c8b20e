// SPDX-License-Identifier: Apache-2.0
// THE chassis table: one line a chassis, its type and the row that the chassis' own file defines.
// The row of type n stands at place n.
#pragma once

#include "state/chassis.h"

#define ESA_CHASSIS_TABLE(ROW)                                  \
    ROW(KORVO_E_CHASSIS_NONE, ESA_CHASSIS_NONE)                 \
    ROW(KORVO_E_CHASSIS_XYRATEX_2U12ATX, ESA_CHASSIS_XYRATEX)   \
    ROW(KORVO_E_CHASSIS_PELTO_TOLVEX, ESA_CHASSIS_PELTO_TOLVEX) \
    ROW(KORVO_E_CHASSIS_CHENBRO_3U16ATX, ESA_CHASSIS_CHENBRO)   \
    ROW(KORVO_E_CHASSIS_KORVO_VSC055, ESA_CHASSIS_VSC055)       \
    ROW(KORVO_E_CHASSIS_KORVO_W83782D, ESA_CHASSIS_W83782D)     \
    ROW(KORVO_E_CHASSIS_KORVO_W83792AD, ESA_CHASSIS_W83792AD)

#define ESA_CHASSIS_DECLARE(type, row) extern const EsaChassis_t row;
ESA_CHASSIS_TABLE(ESA_CHASSIS_DECLARE)
#undef ESA_CHASSIS_DECLARE

// For esaChassisTableUse().
EsaChassisTable_t esaChassisTable();
