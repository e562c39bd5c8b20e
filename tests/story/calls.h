// SPDX-License-Identifier: Apache-2.0
// The service's routines and its state by name, for stories that reach past messages and polls.
#pragma once

#include <string>
#include <vector>

using Number = long long;

// Calls a routine; numbers go to its parameters in order. The outcome: " = RESULT", empty for none.
std::string callRoutine(const std::string& name, const std::vector<Number>& arguments);

// Sets a field of the control block: "alarmState", "fanPwmLoad[2]"; an array from there on.
void setField(const std::string& name, const std::vector<Number>& values);

// All fields that can be set, as "NAME VALUES".
std::vector<std::string> fieldTexts();
