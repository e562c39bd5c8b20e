// SPDX-License-Identifier: Apache-2.0
// The trace log: one text stream per process, statements selected per module by a 16-bit level
// mask. A statement that is off costs one load and one test and evaluates nothing.
#pragma once

#include <pthread.h>

#include <cstdio>

#include "basetypes.h"
#include "mpu_gbl.h"

// Bits of a module's level mask.
constexpr U16_t TRACE_K_TIMESTAMP = 0x8000;  // prefix: local time
constexpr U16_t TRACE_K_FUNCTION = 0x4000;   // prefix: function name
constexpr U16_t TRACE_K_FILE = 0x2000;       // prefix: source file name

constexpr int TRACE_K_MODULES_MAX = 256;
constexpr int TRACE_K_INFO_SIZE = 1024;
constexpr int TRACE_K_NAME_SIZE = 192;

// State of the log. `lock` guards all of it but modLevels, which statements test without it.
struct TRACE_DATA_t {
    pthread_mutex_t lock;
    char infoBuf[TRACE_K_INFO_SIZE];  // text of the statement being written
    std::FILE* fd;                    // a file or standard error
    const char* fileName;             // source file of the current statement
    const char* funcName;             // function of the current statement
    char** modNames;
    U16_t modLevels[TRACE_K_MODULES_MAX];  // all zero while no log is open
    const MPU_PARAMS_t* mpuParams;         // handed to the alternate event log at a bug check
    U32_t logWriteCount;                   // lines since the last size check
    U32_t infoBufLen;                      // characters in infoBuf, at most 1023
    U32_t lineNumber;                      // source line of the current statement
    U32_t log_to_file;                     // 1: a named file, 0: standard error
    char logNameProto[TRACE_K_NAME_SIZE];  // file name pattern with one integer conversion
    U8_t moduleIndex;
    U8_t logInstanceNumber;  // number of the current log file, modulo 256
    U8_t numModLevels;
};

extern TRACE_DATA_t traceData;

// Opens the log of `numModules` modules (0 to 255), all silent: in the area's log directory under
// the printf pattern `traceFileNameProto` (one integer conversion), or on standard error when
// `pMpuParams` is null, the directory or the pattern empty.
void TRACE__init(const MPU_PARAMS_t* pMpuParams, const char* traceFileNameProto, int numModules,
                 const char* const* moduleNames);
// Closes the log; output is left on standard error and every module is silent.
void TRACE__done();
// Chooses and opens the output anew, rules as for TRACE__init.
void TRACE__redirect(const MPU_PARAMS_t* pMpuParams, const char* traceFileNameProto);
// Current file name, or "<stderr>", into the caller's 192-byte buffer.
void TRACE__getLogName(char* logName);
// Opens the next file.
void TRACE_openLog();
// Looks at the file's size and opens the next file when it exceeds 1999999999 bytes.
void TRACE_checkLog();

// 0, or -1 with a message on standard error when `index` is not a module.
int TRACE__setTraceLevel(int index, U16_t level);
// The mask, or 0 with a message on standard error when `index` is not a module.
U16_t TRACE__getTraceLevel(int index);

// Local time as "Nov  5 07:08:09"; characters written, 0 when `buf` is null or `bufLen` 0.
int TRACE_getTimestamp(char* buf, int bufLen);

// The four writers. Each writes the statement prepared in traceData, which the caller has locked,
// and releases the lock.
void TRACE__logInfo(int output_log, int bug_check);  // bug_check not 0: does not return
void TRACE__logDump(const void* data, U32_t len);
void TRACE__logEnter();
void TRACE__logReturn();

// Lock, prepare and write one statement; used through the macros below.
void TRACE__statement(U8_t module, const char* file, const char* function, int line,
                      const char* format, ...) __attribute__((format(printf, 5, 6)));
void TRACE__dumpStatement(U8_t module, const char* file, const char* function, int line,
                          const void* data, U32_t len, const char* format, ...)
    __attribute__((format(printf, 7, 8)));
void TRACE__enterStatement(U8_t module, const char* file, const char* function, int line,
                           const char* format, ...) __attribute__((format(printf, 5, 6)));
void TRACE__returnStatement(U8_t module, const char* file, const char* function, int line,
                            const char* format, ...) __attribute__((format(printf, 5, 6)));
[[noreturn]] void TRACE__bugCheckStatement(U8_t module, const char* file, const char* function,
                                           int line, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

#define TRACE_IS_ON(module, level) ((traceData.modLevels[module] & (level)) != 0)

// One statement of `module` at `level`; arguments are evaluated before the lock is taken.
#define TRACE_STATEMENT(module, level, file, ...)                                \
    do {                                                                         \
        if (TRACE_IS_ON(module, level)) {                                        \
            TRACE__statement((module), (file), __func__, __LINE__, __VA_ARGS__); \
        }                                                                        \
    } while (0)

// Text followed by a hexadecimal dump of `len` bytes at `data`.
#define TRACE_DUMP_STATEMENT(module, level, file, data, len, ...)                     \
    do {                                                                              \
        if (TRACE_IS_ON(module, level)) {                                             \
            TRACE__dumpStatement((module), (file), __func__, __LINE__, (data), (len), \
                                 __VA_ARGS__);                                        \
        }                                                                             \
    } while (0)
