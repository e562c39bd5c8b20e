// SPDX-License-Identifier: Apache-2.0
// The names of the chassis rows and the tuning keys are looked for with their quotes, so that only
// whole attribute values match. The first name of the rows wins, not the first of the file.
#include "start/personality.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "start/esa_number.h"
#include "state/esa_trace.h"

char esPersonalityToolkitXmlFilePtr[ESA_K_PERSONALITY_SIZE + 1];

namespace {

constexpr EsaPersonalityKey_t KEYS[] = {
    {R"("fanSpeedDivisor")", &EsaControl_t::fanSpeedDivisor, nullptr, "Fan Speed Divisor"},
    {R"("coolingMaxNumber")", &EsaControl_t::coolingMaxNumber, nullptr, "Cooling Max Number",
     SES_K_FANS_MAX},
    {R"("temperatureSensorMaxNumber")", &EsaControl_t::temperatureSensorMaxNumber, nullptr,
     "Temperature Sensor Max Number", SES_K_SENSORS_MAX},
    {R"("overheatTemperatureLimit")", nullptr, &EsaControl_t::overheatTemperatureLimit,
     "Overheat Temperature Limit"},
    {R"("fanPwm25To50TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm25To50TemperatureThreshold, "Fan Pwm 25 To 50 Temperature Threshold"},
    {R"("fanPwm50To75TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm50To75TemperatureThreshold, "Fan Pwm 50 To 75 Temperature Threshold"},
    {R"("fanPwm75To100TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm75To100TemperatureThreshold, "Fan Pwm 75 To 100 Temperature Threshold"},
    {R"("fanPwm100To75TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm100To75TemperatureThreshold, "Fan Pwm 100 To 75 Temperature Threshold"},
    {R"("fanPwm75To50TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm75To50TemperatureThreshold, "Fan Pwm 75 To 50 Temperature Threshold"},
    {R"("fanPwm50To25TemperatureThreshold")", nullptr,
     &EsaControl_t::fanPwm50To25TemperatureThreshold, "Fan Pwm 50 To 25 Temperature Threshold"},
    {R"("fanFaultRpmLimit")", nullptr, &EsaControl_t::fanFaultRpmLimit, "Fan Fault Rpm Limit"},
    {R"("fanPwmLoadMinimum")", nullptr, &EsaControl_t::fanPwmLoadMinimum, "Fan PWM Load Minimum"},
};

// The value attribute that follows `key`; null when the text ends before one.
const char* valueText(const char* key) {
    constexpr std::size_t numberAt = 7;  // behind value, the equals sign and the opening quote
    const char* value = std::strstr(key, "value");
    return value != nullptr && strnlen(value, numberAt) == numberAt ? value + numberAt : nullptr;
}

int valueStore(const EsaPersonalityKey_t& key, S32_t value) {
    if (key.narrow != nullptr) {
        return esaControl.*key.narrow = static_cast<U8_t>(value);
    }
    esaControl.*key.wide = static_cast<U32_t>(value);
    return value;
}

void tuningRead(const EsaPersonalityKey_t& key) {
    const EsaPersonalityPlace_t place =
        esaPersonalityKeyFind(esPersonalityToolkitXmlFilePtr, key.quoted);
    if (place.key == nullptr) {
        return;
    }
    if (place.value == nullptr) {
        ESA_TRACE("The key %s in the XML File has no value.", key.quoted);
        return;
    }
    const int stored = valueStore(key, esaNumberOf(place.value, 10));
    ESA_TRACE("%s = [%d].", key.traced, stored);
    if (stored > key.arraySize) {
        ESA_TRACE("%s [%d] exceeds the %d elements handled.", key.traced, stored, key.arraySize);
    }
}

}  // namespace

std::span<const EsaPersonalityKey_t> esaPersonalityKeys() {
    return KEYS;
}

// ---- the file ----

bool esaPersonalityRead() {
    // One byte more than the system takes, so that a path cut off here does not open another file.
    char path[PATH_MAX + 1];
    const char* startup = std::getenv("STARTUP");
    std::snprintf(path, sizeof path, "%s%s", startup != nullptr ? startup : "",
                  ESA_K_PERSONALITY_FILE);
    ESA_TRACE("Personality Toolkit XML File Path = [%s].", path);
    return esaPersonalityFileRead(path);
}

bool esaPersonalityFileRead(const char* path) {
    std::memset(esPersonalityToolkitXmlFilePtr, 0, sizeof esPersonalityToolkitXmlFilePtr);
    const int fd = open(path, O_RDONLY | O_NONBLOCK, 0400);
    if (fd < 0) {
        return false;
    }
    const ssize_t size = read(fd, esPersonalityToolkitXmlFilePtr, ESA_K_PERSONALITY_SIZE);
    ESA_TRACE("Personality Toolkit XML File with size [%d] = [%s].", static_cast<int>(size),
              esPersonalityToolkitXmlFilePtr);
    close(fd);
    return true;
}

// ---- the chassis ----

EsaPersonalityChoice_t esaPersonalityChoiceFind(const char* text) {
    KORVO_E_CHASSIS_t type = KORVO_E_CHASSIS_NONE;
    for (const EsaChassis_t* row : esaChassisTableInUse()) {
        for (const EsaPersonalityName_t& name : row->names) {
            if (std::strstr(text, name.quoted) != nullptr) {
                return {type, &name};
            }
        }
        ++type;
    }
    return {KORVO_E_CHASSIS_NONE, nullptr};
}

void esaPersonalityChassisChoose() {
    const EsaPersonalityChoice_t choice = esaPersonalityChoiceFind(esPersonalityToolkitXmlFilePtr);
    const EsaChassisSetup_t& setup = esaChassisOf(choice.type)->setup;
    esaControl.enclosureType = choice.type;
    esaControl.deviceMaxNumber = setup.deviceMaxNumber;
    esaControl.powerSupplyMaxNumber = setup.powerSupplyMaxNumber;
    esaControl.i2cAddressVsc055 = setup.addressVsc055;
    std::ranges::fill(esaControl.i2cAddressLM75, U8_t{0});
    std::ranges::copy(setup.addressesLM75, esaControl.i2cAddressLM75);
    esaControl.i2cAddressW83792ad = setup.addressW83792ad;
    esaControl.i2cAddressPca9539 = setup.addressPca9539;
    if (choice.name == nullptr) {
        ESA_TRACE("No Enclosure Type in XML File!");
    } else {
        ESA_TRACE("Enclosure Type in XML File = [%s]", choice.name->traced);
    }
}

// ---- the tuning values ----

EsaPersonalityPlace_t esaPersonalityKeyFind(const char* text, const char* quoted) {
    const char* found = std::strstr(text, quoted);
    return {found, found != nullptr ? valueText(found) : nullptr};
}

void esaPersonalityTuningRead() {
    for (const EsaPersonalityKey_t& key : KEYS) {
        tuningRead(key);
    }
}
