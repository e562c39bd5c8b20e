// SPDX-License-Identifier: Apache-2.0
// The trace log: statement protocol, line prefixes, hexadecimal dump, rotation by size and the
// bug check that ends a process with a record in the alternate event log. After TRACE__init
// nothing here allocates: the stream has a buffer of its own and rotation keeps it.
#include "trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "MPU/event_record.h"
#include "osdep.h"

TRACE_DATA_t traceData;

namespace {

constexpr U32_t PREFIX_SIZE = 168;
constexpr int TIMESTAMP_SIZE = 64;
constexpr U32_t WRITES_BETWEEN_SIZE_CHECKS = 99999;
constexpr off_t LOG_SIZE_MAX = 1999999999;
constexpr U32_t DUMP_ROW_BYTES = 32;
constexpr U32_t DUMP_GROUP_BYTES = 8;
constexpr U32_t DUMP_FLUSH_LENGTH = 1008;  // leaves room for a row's address and a byte
constexpr char STDERR_NAME[] = "<stderr>";

constexpr std::size_t BUGCHECK_FILE_NAME_MAX = 20;

const char* const months_list[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

char linePrefix[PREFIX_SIZE];
char streamBuffer[4096];
BugCheckRecord_t bugCheckRecord;

// A failed mutex operation is fatal; `result` becomes the system error that is reported.
void mutexCheck(int result, U32_t code, const char* text) {
    if (result != 0) {
        errno = result;
        MPU_BUGCHECK(code, text);
    }
}

// Error checking: a statement inside a statement is a bug check instead of a deadlock.
int mutexInit(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attributes;
    int result = pthread_mutexattr_init(&attributes);
    if (result == 0) {
        result = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    }
    return result == 0 ? pthread_mutex_init(mutex, &attributes) : result;
}

void lock() {
    mutexCheck(pthread_mutex_lock(&traceData.lock), MPU_K_BUGCHECK_MUTEX_GET,
               "mpuMutex_Get(): get lock failure.");
}

void unlock() {
    mutexCheck(pthread_mutex_unlock(&traceData.lock), MPU_K_BUGCHECK_MUTEX_UNLOCK,
               "mpuMutex_Unlock(): release lock failure.");
}

// Appends to a buffer of `size` bytes that holds `used` characters and cuts what does not fit; the
// new number of characters.
__attribute__((format(printf, 4, 0))) U32_t vAppend(char* buf, U32_t size, U32_t used,
                                                    const char* format, va_list arguments) {
    const int length = vsnprintf(buf + used, size - used, format, arguments);
    if (length < 0) {
        buf[used] = '\0';
        return used;
    }
    const U32_t end = used + static_cast<U32_t>(length);
    return end < size ? end : size - 1;
}

__attribute__((format(printf, 2, 3))) U32_t prefixAppend(U32_t used, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const U32_t end = vAppend(linePrefix, PREFIX_SIZE, used, format, arguments);
    va_end(arguments);
    return end;
}

__attribute__((format(printf, 1, 2))) void infoAppend(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    traceData.infoBufLen =
        vAppend(traceData.infoBuf, TRACE_K_INFO_SIZE, traceData.infoBufLen, format, arguments);
    va_end(arguments);
}

void infoTerminate() {
    if (traceData.infoBufLen >= TRACE_K_INFO_SIZE) {
        traceData.infoBufLen = TRACE_K_INFO_SIZE - 1;
    }
    traceData.infoBuf[traceData.infoBufLen] = '\0';
}

bool moduleHas(U16_t levelBit) {
    return TRACE_IS_ON(traceData.moduleIndex, levelBit);
}

void countWrite() {
    if (++traceData.logWriteCount > WRITES_BETWEEN_SIZE_CHECKS) {
        TRACE_checkLog();
    }
}

U32_t prefixTimestamp() {
    linePrefix[0] = '\0';
    if (!moduleHas(TRACE_K_TIMESTAMP)) {
        return 0;
    }
    const int length = TRACE_getTimestamp(linePrefix, TIMESTAMP_SIZE);
    return prefixAppend(static_cast<U32_t>(length), "  ");
}

// File, function and line as far as the module wants them; `gap` follows the line number.
void prefixPlace(U32_t used, const char* gap) {
    if (moduleHas(TRACE_K_FILE)) {
        used = prefixAppend(used, "%.32s:", traceData.fileName);
    }
    if (moduleHas(TRACE_K_FUNCTION)) {
        used = prefixAppend(used, "%.32s:", traceData.funcName);
    }
    if (moduleHas(TRACE_K_FILE | TRACE_K_FUNCTION)) {
        prefixAppend(used, "%d:%s", static_cast<int>(traceData.lineNumber), gap);
    }
}

void writeLine() {
    std::fprintf(traceData.fd, "%s%s\n", linePrefix, traceData.infoBuf);
    std::fflush(traceData.fd);
}

// Entry and exit lines; they carry no function prefix, the function is their text.
void writeFunctionLine(const char* verb) {
    countWrite();
    U32_t used = prefixTimestamp();
    if (moduleHas(TRACE_K_FILE)) {
        used = prefixAppend(used, "%.32s:%d:", traceData.fileName,
                            static_cast<int>(traceData.lineNumber));
    }
    prefixAppend(used, "%s func: %s: ", verb, traceData.funcName);
    infoTerminate();
    writeLine();
    unlock();
}

void dumpByte(const U8_t* bytes, U32_t index) {
    if (traceData.infoBufLen > DUMP_FLUSH_LENGTH) {
        std::fputs(traceData.infoBuf, traceData.fd);
        traceData.infoBufLen = 0;
        traceData.logWriteCount++;
    }
    if (index % DUMP_ROW_BYTES == 0) {
        // Eight digits on every target: the low 32 bits of the address.
        infoAppend("\n0x%08X: ",
                   static_cast<U32_t>(reinterpret_cast<std::uintptr_t>(bytes + index)));
    } else if (index % DUMP_GROUP_BYTES == 0) {
        infoAppend(" ");
    }
    infoAppend("%02X", bytes[index]);
}

void fillNames(char (&names)[30]) {
    const char* const file = traceData.fileName;
    const char* const dot = std::strrchr(file, '.');
    const std::size_t stem =
        dot != nullptr ? static_cast<std::size_t>(dot - file) : std::strlen(file);
    const std::size_t fileLength = std::min(stem, BUGCHECK_FILE_NAME_MAX);
    const std::size_t room = sizeof names - fileLength - 1;
    std::memset(names, 0, sizeof names);
    std::memcpy(names, file, fileLength);
    std::memcpy(names + fileLength + 1, traceData.funcName, strnlen(traceData.funcName, room));
}

[[noreturn]] void TRACE__bugCheck() {
    bugCheckRecordBegin(bugCheckRecord, BUGCHECK_K_SOURCE, BUGCHECK_K_EVENT_ID);
    auto* const payload = wireView<BugCheckPayload_t>(bugCheckRecord.payload);
    payload->lineNumber = static_cast<U16_t>(traceData.lineNumber);
    fillNames(payload->names);
    std::snprintf(payload->text, sizeof payload->text, "BUG CHECK: %.243s\n", traceData.infoBuf);
    bugCheckRecordLeave(bugCheckRecord, traceData.mpuParams);
}

// Takes the lock and formats a statement into traceData.
__attribute__((format(printf, 5, 0))) void prepare(U8_t module, const char* file,
                                                   const char* function, int line,
                                                   const char* format, va_list arguments) {
    lock();
    traceData.moduleIndex = module;
    traceData.fileName = file;
    traceData.funcName = function;
    traceData.lineNumber = static_cast<U32_t>(line);
    traceData.mpuParams = nullptr;
    traceData.infoBufLen = vAppend(traceData.infoBuf, TRACE_K_INFO_SIZE, 0, format, arguments);
}

// One block: the pointers, then the names back to back.
char** copyNames(const char* const* names, U32_t count) {
    std::size_t size = count * sizeof(char*);
    for (U32_t i = 0; i < count; i++) {
        size += std::strlen(names[i]) + 1;
    }
    auto* const table = static_cast<char**>(std::calloc(1, size));
    if (table == nullptr) {
        return nullptr;
    }
    char* next = reinterpret_cast<char*>(table + count);
    for (U32_t i = 0; i < count; i++) {
        table[i] = std::strcpy(next, names[i]);
        next += std::strlen(names[i]) + 1;
    }
    return table;
}

void closeLogFile() {
    if (traceData.log_to_file == 1 && traceData.fd != nullptr) {
        std::fclose(traceData.fd);
    }
}

// Points an open stream at another file. Closing and opening would allocate.
bool switchFile(std::FILE* stream, const char* name) {
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (file < 0) {
        std::fclose(stream);
        return false;
    }
    std::fflush(stream);
    const bool switched = dup2(file, fileno(stream)) >= 0;
    close(file);
    return switched;
}

bool openStream(const char* name) {
    if (traceData.fd != nullptr) {
        return switchFile(traceData.fd, name);
    }
    traceData.fd = std::fopen(name, "w");
    if (traceData.fd != nullptr) {
        std::setvbuf(traceData.fd, streamBuffer, _IOFBF, sizeof streamBuffer);
    }
    return traceData.fd != nullptr;
}

void openLogFile() {
    char name[TRACE_K_NAME_SIZE];
    TRACE__getLogName(name);
    if (openStream(name)) {
        return;
    }
    std::fprintf(stderr, "%s: Failed to open logfile %s", "TRACE_openLog", name);
    // Log readers know this text; the output goes to standard error all the same.
    std::fprintf(stderr, " So We are going print all log messages on to stdout");
    traceData.log_to_file = 0;
}

bool isModule(int index, const char* caller) {
    if (index >= 0 && index < traceData.numModLevels) {
        return true;
    }
    std::fprintf(stderr, "ERROR !! %s: Invalid trace MODULE INDEX \n", caller);
    return false;
}

}  // namespace

void TRACE__init(const MPU_PARAMS_t* params, const char* traceFileNameProto, int numModules,
                 const char* const* moduleNames) {
    std::memset(&traceData, 0, sizeof traceData);
    mutexCheck(mutexInit(&traceData.lock), MPU_K_BUGCHECK_MUTEX_INIT,
               "mpuMutex_Init(): init failure.");
    tzset();  // the time zone of every timestamp to come
    traceData.numModLevels = static_cast<U8_t>(numModules);
    traceData.modNames = copyNames(moduleNames, traceData.numModLevels);
    TRACE__redirect(params, traceFileNameProto);
}

void TRACE__done() {
    mutexCheck(pthread_mutex_destroy(&traceData.lock), MPU_K_BUGCHECK_MUTEX_DONE,
               "mpuMutex_Done(): done failure.");
    std::free(traceData.modNames);
    traceData.modNames = nullptr;
    traceData.numModLevels = 0;
    std::memset(traceData.modLevels, 0, sizeof traceData.modLevels);
    closeLogFile();
    traceData.log_to_file = 0;
    traceData.fd = stderr;
}

void TRACE__redirect(const MPU_PARAMS_t* params, const char* traceFileNameProto) {
    closeLogFile();
    const bool toFile = params != nullptr && params->logDirectory[0] != '\0' &&
                        traceFileNameProto != nullptr && traceFileNameProto[0] != '\0';
    if (toFile) {
        traceData.log_to_file = 1;
        std::snprintf(traceData.logNameProto, TRACE_K_NAME_SIZE, "%.*s/%s", MPU_K_DIRECTORY_SIZE,
                      params->logDirectory, traceFileNameProto);
    } else {
        traceData.log_to_file = 0;
        std::snprintf(traceData.logNameProto, TRACE_K_NAME_SIZE, "%s", STDERR_NAME);
    }
    traceData.fd = nullptr;
    traceData.logWriteCount = 0;
    traceData.logInstanceNumber = 0;
    TRACE_openLog();
}

void TRACE__getLogName(char* logName) {
    if (traceData.log_to_file != 1) {
        std::snprintf(logName, TRACE_K_NAME_SIZE, "%s", STDERR_NAME);
        return;
    }
    // Only what follows the last '/' is a pattern; a '%' in the directory is text.
    const char* const pattern = std::strrchr(traceData.logNameProto, '/') + 1;
    const auto directoryLength = static_cast<std::size_t>(pattern - traceData.logNameProto);
    std::memcpy(logName, traceData.logNameProto, directoryLength);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(logName + directoryLength, TRACE_K_NAME_SIZE - directoryLength, pattern,
                  traceData.logInstanceNumber);
#pragma GCC diagnostic pop
}

void TRACE_openLog() {
    traceData.logWriteCount = 0;
    traceData.logInstanceNumber++;
    if (traceData.log_to_file == 1) {
        openLogFile();
    }
    if (traceData.log_to_file == 0) {
        traceData.fd = stderr;
    }
}

void TRACE_checkLog() {
    traceData.logWriteCount = 0;
    if (traceData.log_to_file != 1 || traceData.fd == nullptr) {
        return;
    }
    char name[TRACE_K_NAME_SIZE];
    TRACE__getLogName(name);
    struct stat status;
    if (stat(name, &status) == 0 && status.st_size > LOG_SIZE_MAX) {
        TRACE_openLog();
    }
}

int TRACE__setTraceLevel(int index, U16_t level) {
    if (!isModule(index, "TRACE__setTraceLevel")) {
        return -1;
    }
    traceData.modLevels[index] = level;
    return 0;
}

U16_t TRACE__getTraceLevel(int index) {
    return isModule(index, "TRACE__getTraceLevel") ? traceData.modLevels[index] : U16_t{0};
}

int TRACE_getTimestamp(char* buf, int bufLen) {
    if (buf == nullptr || bufLen <= 0) {
        return 0;
    }
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);  // localtime would look for the zone, and allocate, every time
    const int length = std::snprintf(buf, static_cast<std::size_t>(bufLen), "%s %2d %02d:%02d:%02d",
                                     months_list[local.tm_mon], local.tm_mday, local.tm_hour,
                                     local.tm_min, local.tm_sec);
    return length < bufLen ? length : bufLen - 1;
}

void TRACE__logInfo(int output_log, int bug_check) {
    countWrite();
    if (output_log != 0) {
        U32_t used = prefixTimestamp();
        if (bug_check != 0) {
            used = prefixAppend(used, "TRACE LOG BUG-CHECK AT: ");
        }
        prefixPlace(used, "  ");
        writeLine();
    }
    if (bug_check != 0) {
        TRACE__bugCheck();
    }
    unlock();
}

void TRACE__logDump(const void* data, U32_t len) {
    infoTerminate();
    countWrite();
    linePrefix[0] = '\0';
    prefixPlace(0, " ");
    std::fprintf(traceData.fd, "%s%s", linePrefix, traceData.infoBuf);
    traceData.infoBufLen = 0;
    traceData.infoBuf[0] = '\0';
    for (U32_t i = 0; i < len; i++) {
        dumpByte(static_cast<const U8_t*>(data), i);
    }
    std::fprintf(traceData.fd, "%s\n", traceData.infoBuf);
    std::fflush(traceData.fd);
    unlock();
}

void TRACE__logEnter() {
    writeFunctionLine("ENTERING into");
}

void TRACE__logReturn() {
    writeFunctionLine("EXITING from");
}

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
    std::abort();  // not reached
}
