// SPDX-License-Identifier: Apache-2.0
// What sesctl prints: tables for people, JSON for programs, hexadecimal for sg_ses.
#pragma once

#include <string>
#include <vector>

#include "tools/sesctl/codec.h"

namespace sesctl {

std::string configurationTable(const Configuration& configuration);
std::string statusTable(const Status& status);
// "slot 3: fault LED on", one line for each of `slots`.
std::string driveLedTable(const Status& status, const std::vector<unsigned>& slots);

// One object; what a page does not tell is null.
std::string statusJson(const Status& status);

// The metrics of the enclosure for a Prometheus server; none: it could not be reached.
std::string statusMetrics(const Status* status);

// One record of the status page: where it stands, what it is of ("fan 1") and what it says.
struct PageRow {
    std::size_t offset;
    std::size_t size;
    std::string of;
    std::string says;
    bool fault;
};
// All of the page, in its order.
std::vector<PageRow> statusRows(const Status& status);

// A page as `sg_ses --inhex` reads it, under a comment line.
std::string pageHex(View page, const std::string& comment);

}  // namespace sesctl
