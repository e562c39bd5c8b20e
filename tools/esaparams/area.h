// SPDX-License-Identifier: Apache-2.0
// The platform's shared parameter area as its owner handles it: made, changed, removed.
#pragma once

#include <sys/shm.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "mpu_gbl.h"

namespace esaparams {

// What could not be done, in one line.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A directory of the area; one of somebody else's making may lack the terminating zero.
std::string fieldText(const char (&field)[MPU_K_DIRECTORY_SIZE]);

enum class Access { read, change };

// An area that exists, attached as long as this object lives.
class Area {
  public:
    // Throws Failure when there is none of System V key `key`, when it may not be attached, and
    // when its size or version is another one.
    Area(int key, Access access);

    const MPU_PARAMS_t& params() const { return *params_; }
    // Owner, mode, identifier and number of processes that have it attached.
    const shmid_ds& segment() const { return segment_; }
    int shmid() const { return shmid_; }

    // Sets or clears `bits` of the flags in one piece: others change theirs meanwhile. Needs
    // Access::change.
    void setFlags(U32_t bits, bool on);

  private:
    struct Detach {
        void operator()(MPU_PARAMS_t* params) const { shmdt(params); }
    };
    void check(int key) const;

    int shmid_;
    shmid_ds segment_ = {};
    std::unique_ptr<MPU_PARAMS_t, Detach> params_;
};

// What a new area holds, and who may read it.
struct NewArea {
    std::string mmsgDirectory;
    std::string nonVolatileDirectory;
    std::string logDirectory;
    std::string group;  // name; empty: everybody reads it
};

// Throws Failure, and leaves nothing, when a directory is not there or its name does not fit, when
// the key is taken, and when there is no such group.
void create(int key, const NewArea& wanted);

// Removes an area that is one; processes that have it attached keep it until they end.
void remove(int key);

}  // namespace esaparams
