// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: chips by 7-bit address, a log of all transfers with observers, and faults. One
// transfer is what happens between a start and a stop condition; results are errno values as the
// Linux i2c-dev interface gives them (0, ENXIO for "no acknowledge", ETIMEDOUT, ...).
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/bus/fault_rule.h"
#include "lab/chips/chip.h"

namespace enclab {

struct BusTransfer {
    std::uint64_t number = 0;  // counts from 1
    std::vector<BusMessage> messages;
    int error = 0;
};

// One line: "R 41 04=80" register read, "W 41 04=50" register write, "R 41 04 ENXIO" failed; other
// messages as "W 4c 01" and "R 4c =19", joined by " + ".
std::string describe(const BusTransfer& transfer);

struct BusResult {
    int error = 0;                       // or an errno value
    std::chrono::milliseconds delay{0};  // what faults make the transfer take longer, lab time
};

class Bus {
  public:
    using Observer = std::function<void(const BusTransfer&)>;
    static constexpr std::size_t kLogLength = 10000;

    // The chip must outlive the bus. One chip per address; a chip may stand at several.
    void attach(std::uint8_t address, Chip& chip);

    // The chip at an address; null when there is none.
    const Chip* chipAt(std::uint8_t address) const;

    // One transfer; fills the bytes of read messages. Messages before one that is not acknowledged
    // have happened; a transfer that a fault makes fail has not.
    BusResult transfer(std::vector<BusMessage>& messages);

    // One-register shorthands; empty / false when the transfer failed.
    std::optional<std::uint8_t> readRegister(std::uint8_t address, std::uint8_t number);
    bool writeRegister(std::uint8_t address, std::uint8_t number, std::uint8_t value);

    // Lab time in seconds for the faults; without it they see 0.
    void setClock(std::function<double()> clock) { clock_ = std::move(clock); }
    double now() const { return clock_ ? clock_() : 0; }

    // Puts a rule to work and returns its number, which counts from 1. Each fault sees every
    // transfer, in the order of their numbers; the first that makes it fail says how.
    int add(FaultRule rule);
    // Whether there was a fault of this number.
    bool remove(int number);
    // What was cut too.
    void clearFaults() { faults_.clear(); }
    // Those that are over too, until they are removed.
    const std::vector<Fault>& faults() const { return faults_; }

    // A cut chip does not acknowledge, at any address of its; its registers stay as they are. A
    // shorthand for a rule, which is listed under `name`.
    void cut(std::uint8_t address, const std::string& name = {});
    void mend(std::uint8_t address);
    bool isCut(std::uint8_t address) const;
    // Whether the rule is what cut() makes.
    bool isCut(const FaultRule& rule) const;

    // The last transfers, oldest first, kLogLength at most.
    const std::deque<BusTransfer>& log() const { return log_; }
    void clearLog() { log_.clear(); }
    // Transfers so far.
    std::uint64_t count() const { return count_; }

    // Called after each transfer, in the order of observe(). The number ends it in unobserve(); an
    // observer must not do either.
    int observe(Observer observer);
    void unobserve(int number) { observers_.erase(number); }

  private:
    FaultRule cutRule(std::uint8_t address) const;
    bool isCutRule(const FaultRule& rule, std::uint8_t address) const;
    int run(std::vector<BusMessage>& messages);
    int runMessage(BusMessage& message);
    BusResult beginFaults(std::vector<BusMessage>& messages);
    void record(const std::vector<BusMessage>& messages, int error);

    std::map<std::uint8_t, Chip*> chips_;
    std::function<double()> clock_;
    std::vector<Fault> faults_;
    int lastFault_ = 0;
    std::deque<BusTransfer> log_;
    std::map<int, Observer> observers_;
    int nextObserver_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace enclab
