// SPDX-License-Identifier: Apache-2.0
#include "lab/peers/daemon_link.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "ses_mesgs.h"

namespace enclab {

constexpr std::uint8_t kDaemon = MMSG_E_EPID_ES_ADAPTERMP;
constexpr std::uint16_t kAllocation = 4000;

static Message statusRequest() {
    constexpr std::size_t length = MMSG_K_HEADER_SIZE + sizeof(RcvDiagResCommand_t);
    Message request = Message::make(MMSG_E_PROTOCOL_SES, SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND,
                                    DaemonLink::kFloodEndpoint, length);
    request.addRecipient(kDaemon);
    Bytes bytes = request.bytes();
    auto& block = *wireView<RcvDiagResCommand_t>(bytes.data() + MMSG_K_HEADER_SIZE);
    block.operationCode = SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND;
    block.pcv = 1;
    block.pageCode = SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE;
    block.allocationLength = kAllocation;
    return Message(std::move(bytes));
}

DaemonLink::DaemonLink(MessageSwitch& messageSwitch, Schedule& schedule)
    : switch_(messageSwitch), schedule_(schedule) {
    switch_.lead(kDaemon, [this](const Bytes& message) { take(message); });
    switch_.attach(kFloodEndpoint, [this](const Message&) { ++floodAnswered_; });
}

void DaemonLink::split(std::size_t bytes, Seconds pause) {
    split_ = bytes;
    pause_ = pause;
}

void DaemonLink::glue(std::size_t messages) {
    glue_ = messages;
    if (heldMessages_ >= glue_) {
        passHeld();
    }
}

void DaemonLink::plain() {
    cutAfter_.reset();
    delay_ = Seconds(0);
    split_ = 0;
    glue(1);
}

void DaemonLink::take(const Bytes& message) {
    held_.insert(held_.end(), message.begin(), message.end());
    if (++heldMessages_ >= glue_) {
        passHeld();
    }
}

void DaemonLink::passHeld() {
    heldMessages_ = 0;
    Bytes bytes = std::exchange(held_, {});
    if (bytes.empty()) {
        return;
    }
    // Never before what was passed earlier.
    const double due = std::max(due_, schedule_.now() + delay_.count());
    if (const auto cut = std::exchange(cutAfter_, std::nullopt)) {
        bytes.resize(std::min(bytes.size(), *cut));
        put(std::move(bytes), due, true);
    } else if (split_ > 0 && split_ < bytes.size()) {
        const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(split_);
        put(Bytes(bytes.begin(), middle), due);
        put(Bytes(middle, bytes.end()), due + pause_.count());
    } else {
        put(std::move(bytes), due);
    }
}

void DaemonLink::put(Bytes bytes, double due, bool last) {
    const double now = schedule_.now();
    due_ = due;
    Piece piece{std::move(bytes), switch_.accepted(kDaemon), last};
    if (due <= now && queue_.empty()) {
        return write(piece);
    }
    queue_.push_back(std::move(piece));
    schedule_.after(Seconds(due - now), [this] {
        write(queue_.front());
        queue_.pop_front();
    });
}

// A later connection of the daemon must not get the rest of an earlier one.
void DaemonLink::write(const Piece& piece) {
    if (piece.connection != switch_.accepted(kDaemon)) {
        return;
    }
    switch_.sendRaw(kDaemon, piece.bytes);
    if (piece.last) {
        switch_.close(kDaemon);
    }
}

void DaemonLink::floodOne() {
    Message request = statusRequest();
    request.header().handle = kFloodHandle + floodSent_++;
    switch_.route(kFloodEndpoint, request);
}

void DaemonLink::flood(std::size_t requests) {
    while (requests-- > 0) {
        floodOne();
    }
}

void DaemonLink::flood(double perSecond, Seconds time) {
    const auto total = static_cast<std::uint64_t>(std::llround(perSecond * time.count()));
    floodOn(schedule_.now(), perSecond, 0, total);
}

void DaemonLink::floodOn(double start, double perSecond, std::uint64_t done, std::uint64_t total) {
    if (done == total) {
        return;
    }
    floodOne();
    const double next = start + static_cast<double>(done + 1) / perSecond;
    schedule_.after(Seconds(next - schedule_.now()), [this, start, perSecond, done, total] {
        floodOn(start, perSecond, done + 1, total);
    });
}

std::string DaemonLink::describe() const {
    std::vector<std::string> manners;
    if (delay_.count() > 0) {
        manners.push_back(fmt::format("delay {:g} ms", delay_.count() * 1000));
    }
    if (split_ > 0) {
        manners.push_back(fmt::format("split at {}", split_));
    }
    if (glue_ > 1) {
        manners.push_back(fmt::format("glue {}", glue_));
    }
    if (cutAfter_) {
        manners.push_back(fmt::format("dies after {} bytes", *cutAfter_));
    }
    if (manners.empty()) {
        manners.emplace_back("plain");
    }
    if (floodSent_ > 0) {
        manners.push_back(fmt::format("flood {} sent, {} answered", floodSent_, floodAnswered_));
    }
    return fmt::format("{}", fmt::join(manners, ", "));
}

}  // namespace enclab
