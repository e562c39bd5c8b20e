// SPDX-License-Identifier: Apache-2.0
// Fault rules of the enclosure bus: which transfers go wrong, and how. A rule is data and has one
// text form; a fault is a rule at work, with its counts. The same rule over the same transfers at
// the same times does the same on every machine.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lab/bus/bus_message.h"

namespace enclab {

enum class FaultAction {
    kNak,      // ENXIO
    kTimeout,  // ETIMEDOUT
    kStuck,    // ETIMEDOUT, and from then on for every transfer on the bus
    kValue,    // each data byte is `byte`
    kXor,      // each data byte is turned by the mask `byte`
    kFrozen,   // a register reads as it did when the fault first acted on it
    kTorn,     // the first half of the bits is this reading's, the rest the previous reading's
    kDelay,    // the transfer takes `delay` longer
};

struct FaultRule {
    // Matching. A transfer belongs to the address of its first message, and to the register that
    // message names; it is a read when a message reads.
    std::string device = "any";                // as the user named it
    std::vector<std::uint8_t> addresses = {};  // none: any
    std::optional<std::uint8_t> reg = std::nullopt;
    std::optional<bool> read = std::nullopt;
    double from = 0;  // lab time, seconds
    double until = std::numeric_limits<double>::infinity();

    // Which of the matching ones, counted from 1: the n-th; each k-th; with both, the n-th and each
    // k-th after it. 0: not asked for.
    std::uint64_t nth = 0;
    std::uint64_t every = 0;
    double probability = 1;
    std::optional<std::uint64_t> seed = std::nullopt;  // of the chance; none: the fault's number

    FaultAction action = FaultAction::kNak;
    std::uint8_t byte = 0;
    std::chrono::milliseconds delay{0};

    std::uint64_t count = 0;  // acts so often, 0: without end
    double heal = 0;          // seconds after it first acted it is over, 0: never

    bool operator==(const FaultRule&) const = default;
};

// Addresses of a device as the user names it; throws std::exception with the reason when there is
// none.
using DeviceLookup = std::function<std::vector<std::uint8_t>(const std::string&)>;

// DEVICE [read|write] [KEY=VALUE]... act=ACTION, in any order behind the device; docs/faults.md has
// the grammar. Throws std::invalid_argument, or what the lookup throws, with one line naming the
// word that is wrong.
FaultRule parseFaultRule(std::span<const std::string> words, const DeviceLookup& lookup);
// The rule in the words parseFaultRule() takes.
std::string describe(const FaultRule& rule);

class Fault {
  public:
    Fault(int number, FaultRule rule);

    int number() const { return number_; }
    const FaultRule& rule() const { return rule_; }
    std::uint64_t matched() const { return matched_; }  // transfers that met the matching part
    std::uint64_t fired() const { return fired_; }      // transfers it acted on
    // It has acted as often as it may, has healed, or its time is past.
    bool over(double now) const;

    // A transfer begins: decides whether the fault acts on it, and changes the data it writes.
    void begin(std::vector<BusMessage>& messages, double now);
    // What the fault does to the transfer begun: 0 or an errno value; time it costs.
    int error() const;
    std::chrono::milliseconds delay() const;
    // The transfer has gone well: changes the data it has read.
    void finish(std::vector<BusMessage>& messages);

  private:
    using Bytes = std::vector<std::uint8_t>;

    bool matches(const std::vector<BusMessage>& messages, double now) const;
    bool due();
    void alter(std::vector<BusMessage>& messages);
    void alterByMemory(int address, int reg, const std::vector<std::uint8_t*>& data);

    int number_;
    FaultRule rule_;
    std::mt19937_64 chance_;
    std::uint64_t matched_ = 0;
    std::uint64_t fired_ = 0;
    double firstFired_ = 0;
    bool stuck_ = false;
    bool met_ = false;                                 // of the transfer begun
    bool acts_ = false;                                // likewise
    std::map<std::pair<int, int>, Bytes> remembered_;  // readings by address and register
};

}  // namespace enclab
