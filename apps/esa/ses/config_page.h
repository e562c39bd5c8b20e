// SPDX-License-Identifier: Apache-2.0
// The SES configuration page: which elements the enclosure has, in the order of the other pages.
#pragma once

#include "basetypes.h"

// Bytes of the whole page.
U32_t configPageSize();

// Writes configPageSize() bytes at `page`.
void configPageBuild(U8_t* page);
