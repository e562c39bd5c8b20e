// SPDX-License-Identifier: Apache-2.0
// The personality file's chassis names and tuning keys are tables; each is looked for with its
// quotes, so that only whole attribute values match. The first chassis name of the table wins, not
// the first of the file.
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

constexpr EsaPersonalitySetup_t NONE = {
    .type = KORVO_E_CHASSIS_NONE, .deviceMaxNumber = 16, .powerSupplyMaxNumber = 3};
constexpr EsaPersonalitySetup_t XYRATEX = {.type = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
                                           .deviceMaxNumber = 12,
                                           .powerSupplyMaxNumber = 2,
                                           .addressVsc055 = 0x63};
constexpr EsaPersonalitySetup_t VSC055 = {.type = KORVO_E_CHASSIS_KORVO_VSC055,
                                          .deviceMaxNumber = 16,
                                          .powerSupplyMaxNumber = 2,
                                          .addressVsc055 = 0x41,
                                          .addressLM75 = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F}};
constexpr EsaPersonalitySetup_t W83792AD = {.type = KORVO_E_CHASSIS_KORVO_W83792AD,
                                            .deviceMaxNumber = 16,
                                            .powerSupplyMaxNumber = 2,
                                            .addressW83792ad = 0x2C,
                                            .addressPca9539 = 0x74};

constexpr char PREQUALIFIED[] = "VSC055 Based Prequalified Enclosure";
constexpr EsaPersonalityName_t NAMES[] = {
    {R"("Korvo Standard")", NONE, "ESA_K_NAME_STRING_KORVO_STANDARD"},
    {R"("Xyratex 2U12ATX")", XYRATEX, "ESA_K_NAME_STRING_XYRATEX_2U12ATX"},
    {R"("PeltoTolvex")", VSC055, PREQUALIFIED},
    {R"("ChenbroRM325")", VSC055, PREQUALIFIED},
    {R"("ChenbroRM326")", VSC055, PREQUALIFIED},
    {R"("ASUSi104")", VSC055, PREQUALIFIED},
    {R"("ASUSi316")", VSC055, PREQUALIFIED},
    {R"("Accusys3U16ATX")", VSC055, PREQUALIFIED},
    {R"("Vitesse VSC055 Custom")", VSC055, "ESA_K_NAME_STRING_VITESSE_VSC055_CUSTOM"},
    {R"("Winbond W83792AD Custom")", W83792AD, "ESA_K_NAME_STRING_WINBOND_W83792AD_CUSTOM"},
};

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

}  // namespace

std::span<const EsaPersonalityName_t> esaPersonalityNames() {
    return NAMES;
}

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

static void setupApply(const EsaPersonalitySetup_t& setup) {
    esaControl.enclosureType = setup.type;
    esaControl.deviceMaxNumber = setup.deviceMaxNumber;
    esaControl.powerSupplyMaxNumber = setup.powerSupplyMaxNumber;
    esaControl.i2cAddressVsc055 = setup.addressVsc055;
    std::ranges::copy(setup.addressLM75, esaControl.i2cAddressLM75);
    esaControl.i2cAddressW83792ad = setup.addressW83792ad;
    esaControl.i2cAddressPca9539 = setup.addressPca9539;
}

const EsaPersonalityName_t* esaPersonalityNameFind() {
    for (const EsaPersonalityName_t& name : NAMES) {
        if (std::strstr(esPersonalityToolkitXmlFilePtr, name.quoted) != nullptr) {
            return &name;
        }
    }
    return nullptr;
}

void esaPersonalityChassisChoose() {
    const EsaPersonalityName_t* name = esaPersonalityNameFind();
    if (name == nullptr) {
        setupApply(NONE);
        ESA_TRACE("No Enclosure Type in XML File!");
        return;
    }
    setupApply(name->setup);
    ESA_TRACE("Enclosure Type in XML File = [%s]", name->traced);
}

// ---- the tuning values ----

// The value attribute that follows `key`; null when the text ends before one.
static const char* valueText(const char* key) {
    constexpr std::size_t numberAt = 7;  // behind value, the equals sign and the opening quote
    const char* value = std::strstr(key, "value");
    return value != nullptr && strnlen(value, numberAt) == numberAt ? value + numberAt : nullptr;
}

EsaPersonalityPlace_t esaPersonalityKeyFind(const EsaPersonalityKey_t& key) {
    const char* found = std::strstr(esPersonalityToolkitXmlFilePtr, key.quoted);
    return {found, found != nullptr ? valueText(found) : nullptr};
}

static int valueStore(const EsaPersonalityKey_t& key, S32_t value) {
    if (key.narrow != nullptr) {
        return esaControl.*key.narrow = static_cast<U8_t>(value);
    }
    esaControl.*key.wide = static_cast<U32_t>(value);
    return value;
}

static void tuningRead(const EsaPersonalityKey_t& key) {
    const EsaPersonalityPlace_t place = esaPersonalityKeyFind(key);
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

void esaPersonalityTuningRead() {
    for (const EsaPersonalityKey_t& key : KEYS) {
        tuningRead(key);
    }
}
