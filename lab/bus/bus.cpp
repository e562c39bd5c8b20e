// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: running transfers, faults, log.
#include "lab/bus/bus.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

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

bool Bus::sameChip(std::uint8_t one, std::uint8_t other) const {
    const auto first = chips_.find(one);
    const auto second = chips_.find(other);
    return one == other ||
           (first != chips_.end() && second != chips_.end() && first->second == second->second);
}

void Bus::mend(std::uint8_t address) {
    std::erase_if(cut_, [&](std::uint8_t cut) { return sameChip(cut, address); });
}

bool Bus::isCut(std::uint8_t address) const {
    return std::ranges::any_of(cut_, [&](std::uint8_t cut) { return sameChip(cut, address); });
}

int Bus::transfer(std::vector<BusMessage>& messages) {
    if (messages.empty()) {
        return EINVAL;
    }
    const int fault = takeFault(messages[0].address);
    const int error = fault != 0 ? fault : run(messages);
    record(messages, error);
    return error;
}

void Bus::add(const BusFault& fault) {
    if (fault.n == 0) {
        throw std::invalid_argument("the next transfer is number 1");
    }
    faults_.push_back(fault);
}

// Every fault that matches counts this transfer; the first that is due fails it.
int Bus::takeFault(std::uint8_t address) {
    int error = 0;
    for (auto fault = faults_.begin(); fault != faults_.end();) {
        const bool counts = !fault->address || *fault->address == address;
        if (counts && --fault->n == 0) {
            error = error != 0 ? error : fault->error;
            fault = faults_.erase(fault);
        } else {
            ++fault;
        }
    }
    return error;
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
    if (chip == chips_.end() || isCut(message.address)) {
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
    return transfer(messages) == 0 ? std::optional(messages[1].bytes[0]) : std::nullopt;
}

bool Bus::writeRegister(std::uint8_t address, std::uint8_t number, std::uint8_t value) {
    std::vector<BusMessage> messages{{address, false, {number, value}}};
    return transfer(messages) == 0;
}

}  // namespace enclab
