// SPDX-License-Identifier: Apache-2.0
#include "lab/session/parameter_area.h"

#include <sys/shm.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace enclab {

constexpr int kFirstKey = 100;  // the daemon takes none below

ParameterArea::ParameterArea(std::endian order) : order_(order), key_(kFirstKey) {
    while ((shmid_ = shmget(key_, sizeof(MPU_PARAMS_t), IPC_CREAT | IPC_EXCL | 0600)) < 0) {
        if (errno != EEXIST) {
            throw std::system_error(errno, std::generic_category(), "the parameter area");
        }
        ++key_;
    }
    void* const address = shmat(shmid_, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        const int error = errno;
        shmctl(shmid_, IPC_RMID, nullptr);
        throw std::system_error(error, std::generic_category(), "the parameter area");
    }
    values_ = static_cast<MPU_PARAMS_t*>(address);
    *values_ = {};
    values_->version = ordered(MPU_K_PARAMS_VERSION);
}

ParameterArea::~ParameterArea() {
    shmdt(values_);
    shmctl(shmid_, IPC_RMID, nullptr);
}

static void setDirectory(char (&field)[MPU_K_DIRECTORY_SIZE], const std::filesystem::path& path) {
    if (path.native().size() >= sizeof field) {
        throw std::length_error("a directory name too long for the parameter area");
    }
    std::strcpy(field, path.c_str());
}

void ParameterArea::setDirectories(const std::filesystem::path& mmsg,
                                   const std::filesystem::path& nonVolatile,
                                   const std::filesystem::path& log) {
    setDirectory(values_->mmsgDirectory, mmsg);
    setDirectory(values_->nonVolatileDirectory, nonVolatile);
    setDirectory(values_->logDirectory, log);
}

}  // namespace enclab
