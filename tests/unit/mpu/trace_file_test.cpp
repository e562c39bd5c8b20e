// SPDX-License-Identifier: Apache-2.0
// Where the trace log goes: file names, rotation by size, and standard error when there is no file.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "trace.h"

namespace fs = std::filesystem;

namespace {

constexpr char PATTERN[] = "esa_%02d.log";
const char* const MODULES[] = {"ESA"};

std::string currentName() {
    char name[TRACE_K_NAME_SIZE];
    TRACE__getLogName(name);
    return name;
}

std::string contents(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void say(const char* text) {
    TRACE_STATEMENT(0, 0x10, "esamain.cpp", "%s", text);
}

}  // namespace

class TraceFile : public testing::Test {
  protected:
    TraceFile() {
        char name[] = "/tmp/esa-trace-XXXXXX";
        directory_ = mkdtemp(name);
    }
    ~TraceFile() override { fs::remove_all(directory_); }

    void open(const fs::path& directory, const char* pattern = PATTERN) {
        std::snprintf(params_.logDirectory, sizeof params_.logDirectory, "%s", directory.c_str());
        TRACE__init(&params_, pattern, 1, MODULES);
        TRACE__setTraceLevel(0, 0x10);
    }
    void grow(const fs::path& file, off_t size) { ASSERT_EQ(truncate(file.c_str(), size), 0); }

    fs::path directory_;
    MPU_PARAMS_t params_ = {};
};

TEST_F(TraceFile, FirstFileIsNumberOneAndStartsEmpty) {
    std::ofstream(directory_ / "esa_01.log") << "from an earlier run\n";
    open(directory_);
    EXPECT_EQ(currentName(), directory_ / "esa_01.log");
    say("hello");
    EXPECT_EQ(contents(directory_ / "esa_01.log"), "hello\n");
    TRACE__done();
    EXPECT_EQ(currentName(), "<stderr>");
}

TEST_F(TraceFile, PercentInTheDirectoryIsText) {
    const fs::path odd = directory_ / "100%s%n%02d";
    fs::create_directory(odd);
    open(odd);
    say("hello");
    TRACE__done();
    EXPECT_EQ(contents(odd / "esa_01.log"), "hello\n");
}

TEST_F(TraceFile, DirectoryThatFillsItsFieldIsNotReadPastItsEnd) {
    std::string filling = directory_.string() + "/";
    filling.resize(MPU_K_DIRECTORY_SIZE, 'd');
    fs::create_directory(filling);
    std::memcpy(params_.logDirectory, filling.data(), sizeof params_.logDirectory);
    TRACE__init(&params_, PATTERN, 1, MODULES);
    EXPECT_EQ(currentName(), filling + "/esa_01.log");
    TRACE__done();
}

TEST_F(TraceFile, SizeIsLookedAtOnTheHundredThousandthLineOnly) {
    open(directory_);
    grow(directory_ / "esa_01.log", 3000000000);
    traceData.logWriteCount = 99998;
    say("line 99999");
    EXPECT_EQ(traceData.logWriteCount, 99999U);
    EXPECT_EQ(currentName(), directory_ / "esa_01.log");
    say("line 100000");
    EXPECT_EQ(traceData.logWriteCount, 0U);
    EXPECT_EQ(currentName(), directory_ / "esa_02.log");
    EXPECT_EQ(contents(directory_ / "esa_02.log"), "line 100000\n");
    TRACE__done();
}

TEST_F(TraceFile, RotatesAboveItsLargestSizeOnly) {
    struct Case {
        off_t size;
        const char* file;
    };
    for (const Case& c : {Case{1999999999, "esa_01.log"}, Case{2000000000, "esa_02.log"}}) {
        open(directory_);
        grow(directory_ / "esa_01.log", c.size);
        TRACE_checkLog();
        EXPECT_EQ(currentName(), directory_ / c.file) << c.size;
        TRACE__done();
    }
}

TEST_F(TraceFile, EveryWriterCountsAndChecks) {
    struct Case {
        const char* name;
        void (*write)();
    };
    const Case cases[] = {
        {"info", [] { TRACE__statement(0, "f", "g", 1, "text"); }},
        {"dump", [] { TRACE__dumpStatement(0, "f", "g", 1, "", 1, "text"); }},
        {"enter", [] { TRACE__enterStatement(0, "f", "g", 1, "text"); }},
        {"return", [] { TRACE__returnStatement(0, "f", "g", 1, "text"); }},
    };
    for (const Case& c : cases) {
        open(directory_);
        grow(directory_ / "esa_01.log", 2000000000);
        traceData.logWriteCount = 99999;
        c.write();
        EXPECT_EQ(currentName(), directory_ / "esa_02.log") << c.name;
        TRACE__done();
    }
}

TEST_F(TraceFile, NumberWrapsAndOverwritesTheOldestFile) {
    open(directory_);
    say("oldest");
    traceData.logInstanceNumber = 254;
    TRACE_openLog();
    EXPECT_EQ(currentName(), directory_ / "esa_255.log");
    TRACE_openLog();
    EXPECT_EQ(currentName(), directory_ / "esa_00.log");
    TRACE_openLog();
    EXPECT_EQ(currentName(), directory_ / "esa_01.log");
    EXPECT_EQ(contents(directory_ / "esa_01.log"), "");
    TRACE__done();
}

TEST_F(TraceFile, StandardErrorIsUsedWithoutAFileToName) {
    struct Case {
        const MPU_PARAMS_t* params;
        const char* pattern;
    };
    MPU_PARAMS_t noDirectory = {};
    std::snprintf(params_.logDirectory, sizeof params_.logDirectory, "%s", directory_.c_str());
    for (const Case& c : {Case{nullptr, PATTERN}, Case{&noDirectory, PATTERN}, Case{&params_, ""},
                          Case{&params_, nullptr}}) {
        testing::internal::CaptureStderr();
        TRACE__init(c.params, c.pattern, 1, MODULES);
        TRACE__setTraceLevel(0, 0x10);
        traceData.logWriteCount = 99999;  // the size check has nothing to look at
        say("hello");
        EXPECT_EQ(currentName(), "<stderr>");
        TRACE__done();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "hello\n");
    }
    EXPECT_TRUE(fs::is_empty(directory_));
}

TEST_F(TraceFile, FallsBackToStandardErrorForGood) {
    testing::internal::CaptureStderr();
    open(directory_ / "missing");
    EXPECT_EQ(currentName(), "<stderr>");
    fs::create_directory(directory_ / "missing");
    TRACE_openLog();
    say("hello");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "TRACE_openLog: Failed to open logfile " + directory_.string() +
                  "/missing/esa_01.log So We are going print all log messages on to stdouthello\n");
    EXPECT_TRUE(fs::is_empty(directory_ / "missing"));
    TRACE__redirect(&params_, PATTERN);
    EXPECT_EQ(currentName(), directory_ / "missing" / "esa_01.log");
    TRACE__done();
}

TEST_F(TraceFile, RotationIntoNothingFallsBackToStandardError) {
    open(directory_);
    fs::create_directory(directory_ / "esa_02.log");
    testing::internal::CaptureStderr();
    TRACE_openLog();
    say("hello");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("stdouthello\n"));
    TRACE__done();
}

TEST_F(TraceFile, RedirectStartsAgainAtNumberOne) {
    const fs::path other = directory_ / "other";
    fs::create_directory(other);
    open(directory_);
    TRACE_openLog();
    say("before");
    std::snprintf(params_.logDirectory, sizeof params_.logDirectory, "%s", other.c_str());
    TRACE__redirect(&params_, PATTERN);
    say("after");
    TRACE__done();
    EXPECT_EQ(contents(directory_ / "esa_02.log"), "before\n");
    EXPECT_EQ(contents(other / "esa_01.log"), "after\n");
}
