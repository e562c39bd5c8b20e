// SPDX-License-Identifier: Apache-2.0
// W83792AD hardware monitor at register level: seven voltages of ten bits, three temperatures, six
// tachometers with their divisors, six duty outputs, two ports of general purpose pins, limits. One
// register a message: the pointer stays.
#pragma once

#include <array>
#include <cstdint>

#include "lab/chips/port_pins.h"
#include "lab/chips/register_chip.h"

namespace enclab {

class W83792ad : public RegisterChip {
  public:
    enum Channel { kVcoreA, kVcoreB, kVin0, kVin1, kVin2, kVin3, k5Vcc };
    enum Port { kGpioA, kGpioB };
    static constexpr int kChannels = 7;
    static constexpr int kSensors = 3;
    static constexpr int kFans = 6;
    static constexpr int kPorts = 2;

    // Power-on state: all duty outputs at their highest level, all pins inputs, divisors 1, no
    // pulses, no voltage, 25 degrees everywhere.
    explicit W83792ad(std::uint8_t address);

    // Volts at a channel's pin, from 0 up to the 1023 steps of its converter.
    void setVoltage(int channel, double volts);
    // Degrees Celsius. Sensor 0: whole degrees, 0 to 255; the others: half degrees, -128 to 127.5.
    void setTemperature(int sensor, double degrees);
    // Speed at a tachometer input; 0: no pulses.
    void setRpm(int fan, double rpm);
    // Duty of an output in percent: sixteenths, 0 to 15/16.
    double dutyPercent(int fan) const;

    // Levels on a port's pins: the data latch where the output control bit is 1, the level driven
    // from outside where it is 0.
    std::uint8_t pins(int port) const;
    void drivePin(int port, int bit, bool level);
    bool drivenPin(int port, int bit) const;

  private:
    bool writable(std::uint8_t number) const override;
    std::uint8_t valueOf(std::uint8_t number) const override;
    bool loadPins(std::uint8_t number, std::uint8_t value) override;
    std::uint8_t next(std::uint8_t number) const override { return number; }
    std::uint8_t countOf(int fan) const;

    std::array<double, kFans> rpm_{};
    std::array<PortPins, kPorts> ports_;
};

}  // namespace enclab
