// SPDX-License-Identifier: Apache-2.0
// Attaching the parameter area: what is accepted, what is said otherwise, and what stays attached.
#include "mpu_gbl.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

// A segment as the start-up process makes it.
class MpuParams : public testing::Test {
  protected:
    ~MpuParams() override {
        if (area_ != nullptr) {
            shmdt(area_);
            shmctl(id_, IPC_RMID, nullptr);
        }
    }
    void create(U32_t version, std::size_t size = 748) {
        id_ = shmget(key_, size, IPC_CREAT | IPC_EXCL | 0600);
        ASSERT_NE(id_, -1);
        area_ = static_cast<MPU_PARAMS_t*>(shmat(id_, nullptr, 0));
        area_->version = version;
    }
    unsigned long attached() const {
        shmid_ds status = {};
        EXPECT_EQ(shmctl(id_, IPC_STAT, &status), 0);
        return status.shm_nattch;
    }

    const int key_ = 0x45000000 + static_cast<int>(getpid());
    int id_ = -1;
    MPU_PARAMS_t* area_ = nullptr;
};

TEST_F(MpuParams, AttachesVersion16AndReadsFlagsAfresh) {
    create(16);
    int shmid = -1;
    const MPU_PARAMS_t* const params = MPU_getMpuParamsAndShmid(&shmid, key_);
    ASSERT_NE(params, nullptr);
    EXPECT_EQ(shmid, id_);
    EXPECT_EQ(pMpuParams, params);
    EXPECT_EQ(mpuFlags(params), 0U);
    area_->flags = 0x01001000;
    EXPECT_EQ(mpuFlags(params), 0x01001000U);
    EXPECT_DEATH(const_cast<MPU_PARAMS_t*>(params)->flags = 0, "");
    shmdt(params);
    pMpuParams = nullptr;
}

TEST_F(MpuParams, RejectsAnotherVersionAndLetsGoOfTheArea) {
    create(16);
    ASSERT_NE(MPU_getMpuParams(key_), nullptr);
    shmdt(pMpuParams);
    for (const U32_t version : {15U, 17U}) {
        area_->version = version;
        testing::internal::CaptureStderr();
        EXPECT_EQ(MPU_getMpuParams(key_), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Error with shared memory area.\n  Expected version 16, attached to version " +
                      std::to_string(version) + ".\n");
        EXPECT_EQ(pMpuParams, nullptr);
        EXPECT_EQ(attached(), 1U);
    }
}

TEST_F(MpuParams, ReportsAKeyWithoutASegment) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(MPU_getMpuParams(key_), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error opening the MPU shared memory area.\n   No such file or directory\n");
}

TEST_F(MpuParams, ReportsASegmentThatIsTooSmall) {
    create(16, 747);
    testing::internal::CaptureStderr();
    EXPECT_EQ(MPU_getMpuParams(key_), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error opening the MPU shared memory area.\n   Invalid argument\n");
}
