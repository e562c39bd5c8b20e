// SPDX-License-Identifier: Apache-2.0
// The trace log: its lock, levels, files and their rotation by size. After TRACE__init
// nothing here allocates: the stream has a buffer of its own and rotation keeps it.
#include "trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "MPU/trace_lock.h"
#include "osdep.h"
#include "platform/plain_file.h"

TRACE_DATA_t traceData;

namespace {

constexpr off_t LOG_SIZE_MAX = 1999999999;
constexpr char STDERR_NAME[] = "<stderr>";

char streamBuffer[4096];

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

// One block: the pointers, then the names back to back.
char** copyNames(const char* const* names, U32_t count) {
    std::size_t size = count * sizeof(char*);
    for (U32_t i = 0; i < count; i++) {
        size += std::strlen(names[i]) + 1;
    }
    auto* const table = static_cast<char**>(std::calloc(1, size));
    if (table == nullptr) {
        return nullptr;  // GCOVR_EXCL_LINE: without memory at the start
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

// Emptied only when it is known to be ours. Written at its end, so that one that is truncated from
// outside has no hole.
int openEmptyFile(const char* name) {
    struct stat status;
    const int file = plainFileOpen(name, O_WRONLY | O_APPEND, status);
    if (file >= 0 && ftruncate(file, 0) != 0) {
        close(file);  // GCOVR_EXCL_LINE: a plain file that is open can be emptied
        return -1;    // GCOVR_EXCL_LINE: as above
    }
    return file;
}

// Points an open stream at another file. Closing and opening would allocate.
bool switchFile(std::FILE* stream, int file) {
    std::fflush(stream);
    const bool switched = dup2(file, fileno(stream)) >= 0;
    close(file);
    return switched;
}

bool openStream(const char* name) {
    const int file = openEmptyFile(name);
    if (file < 0) {
        closeLogFile();
        return false;
    }
    if (traceData.fd != nullptr) {
        return switchFile(traceData.fd, file);
    }
    traceData.fd = fdopen(file, "a");
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
    // (compatibility: stdout-stderr)
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

void traceLock() {
    mutexCheck(pthread_mutex_lock(&traceData.lock), MPU_K_BUGCHECK_MUTEX_GET,
               "mpuMutex_Get(): get lock failure.");
}

void traceUnlock() {
    mutexCheck(pthread_mutex_unlock(&traceData.lock), MPU_K_BUGCHECK_MUTEX_UNLOCK,
               "mpuMutex_Unlock(): release lock failure.");
}

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
