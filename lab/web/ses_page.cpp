// SPDX-License-Identifier: Apache-2.0
#include "lab/web/ses_page.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/sesctl/enclosure.h"
#include "tools/sesctl/render.h"

namespace enclab {

constexpr std::chrono::seconds kPagePatience{5};

nlohmann::json sesPage(const std::filesystem::path& socket) {
    sesctl::Client client(socket, kPagePatience);
    const sesctl::Enclosure enclosure = sesctl::readEnclosure(client);
    nlohmann::json rows = nlohmann::json::array();
    for (const sesctl::PageRow& row : sesctl::statusRows(enclosure.status)) {
        rows.push_back({{"offset", row.offset},
                        {"size", row.size},
                        {"of", row.of},
                        {"says", row.says},
                        {"fault", row.fault}});
    }
    return {{"bytes", fmt::format("{:02x}", fmt::join(enclosure.statusPage, ""))},
            {"rows", rows},
            {"status", nlohmann::json::parse(sesctl::statusJson(enclosure.status))}};
}

}  // namespace enclab
