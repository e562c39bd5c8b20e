// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "mmsg.h"
#include "tools/altevent/record.h"

namespace altevent {

static Field recipients(std::string name, const Be32 (&words)[2]) {
    Json value = Json::array();
    std::vector<std::string> texts;
    for (U32_t endpoint = 0; endpoint < MMSG_K_RECIPIENTS_MAX; ++endpoint) {
        if (((words[endpoint / 32] >> (endpoint % 32)) & 1) != 0) {
            value.push_back(endpoint);
            texts.push_back(named("", endpoint, ENDPOINTS).lines.front());
        }
    }
    return {std::move(name), std::move(value), {texts.empty() ? "none" : joined(texts)}};
}

// "0x40 (response)"
static Field control(std::string name, U8_t value) {
    const bool response = (value & MMSG_K_CONT_RESPONSE) != 0;
    return {std::move(name),
            value,
            {fmt::format("{:#04x} ({})", value, response ? "response" : "request")}};
}

Fields messageHeaderFields(ByteSpan message) {
    const auto& header = view<MMCH_t>(message);
    const U32_t opcode = header.opcode.whole;
    return {
        hexNumber("flink", header.mmch_lh.flink),
        hexNumber("blink", header.mmch_lh.blink),
        named("message_type", header.message_type, MESSAGE_TYPES),
        number("mmch_version", header.mmch_version),
        number("mmsg_length", header.mmsg_length),
        named("protocol", header.opcode.request.protocol, PROTOCOLS),
        {"type",
         U32_t{header.opcode.request.type},
         {fmt::format("{}{}{}", U32_t{header.opcode.request.type},
                      nameOf(REQUESTS, opcode).empty() ? "" : " ", nameOf(REQUESTS, opcode))}},
        named("requestor", header.requestor, ENDPOINTS),
        control("mmsg_cont", header.mmsg_cont),
        named("dest_ep", header.dest_ep, ENDPOINTS),
        recipients("recipient_loc_bm", header.recipient_loc_bm),
        recipients("recipient_ob_bm", header.recipient_ob_bm),
        number("return_code", header.return_code),
        hexNumber("handle", header.handle),
        hexNumber("general_use1", header.general_use1),
        hexNumber("general_use2", header.general_use2),
        hexNumber("general_use3", header.general_use3),
        hexNumber("timestamp.high", header.timestamp.high),
        hexNumber("timestamp.low", header.timestamp.low),
    };
}

}  // namespace altevent
