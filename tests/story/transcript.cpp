// SPDX-License-Identifier: Apache-2.0
#include "tests/story/transcript.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "tests/story/calls.h"
#include "tests/support/fake_alt_event_log.h"
#include "tests/support/fake_system_calls.h"

namespace {

constexpr std::size_t PAGE = 65;            // message byte of a page: header, status
constexpr std::size_t SECTIONS = PAGE + 8;  // message byte of the first section
constexpr std::size_t HEX_ROW = 32;

// "01000001 01000001"; the first `skipped` bytes are dots.
std::string words(std::span<const std::uint8_t> bytes, std::size_t skipped = 0) {
    std::string text;
    for (std::size_t n = 0; n < bytes.size(); ++n) {
        text += n % 4 == 0 && n > 0 ? " " : "";
        text += n < skipped ? ".." : fmt::format("{:02X}", bytes[n]);
    }
    return text;
}

std::string transferText(const enclab::BusTransfer& transfer) {
    std::string text = describe(transfer);
    std::ranges::transform(text, text.begin(), [](char c) { return std::toupper(c); });
    return text;
}

}  // namespace

Transcript::Transcript() : service_(registersRow()) {
    choose("show log bus messages result fields");
    service_.chassis().bus().observe([this](const enclab::BusTransfer& transfer) {
        logTake();
        transfers_.push_back(transferText(transfer));
        if (chosen_.contains("bus")) {
            lines_ += transfers_.back() + "\n";
        }
    });
    systemCalls.onSleep = [this] {
        if (chosen_.contains("bus")) {
            lines_ += fmt::format(
                "sleep {}\n", systemCalls.sleptSec - std::exchange(slept_, systemCalls.sleptSec));
        }
    };
}

// "show" and "hide"; false for other lines.
bool Transcript::choose(const std::string& line) {
    std::istringstream stream(line);
    std::string verb;
    stream >> verb;
    for (std::string what; stream >> what;) {
        if (verb == "show") {
            chosen_.insert(what);
        } else if (verb == "hide") {
            chosen_.erase(what);
        }
    }
    if (chosen_.contains("log") && trace_ == nullptr) {
        trace_ = std::make_unique<TraceCapture>(0x0010 | TRACE_K_FUNCTION);
    }
    return verb == "show" || verb == "hide";
}

// Each transfer that was expected to go well says so; that is left out.
void Transcript::logTake() {
    if (trace_ == nullptr) {
        return;
    }
    const std::vector<std::string> all = trace_->take();
    for (const std::string& line : chosen_.contains("log") ? all : std::vector<std::string>()) {
        const std::size_t text = line.find(":  ");
        const std::string said = text == line.npos ? line : line.substr(text + 3);
        if (!line.starts_with("esaMmsgPrint:") &&
            !said.starts_with("Already marked OK on I2C Device")) {
            lines_ += said + "\n";
        }
    }
}

void Transcript::show(const std::string& tag, const std::string& text) {
    std::string& shown = shown_[tag];
    if (shown != text) {
        shown = text;
        lines_ += fmt::format("{:<8}{}\n", tag, text.empty() ? "none" : text);
    }
}

// Overall word and records of each section. The last byte of the last one is not sent: it is taken
// from where the page was built.
void Transcript::pageShow(const Bytes& reply) {
    std::size_t at = SECTIONS;
    for (const PageSection& section : PAGE_SECTIONS) {
        const std::size_t end = at + 4 * (1 + std::size_t{esaControl.*section.count});
        const auto bytes = std::span(reply).subspan(at);
        const bool isLast = bytes.size() < end - at;
        show(section.name,
             words(bytes.first(std::min(end - at, bytes.size()))) +
                 (isLast ? fmt::format("({:02X})", esaControl.esaWorkSpace[end - 1]) : ""));
        at = end;
    }
}

void Transcript::messagesShow() {
    for (const enclab::Message& message : service_.take()) {
        if (chosen_.contains("messages")) {
            lines_ += describe(message) + "\n";
        }
        for (std::size_t at = 0; chosen_.contains("hex") && at < message.bytes().size();
             at += HEX_ROW) {
            const auto row = std::span(message.bytes()).subspan(at);
            lines_ +=
                "  " + words(row.first(std::min(row.size(), HEX_ROW)), at == 0 ? 8 : 0) + "\n";
        }
        // A status page by its length.
        if (chosen_.contains("page") && message.kind() == enclab::Kind::reply &&
            message.bytes().size() > SECTIONS && message.bytes()[PAGE] == 2) {
            pageShow(message.bytes());
        }
    }
}

// What a command that only prepares changes is no outcome.
void Transcript::fieldsShow(bool outcome) {
    for (const std::string& text : fieldTexts()) {
        std::string& shown = shown_[text.substr(0, text.find(' '))];
        if (shown != text && outcome) {
            lines_ += text + "\n";
        }
        shown = text;
    }
}

void Transcript::runOne(const std::string& command) {
    if (choose(command)) {
        return;
    }
    if (const std::size_t bar = command.find('|'); bar != command.npos) {
        const std::size_t first = command.find(' ') + 1;
        const auto loop = command.starts_with("sweep ") ? &Transcript::sweep : &Transcript::lengths;
        (this->*loop)(command.substr(first, bar - first), command.substr(bar + 2));
        return;
    }
    const std::string before = lines_;
    const std::string result = service_.run(command);
    const std::string verb = command.substr(0, command.find(' '));
    logTake();
    for (const std::string& fault : takeFaults()) {
        lines_ += "critical fault of " + fault + "\n";
    }
    messagesShow();
    if (!result.empty() && chosen_.contains("result")) {
        lines_ += result + "\n";
    }
    fieldsShow(chosen_.contains("fields") && verb != "set" && verb != "link" && verb != "use");
    if (verb == "up") {
        lines_ = before;
    }
}

// Without the n-th transfer; empty when there are less.
std::string Transcript::outcomeWithout(std::uint32_t n, const std::string& command,
                                       std::string* transfer) {
    const int fault = service_.chassis().bus().add({.nth = n});
    lines_.clear();
    transfers_.clear();
    const std::string result = service_.run(command);
    service_.chassis().bus().remove(fault);
    service_.take();
    logTake();
    if (transfers_.size() < n) {
        return "";
    }
    *transfer = transfers_[n - 1];
    const std::string last = lines_.substr(lines_.rfind('\n', lines_.size() - 2) + 1);
    return (transfers_.size() == n ? " ends it" : " goes on") + result +
           (last.ends_with(" failed\n") ? ", " + last.substr(0, last.size() - 1) : "");
}

void Transcript::prepare(const std::string& commands) {
    std::istringstream each(commands);
    for (std::string command; std::getline(each >> std::ws, command, ',');) {
        service_.run(command);
    }
    service_.take();
    if (trace_ != nullptr) {
        trace_->take();
    }
}

void Transcript::sweep(const std::string& preparation, const std::string& command) {
    std::string all;
    std::string latest;
    for (std::uint32_t n = 1;; ++n) {
        prepare(preparation);
        std::string transfer;
        const std::string outcome = outcomeWithout(n, command, &transfer);
        if (outcome.empty()) {
            break;
        }
        if (outcome != latest) {
            all += fmt::format("{}: {}{}\n", n, transfer, outcome);
        }
        latest = outcome;
    }
    lines_ = all;
}

void Transcript::lengths(const std::string& preparation, const std::string& command) {
    std::string all;
    std::string latest = "-";
    std::size_t whole = MMSG_K_HEADER_SIZE;
    for (std::size_t length = whole; length <= whole; ++length) {
        prepare(preparation);
        lines_.clear();
        service_.cutMessages(length);
        service_.run(command);
        whole = service_.cutMessages(0);
        logTake();
        messagesShow();
        if (lines_ != latest) {
            all += fmt::format("{} bytes\n{}", length, lines_);
        }
        latest = lines_;
    }
    lines_ = all;
}

std::string Transcript::run(const std::string& line) {
    lines_.clear();
    std::istringstream commands(line);
    for (std::string command; std::getline(commands >> std::ws, command, ';');) {
        runOne(command);
    }
    return lines_;
}
