// SPDX-License-Identifier: Apache-2.0
#include "tools/esaparams/area.h"

#include <fmt/format.h>
#include <grp.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace esaparams {

namespace {

constexpr char SWITCH_SOCKET[] = "/esadapter";
constexpr unsigned SWITCH_DIRECTORY_MAX = sizeof(sockaddr_un::sun_path) - sizeof SWITCH_SOCKET;

std::string keyText(int key) {
    return fmt::format("key {:#x}", static_cast<unsigned>(key));
}

[[noreturn]] void fail(int key, const std::string& what) {
    throw Failure(fmt::format("{}: {}: {}", keyText(key), what, std::strerror(errno)));
}

MPU_PARAMS_t* attach(int shmid, int key, int flags) {
    void* const address = shmat(shmid, nullptr, flags);
    if (address == reinterpret_cast<void*>(-1)) {
        fail(key, "the area cannot be attached");
    }
    return static_cast<MPU_PARAMS_t*>(address);
}

// ---- a new one ----

void checkDirectory(const std::string& what, const std::string& directory, std::size_t lengthMax) {
    if (!directory.starts_with('/')) {
        throw Failure(fmt::format("{}: {} does not begin with /", what, directory));
    }
    if (directory.size() > lengthMax) {
        throw Failure(
            fmt::format("{}: {} is longer than {} characters", what, directory, lengthMax));
    }
    std::error_code error;
    if (!std::filesystem::is_directory(directory, error)) {
        throw Failure(fmt::format("{}: {} is no directory", what, directory));
    }
}

void checkDirectories(const NewArea& wanted) {
    constexpr std::size_t longest = MPU_K_DIRECTORY_SIZE - 1;
    checkDirectory("--mmsg", wanted.mmsgDirectory,
                   std::min<std::size_t>(longest, SWITCH_DIRECTORY_MAX));
    checkDirectory("--nv", wanted.nonVolatileDirectory, longest);
    checkDirectory("--log", wanted.logDirectory, longest);
}

gid_t groupOf(const std::string& name) {
    const group* const entry = getgrnam(name.c_str());
    if (entry == nullptr) {
        throw Failure(fmt::format("--group: there is no group {}", name));
    }
    return entry->gr_gid;
}

void fill(MPU_PARAMS_t& params, const NewArea& wanted) {
    std::strcpy(params.mmsgDirectory, wanted.mmsgDirectory.c_str());
    std::strcpy(params.nonVolatileDirectory, wanted.nonVolatileDirectory.c_str());
    std::strcpy(params.logDirectory, wanted.logDirectory.c_str());
    params.version = MPU_K_PARAMS_VERSION;
}

// Whole before anybody else may attach it.
void openTo(int shmid, int key, const NewArea& wanted) {
    shmid_ds segment = {};
    if (shmctl(shmid, IPC_STAT, &segment) != 0) {
        fail(key, "the area's owner");
    }
    segment.shm_perm.mode = 0644;
    if (!wanted.group.empty()) {
        segment.shm_perm.mode = 0640;
        segment.shm_perm.gid = groupOf(wanted.group);
    }
    if (shmctl(shmid, IPC_SET, &segment) != 0) {
        fail(key, "the area's owner");
    }
}

}  // namespace

std::string fieldText(const char (&field)[MPU_K_DIRECTORY_SIZE]) {
    return {field, strnlen(field, MPU_K_DIRECTORY_SIZE)};
}

Area::Area(int key, Access access) : shmid_(shmget(key, 0, 0)) {
    if (shmid_ < 0) {
        throw Failure(keyText(key) + ": there is no parameter area");
    }
    params_.reset(attach(shmid_, key, access == Access::read ? SHM_RDONLY : 0));
    if (shmctl(shmid_, IPC_STAT, &segment_) != 0) {
        fail(key, "the area's owner");
    }
    check(key);
}

void Area::check(int key) const {
    if (segment_.shm_segsz != sizeof(MPU_PARAMS_t)) {
        throw Failure(fmt::format("{}: a segment of {} bytes is no parameter area, which has {}",
                                  keyText(key), segment_.shm_segsz, sizeof(MPU_PARAMS_t)));
    }
    if (params_->version != MPU_K_PARAMS_VERSION) {
        const bool swapped = params_->version == __builtin_bswap32(MPU_K_PARAMS_VERSION);
        throw Failure(fmt::format("{}: version {}, not {}{}", keyText(key), params_->version,
                                  MPU_K_PARAMS_VERSION,
                                  swapped ? " (made in the other byte order)" : ""));
    }
}

void Area::setFlags(U32_t bits, bool on) {
    const std::atomic_ref flags(params_->flags);
    if (on) {
        flags.fetch_or(bits);
    } else {
        flags.fetch_and(~bits);
    }
}

void create(int key, const NewArea& wanted) {
    checkDirectories(wanted);
    const int shmid = shmget(key, sizeof(MPU_PARAMS_t), IPC_CREAT | IPC_EXCL | 0600);
    if (shmid < 0 && errno == EEXIST) {
        throw Failure(keyText(key) + ": there is an area already; remove it first");
    }
    if (shmid < 0) {
        fail(key, "the area cannot be made");
    }
    try {
        MPU_PARAMS_t* const params = attach(shmid, key, 0);
        fill(*params, wanted);
        shmdt(params);
        openTo(shmid, key, wanted);
    } catch (const Failure&) {
        shmctl(shmid, IPC_RMID, nullptr);
        throw;
    }
}

void remove(int key) {
    const Area area(key, Access::read);
    if (shmctl(area.shmid(), IPC_RMID, nullptr) != 0) {
        fail(key, "the area cannot be removed");
    }
}

}  // namespace esaparams
