// SPDX-License-Identifier: Apache-2.0
// The enclosure as sesctl sees it: plain structs made of the configuration and the status page,
// and for each kind of element the table of its flags.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ses_mesgs.h"

namespace sesctl {

// Kinds of elements, in page order.
enum Kind { devices, powerSupplies, fans, sensors, alarms };
constexpr std::array<std::uint8_t, SES_K_ELEMENT_TYPES> ELEMENT_TYPES = {
    SES_E_ELEMENT_TYPE_DEVICE, SES_E_ELEMENT_TYPE_POWER_SUPPLY, SES_E_ELEMENT_TYPE_COOLING,
    SES_E_ELEMENT_TYPE_TEMPERATURE_SENSOR, SES_E_ELEMENT_TYPE_AUDIBLE_ALARM};

struct Configuration {
    std::uint32_t generation = 0;
    std::string vendor;
    std::string product;
    std::string revision;
    std::array<unsigned, SES_K_ELEMENT_TYPES> counts = {};  // by Kind
};

// What every element record says in its first byte.
struct Element {
    std::uint8_t code = 0;  // SesElementStatusCode_e
    bool disabled = false;
};

struct Device : Element {
    unsigned slot = 0;
    bool ident = false;
    bool doNotRemove = false;
    bool off = false;
    bool faultRequested = false;  // the drive fault LED
    bool faultSensed = false;
};

struct PowerSupply : Element {
    bool ident = false;
    bool dcOverCurrent = false;
    bool dcUnderVoltage = false;
    bool dcOverVoltage = false;
    bool dcFail = false;
    bool acFail = false;
    bool temperatureWarning = false;
    bool overTemperature = false;
    bool off = false;
    bool requestedOn = false;
    bool fail = false;
};

struct Fan : Element {
    std::optional<unsigned> rpm;  // none: the fan could not be read
    unsigned speedCode = 0;       // SesFanActualSpeedCode_e
    bool ident = false;
    bool off = false;
    bool requestedOn = false;
    bool fail = false;
};

struct Sensor : Element {
    std::optional<int> celsius;  // none: the sensor could not be read
    bool ident = false;
    bool underTemperatureWarning = false;
    bool underTemperatureFailure = false;
    bool overTemperatureWarning = false;
    bool overTemperatureFailure = false;
};

struct AlarmFlags {
    bool unrecoverable = false;
    bool critical = false;
    bool nonCritical = false;
    bool information = false;
    bool remind = false;
    bool muted = false;
    bool requestedMute = false;
};

struct Alarm : Element {
    bool ident = false;
    // None for the last alarm of the page: its flags are the byte that replies leave out.
    std::optional<AlarmFlags> flags;
};

struct PageFlags {
    bool unrecoverable = false;
    bool critical = false;
    bool nonCritical = false;
    bool information = false;
    bool invalidOperation = false;
};

struct Status {
    PageFlags page;
    std::vector<Device> devices;
    std::vector<PowerSupply> powerSupplies;
    std::vector<Fan> fans;
    std::vector<Sensor> sensors;
    bool alarmsDisabled = false;
    std::vector<Alarm> alarms;
};

// One flag: its JSON name, its words in a table, and whether it makes a fault.
template <typename Owner>
struct Flag {
    const char* key;
    const char* words;
    bool Owner::*set;
    bool fault;
};

inline constexpr Flag<Device> DEVICE_FLAGS[] = {
    {"ident", "identify", &Device::ident, false},
    {"doNotRemove", "do not remove", &Device::doNotRemove, false},
    {"off", "off", &Device::off, false},
    {"faultRequested", "fault LED on", &Device::faultRequested, true},
    {"faultSensed", "fault sensed", &Device::faultSensed, true},
};
inline constexpr Flag<PowerSupply> POWER_SUPPLY_FLAGS[] = {
    {"ident", "identify", &PowerSupply::ident, false},
    {"dcOverCurrent", "DC over-current", &PowerSupply::dcOverCurrent, true},
    {"dcUnderVoltage", "DC under-voltage", &PowerSupply::dcUnderVoltage, true},
    {"dcOverVoltage", "DC over-voltage", &PowerSupply::dcOverVoltage, true},
    {"dcFail", "DC failed", &PowerSupply::dcFail, true},
    {"acFail", "AC failed", &PowerSupply::acFail, true},
    {"temperatureWarning", "temperature warning", &PowerSupply::temperatureWarning, true},
    {"overTemperature", "over-temperature", &PowerSupply::overTemperature, true},
    {"off", "off", &PowerSupply::off, false},
    {"requestedOn", "requested on", &PowerSupply::requestedOn, false},
    {"fail", "fault", &PowerSupply::fail, true},
};
inline constexpr Flag<Fan> FAN_FLAGS[] = {
    {"ident", "identify", &Fan::ident, false},
    {"off", "stopped", &Fan::off, true},
    {"requestedOn", "requested on", &Fan::requestedOn, false},
    {"fail", "fault", &Fan::fail, true},
};
inline constexpr Flag<Sensor> SENSOR_FLAGS[] = {
    {"ident", "identify", &Sensor::ident, false},
    {"underTemperatureWarning", "too cold (warning)", &Sensor::underTemperatureWarning, true},
    {"underTemperatureFailure", "too cold (failure)", &Sensor::underTemperatureFailure, true},
    {"overTemperatureWarning", "too hot (warning)", &Sensor::overTemperatureWarning, true},
    {"overTemperatureFailure", "too hot (failure)", &Sensor::overTemperatureFailure, true},
};
inline constexpr Flag<AlarmFlags> ALARM_FLAGS[] = {
    {"unrecoverable", "unrecoverable", &AlarmFlags::unrecoverable, true},
    {"critical", "critical", &AlarmFlags::critical, true},
    {"nonCritical", "non-critical", &AlarmFlags::nonCritical, true},
    {"information", "information", &AlarmFlags::information, false},
    {"remind", "remind", &AlarmFlags::remind, false},
    {"muted", "muted", &AlarmFlags::muted, false},
    {"requestedMute", "requested mute", &AlarmFlags::requestedMute, false},
};
inline constexpr Flag<PageFlags> PAGE_FLAGS[] = {
    {"unrecoverable", "unrecoverable", &PageFlags::unrecoverable, true},
    {"critical", "critical", &PageFlags::critical, true},
    {"nonCritical", "non-critical", &PageFlags::nonCritical, true},
    {"information", "information", &PageFlags::information, false},
    {"invalidOperation", "invalid operation", &PageFlags::invalidOperation, false},
};

// "OK", "not installed", ... of a SesElementStatusCode_e.
std::string statusName(std::uint8_t code);

bool inFault(const Device& device);
bool inFault(const PowerSupply& supply);
bool inFault(const Fan& fan);
bool inFault(const Sensor& sensor);
bool inFault(const Alarm& alarm);

// True when anything in the page is a fault or a warning: an element's status code or flags, a fan
// that stands still, a fan or sensor that could not be read, a drive whose fault LED was requested.
bool faultPresent(const Status& status);

}  // namespace sesctl
