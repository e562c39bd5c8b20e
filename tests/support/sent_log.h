// SPDX-License-Identifier: Apache-2.0
// Takes the place of the service's senders and logs what they were asked to send, so that what
// lies below the messages is tested without a link.
#pragma once

#include <string>
#include <vector>

// Since the last call, in order: "led on", "led off", "mail", "shutdown", and events with all
// fields that are not zero: "event 7/2 enclosureType=5 numberOfFan=3 fanFaultStatus=0x4"
// (" and more" when a field is set that no event below the messages fills).
std::vector<std::string> sentTake();
