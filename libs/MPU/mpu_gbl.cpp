// SPDX-License-Identifier: Apache-2.0
// Attaches the board's shared parameter area.
#include "mpu_gbl.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

const MPU_PARAMS_t* pMpuParams = nullptr;

namespace {

void reportSystemError(const char* what) {
    const int error = errno;
    std::fprintf(stderr, "%s", what);
    std::fprintf(stderr, "   %s\n", std::strerror(error));
}

}  // namespace

const MPU_PARAMS_t* MPU_getMpuParams(int key) {
    int shmid;
    return MPU_getMpuParamsAndShmid(&shmid, key);
}

const MPU_PARAMS_t* MPU_getMpuParamsAndShmid(int* shmid, int key) {
    *shmid = shmget(key, sizeof(MPU_PARAMS_t), 0400);
    if (*shmid == -1) {
        reportSystemError("Error opening the MPU shared memory area.\n");
        return nullptr;
    }
    void* const area = shmat(*shmid, nullptr, SHM_RDONLY);
    if (area == reinterpret_cast<void*>(-1)) {
        reportSystemError(  // GCOVR_EXCL_LINE: without address space
            "Error mapping the MPU shared memory area to virtual memory.\n");
        return nullptr;  // GCOVR_EXCL_LINE: as above
    }
    pMpuParams = static_cast<const MPU_PARAMS_t*>(area);
    const U32_t version = pMpuParams->version;
    if (version != MPU_K_PARAMS_VERSION) {
        std::fprintf(stderr, "Error with shared memory area.\n");
        std::fprintf(stderr, "  Expected version %d, attached to version %d.\n",
                     static_cast<int>(MPU_K_PARAMS_VERSION), static_cast<int>(version));
        pMpuParams = nullptr;
        shmdt(area);
        return nullptr;
    }
    return pMpuParams;
}
