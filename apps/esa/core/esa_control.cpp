// SPDX-License-Identifier: Apache-2.0
#include "core/esa_control.h"

EsaControl_t esaControl;
