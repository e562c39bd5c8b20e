// SPDX-License-Identifier: Apache-2.0
// The enclosure personality file: names the chassis and holds the tuning values. It is searched as
// plain text, the XML is not parsed.
#pragma once

#include "basetypes.h"

constexpr int ESA_K_PERSONALITY_SIZE = 8192;  // bytes read at most

// The file's text, zero-terminated.
extern char esPersonalityToolkitXmlFilePtr[ESA_K_PERSONALITY_SIZE + 1];

// Reads "/../web/OEM/EnvPersonalityParams.xml" under the start-up directory. False when it does not
// open; a file that cannot be read counts as empty.
bool esaPersonalityRead();

// Sets enclosureType, the element counts and the I2C addresses of the chassis the text names;
// without a known name there is no back-end.
void esaPersonalityChassisChoose();

// Sets the tuning values of esaControl; a key the text does not hold leaves its field alone.
void esaPersonalityTuningRead();
