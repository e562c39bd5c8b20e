// SPDX-License-Identifier: Apache-2.0
#include "tests/support/sent_log.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "msg/esa_event.h"
#include "msg/esa_startup.h"

static std::vector<std::string> sent;

std::vector<std::string> sentTake() {
    std::vector<std::string> taken;
    taken.swap(sent);
    return taken;
}

static void append(std::string* text, const char* name, long value) {
    if (value != 0) {
        *text += std::string(" ") + name + "=" + std::to_string(value);
    }
}

static void appendBits(std::string* text, const char* name, U32_t value) {
    if (value != 0) {
        char number[16];
        std::snprintf(number, sizeof number, "=0x%x", static_cast<unsigned>(value));
        *text += std::string(" ") + name + number;
    }
}

// Whether a byte from `from` up to `to` is set.
static bool bytesSet(const EsaEventData_t& data, std::size_t from, std::size_t to) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&data);
    return std::any_of(bytes + from, bytes + to, [](std::uint8_t byte) { return byte != 0; });
}

static std::string fieldsOf(const EsaEventData_t& data) {
    std::string text;
    append(&text, "enclosureType", data.enclosureType);
    append(&text, "numberOfDrive", data.numberOfDrive);
    append(&text, "numberOfPowerSupply", data.numberOfPowerSupply);
    append(&text, "numberOfFan", data.numberOfFan);
    append(&text, "numberOfTemperatureSensor", data.numberOfTemperatureSensor);
    append(&text, "numberOfAlarm", data.numberOfAlarm);
    appendBits(&text, "driveFaultLedStatus0", data.driveFaultLedStatus0);
    appendBits(&text, "driveFaultLedStatus1", data.driveFaultLedStatus1);
    appendBits(&text, "powerSupplyStatus", data.powerSupplyStatus);
    appendBits(&text, "fanFaultStatus", data.fanFaultStatus);
    append(&text, "temperatureStatus", data.temperatureStatus);
    append(&text, "temperatureSensorPosition", data.temperatureSensorPosition);
    append(&text, "temperature", data.temperature);
    append(&text, "alarmState", data.alarmState);
    append(&text, "information", data.information);
    appendBits(&text, "general_use1", data.general_use1);
    appendBits(&text, "general_use2", data.general_use2);
    if (bytesSet(data, offsetof(EsaEventData_t, alignment3),
                 offsetof(EsaEventData_t, general_use1)) ||
        bytesSet(data, offsetof(EsaEventData_t, general_use3), sizeof data)) {
        text += " and more";
    }
    return text;
}

S32_t esaEventMmsgToEmpSend(U16_t eventId, U8_t eventType, const void* eventDataPtr) {
    const EsaEventData_t& data = *static_cast<const EsaEventData_t*>(eventDataPtr);
    sent.push_back("event " + std::to_string(eventId) + "/" + std::to_string(eventType) +
                   fieldsOf(data));
    return 360;
}

S32_t esaEmailNotificationMmsgToStartupSend() {
    sent.emplace_back("mail");
    return 64;
}

S32_t esaCompositeFaultMmsgToStartupSend(ESA_CODE_e status) {
    sent.emplace_back(status == ESA_E_OK ? "led off" : "led on");
    return 64;
}

S32_t esaOrderlyShutdownMmsgToStartupSend() {
    sent.emplace_back("shutdown");
    return 64;
}
