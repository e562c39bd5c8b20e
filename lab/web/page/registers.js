// SPDX-License-Identifier: Apache-2.0
// What the registers of the lab's chips are called and say. docs/chips has the whole of it.

const bits = (byte) => `bits 7 to 0: ${byte.toString(2).padStart(8, '0')}`;
const percent = (part) => `${Math.round(part * 100)} %`;
const count = (byte) => byte === 0xff ? 'no pulses: missing, standing or without power' :
                                        `count ${byte}, the smaller the faster`;
const signed = (byte) => `${byte > 127 ? byte - 256 : byte} degrees`;
const limit = (byte) => `${byte}`;

// First register, how many, how far apart, name, meaning, what a byte says. "#" is the number from
// the one given last on.
const VSC055 = [
  [0x00, 8, 1, 'GPD #', 'data of port #: pin levels of inputs, latch of outputs', bits],
  [0x10, 8, 1, 'DDP #', 'direction of port #: 1 is an input', bits],
  [0x30, 8, 4, 'FSC #', 'fan speed control of fan #'],
  [0x32, 8, 4, 'FS #', 'speed of fan #', count],
  [
    0x98, 8, 1, 'PWMC #', 'duty of fan #',
    (byte) => byte & 0x20 ? percent(((byte & 0x1f) + 1) / 32) : 'off'
  ],
];
const LM75 = [
  [0, 1, 1, 'temperature', 'whole degrees; the half one is in the next byte', signed],
  [1, 1, 1, 'configuration', 'bit 0 stops the converting', bits],
  [2, 1, 1, 'THYST', 'hysteresis', signed],
  [3, 1, 1, 'TOS', 'overtemperature shutdown', signed],
];
const PCA9539 = [
  [0, 2, 1, 'input #', 'levels on the pins of port #', bits],
  [2, 2, 1, 'output #', 'latches of port #: 1 lights an LED', bits],
  [4, 2, 1, 'polarity #', '1 turns what input # shows', bits],
  [6, 2, 1, 'configuration #', 'directions of port #: 1 is an input', bits],
];
const volts = (step) => (byte) => `${(byte * step).toFixed(3)} V`;
const W83782D = [
  [0x20, 3, 1, 'voltage #', 'Vcorea, Vinr0, +3.3', volts(0.016)],
  [0x23, 1, 1, 'voltage 3', '+5', volts(0.016 * 1.68)],
  [0x24, 1, 1, 'voltage 4', '+12', volts(0.016 * 3.8)],
  [0x25, 1, 1, 'voltage 5', '-12', (byte) => `${((byte * 0.016 - 2.9) / 0.19444).toFixed(2)} V`],
  [0x26, 1, 1, 'voltage 6', '-5', (byte) => `${((byte * 0.016 - 2.45454) / 0.31818).toFixed(2)} V`],
  [0x27, 1, 1, 'temperature 1', 'whole degrees', signed],
  [0x28, 3, 1, 'fan #', 'speed', count, 1],
  [0x2b, 7, 2, 'voltage # high', 'limit', limit],
  [0x2c, 7, 2, 'voltage # low', 'limit', limit],
  [0x39, 1, 1, 'temperature 1 high', 'limit', signed],
  [0x3a, 1, 1, 'temperature 1 hysteresis', 'limit', signed],
  [0x3b, 3, 1, 'fan # limit', 'highest count', limit, 1],
  [
    0x40, 1, 1, 'configuration', 'bit 6 mutes the alarm',
    (byte) => byte & 0x40 ? 'muted' : 'alarm may sound'
  ],
  [0x48, 1, 1, 'address', 'its own on the bus'],
  [0x4d, 1, 1, 'fan and beep control', 'bit 7: beeps', bits],
  [0x5a, 1, 1, 'PWMOUT2', 'duty', (byte) => percent(byte / 255)],
  [0x5b, 1, 1, 'PWMOUT1', 'duty', (byte) => percent(byte / 255)],
  [0x5e, 2, 1, 'PWMOUT#', 'duty', (byte) => percent(byte / 255), 3],
];
const sixteenths = (byte) => percent((byte & 0x0f) / 16);
const halves = (byte) => `divisors ${byte & 7} and ${(byte >> 4) & 7}`;
const W83792AD = [
  [0x1a, 1, 1, 'GPIO enable', '', bits],
  [0x1b, 1, 1, 'GPIOA control', '1 is an output', bits],
  [0x1c, 1, 1, 'GPIOA status', 'bit 7: supplies redundant', bits],
  [0x1d, 1, 1, 'GPIOB control', '1 is an output', bits],
  [0x1e, 1, 1, 'GPIOB status', '', bits],
  [0x20, 2, 1, 'Vcore #', 'upper eight bits', volts(0.008)],
  [0x22, 4, 1, 'Vin #', 'upper eight bits', volts(0.016)],
  [0x26, 1, 1, '+5Vcc', 'upper eight bits', volts(0.024)],
  [0x27, 1, 1, 'temperature 1', 'whole degrees, no sign', (byte) => `${byte} degrees`],
  [0x28, 3, 1, 'fan #', 'speed', count, 1],
  [0x2b, 7, 2, 'voltage # high', 'limit', limit],
  [0x2c, 7, 2, 'voltage # low', 'limit', limit],
  [0x39, 1, 1, 'temperature 1 high', 'limit', signed],
  [0x3a, 1, 1, 'temperature 1 low', 'limit', signed],
  [0x3b, 3, 1, 'fan # limit', 'highest count', limit, 1],
  [0x3e, 2, 1, 'voltages, low bits #', 'two bits of each', bits],
  [0x47, 1, 1, 'divisors', 'of fans 1 and 2', halves],
  [0x48, 1, 1, 'address', 'its own on the bus'],
  [0x4a, 1, 1, 'sensor addresses', 'of temperatures 2 and 3', bits],
  [0x4b, 1, 1, 'pin control', '', bits],
  [0x4c, 1, 1, 'SMI and OVT', '', bits],
  [0x59, 1, 1, 'thermal diode', '', bits],
  [0x5b, 1, 1, 'divisors', 'of fans 3 and 4', halves],
  [0x5c, 1, 1, 'divisors', 'of fans 5 and 6', halves],
  [0x80, 2, 2, 'pre-scale #', 'of fan #', bits, 1],
  [0x81, 2, 2, 'duty #', 'of fan #', sixteenths, 1],
  [0x93, 1, 1, 'pre-scale 3', 'of fan 3', bits],
  [0x94, 1, 1, 'duty 3', 'of fan 3', sixteenths],
  [0xa0, 3, 1, 'pre-scale #', 'of fan #', bits, 4],
  [0xa3, 3, 1, 'duty #', 'of fan #', sixteenths, 4],
  [0xb8, 3, 1, 'fan #', 'speed', count, 4],
  [0xc0, 1, 1, 'temperature 2', 'whole degrees', signed],
  [0xc1, 1, 1, 'temperature 2, low', 'bit 7: half a degree', bits],
  [0xc8, 1, 1, 'temperature 3', 'whole degrees', signed],
  [0xc9, 1, 1, 'temperature 3, low', 'bit 7: half a degree', bits],
];
const CHIPS = {
  vsc055: VSC055,
  lm75: LM75,
  pca9539: PCA9539,
  w83782d: W83782D,
  w83792ad: W83792AD,
};

// By number: {name, meaning, says}. `chip` is a device's name, "lm75-2".
export function registersOf(chip) {
  const known = new Map();
  for (const [first, many, apart, name, meaning, says, from = 0] of CHIPS[chip.split('-')[0]] ??
       []) {
    for (let n = 0; n < many; n += 1) {
      const numbered = (text) => text.replaceAll('#', String(from + n));
      known.set(first + n * apart, {name: numbered(name), meaning: numbered(meaning), says});
    }
  }
  return known;
}
