// SPDX-License-Identifier: Apache-2.0
// Trace statements: each takes the lock, formats its text, and has its line written.
#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "MPU/trace_lock.h"
#include "trace.h"

namespace {

// Takes the lock and formats a statement into traceData.
__attribute__((format(printf, 5, 0))) void prepare(U8_t module, const char* file,
                                                   const char* function, int line,
                                                   const char* format, va_list arguments) {
    traceLock();
    traceData.moduleIndex = module;
    traceData.fileName = file;
    traceData.funcName = function;
    traceData.lineNumber = static_cast<U32_t>(line);
    traceData.mpuParams = nullptr;
    const int length = vsnprintf(traceData.infoBuf, TRACE_K_INFO_SIZE, format, arguments);
    traceData.infoBufLen = static_cast<U32_t>(std::clamp(length, 0, TRACE_K_INFO_SIZE - 1));
    traceData.infoBuf[traceData.infoBufLen] = '\0';
}

}  // namespace

void TRACE__statement(U8_t module, const char* file, const char* function, int line,
                      const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    prepare(module, file, function, line, format, arguments);
    va_end(arguments);
    TRACE__logInfo(1, 0);
}

void TRACE__dumpStatement(U8_t module, const char* file, const char* function, int line,
                          const void* data, U32_t len, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    prepare(module, file, function, line, format, arguments);
    va_end(arguments);
    TRACE__logDump(data, len);
}

void TRACE__enterStatement(U8_t module, const char* file, const char* function, int line,
                           const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    prepare(module, file, function, line, format, arguments);
    va_end(arguments);
    TRACE__logEnter();
}

void TRACE__returnStatement(U8_t module, const char* file, const char* function, int line,
                            const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    prepare(module, file, function, line, format, arguments);
    va_end(arguments);
    TRACE__logReturn();
}

void TRACE__bugCheckStatement(U8_t module, const char* file, const char* function, int line,
                              const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    prepare(module, file, function, line, format, arguments);
    va_end(arguments);
    TRACE__logInfo(1, 1);
    std::abort();  // GCOVR_EXCL_LINE: not reached
}
