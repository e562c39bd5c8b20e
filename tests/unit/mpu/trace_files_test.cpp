// SPDX-License-Identifier: Apache-2.0
// The trace log's files, whatever stands in their way.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "tests/unit/mpu/trace_fixture.h"

namespace {

// What is known of the files, beside each operation on the log.
class TraceFiles : public Trace {
  protected:
    static std::string fileName(int number) {
        char file[40];
        std::snprintf(file, sizeof file, "/esa_%02d.log", number);
        return file;
    }
    std::string name() const { return toFile ? directory + fileName(instance) : "<stderr>"; }
    // Only plain files with one name are written.
    bool isBlocked() const {
        struct stat file;
        const bool there = lstat(name().c_str(), &file) == 0;
        return there ? !S_ISREG(file.st_mode) || file.st_nlink > 1 : !fs::is_directory(directory);
    }
    void open() {
        count = 0;
        instance = (instance + 1) % 256;
        size = 0;
        if (toFile && isBlocked()) {
            errors += "TRACE_openLog: Failed to open logfile " + name() +
                      " So We are going print all log messages on to stdout";
            toFile = false;
        }
    }
    // Anew, or after the end.
    void redirect() {
        if (traceData.numModLevels != 0 && random.onceIn(3)) {
            const std::ptrdiff_t open = descriptors();
            TRACE__done();
            EXPECT_EQ(descriptors(), open - (toFile ? 1 : 0));
            EXPECT_EQ(traceData.fd, stderr);
        }
        directory =
            random.of<std::string>({".", "./100%s%n%02d", std::string(128, 'd'), "missing", ""});
        area.params = {};
        directory.copy(area.params.logDirectory, sizeof area.params.logDirectory);
        const char* const pattern = random.onceIn(6) ? "" : "esa_%02d.log";
        const bool none = random.onceIn(6);
        toFile = !none && !directory.empty() && *pattern != '\0';
        instance = 0;
        open();
        const MPU_PARAMS_t* const params = none ? nullptr : &area.params;
        traceData.numModLevels == 0 ? init(params, pattern) : TRACE__redirect(params, pattern);
    }
    void check() {
        count = 0;
        if (toFile && size > 1999999999) {
            open();
        }
    }
    void write() {
        Statement next = statement(1023);
        TRACE__setTraceLevel(next.module, next.level);
        if (++count > 99999) {
            check();
        }
        count += next.writes() - 1;
        const std::string line = next.written();
        (toFile ? last : errors) += line;
        size += line.size();
        counted([&] { next.write(); });
    }
    // Something stands where the next file is to be.
    void obstruct() {
        const std::string path = directory + fileName(random.of({0, instance}) + 1);
        if (path == name() || !fs::is_directory(directory)) {
            return;
        }
        fs::remove_all(path);
        switch (random.below(6)) {
            case 0:
                return fs::create_symlink(root + std::string("/victim"), path);
            case 1:
                return fs::create_hard_link("victim", path);
            case 2:
                mkfifo(path.c_str(), 0600);
                return;
            case 3:
                fs::create_directory(path);
                return;
            default:
                std::ofstream(path) << "from an earlier run";
                fs::permissions(path, fs::perms(0666));
        }
    }
    // The file's end, its rights, and the descriptors in use.
    void inspect() {
        char log[TRACE_K_NAME_SIZE];
        TRACE__getLogName(log);
        ASSERT_EQ(log, name());
        ASSERT_EQ(traceData.logWriteCount, count);
        ASSERT_EQ(descriptors(), descriptorsAtStart + (toFile ? 1 : 0));
        if (toFile) {
            ASSERT_EQ(fs::file_size(log), size);
            ASSERT_EQ(fs::status(log).permissions(), fs::perms(0640));
            std::ifstream file(log);
            file.seekg(static_cast<std::streamoff>(size - last.size()));
            ASSERT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), last);
        }
        last.clear();
    }

    static std::ptrdiff_t descriptors() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    }

    const std::ptrdiff_t descriptorsAtStart = descriptors();
    bool toFile = false;
    std::string directory, errors, last;
    int instance = 0;
    U32_t count = 0;
    std::uintmax_t size = 0;
};

}  // namespace

TEST_F(TraceFiles, FollowEachOtherBySizeAndWhatIsInTheirWayLeavesStandardError) {
    std::ofstream("victim") << "kept";
    fs::create_directory("100%s%n%02d");
    fs::create_directory(std::string(128, 'd'));
    timeIs = 1700000000;
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        testing::internal::CaptureStderr();
        const std::size_t what = round % 50 == 0 ? 0 : random.below(12);
        if (what == 0) {
            redirect();
        } else if (what == 1) {
            open();
            counted(TRACE_openLog);
        } else if (what == 2) {
            check();
            counted(TRACE_checkLog);
        } else if (what == 3) {
            count = traceData.logWriteCount = 99998 + random.of({0U, 1U});
        } else if (what == 4 && toFile) {
            size = random.of<std::uintmax_t>({0, 0, 1999999999, 2000000000});
            fs::resize_file(name(), size);  // from outside
        } else if (what == 5) {
            obstruct();
        } else if (what == 6) {
            traceData.logInstanceNumber = static_cast<U8_t>(instance = 254);
            open();
            counted(TRACE_openLog);
        } else {
            write();
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), std::exchange(errors, ""));
        inspect();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(fs::file_size("victim"), 4U);
    timeIs = 0;
}

TEST_F(Trace, ANameIsCutToItsField) {
    const std::string directory(128, 'd');
    fs::create_directory(directory);
    directory.copy(area.params.logDirectory, 128);
    init(nullptr);
    for (std::size_t length = 50; length < 62; ++length) {
        const std::string pattern = "%09d" + std::string(length, 'p');
        const std::string kept = pattern.substr(4, 191 - 133);
        TRACE__redirect(&area.params, pattern.c_str());
        char name[TRACE_K_NAME_SIZE];
        TRACE__getLogName(name);
        EXPECT_EQ(name, (directory + "/000000001" + kept).substr(0, 191));
        EXPECT_TRUE(fs::exists(name));
    }
}
