// SPDX-License-Identifier: Apache-2.0
// An enclosure bus made of register arrays that takes the place of the platform's transfers. Logs
// every transfer, fails what it is told to.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

class FakeBus {
  public:
    FakeBus();
    ~FakeBus();
    FakeBus(const FakeBus&) = delete;
    FakeBus& operator=(const FakeBus&) = delete;

    // An empty bus again, everything forgotten.
    void clear();

    // Registers of a device; a device is on the bus once one of its registers has been named.
    std::uint8_t& reg(std::uint8_t address, std::uint8_t number) {
        return devices_[address][number];
    }
    // The next reads of the register give these values one after the other, then reg() again.
    void script(std::uint8_t address, std::uint8_t number, std::vector<std::uint8_t> values);
    // The bits of `mask` are inputs: writes leave them as reg() says.
    void input(std::uint8_t address, std::uint8_t number, std::uint8_t mask) {
        inputs_[{address, number}] = mask;
    }

    void cut(std::uint8_t address) { cut_.insert(address); }
    void mend(std::uint8_t address) { cut_.erase(address); }
    // The n-th transfer from now (1 = the next) fails; 0 for none.
    void failTransfer(int n) { failIn_ = n; }

    // Transfers so far, then forgotten: "R 41 04=80" / "W 41 04=50", failed ones "R 41 04 fails";
    // and the notes between them.
    std::vector<std::string> takeLog();
    // Something else that happens between the transfers.
    void note(const std::string& text) { log_.push_back(text); }
    int transfers() const { return transfers_; }

    int transfer(bool read, std::uint8_t address, std::uint8_t number, std::uint8_t* data,
                 std::uint32_t length);

  private:
    std::map<std::uint8_t, std::map<std::uint8_t, std::uint8_t>> devices_;
    std::map<std::pair<std::uint8_t, std::uint8_t>, std::vector<std::uint8_t>> scripts_;
    std::map<std::pair<std::uint8_t, std::uint8_t>, std::uint8_t> inputs_;
    std::set<std::uint8_t> cut_;
    std::vector<std::string> log_;
    int failIn_ = 0;
    int transfers_ = 0;
};
