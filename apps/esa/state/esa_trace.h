// SPDX-License-Identifier: Apache-2.0
// Trace statements of the service. The source-file field of every statement is the same, whichever
// file it stands in: log readers match on it.
#pragma once

#include "trace.h"

constexpr U8_t ESA_K_TRACE_MODULE = 0;
constexpr U16_t ESA_K_TRACE_LEVEL = 0x0010;        // ordinary statements
constexpr U16_t ESA_K_TRACE_LEVEL_FAULT = 0x0001;  // the critical-error box and dump
constexpr char ESA_K_TRACE_FILE[] = "esamain.cpp";

#define ESA_TRACE(...) \
    TRACE_STATEMENT(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL, ESA_K_TRACE_FILE, __VA_ARGS__)

// ESA_TRACE_DUMP(data, length, "title")
#define ESA_TRACE_DUMP(data, len, ...)                                                           \
    TRACE_DUMP_STATEMENT(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL, ESA_K_TRACE_FILE, (data), (len), \
                         __VA_ARGS__)
