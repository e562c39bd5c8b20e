// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: running transfers, faults, log.
#include "lab/bus/bus.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace enclab {
namespace {

std::string bytesText(std::span<const std::uint8_t> bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

std::string messageText(const BusMessage& message) {
    if (message.read) {
        return fmt::format("R {:02x} ={}", message.address, bytesText(message.bytes));
    }
    return fmt::format("W {:02x}{}{}", message.address, message.bytes.empty() ? "" : " ",
                       bytesText(message.bytes));
}

bool isRegisterRead(const std::vector<BusMessage>& messages) {
    return messages.size() == 2 && !messages[0].read && messages[0].bytes.size() == 1 &&
           messages[1].read && messages[1].address == messages[0].address;
}

bool isRegisterWrite(const std::vector<BusMessage>& messages) {
    return messages.size() == 1 && !messages[0].read && messages[0].bytes.size() > 1;
}

std::string registerText(char direction, const BusTransfer& transfer,
                         std::span<const std::uint8_t> data) {
    const BusMessage& first = transfer.messages[0];
    const std::string head =
        fmt::format("{} {:02x} {:02x}", direction, first.address, first.bytes[0]);
    if (transfer.error != 0) {
        return fmt::format("{} {}", head, strerrorname_np(transfer.error));
    }
    return fmt::format("{}={}", head, bytesText(data));
}

}  // namespace

std::string describe(const BusTransfer& transfer) {
    const auto& messages = transfer.messages;
    if (isRegisterRead(messages)) {
        return registerText('R', transfer, messages[1].bytes);
    }
    if (isRegisterWrite(messages)) {
        return registerText('W', transfer, std::span(messages[0].bytes).subspan(1));
    }
    std::string text;
    for (const BusMessage& message : messages) {
        text += (text.empty() ? "" : " + ") + messageText(message);
    }
    return transfer.error == 0 ? text : text + " " + strerrorname_np(transfer.error);
}

void Bus::attach(std::uint8_t address, Chip& chip) {
    chips_[address] = &chip;
}

const Chip* Bus::chipAt(std::uint8_t address) const {
    const auto found = chips_.find(address);
    return found == chips_.end() ? nullptr : found->second;
}

BusResult Bus::transfer(std::vector<BusMessage>& messages) {
    if (messages.empty()) {
        return {EINVAL};
    }
    BusResult result = beginFaults(messages);
    if (result.error == 0) {
        result.error = run(messages);
    }
    if (result.error == 0) {
        for (Fault& fault : faults_) {
            fault.finish(messages);
        }
    }
    record(messages, result.error);
    return result;
}

BusResult Bus::beginFaults(std::vector<BusMessage>& messages) {
    BusResult result;
    const double time = now();
    for (Fault& fault : faults_) {
        fault.begin(messages, time);
        result.error = result.error != 0 ? result.error : fault.error();
        result.delay += fault.delay();
    }
    return result;
}

int Bus::add(FaultRule rule) {
    faults_.emplace_back(++lastFault_, std::move(rule));
    return lastFault_;
}

bool Bus::remove(int number) {
    return std::erase_if(faults_, [&](const Fault& f) { return f.number() == number; }) > 0;
}

FaultRule Bus::cutRule(std::uint8_t address) const {
    FaultRule rule{.device = fmt::format("0x{:02X}", address), .addresses = {address}};
    const auto chip = chips_.find(address);
    for (const auto& [other, otherChip] : chips_) {
        if (other != address && chip != chips_.end() && otherChip == chip->second) {
            rule.addresses.push_back(other);
        }
    }
    std::ranges::sort(rule.addresses);
    return rule;
}

bool Bus::isCutRule(const FaultRule& rule, std::uint8_t address) const {
    FaultRule cut = cutRule(address);
    cut.device = rule.device;
    return rule == cut;
}

void Bus::cut(std::uint8_t address, const std::string& name) {
    if (!isCut(address)) {
        FaultRule rule = cutRule(address);
        rule.device = name.empty() ? rule.device : name;
        add(std::move(rule));
    }
}

void Bus::mend(std::uint8_t address) {
    std::erase_if(faults_, [&](const Fault& f) { return isCutRule(f.rule(), address); });
}

bool Bus::isCut(const FaultRule& rule) const {
    return rule.addresses.size() == 1 && isCutRule(rule, rule.addresses[0]);
}

bool Bus::isCut(std::uint8_t address) const {
    return std::ranges::any_of(faults_,
                               [&](const Fault& f) { return isCutRule(f.rule(), address); });
}

int Bus::run(std::vector<BusMessage>& messages) {
    for (BusMessage& message : messages) {
        if (const int error = runMessage(message); error != 0) {
            return error;
        }
    }
    return 0;
}

int Bus::runMessage(BusMessage& message) {
    const auto chip = chips_.find(message.address);
    if (chip == chips_.end()) {
        return ENXIO;
    }
    if (message.read) {
        chip->second->read(message.bytes);
        return 0;
    }
    return chip->second->write(message.bytes) ? 0 : ENXIO;
}

void Bus::record(const std::vector<BusMessage>& messages, int error) {
    log_.push_back({++count_, messages, error});
    if (log_.size() > kLogLength) {
        log_.pop_front();
    }
    for (const auto& [number, observer] : observers_) {
        observer(log_.back());
    }
}

int Bus::observe(Observer observer) {
    observers_.emplace(nextObserver_, std::move(observer));
    return nextObserver_++;
}

std::optional<std::uint8_t> Bus::readRegister(std::uint8_t address, std::uint8_t number) {
    std::vector<BusMessage> messages{{address, false, {number}}, {address, true, {0}}};
    return transfer(messages).error == 0 ? std::optional(messages[1].bytes[0]) : std::nullopt;
}

bool Bus::writeRegister(std::uint8_t address, std::uint8_t number, std::uint8_t value) {
    std::vector<BusMessage> messages{{address, false, {number, value}}};
    return transfer(messages).error == 0;
}

}  // namespace enclab
