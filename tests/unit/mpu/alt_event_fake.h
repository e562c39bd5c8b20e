// SPDX-License-Identifier: Apache-2.0
// Stand-in for the alternate event log. Records of dying processes are told on standard error, where
// a death test sees them.
#pragma once

#include <cstddef>

// Bytes of the record that are told: those from `offset`, `count` of them. Set before the death.
void altEventFakeShow(std::size_t offset, std::size_t count);
