// SPDX-License-Identifier: Apache-2.0
#include "tests/story/calls.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "policy/esa_policy.h"
#include "state/chassis.h"

namespace {

// ---- routines ----

template <typename Result, typename... Parameters>
std::string invoke(Result (*routine)(Parameters...), const std::vector<Number>& arguments) {
    const auto outcome = [&]<std::size_t... N>(std::index_sequence<N...>) {
        return routine(static_cast<Parameters>(arguments.at(N))...);
    };
    if constexpr (std::is_void_v<Result>) {
        outcome(std::index_sequence_for<Parameters...>{});
        return "";
    } else {
        const auto result = outcome(std::index_sequence_for<Parameters...>{});
        return " = " + std::to_string(static_cast<Number>(result));
    }
}

ESA_CODE_e init() {
    return esaChassis()->init();
}

using Routine = std::string (*)(const std::vector<Number>& arguments);
template <auto Function>
std::string call(const std::vector<Number>& arguments) {
    return invoke(Function, arguments);
}
#define ROUTINE(name) \
    { #name, call < name> }

const std::map<std::string, Routine> ROUTINES = {
    ROUTINE(init),
    ROUTINE(esaCompositeFaultManage),
    ROUTINE(esaFanFailStatusRead),
    ROUTINE(esaTemperatureEventLog),
    ROUTINE(esaTemperatureFanPolicyFlexibleThreshold),
    ROUTINE(esaTemperatureOverheatCheck),
};

// ---- state ----

struct Field {
    const char* name;
    std::size_t count;
    Number (*get)(std::size_t n);
    void (*set)(std::size_t n, Number value);
};

// `Values` is the type of a function that gives the field: a number, or an array of them.
template <typename Values>
auto& valueAt(std::size_t n) {
    auto& values = Values{}();
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(values)>>) {
        return values[n];
    } else {
        return values;
    }
}

template <typename Values>
Field fieldOf(const char* name, Values values) {
    using Value = std::remove_reference_t<decltype(valueAt<Values>(0))>;
    return {name, sizeof values() / sizeof(Value),
            [](std::size_t n) { return static_cast<Number>(valueAt<Values>(n)); },
            [](std::size_t n, Number value) { valueAt<Values>(n) = static_cast<Value>(value); }};
}
#define FIELD(name) \
    fieldOf(        \
        #name, []() -> auto& { return esaControl.name; })

const Field FIELDS[] = {
    FIELD(enclosureType),
    FIELD(i2cConnected),
    FIELD(i2cAddressVsc055),
    FIELD(i2cAddressLM75),
    FIELD(i2cAddressW83782d),
    FIELD(i2cAddressW83792ad),
    FIELD(i2cAddressPca9539),
    FIELD(i2cDeviceFaultStatus),
    FIELD(elementTypeMaxNumber),
    FIELD(deviceMaxNumber),
    FIELD(powerSupplyMaxNumber),
    FIELD(coolingMaxNumber),
    FIELD(temperatureSensorMaxNumber),
    FIELD(audibleAlarmMaxNumber),
    FIELD(powerSupplyStatus),
    FIELD(fanFaultStatus),
    FIELD(fanFaultRpmLimit),
    FIELD(fanPwmLoadMinimum),
    FIELD(fanSpeedDivisor),
    FIELD(fanPwmLoad),
    FIELD(fanRpmSpeed),
    FIELD(temperatureSensor),
    FIELD(temperatureReportStatus),
    FIELD(temperatureSensorAverage),
    FIELD(overheatTemperatureLimit),
    FIELD(fanPwm25To50TemperatureThreshold),
    FIELD(fanPwm50To75TemperatureThreshold),
    FIELD(fanPwm75To100TemperatureThreshold),
    FIELD(fanPwm100To75TemperatureThreshold),
    FIELD(fanPwm75To50TemperatureThreshold),
    FIELD(fanPwm50To25TemperatureThreshold),
    FIELD(alarmState),
    FIELD(compositeFaultStatus),
    FIELD(vitesse.vsc055PWMC),
};

}  // namespace

static std::string valueText(const Field& field, std::size_t n) {
    const std::string_view name = field.name;
    const bool isBits = name.ends_with("Status") || name.ends_with("Overall") ||
                        name.find("vsc055") != name.npos || name.ends_with("Register");
    return isBits ? fmt::format(" 0x{:X}", field.get(n)) : fmt::format(" {}", field.get(n));
}

std::string callRoutine(const std::string& name, const std::vector<Number>& arguments) {
    return ROUTINES.at(name)(arguments);
}

void setField(const std::string& name, const std::vector<Number>& values) {
    const auto named = std::ranges::find(FIELDS, name, &Field::name);
    std::size_t index = 0;
    const Field* field = named;
    if (named == std::end(FIELDS)) {
        const std::size_t bracket = name.rfind('[');
        field = std::ranges::find(FIELDS, name.substr(0, bracket), &Field::name);
        index = std::stoul(name.substr(bracket + 1));
    }
    if (field == std::end(FIELDS)) {
        throw std::out_of_range("no field " + name);
    }
    for (const Number value : values) {
        if (index >= field->count) {
            throw std::out_of_range(name);
        }
        field->set(index++, value);
    }
}

std::vector<std::string> fieldTexts() {
    std::vector<std::string> texts;
    for (const Field& field : FIELDS) {
        texts.emplace_back(field.name);
        for (std::size_t n = 0; n < field.count; ++n) {
            texts.back() += valueText(field, n);
        }
    }
    return texts;
}
