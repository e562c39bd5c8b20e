// SPDX-License-Identifier: Apache-2.0
// The board's shared parameter area, created and filled as the controller's start-up process does.
#pragma once

#include <bit>
#include <filesystem>

#include "mpu_gbl.h"

namespace enclab {

class ParameterArea {
  public:
    // Creates the segment under the first free key from 100 on, in the byte order of the machine
    // it is for. Throws std::system_error.
    explicit ParameterArea(std::endian order = std::endian::native);
    // Removes the segment; who has it attached keeps it.
    ~ParameterArea();
    ParameterArea(const ParameterArea&) = delete;
    ParameterArea& operator=(const ParameterArea&) = delete;

    int key() const { return key_; }
    int shmid() const { return shmid_; }
    MPU_PARAMS_t& values() { return *values_; }

    // Throws std::length_error when the name does not fit the field.
    void setDirectories(const std::filesystem::path& mmsg, const std::filesystem::path& nonVolatile,
                        const std::filesystem::path& log);
    void setFlag(U32_t bit) { writeFlags(mpuFlags(values_) | ordered(bit)); }

  private:
    U32_t ordered(U32_t value) const {
        return order_ == std::endian::native ? value : __builtin_bswap32(value);
    }
    void writeFlags(U32_t flags) { *static_cast<volatile U32_t*>(&values_->flags) = flags; }

    std::endian order_;
    int key_ = 0;
    int shmid_ = -1;
    MPU_PARAMS_t* values_ = nullptr;
};

}  // namespace enclab
