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

    // Registers of a device; a device is on the bus once one of its registers has been named.
    std::uint8_t& reg(std::uint8_t address, std::uint8_t number) {
        return devices_[address][number];
    }
    // The next reads of the register give these values one after the other, then reg() again.
    void script(std::uint8_t address, std::uint8_t number, std::vector<std::uint8_t> values);

    void cut(std::uint8_t address) { cut_.insert(address); }
    void mend(std::uint8_t address) { cut_.erase(address); }
    // The n-th transfer from now (1 = the next) fails; 0 for none.
    void failTransfer(int n) { failIn_ = n; }

    // Transfers so far, then forgotten: "R 41 04=80" / "W 41 04=50", failed ones "R 41 04 fails".
    std::vector<std::string> takeLog();
    int transfers() const { return transfers_; }

    int transfer(bool read, std::uint8_t address, std::uint8_t number, std::uint8_t* data,
                 std::uint32_t length);

  private:
    std::map<std::uint8_t, std::map<std::uint8_t, std::uint8_t>> devices_;
    std::map<std::pair<std::uint8_t, std::uint8_t>, std::vector<std::uint8_t>> scripts_;
    std::set<std::uint8_t> cut_;
    std::vector<std::string> log_;
    int failIn_ = 0;
    int transfers_ = 0;
};
