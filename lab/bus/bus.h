// SPDX-License-Identifier: Apache-2.0
// The enclosure bus: chips by 7-bit address, a log of all transfers with observers, and faults. One
// transfer is what happens between a start and a stop condition; results are errno values as the
// Linux i2c-dev interface gives them (0, ENXIO for "no acknowledge", ETIMEDOUT, ...).
#pragma once

#include <cerrno>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/chips/chip.h"

namespace enclab {

// One message of a transfer: address byte and data.
struct BusMessage {
    std::uint8_t address = 0;
    bool read = false;
    std::vector<std::uint8_t> bytes;  // of a read: its size before, the data after
};

struct BusTransfer {
    std::uint64_t number = 0;  // counts from 1
    std::vector<BusMessage> messages;
    int error = 0;
};

// One line: "R 41 04=80" register read, "W 41 04=50" register write, "R 41 04 ENXIO" failed; other
// messages as "W 4c 01" and "R 4c =19", joined by " + ".
std::string describe(const BusTransfer& transfer);

// The n-th transfer from now (1 = the next) fails without effect, once. With an address, only
// transfers to that address count.
struct BusFault {
    std::uint32_t n = 1;
    std::optional<std::uint8_t> address = std::nullopt;
    int error = ENXIO;
};

class Bus {
  public:
    using Observer = std::function<void(const BusTransfer&)>;
    static constexpr std::size_t kLogLength = 10000;

    // The chip must outlive the bus. One chip per address; a chip may stand at several.
    void attach(std::uint8_t address, Chip& chip);

    // One transfer; fills the bytes of read messages. 0 or an errno value. A transfer belongs to
    // the address of its first message; messages before one that is not acknowledged have happened.
    int transfer(std::vector<BusMessage>& messages);

    // One-register shorthands; empty / false when the transfer failed.
    std::optional<std::uint8_t> readRegister(std::uint8_t address, std::uint8_t number);
    bool writeRegister(std::uint8_t address, std::uint8_t number, std::uint8_t value);

    // A cut chip does not acknowledge, at any address of its; its registers stay as they are.
    void cut(std::uint8_t address) { cut_.insert(address); }
    void mend(std::uint8_t address);
    bool isCut(std::uint8_t address) const;

    // Throws std::invalid_argument for n = 0.
    void add(const BusFault& fault);
    void clearFaults() { faults_.clear(); }

    // The last transfers, oldest first, kLogLength at most.
    const std::deque<BusTransfer>& log() const { return log_; }
    void clearLog() { log_.clear(); }

    // Called after each transfer, in the order of observe(). The number ends it in unobserve(); an
    // observer must not do either.
    int observe(Observer observer);
    void unobserve(int number) { observers_.erase(number); }

  private:
    bool sameChip(std::uint8_t one, std::uint8_t other) const;
    int run(std::vector<BusMessage>& messages);
    int runMessage(BusMessage& message);
    int takeFault(std::uint8_t address);
    void record(const std::vector<BusMessage>& messages, int error);

    std::map<std::uint8_t, Chip*> chips_;
    std::set<std::uint8_t> cut_;
    std::vector<BusFault> faults_;
    std::deque<BusTransfer> log_;
    std::map<int, Observer> observers_;
    int nextObserver_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace enclab
