// SPDX-License-Identifier: Apache-2.0
// What is written into the trace log: lines with their prefix, each in one piece, hexadecimal
// dumps, and the bug check that ends a process with a record in the alternate event log.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>

#include "MPU/event_record.h"
#include "MPU/trace_lock.h"
#include "trace.h"

namespace {

constexpr U32_t PREFIX_SIZE = 168;
constexpr U32_t NAME_MAX_LENGTH = 32;
constexpr int TIMESTAMP_SIZE = 64;
constexpr U32_t WRITES_BETWEEN_SIZE_CHECKS = 99999;
constexpr U32_t DUMP_ROW_BYTES = 32;
constexpr U32_t DUMP_GROUP_BYTES = 8;
constexpr U32_t DUMP_FLUSH_LENGTH = 1008;  // leaves room for a row's address and a byte
constexpr std::size_t BUGCHECK_FILE_NAME_MAX = 20;

const char* const months_list[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// A line under construction: the prefix, then the text and a newline.
char line[PREFIX_SIZE + TRACE_K_INFO_SIZE];
BugCheckRecord_t bugCheckRecord;

bool moduleHas(U16_t levelBit) {
    return TRACE_IS_ON(traceData.moduleIndex, levelBit);
}

void countWrite() {
    if (++traceData.logWriteCount > WRITES_BETWEEN_SIZE_CHECKS) {
        TRACE_checkLog();
    }
}

// ---- the prefix; each of these appends to its `used` characters, cuts what does not fit, and
// gives the new number ----

U32_t prefixText(U32_t used, const char* text, std::size_t lengthMax = PREFIX_SIZE) {
    const std::size_t room = PREFIX_SIZE - 1 - used;
    const std::size_t length = strnlen(text, std::min(lengthMax, room));
    std::memcpy(line + used, text, length);
    return used + static_cast<U32_t>(length);
}

U32_t prefixColon(U32_t used) {
    line[used] = ':';
    return std::min(used + 1, PREFIX_SIZE - 1);
}

// "NAME:"
U32_t prefixName(U32_t used, const char* name) {
    return prefixColon(prefixText(used, name, NAME_MAX_LENGTH));
}

// "77:", and `gap`.
U32_t prefixLineNumber(U32_t used, const char* gap) {
    char digits[12] = {};
    std::to_chars(digits, digits + sizeof digits - 1, static_cast<int>(traceData.lineNumber));
    return prefixText(prefixColon(prefixText(used, digits)), gap);
}

int timestampOf(std::time_t time, char* buf, int bufLen) {
    std::tm local = {};
    localtime_r(&time, &local);  // localtime would look for the zone, and allocate, every time
    const int length = std::snprintf(buf, static_cast<std::size_t>(bufLen), "%s %2d %02d:%02d:%02d",
                                     months_list[local.tm_mon], local.tm_mday, local.tm_hour,
                                     local.tm_min, local.tm_sec);
    return length < bufLen ? length : bufLen - 1;
}

// Most lines share their second with the one before, and its timestamp.
const char* timestampNow() {
    static std::time_t made = -1;
    static char text[TIMESTAMP_SIZE];
    const std::time_t now = std::time(nullptr);
    if (now != made) {
        made = now;
        timestampOf(now, text, sizeof text);
    }
    return text;
}

U32_t prefixTimestamp() {
    return moduleHas(TRACE_K_TIMESTAMP) ? prefixText(prefixText(0, timestampNow()), "  ") : 0;
}

// File, function and line as far as the module wants them; `gap` follows the line number.
U32_t prefixPlace(U32_t used, const char* gap) {
    if (moduleHas(TRACE_K_FILE)) {
        used = prefixName(used, traceData.fileName);
    }
    if (moduleHas(TRACE_K_FUNCTION)) {
        used = prefixName(used, traceData.funcName);
    }
    const bool anyName = moduleHas(TRACE_K_FILE | TRACE_K_FUNCTION);
    return anyName ? prefixLineNumber(used, gap) : used;
}

// ---- lines ----

// Behind `used` characters of prefix.
U32_t lineInfo(U32_t used) {
    const std::size_t length = strnlen(traceData.infoBuf, TRACE_K_INFO_SIZE - 1);
    std::memcpy(line + used, traceData.infoBuf, length);
    return used + static_cast<U32_t>(length);
}

// The trace lock keeps others out; the stream's own would be a second one.
void writeLine(U32_t prefixUsed) {
    U32_t used = lineInfo(prefixUsed);
    line[used++] = '\n';
    fwrite_unlocked(line, 1, used, traceData.fd);
    fflush_unlocked(traceData.fd);
}

void infoTerminate() {
    traceData.infoBufLen = std::min<U32_t>(traceData.infoBufLen, TRACE_K_INFO_SIZE - 1);
    traceData.infoBuf[traceData.infoBufLen] = '\0';
}

// Entry and exit lines; they carry no function prefix, the function is their text.
void writeFunctionLine(const char* verb) {
    countWrite();
    U32_t used = prefixTimestamp();
    if (moduleHas(TRACE_K_FILE)) {
        used = prefixLineNumber(prefixName(used, traceData.fileName), "");
    }
    for (const char* text : {verb, " func: ", traceData.funcName, ": "}) {
        used = prefixText(used, text);
    }
    infoTerminate();
    writeLine(used);
    traceUnlock();
}

// ---- dumps, which are collected in infoBuf, without a terminating zero ----

void dumpText(const char* text) {
    const std::size_t room = TRACE_K_INFO_SIZE - traceData.infoBufLen;
    const std::size_t length = strnlen(text, room);
    std::memcpy(traceData.infoBuf + traceData.infoBufLen, text, length);
    traceData.infoBufLen += static_cast<U32_t>(length);
}

void dumpHex(U32_t value, int digits) {
    char text[9] = {};
    for (int n = digits; n-- > 0; value >>= 4) {
        text[n] = "0123456789ABCDEF"[value & 0xF];
    }
    dumpText(text);
}

void dumpWrite() {
    std::fwrite(traceData.infoBuf, 1, traceData.infoBufLen, traceData.fd);
    traceData.infoBufLen = 0;
}

void dumpByte(const U8_t* bytes, U32_t index) {
    if (traceData.infoBufLen > DUMP_FLUSH_LENGTH) {
        dumpWrite();
        traceData.logWriteCount++;
    }
    if (index % DUMP_ROW_BYTES == 0) {
        // Eight digits on every target: the low 32 bits of the address.
        dumpText("\n0x");
        dumpHex(reinterpret_cast<std::uintptr_t>(bytes + index) & UINT32_MAX, 8);
        dumpText(": ");
    } else if (index % DUMP_GROUP_BYTES == 0) {
        dumpText(" ");
    }
    dumpHex(bytes[index], 2);
}

// ---- the bug check ----

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

}  // namespace

int TRACE_getTimestamp(char* buf, int bufLen) {
    return buf == nullptr || bufLen <= 0 ? 0 : timestampOf(std::time(nullptr), buf, bufLen);
}

void TRACE__logInfo(int output_log, int bug_check) {
    countWrite();
    if (output_log != 0) {
        U32_t used = prefixTimestamp();
        if (bug_check != 0) {
            used = prefixText(used, "TRACE LOG BUG-CHECK AT: ");
        }
        writeLine(prefixPlace(used, "  "));
    }
    if (bug_check != 0) {
        TRACE__bugCheck();
    }
    traceUnlock();
}

void TRACE__logDump(const void* data, U32_t len) {
    infoTerminate();
    countWrite();
    std::fwrite(line, 1, lineInfo(prefixPlace(0, " ")), traceData.fd);
    traceData.infoBufLen = 0;
    for (U32_t i = 0; i < len; i++) {
        dumpByte(static_cast<const U8_t*>(data), i);
    }
    dumpText("\n");
    dumpWrite();
    std::fflush(traceData.fd);
    traceUnlock();
}

void TRACE__logEnter() {
    writeFunctionLine("ENTERING into");
}

void TRACE__logReturn() {
    writeFunctionLine("EXITING from");
}
