// SPDX-License-Identifier: Apache-2.0
// The personality file's chassis names and tuning keys are tables; each is looked for with its
// quotes, so that only whole attribute values match. The first chassis name of the table wins, not
// the first of the file.
#include "core/personality.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/esa_control.h"
#include "core/esa_number.h"
#include "esa_trace.h"

char esPersonalityToolkitXmlFilePtr[ESA_K_PERSONALITY_SIZE + 1];

namespace {

struct Setup {
    KORVO_E_CHASSIS_e type;
    U8_t deviceMaxNumber;
    U8_t powerSupplyMaxNumber;
    U8_t addressVsc055 = 0;
    U8_t addressLM75[ESA_K_LM75_MAX] = {};
    U8_t addressW83792ad = 0;
    U8_t addressPca9539 = 0;
};

constexpr Setup NONE = {
    .type = KORVO_E_CHASSIS_NONE, .deviceMaxNumber = 16, .powerSupplyMaxNumber = 3};
constexpr Setup XYRATEX = {.type = KORVO_E_CHASSIS_XYRATEX_2U12ATX,
                           .deviceMaxNumber = 12,
                           .powerSupplyMaxNumber = 2,
                           .addressVsc055 = 0x63};
constexpr Setup VSC055 = {.type = KORVO_E_CHASSIS_KORVO_VSC055,
                          .deviceMaxNumber = 16,
                          .powerSupplyMaxNumber = 2,
                          .addressVsc055 = 0x41,
                          .addressLM75 = {0x4C, 0x4B, 0x4A, 0x4D, 0x4E, 0x4F}};
constexpr Setup W83792AD = {.type = KORVO_E_CHASSIS_KORVO_W83792AD,
                            .deviceMaxNumber = 16,
                            .powerSupplyMaxNumber = 2,
                            .addressW83792ad = 0x2C,
                            .addressPca9539 = 0x74};

struct Name {
    const char* quoted;
    const Setup& setup;
    const char* traced;
};

constexpr char PREQUALIFIED[] = "VSC055 Based Prequalified Enclosure";
constexpr Name NAMES[] = {
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

struct TuningKey {
    const char* quoted;
    U8_t EsaControl_t::*narrow;  // the field, by its width
    U32_t EsaControl_t::*wide;
    const char* traced;
    int arraySize = INT_MAX;  // elements the service keeps, for a count of elements
};

constexpr TuningKey TUNING_KEYS[] = {
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

// ---- the file ----

static int personalityOpen() {
    // One byte more than the system takes, so that a path cut off here does not open another file.
    char path[PATH_MAX + 1];
    const char* startup = std::getenv("STARTUP");
    std::snprintf(path, sizeof path, "%s/../web/OEM/EnvPersonalityParams.xml",
                  startup != nullptr ? startup : "");
    ESA_TRACE("Personality Toolkit XML File Path = [%s].", path);
    return open(path, O_RDONLY | O_NONBLOCK, 0400);
}

bool esaPersonalityRead() {
    std::memset(esPersonalityToolkitXmlFilePtr, 0, sizeof esPersonalityToolkitXmlFilePtr);
    const int fd = personalityOpen();
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

static void setupApply(const Setup& setup) {
    esaControl.enclosureType = setup.type;
    esaControl.deviceMaxNumber = setup.deviceMaxNumber;
    esaControl.powerSupplyMaxNumber = setup.powerSupplyMaxNumber;
    esaControl.i2cAddressVsc055 = setup.addressVsc055;
    std::ranges::copy(setup.addressLM75, esaControl.i2cAddressLM75);
    esaControl.i2cAddressW83792ad = setup.addressW83792ad;
    esaControl.i2cAddressPca9539 = setup.addressPca9539;
}

void esaPersonalityChassisChoose() {
    for (const Name& name : NAMES) {
        if (std::strstr(esPersonalityToolkitXmlFilePtr, name.quoted) != nullptr) {
            setupApply(name.setup);
            ESA_TRACE("Enclosure Type in XML File = [%s]", name.traced);
            return;
        }
    }
    setupApply(NONE);
    ESA_TRACE("No Enclosure Type in XML File!");
}

// ---- the tuning values ----

// The value attribute that follows `key`; null when the text ends before one.
static const char* valueText(const char* key) {
    constexpr std::size_t numberAt = 7;  // behind value, the equals sign and the opening quote
    const char* value = std::strstr(key, "value");
    return value != nullptr && strnlen(value, numberAt) == numberAt ? value + numberAt : nullptr;
}

static int valueStore(const TuningKey& key, S32_t value) {
    if (key.narrow != nullptr) {
        return esaControl.*key.narrow = static_cast<U8_t>(value);
    }
    esaControl.*key.wide = static_cast<U32_t>(value);
    return value;
}

static void tuningRead(const TuningKey& key) {
    const char* found = std::strstr(esPersonalityToolkitXmlFilePtr, key.quoted);
    if (found == nullptr) {
        return;
    }
    const char* text = valueText(found);
    if (text == nullptr) {
        ESA_TRACE("The key %s in the XML File has no value.", key.quoted);
        return;
    }
    const int stored = valueStore(key, esaNumberOf(text, 10));
    ESA_TRACE("%s = [%d].", key.traced, stored);
    if (stored > key.arraySize) {
        ESA_TRACE("%s [%d] exceeds the %d elements handled.", key.traced, stored, key.arraySize);
    }
}

void esaPersonalityTuningRead() {
    for (const TuningKey& key : TUNING_KEYS) {
        tuningRead(key);
    }
}
