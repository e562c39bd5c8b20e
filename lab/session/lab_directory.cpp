// SPDX-License-Identifier: Apache-2.0
#include "lab/session/lab_directory.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace enclab {

namespace fs = std::filesystem;

static const char* const kFolders[] = {"mmsg", "nv", "log", "startup", "web/OEM"};
// All a lab makes in its directory, the lock file last.
static const char* const kEntries[] = {"mmsg", "nv",    "log", "startup", "web",
                                       "bus",  "clock", "ctl", "lock"};
constexpr char kLongestSocket[] = "/mmsg/esadapter";

// First line of the lock file.
struct LockNote {
    int pid = 0;
    int shmid = -1;
};

static LockNote readNote(int fd) {
    char text[64] = {};
    LockNote note;
    if (pread(fd, text, sizeof text - 1, 0) <= 0 ||
        std::sscanf(text, "%d %d", &note.pid, &note.shmid) != 2) {
        return {};
    }
    return note;
}

static void writeNote(int fd, const LockNote& note) {
    const std::string text = fmt::format("{} {}\n", note.pid, note.shmid);
    if (ftruncate(fd, 0) != 0 ||
        pwrite(fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error(fmt::format("cannot write the lock file: {}", strerror(errno)));
    }
}

fs::path LabDirectory::defaultPath(const std::string& name) {
    return fs::path(fmt::format("/tmp/enclab-{}", getuid())) / name;
}

// In /tmp somebody else may have made the directory first, to put his own files in its place.
static void checkOwner(const fs::path& path) {
    struct stat found = {};
    if (lstat(path.c_str(), &found) == 0 && found.st_uid != geteuid()) {
        throw std::runtime_error(fmt::format("{} belongs to another user", path.native()));
    }
}

LabDirectory::LabDirectory(fs::path path) : path_(fs::absolute(path).lexically_normal()) {
    if (path_.native().size() + sizeof kLongestSocket > sizeof(sockaddr_un::sun_path)) {
        throw std::runtime_error(
            fmt::format("the path {} is too long for the sockets in it", path_.native()));
    }
    fs::create_directories(path_);
    checkOwner(path_);
    if (const fs::path usual = defaultPath("name").parent_path(); path_.parent_path() == usual) {
        checkOwner(usual);
    }
    if (!fs::exists(path_ / "lock") && !fs::is_empty(path_)) {
        throw std::runtime_error(fmt::format("{} is not empty and not a lab's", path_.native()));
    }
    lock();
    clearSegment();
    clearFiles();
    for (const char* folder : kFolders) {
        fs::create_directories(path_ / folder);
    }
    writeNote(lockFd_, {getpid(), -1});
}

// The lock file may be removed by the lab that ends while this one opens it: a lock counts only
// while the file still has its name.
void LabDirectory::lock() {
    const fs::path file = path_ / "lock";
    for (;;) {
        const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) {
            throw std::runtime_error(
                fmt::format("cannot open {}: {}", file.native(), strerror(errno)));
        }
        if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int pid = readNote(fd).pid;
            ::close(fd);
            throw std::runtime_error(
                fmt::format("a lab is already running in {} (process {})", path_.native(), pid));
        }
        struct stat held = {};
        struct stat named = {};
        if (fstat(fd, &held) == 0 && stat(file.c_str(), &named) == 0 &&
            held.st_ino == named.st_ino) {
            lockFd_ = fd;
            return;
        }
        ::close(fd);
        fs::create_directories(path_);
    }
}

void LabDirectory::clearSegment() {
    const LockNote note = readNote(lockFd_);
    shmid_ds segment = {};
    // The identifier may have been given to another segment since.
    if (note.shmid >= 0 && shmctl(note.shmid, IPC_STAT, &segment) == 0 &&
        segment.shm_cpid == note.pid) {
        shmctl(note.shmid, IPC_RMID, nullptr);
    }
}

void LabDirectory::clearFiles() {
    for (const char* entry : kEntries) {
        if (std::string_view(entry) != "lock") {
            fs::remove_all(path_ / entry);
        }
    }
}

void LabDirectory::noteSegment(int shmid) {
    writeNote(lockFd_, {getpid(), shmid});
}

LabDirectory::~LabDirectory() {
    std::error_code ignored;
    for (const char* entry : kEntries) {
        const std::string_view name = entry;
        const bool kept = keepLogs_ && (name == "log" || name == "nv" || name == "lock");
        if (!kept) {
            fs::remove_all(path_ / entry, ignored);
        }
    }
    // Only when nothing of others is in it.
    fs::remove(path_, ignored);
    fs::remove(path_.parent_path(), ignored);
    ::close(lockFd_);
}

}  // namespace enclab
