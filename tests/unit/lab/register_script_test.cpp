// SPDX-License-Identifier: Apache-2.0
// Chips and chassis of the lab, tested by scripts: scripts/chips.txt and scripts/chassis.txt hold
// what the register descriptions say. "new NAME" begins with a new chip or chassis; a line holds
// steps "ACTION WORD... = WHAT IT SAYS", separated by semicolons. Registers and bytes are
// hexadecimal; an error says its text, or ! where only the kind matters.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

#include "lab/chassis/catalog.h"
#include "lab/chassis/chenbro_chassis.h"
#include "lab/chips/lm75.h"
#include "lab/chips/pca9539.h"
#include "lab/chips/vsc055.h"
#include "lab/chips/w83782d.h"
#include "lab/chips/w83792ad.h"
#include "lab/chips/xyratex_alarm.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Seconds = std::chrono::duration<double>;

// The words of a step behind its action.
struct Arguments : Words {
    using Words::Words;
    double real(std::size_t n) const { return std::stod((*this)[n]); }
    bool flag(std::size_t n) const { return number(n) != 0; }
    std::uint8_t byte(std::size_t n) const {
        return static_cast<std::uint8_t>(std::stoi((*this)[n], nullptr, 16));
    }
};

std::string textOf(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string hexOf(const Bytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
        text += digits;
    }
    return text;
}

using Action = std::function<std::string(const Arguments&)>;
struct Subject {
    std::shared_ptr<void> owner;
    std::map<std::string, Action> actions;

    // An action that says nothing.
    void does(const std::string& name, std::function<void(const Arguments&)> action) {
        actions[name] = [action](const Arguments& w) {
            action(w);
            return std::string();
        };
    }
    void says(const std::string& name, Action action) { actions[name] = std::move(action); }
};

// "read REGISTER COUNT", "on COUNT" reads on without a register, "write REGISTER BYTE...".
template <class Type, class... Settings>
std::pair<Subject, Type*> chipSubject(Settings... settings) {
    auto owner = std::make_shared<Type>(settings...);
    Type* const chip = owner.get();
    Subject subject{owner, {}};
    const auto readOn = [chip](std::size_t count) {
        Bytes bytes(count);
        chip->read(bytes);
        return hexOf(bytes);
    };
    subject.says("on", [readOn](const Arguments& w) {
        return readOn(static_cast<std::size_t>(w.number(0)));
    });
    subject.says("read", [chip, readOn](const Arguments& w) {
        chip->write(Bytes{w.byte(0)});
        return readOn(w.all.size() > 1 ? static_cast<std::size_t>(w.number(1)) : 1);
    });
    subject.says("write", [chip](const Arguments& w) {
        Bytes bytes;
        for (std::size_t n = 0; n < w.all.size(); n++) {
            bytes.push_back(w.byte(n));
        }
        return chip->write(bytes) ? "" : "refused";
    });
    return {subject, chip};
}

// Pins of a chip that has ports.
template <class Type>
void addPins(Subject& subject, Type* chip) {
    subject.says("pins", [chip](const Arguments& w) { return hexOf({chip->pins(w.number(0))}); });
    subject.does("drive", [chip](const Arguments& w) {
        chip->drivePin(w.number(0), w.number(1), w.flag(2));
    });
}

template <class Type>
void addDuty(Subject& subject, Type* chip) {
    subject.says("duty",
                 [chip](const Arguments& w) { return textOf(chip->dutyPercent(w.number(0))); });
}

// What a Winbond monitor measures.
template <class Type>
void addMonitor(Subject& subject, Type* chip) {
    addDuty(subject, chip);
    subject.does("volts", [chip](const Arguments& w) { chip->setVoltage(w.number(0), w.real(1)); });
    subject.does("rpm", [chip](const Arguments& w) { chip->setRpm(w.number(0), w.real(1)); });
}

Subject makeLm75() {
    auto [subject, chip] = chipSubject<Lm75>();
    subject.does("heat", [chip = chip](const Arguments& w) { chip->setTemperature(w.real(0)); });
    return subject;
}

Subject makePca9539() {
    auto [subject, chip] = chipSubject<Pca9539>();
    addPins(subject, chip);
    return subject;
}

Subject makeVsc055() {
    auto [subject, chip] = chipSubject<Vsc055>();
    addPins(subject, chip);
    addDuty(subject, chip);
    subject.says("driven", [chip = chip](const Arguments& w) {
        return textOf(chip->drivenPin(w.number(0), w.number(1)));
    });
    subject.does("rpm", [chip = chip](const Arguments& w) {
        chip->setTachometer(w.number(0), w.real(1), w.number(2));
    });
    auto told = std::make_shared<int>(0);
    chip->onWrite([told] { ++*told; });
    subject.says("told", [told](const Arguments&) { return textOf(*told); });
    return subject;
}

Subject makeW83782d() {
    auto [subject, chip] = chipSubject<W83782d>(std::uint8_t{0x2D});
    addMonitor(subject, chip);
    subject.does("heat", [chip = chip](const Arguments& w) { chip->setTemperature(w.real(0)); });
    subject.says("bit6",
                 [chip = chip](const Arguments&) { return textOf(chip->configurationBit6()); });
    subject.says("fanregs", [](const Arguments&) {
        Bytes numbers;
        for (int number = 0; number < 256; number++) {
            const auto byte = static_cast<std::uint8_t>(number);
            if (W83782d::isFanRegister(byte)) {
                numbers.push_back(byte);
            }
        }
        return hexOf(numbers);
    });
    return subject;
}

Subject makeW83792ad() {
    auto [subject, chip] = chipSubject<W83792ad>(std::uint8_t{0x2C});
    addMonitor(subject, chip);
    addPins(subject, chip);
    subject.does("heat", [chip = chip](const Arguments& w) {
        chip->setTemperature(w.number(0), w.real(1));
    });
    return subject;
}

Subject makeXyratexAlarm() {
    auto alarm = std::make_shared<XyratexAlarm>();
    Subject subject{alarm, {}};
    const auto set = [alarm](const Arguments& w) {
        alarm->setLines(static_cast<std::uint8_t>(0x08 | w.byte(0)));
        alarm->setLines(w.byte(0));
    };
    subject.does("set", set);
    subject.does("lines", [alarm](const Arguments& w) { alarm->setLines(w.byte(0)); });
    subject.does("fault", [alarm](const Arguments& w) { alarm->setFault(w.flag(0)); });
    subject.does("after", [alarm](const Arguments& w) { alarm->advance(Seconds(w.real(0))); });
    subject.says("state", [alarm](const Arguments&) { return textOf(alarm->state()); });
    subject.says("out", [alarm](const Arguments&) { return textOf(alarm->output()); });
    return subject;
}

// ---- chassis ----

// "3=.." of a register at an address, or "none".
std::string registerAt(Bus& bus, std::uint8_t address, std::uint8_t number) {
    const auto value = bus.readRegister(address, number);
    return value ? hexOf({*value}) : "none";
}

std::string addressesThatAnswer(Bus& bus) {
    Bytes addresses;
    for (std::uint8_t address = 0; address < 0x80; ++address) {
        if (bus.readRegister(address, 0x48)) {
            addresses.push_back(address);
        }
    }
    return hexOf(addresses);
}

std::string litLeds(const Chassis& chassis) {
    std::string lit;
    for (int slot = 0; slot < chassis.slots(); ++slot) {
        lit += chassis.driveFaultLed(slot) ? (lit.empty() ? "" : " ") + std::to_string(slot) : "";
    }
    for (const ChassisLed& led : chassis.statusLeds()) {
        lit += led.lit ? (lit.empty() ? "" : " ") + led.name : "";
    }
    return lit;
}

void addBus(Subject& s, Chassis* chassis) {
    s.says("read", [chassis](const Arguments& w) {
        return registerAt(chassis->bus(), w.byte(0), w.byte(1));
    });
    s.says("write", [chassis](const Arguments& w) {
        return chassis->bus().writeRegister(w.byte(0), w.byte(1), w.byte(2)) ? "" : "refused";
    });
    s.says("answering",
           [chassis](const Arguments&) { return addressesThatAnswer(chassis->bus()); });
    s.does("cut", [chassis](const Arguments& w) { chassis->bus().cut(chassis->addressOf(w[0])); });
    s.does("mend",
           [chassis](const Arguments& w) { chassis->bus().mend(chassis->addressOf(w[0])); });
    s.says("address", [chassis](const Arguments& w) { return hexOf({chassis->addressOf(w[0])}); });
    s.says("name", [chassis](const Arguments& w) { return chassis->nameOf(w.byte(0)); });
}

void addFront(Subject& s, Chassis* c) {
    s.does("pull", [c](const Arguments& w) { c->pullFan(w.number(0)); });
    s.does("return", [c](const Arguments& w) { c->returnFan(w.number(0)); });
    s.says("present", [c](const Arguments& w) { return textOf(c->fanPresent(w.number(0))); });
    s.says("load", [c](const Arguments& w) { return textOf(c->fanLoadPercent(w.number(0))); });
    s.says("rpm", [c](const Arguments& w) { return textOf(c->fanRpm(w.number(0))); });
    s.does("heat", [c](const Arguments& w) { c->setTemperature(w.number(0), w.real(1)); });
    s.says("degrees", [c](const Arguments& w) { return textOf(c->temperature(w.number(0))); });
    s.does("rail", [c](const Arguments& w) {
        c->setRail(w.all.size() > 1 ? w[0] : "", w.real(w.all.size() - 1));
    });
    s.does("redundancy", [c](const Arguments& w) { c->setRedundancy(w.flag(0)); });
    s.says("redundant", [c](const Arguments&) { return textOf(c->redundancy()); });
    s.does("drive", [c](const Arguments& w) { c->setDrivePresent(w.number(0), w.flag(1)); });
    s.says("in", [c](const Arguments& w) { return textOf(c->drivePresent(w.number(0))); });
    s.says("lit", [c](const Arguments&) { return litLeds(*c); });
    s.says("led", [c](const Arguments& w) { return textOf(c->driveFaultLed(w.number(0))); });
    s.says("alarm", [c](const Arguments&) { return c->alarm(); });
    s.does("after", [c](const Arguments& w) { c->advance(Seconds(w.real(0))); });
    s.says("counts", [c](const Arguments&) {
        return textOf(c->fans()) + " " + textOf(c->sensors()) + " " + textOf(c->slots());
    });
}

std::optional<int> tuned(const Arguments& words, std::size_t n) {
    return n < words.all.size() && words[n] != "-" ? std::optional(words.number(n)) : std::nullopt;
}

// "NAME [FANS [SENSORS [DIVISOR]]]".
std::shared_ptr<Chassis> chassisOf(const Arguments& words) {
    using Wiring = ChenbroChassis::Wiring;
    if (words[0] == "chenbro-by-shift") {
        return std::make_shared<ChenbroChassis>(Wiring::kByShift);
    }
    if (words[0] == "chenbro-in-sequence") {
        return std::make_shared<ChenbroChassis>(Wiring::kInSequence);
    }
    return makeChassis(words[0], {tuned(words, 1), tuned(words, 2), tuned(words, 3)});
}

Subject subjectOf(const std::string& name) {
    static const std::map<std::string, Subject (*)()> chips = {
        {"LM75", makeLm75},       {"PCA9539", makePca9539},   {"VSC055", makeVsc055},
        {"W83782D", makeW83782d}, {"W83792AD", makeW83792ad}, {"Xyratex alarm", makeXyratexAlarm},
    };
    const auto chip = chips.find(name);
    if (chip != chips.end()) {
        return chip->second();
    }
    const std::shared_ptr<Chassis> chassis = chassisOf(Arguments(name));
    Subject subject{chassis, {}};
    addBus(subject, chassis.get());
    addFront(subject, chassis.get());
    return subject;
}

class SubjectPlayer {
  public:
    // Says what differs.
    std::string run(const std::string& text) {
        const Words words(text);
        if (words[0] == "new") {
            subject_ = subjectOf(words.from(1));
            return "";
        }
        std::string wrong;
        std::istringstream steps(text);
        for (std::string step; std::getline(steps, step, ';');) {
            const std::size_t equals = std::min(step.find(" ="), step.size());
            const std::string expected = Words(step.substr(equals)).from(1);
            const std::string answer = said(Words(step.substr(0, equals)));
            const bool isError = expected == "!" && !answer.empty();
            wrong += isError || answer == expected ? "" : step + ", not " + answer + "\n";
        }
        return wrong;
    }

  private:
    std::string said(const Words& step) const {
        try {
            return subject_.actions.at(step[0])(Arguments(step.from(1)));
        } catch (const std::out_of_range& error) {
            return error.what();
        }
    }
    Subject subject_;
};

TEST(RegisterScript, SaysWhatIsTyped) {
    scriptPlay<SubjectPlayer>(SCRIPTS "/chips.txt");
    scriptPlay<SubjectPlayer>(SCRIPTS "/chassis.txt");
}

}  // namespace
}  // namespace enclab
