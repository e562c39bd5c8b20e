// SPDX-License-Identifier: Apache-2.0
// The doctor's questions. None changes anything but the time-out of the I2C adapter, which the
// service sets alike.
#pragma once

#include <string>

#include "mpu_gbl.h"
#include "tools/doctor/account.h"
#include "tools/doctor/finding.h"

namespace doctor {

// The area of System V key `key`: there, of the right shape, readable for the service. Fills
// `params` when it can be read, and says so with true.
bool checkArea(int key, const Account& account, MPU_PARAMS_t& params, Findings& findings);

// The directories the area names, and the message switch's socket in the first of them.
void checkDirectories(const MPU_PARAMS_t& params, const Account& account, Findings& findings);

// The personality file at `path`, as the service reads it; fills esaControl.
void checkPersonality(const std::string& path, const Account& account, Findings& findings);

// The I2C adapter at `path` and what it can; then the devices of each chassis, by one read each.
// The chassis chosen by checkPersonality() must answer.
void checkBus(const std::string& path, const Account& account, Findings& findings);

// Records carry the time of day.
void checkClock(Findings& findings);

}  // namespace doctor
