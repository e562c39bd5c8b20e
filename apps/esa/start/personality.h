// SPDX-License-Identifier: Apache-2.0
// The enclosure personality file: names the chassis and holds the tuning values. It is searched as
// plain text, the XML is not parsed. Its vocabulary is open to tools that check such a file.
#pragma once

#include <climits>
#include <span>

#include "state/chassis.h"

constexpr int ESA_K_PERSONALITY_SIZE = 8192;  // bytes read at most
// Under the start-up directory.
constexpr char ESA_K_PERSONALITY_FILE[] = "/../web/OEM/EnvPersonalityParams.xml";

// The row a personality file selects, and the name that does; null: no known name, no services.
struct EsaPersonalityChoice_t {
    KORVO_E_CHASSIS_t type;
    const EsaPersonalityName_t* name;
};

struct EsaPersonalityKey_t {
    const char* quoted;          // as it is looked for
    U8_t EsaControl_t::*narrow;  // the field, by its width; the other is null
    U32_t EsaControl_t::*wide;
    const char* traced;
    int arraySize = INT_MAX;  // elements the service keeps, for a count of elements
};

// Where a key stands in the text; null: not there.
struct EsaPersonalityPlace_t {
    const char* key;    // its opening quote
    const char* value;  // the number that follows it
};

// The file's text, zero-terminated.
extern char esPersonalityToolkitXmlFilePtr[ESA_K_PERSONALITY_SIZE + 1];

// All keys.
std::span<const EsaPersonalityKey_t> esaPersonalityKeys();

// Reads the file under the start-up directory. False when it does not open; a file that cannot be
// read counts as empty.
bool esaPersonalityRead();
// The same with the file at `path`.
bool esaPersonalityFileRead(const char* path);

// In a file's text. The rows are tried in the table's order, the names of a row in its own: the
// first that stands in the text wins. A key is given with its quotes.
EsaPersonalityChoice_t esaPersonalityChoiceFind(const char* text);
EsaPersonalityPlace_t esaPersonalityKeyFind(const char* text, const char* quoted);

// Sets enclosureType, the element counts and the I2C addresses of the chassis the text names;
// without a known name there is no back-end.
void esaPersonalityChassisChoose();

// Sets the tuning values of esaControl; a key the text does not hold leaves its field alone.
void esaPersonalityTuningRead();
