// SPDX-License-Identifier: Apache-2.0
#include "state/esa_control.h"

EsaControl_t esaControl;
