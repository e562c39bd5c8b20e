// SPDX-License-Identifier: Apache-2.0
// The commands that talk to the daemon: as SES clients, or with bytes that are no message.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {

namespace {

// A change of one element of the control page: "drive 3 fault on".
struct ChangeRow {
    const char* element;
    sesctl::Kind kind;
    std::size_t words;  // behind the number
    void (*make)(sesctl::ControlPage&, unsigned index, const std::string& last);
};

bool isOn(const std::string& word) {
    return choice(word, {"off", "on"}) == 1;
}

constexpr ChangeRow kChanges[] = {
    {"drive", sesctl::devices, 2,
     [](auto& page, unsigned n, const auto& last) { page.driveFault(n, isOn(last)); }},
    {"supply", sesctl::powerSupplies, 2,
     [](auto& page, unsigned n, const auto& last) { page.powerSupplyFault(n, isOn(last)); }},
    {"fan", sesctl::fans, 1,
     [](auto& page, unsigned n, const auto& last) { page.fan(n, isOn(last)); }},
    {"alarm", sesctl::alarms, 1,
     [](auto& page, unsigned n, const auto& last) {
         using enum sesctl::AlarmRequest;
         constexpr sesctl::AlarmRequest kRequests[] = {mute, information, critical};
         page.alarm(n, kRequests[choice(last, {"mute", "information", "critical"})]);
     }},
};

const ChangeRow* changeFor(const std::vector<std::string>& words) {
    for (const ChangeRow& row : kChanges) {
        const bool fault = row.words == 1 || (words.size() > 2 && words[2] == "fault");
        if (words[0] == row.element && words.size() == 2 + row.words && fault) {
            return &row;
        }
    }
    return nullptr;
}

std::uint8_t hexadecimal(const std::string& text, std::size_t place) {
    std::uint8_t value = 0;
    const char* const first = text.data() + place;
    const auto [stopped, error] = std::from_chars(first, first + 2, value, 16);
    if (error != std::errc() || stopped != first + 2) {
        refuse(fmt::format("'{}' is not bytes in hexadecimal", text));
    }
    return value;
}

// "1c8002", or "00*4000" for 4000 of one.
Bytes bytesOf(const std::string& word) {
    if (word.size() > 3 && word[2] == '*') {
        return Bytes(number<std::uint16_t>(word.substr(3), "a number of bytes"),
                     hexadecimal(word, 0));
    }
    Bytes bytes;
    for (std::size_t place = 0; place < word.size(); place += 2) {
        bytes.push_back(hexadecimal(word, place));
    }
    return bytes;
}

// "10=003f": these bytes from place 10 on.
void putAt(Bytes& message, const std::string& word) {
    const std::size_t equals = std::min(word.find('='), word.size() - 1);
    const auto place = number<std::uint16_t>(word.substr(0, equals), "the place of a byte");
    const Bytes bytes = bytesOf(word.substr(equals + 1));
    message.resize(std::max(message.size(), place + bytes.size()));
    std::ranges::copy(bytes, message.begin() + place);
}

// The environment manager's request for the status page.
Bytes statusRequest() {
    Message request(sesctl::receiveDiagnostic(SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE));
    request.header().requestor = MMSG_E_EPID_ENVIRONMP;
    return request.bytes();
}

}  // namespace

std::string Commands::sesAs(std::uint8_t endpoint, const Words& words) {
    SesInitiator& initiator = lab_.sesInitiator();
    if (words.size() == 1 && words[0] == "status") {
        initiator.getStatus(endpoint);
        return "asked for the status page";
    }
    if (words.size() == 2 && words[0] == "page") {
        const auto page = number<std::uint8_t>(words[1], "a page code");
        initiator.get(endpoint, page);
        return fmt::format("asked for page {}", page);
    }
    const ChangeRow* row = changeFor(words);
    if (row == nullptr) {
        refuse(
            "say status, page N, drive N fault on|off, supply N fault on|off, fan N on|off, or "
            "alarm N mute|information|critical");
    }
    const auto index = number<unsigned>(words[1], "a number");
    if (const auto& known = initiator.configuration(); known && index >= known->counts[row->kind]) {
        refuse(fmt::format("the daemon's enclosure has no {} {}", row->element, index));
    }
    sesctl::Configuration oneOfEach;
    oneOfEach.counts.fill(1);
    sesctl::ControlPage trial(oneOfEach, {});
    row->make(trial, 0, words.back());  // throws for a word that is none
    initiator.change(endpoint, [this, row, index, last = words.back()](sesctl::ControlPage& page) {
        if (index < lab_.sesInitiator().configuration()->counts[row->kind]) {
            row->make(page, index, last);
        }
    });
    return fmt::format("control page: {}", fmt::join(words, " "));
}

std::string Commands::ses(const Words& words) {
    return sesAs(MMSG_E_EPID_ENVIRONMP, words);
}

std::string Commands::volumeManager(const Words& words) {
    return "volume manager " + sesAs(MMSG_E_EPID_VOLMGRMP, words);
}

std::string Commands::raw(const Words& words) {
    Bytes bytes;
    if (words.size() > 1 && words[0] == "first") {
        bytes = statusRequest();
        bytes.resize(std::min(bytes.size(), number<std::size_t>(words[1], "a number of bytes")));
        std::ranges::for_each(words.begin() + 2, words.end(),
                              [&](const std::string& word) { putAt(bytes, word); });
    } else {
        for (const std::string& word : words) {
            const Bytes more = bytesOf(word);
            bytes.insert(bytes.end(), more.begin(), more.end());
        }
    }
    lab_.messageSwitch().sendRaw(MMSG_E_EPID_ES_ADAPTERMP, bytes);
    return fmt::format("{} bytes put on the daemon's connection", bytes.size());
}

}  // namespace enclab
