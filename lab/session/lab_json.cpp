// SPDX-License-Identifier: Apache-2.0
#include "lab/session/lab_json.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace enclab {

namespace {

using Json = nlohmann::json;

// A list of what `entry` makes of each number below `count`.
template <typename Entry>
Json listOf(int count, Entry entry) {
    Json list = Json::array();
    for (int n = 0; n < count; ++n) {
        list.push_back(entry(n));
    }
    return list;
}

Json daemonJson(Lab& lab) {
    Json daemon = {{"running", lab.daemonRunning()},
                   {"connected", lab.messageSwitch().connections(MMSG_E_EPID_ES_ADAPTERMP) > 0},
                   {"initialised", lab.startupProcess().initCompletes() > 0},
                   {"pid", nullptr},
                   {"exitStatus", nullptr}};
    if (lab.daemonRunning()) {
        daemon["pid"] = lab.daemon().pid();
        daemon["cpuSeconds"] = lab.daemon().cpuSeconds();
    } else if (lab.daemonStarted()) {
        daemon["exitStatus"] = lab.daemon().exitStatus().value_or(0);
    }
    return daemon;
}

Json fanJson(Lab& lab, int fan) {
    const Chassis& chassis = lab.chassis();
    Json json = {{"present", chassis.fanPresent(fan)},
                 {"load", chassis.fanLoadPercent(fan)},
                 {"rpm", chassis.fanRpm(fan)}};
    if (lab.plant() != nullptr) {
        const PlantFan& model = lab.plant()->fan(fan);
        json["locked"] = model.locked();
        json["wear"] = model.wear();
        json["stalled"] = model.stalled();
    }
    return json;
}

Json sensorJson(Lab& lab, int sensor) {
    Json json = {{"celsius", lab.chassis().temperature(sensor)}};
    if (lab.plant() != nullptr) {
        json["held"] = lab.plant()->sensorPinned(sensor);
    }
    return json;
}

Json plantJson(Lab& lab) {
    if (lab.plant() == nullptr) {
        return nullptr;
    }
    const Plant& plant = *lab.plant();
    return {{"inlet", plant.inlet()},
            {"watts", plant.powers()},
            {"heat", listOf(lab.chassis().slots(), [&](int slot) { return plant.heat(slot); })}};
}

Json slotJson(const Chassis& chassis, int slot) {
    Json json = {{"present", nullptr}, {"faultLed", nullptr}};
    if (chassis.parts().drivePresence) {
        json["present"] = chassis.drivePresent(slot);
    }
    if (chassis.parts().driveLeds) {
        json["faultLed"] = chassis.driveFaultLed(slot);
    }
    return json;
}

Json railsJson(const Chassis& chassis) {
    Json rails = Json::array();
    for (std::size_t n = 0; n < chassis.rails().size(); ++n) {
        rails.push_back({{"name", chassis.rails()[n].name},
                         {"volts", chassis.rails()[n].volts},
                         {"nominal", chassis.parts().rails[n].volts}});
    }
    return rails;
}

Json ledsJson(const Chassis& chassis) {
    Json leds = Json::array();
    for (const ChassisLed& led : chassis.statusLeds()) {
        leds.push_back({{"name", led.name}, {"lit", led.lit}});
    }
    return leds;
}

Json chassisJson(Lab& lab) {
    const Chassis& chassis = lab.chassis();
    const std::string name = lab.chassisName();
    Json json = {{"name", name},
                 {"title", chassisTitle(name)},
                 {"fullSpeedRpm", chassis.parts().fullSpeedRpm},
                 {"fans", listOf(chassis.fans(), [&](int n) { return fanJson(lab, n); })},
                 {"sensors", listOf(chassis.sensors(), [&](int n) { return sensorJson(lab, n); })},
                 {"slots", listOf(chassis.slots(), [&](int n) { return slotJson(chassis, n); })},
                 {"rails", railsJson(chassis)},
                 {"leds", ledsJson(chassis)},
                 {"alarm", chassis.alarm()},
                 {"redundancy", nullptr}};
    if (chassis.parts().redundancy) {
        json["redundancy"] = chassis.redundancy();
    }
    return json;
}

Json peersJson(Lab& lab) {
    // The words of the commands `startup` and `shutdown`.
    constexpr const char* kAnswers[] = {"answer", "error", "silent"};
    constexpr const char* kWays[] = {"ignore", "perform", "refuse"};
    const StartupProcess& startup = lab.startupProcess();
    Json events = Json::object();
    for (const auto& [id, count] : lab.eventManager().counts()) {
        events[std::to_string(id)] = count;
    }
    return {{"compositeLed", startup.compositeLedLit()},
            {"ledRequests", startup.ledRequests()},
            {"mails", startup.mails()},
            {"shutdownRequests", startup.shutdownRequests()},
            {"events", events},
            {"clients", lab.messageSwitch().connections(MMSG_E_EPID_ENVIRONMP) +
                            lab.messageSwitch().connections(MMSG_E_EPID_VOLMGRMP)},
            {"undelivered", lab.messageSwitch().undelivered()},
            {"startupAnswer", kAnswers[static_cast<std::size_t>(startup.answer())]},
            {"shutdownWay", kWays[static_cast<std::size_t>(startup.shutdown())]},
            {"switchPlain", lab.daemonLink().isPlain()},
            {"delivery", lab.daemonLink().describe()}};
}

Json personalityJson(const Lab& lab) {
    Json values = Json::object();
    for (const PersonalityKey& key : kPersonalityKeys) {
        if (const auto value = personalityValue(lab.options().personality, key.name)) {
            values[key.name] = *value;
        }
    }
    return values;
}

bool isWriteTo(std::uint8_t address, const BusTransfer& transfer) {
    const BusMessage& message = transfer.messages.front();
    return transfer.error == 0 && message.address == address && !message.read &&
           message.bytes.size() == 2;
}

// The register the chip was written last, with its value.
Json lastWriteJson(const Bus& bus, std::uint8_t address) {
    const auto& log = bus.log();
    const auto last = std::find_if(
        log.rbegin(), log.rend(),
        [address](const BusTransfer& transfer) { return isWriteTo(address, transfer); });
    return last == log.rend() ? Json() : Json(last->messages.front().bytes);
}

Json chipsJson(Chassis& chassis) {
    Json chips = Json::array();
    for (const ChassisDevice& device : chassis.devices()) {
        const Chip* const chip = chassis.bus().chipAt(device.address);
        chips.push_back({{"name", device.name},
                         {"address", device.address},
                         {"cut", chassis.bus().isCut(device.address)},
                         {"registers", fmt::format("{:02x}", fmt::join(chip->registers(), ""))},
                         {"lastWrite", lastWriteJson(chassis.bus(), device.address)}});
    }
    return chips;
}

Json faultsJson(const Bus& bus, double now) {
    Json faults = Json::array();
    for (const Fault& fault : bus.faults()) {
        faults.push_back({{"number", fault.number()},
                          {"rule", describe(fault.rule())},
                          {"fired", fault.fired()},
                          {"over", fault.over(now)}});
    }
    return faults;
}

}  // namespace

nlohmann::json labJson(Lab& lab) {
    Chassis& chassis = lab.chassis();
    return {{"time", lab.time()},
            {"speed", lab.options().speed},
            {"directory", lab.directory().path().string()},
            {"daemon", daemonJson(lab)},
            {"chassis", chassisJson(lab)},
            {"plant", plantJson(lab)},
            {"peers", peersJson(lab)},
            {"personality", personalityJson(lab)},
            {"chips", chipsJson(chassis)},
            {"bus",
             {{"transfers", chassis.bus().count()},
              {"faults", faultsJson(chassis.bus(), lab.time())}}}};
}

}  // namespace enclab
