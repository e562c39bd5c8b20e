// SPDX-License-Identifier: Apache-2.0
// Trace statements of the service. The source-file field of every statement is the same, whichever
// file it stands in: log readers match on it. (compatibility: source-file)
#pragma once

#include "trace.h"

constexpr U8_t ESA_K_TRACE_MODULE = 0;
constexpr U16_t ESA_K_TRACE_LEVEL = 0x0010;        // ordinary statements
constexpr U16_t ESA_K_TRACE_LEVEL_FAULT = 0x0001;  // the critical-error box and dump
constexpr char ESA_K_TRACE_FILE[] = "esamain.cpp";

#define ESA_TRACE(...) \
    TRACE_STATEMENT(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL, ESA_K_TRACE_FILE, __VA_ARGS__)

// In whose name a shared routine reports, and where that one stands.
struct EsaSender_t {
    const char* name;      // in trace lines
    const char* function;  // in critical faults: with "()" behind
    int line;
};
#define ESA_SENDER(name) (EsaSender_t{#name, #name "()", __LINE__})

// ESA_TRACE_AS(sender, format, ...)
#define ESA_TRACE_AS(sender, ...)                                                                \
    do {                                                                                         \
        if (TRACE_IS_ON(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL)) {                                \
            TRACE__statement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, (sender).name, (sender).line, \
                             __VA_ARGS__);                                                       \
        }                                                                                        \
    } while (0)

// ESA_TRACE_DUMP_AS(sender, data, length, "title")
#define ESA_TRACE_DUMP_AS(sender, data, len, ...)                                     \
    do {                                                                              \
        if (TRACE_IS_ON(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL)) {                     \
            TRACE__dumpStatement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, (sender).name, \
                                 (sender).line, (data), (len), __VA_ARGS__);          \
        }                                                                             \
    } while (0)
