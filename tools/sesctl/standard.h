// SPDX-License-Identifier: Apache-2.0
// Pages as the SES standard prints them. The service fills the bit fields of a byte from its most
// significant bit down, in the order in which the standard counts them up.
#pragma once

#include "tools/sesctl/codec.h"

namespace sesctl {

// Both take a whole page of the service that has been decoded.
Bytes standardConfiguration(View page);
Bytes standardStatus(View page, const Configuration& configuration);

}  // namespace sesctl
