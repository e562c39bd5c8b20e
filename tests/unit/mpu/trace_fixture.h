// SPDX-License-Identifier: Apache-2.0
// A trace statement with what it is to write, and a directory for the log. Once the log is open it
// allocates nothing; the allocator's calls are counted.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>

#include "tests/support/laws.h"
#include "trace.h"

namespace fs = std::filesystem;

extern unsigned allocations;
extern std::time_t timeIs;  // the time of day, where a test has said it

constexpr U16_t TIME = 0x8000, FUNCTION = 0x4000, FILE_NAME = 0x2000;

struct Statement {
    enum Kind { INFO, ENTER, RETURN, DUMP } kind;
    U8_t module;
    U16_t level;  // of the module
    std::string file, function, text;
    int line;
    Bytes bytes;  // of a dump

    void write() const {
        const char* const f = file.c_str();
        const auto writer = kind == INFO    ? TRACE__statement
                            : kind == ENTER ? TRACE__enterStatement
                                            : TRACE__returnStatement;
        if (kind == DUMP) {
            TRACE__dumpStatement(module, f, function.c_str(), line, bytes.data(),
                                 narrowTo<U32_t>(bytes.size()), "%s", text.c_str());
        } else {
            writer(module, f, function.c_str(), line, "%s", text.c_str());
        }
    }
    // The same by the caller's own hand, with a length beyond the text's buffer.
    void writeRaw() const {
        pthread_mutex_lock(&traceData.lock);
        traceData.moduleIndex = module;
        traceData.fileName = file.c_str();
        traceData.funcName = function.c_str();
        traceData.lineNumber = narrowTo<U32_t>(line);
        std::memset(traceData.infoBuf, 0, sizeof traceData.infoBuf);
        text.copy(traceData.infoBuf, sizeof traceData.infoBuf);
        traceData.infoBufLen = text.size() < 1024 ? narrowTo<U32_t>(text.size()) : 4000;
        kind == INFO    ? TRACE__logInfo(1, 0)
        : kind == DUMP  ? TRACE__logDump(bytes.data(), narrowTo<U32_t>(bytes.size()))
        : kind == ENTER ? TRACE__logEnter()
                        : TRACE__logReturn();
    }
    // What it counts as: a dump one more for each 1009 characters and more that it has collected.
    U32_t writes() const {
        U32_t writes = 1, held = 0;
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            writes += held > 1008 ? 1 : 0;
            held = (held > 1008 ? 0 : held) + (n % 32 == 0 ? 15 : n % 8 == 0 ? 3 : 2);
        }
        return writes;
    }
    // What it writes: a prefix of 167 characters at most, a text of 1023.
    std::string written() const {
        std::string prefix;
        char stamp[40];
        std::strftime(stamp, sizeof stamp, "%b %e %H:%M:%S  ", std::localtime(&timeIs));
        const bool has[] = {(level & TIME) != 0, (level & FILE_NAME) != 0, (level & FUNCTION) != 0};
        const std::string number = std::to_string(line) + ":";
        prefix += has[0] && kind != DUMP ? stamp : "";
        prefix += has[1] ? file.substr(0, 32) + ":" : "";
        if (kind == INFO || kind == DUMP) {
            prefix += has[2] ? function.substr(0, 32) + ":" : "";
            prefix += has[1] || has[2] ? number + (kind == INFO ? "  " : " ") : "";
        } else {
            prefix += (has[1] ? number : "") + (kind == ENTER ? "ENTERING into" : "EXITING from") +
                      " func: " + function + ": ";
        }
        return prefix.substr(0, 167) + text.substr(0, 1023) + (kind == DUMP ? rows() : "") + "\n";
    }
    // 32 bytes a row behind their address, in groups of eight.
    std::string rows() const {
        std::string rows;
        char cell[20];
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            const auto address = narrowTo<U32_t>(reinterpret_cast<std::uintptr_t>(&bytes[n]));
            std::snprintf(cell, sizeof cell,
                          n % 32 == 0  ? "\n0x%08X: "
                          : n % 8 == 0 ? " "
                                       : "",
                          address);
            rows += cell;
            std::snprintf(cell, sizeof cell, "%02X", bytes[n]);
            rows += cell;
        }
        return rows;
    }
};

class Trace : public testing::Test {
  protected:
    Trace() {
        mkdtemp(root);
        fs::current_path(root);
    }
    ~Trace() override {
        if (traceData.numModLevels != 0) {
            TRACE__done();
        }
        fs::current_path("/");
        fs::remove_all(root);
    }
    void init(const MPU_PARAMS_t* params, const char* pattern = "esa_%02d.log") {
        static const char* const names[] = {"ESA", "I2C"};
        TRACE__init(params, pattern, 2, names);
    }
    static void counted(const std::function<void()>& act) {
        const unsigned before = allocations;
        act();
        EXPECT_EQ(allocations, before);
    }
    Statement statement(std::size_t longest) {
        const auto length = [this] { return random.of<std::size_t>({0, 8, 20, 31, 32, 33, 36}); };
        Statement made{
            random.of({Statement::INFO, Statement::ENTER, Statement::RETURN, Statement::DUMP}),
            random.of<U8_t>({0, 1}),
            static_cast<U16_t>(random() & (TIME | FUNCTION | FILE_NAME)),
            std::string(length(), 'f'),
            std::string(random.onceIn(4) ? random.below(200) : length(), 'g'),
            std::string(random.onceIn(3) ? longest - random.below(longest / 2) : random.below(40),
                        't'),
            static_cast<int>(random() >> random.below(32)),
            {}};
        if (made.kind == Statement::DUMP) {
            made.bytes =
                random.bytes(random.onceIn(8) ? 4064 - random.below(3000) : random.below(70));
        }
        return made;
    }

    char root[30] = "/tmp/esa-trace-XXXXXX";
    Random random{25};
    struct {
        MPU_PARAMS_t params = {};
        U32_t behind = ~0U;  // no zero
    } area;
};
