// SPDX-License-Identifier: Apache-2.0
// Commands for what obeys physics: fans, temperatures, heat and rails. By hand they go straight to
// the chassis; where the lab has a plant, it is told so that it does not undo them.
#include <fmt/format.h>

#include "lab/session/commands.h"
#include "lab/words.h"

namespace enclab {

static Plant& plantOf(Lab& lab) {
    if (lab.plant() == nullptr) {
        refuse("this lab has no plant: fans and temperatures stand as they are set");
    }
    return *lab.plant();
}

std::string Commands::fan(const Words& words) {
    const int fan = number<int>(words[0], "a fan number");
    const std::size_t verb = choice(words[1], {"pull", "return", "lock", "free", "wear", "stall"});
    const bool measured = verb > 3;
    if (measured != (words.size() == 3)) {
        refuse(fmt::format("'{}' takes {}", words[1], measured ? "a percentage" : "no number"));
    }
    const double percent = measured ? number<double>(words[2], "a percentage") : 0;
    switch (verb) {
        case 0:
            lab_.chassis().pullFan(fan);
            return fmt::format("fan {} pulled", fan);
        case 1:
            lab_.chassis().returnFan(fan);
            return fmt::format("fan {} returned", fan);
        case 2:
        case 3:
            plantOf(lab_).setFanLocked(fan, verb == 2);
            return fmt::format("fan {} {}", fan, verb == 2 ? "locked" : "free to turn");
        case 4:
            plantOf(lab_).setFanWear(fan, percent);
            return fmt::format("fan {} {} % slower than a new one", fan, percent);
        default:
            plantOf(lab_).setFanStall(fan, percent);
            return fmt::format("fan {} stands below {} % of load", fan, percent);
    }
}

// Empty: back to the plant.
void Commands::sensorSet(int sensor, std::optional<double> degrees) {
    if (!degrees) {
        plantOf(lab_).releaseSensor(sensor);
    } else if (Plant* const plant = lab_.plant()) {
        plant->pinSensor(sensor, *degrees);
    } else {
        lab_.chassis().setTemperature(sensor, *degrees);
    }
}

std::string Commands::temperature(const Words& words) {
    std::optional<double> degrees;
    std::string where = "as the plant has it";
    if (words[1] == "auto") {
        plantOf(lab_);
    } else {
        degrees = number<double>(words[1], "a temperature in degrees");
        where = fmt::format("at {} degrees", *degrees);
    }
    if (words[0] == "all") {
        for (int sensor = 0; sensor < lab_.chassis().sensors(); ++sensor) {
            sensorSet(sensor, degrees);
        }
        return "all sensors " + where;
    }
    const int sensor = number<int>(words[0], "a sensor number");
    sensorSet(sensor, degrees);
    return fmt::format("sensor {} {}", sensor, where);
}

std::string Commands::inlet(const Words& words) {
    const double degrees = number<double>(words[0], "a temperature in degrees");
    plantOf(lab_).setInlet(degrees);
    return fmt::format("inlet air at {} degrees", degrees);
}

std::string Commands::heat(const Words& words) {
    Plant& plant = plantOf(lab_);
    const double percent = number<double>(words.back(), "a percentage");
    if (words.size() == 1) {
        plant.setHeat(percent);
        return fmt::format("all drives {} % busy", percent);
    }
    const int slot = number<int>(words[0], "a slot number");
    plant.setHeat(slot, percent);
    return fmt::format("drive {} {} % busy", slot, percent);
}

void Commands::railSet(const std::string& name, double volts) {
    lab_.chassis().setRail(name, volts);
    if (Plant* const plant = lab_.plant()) {
        plant->setRailDrift(name, 0);
    }
}

// "NAME VOLTS", "NAME lost", "NAME drift VOLTS_PER_HOUR"
std::string Commands::rail(const Words& words) {
    if (words.size() == 3) {
        choice(words[1], {"drift"});
        const double rate = number<double>(words[2], "a drift in volts per hour");
        plantOf(lab_).setRailDrift(words[0], rate);
        return fmt::format("rail {} drifts by {} V an hour", words[0], rate);
    }
    if (words[1] == "lost") {
        railSet(words[0], 0);
        return fmt::format("rail {} lost", words[0]);
    }
    const double volts = number<double>(words[1], "a voltage in volts");
    railSet(words[0], volts);
    return fmt::format("rail {} at {} V", words[0], volts);
}

}  // namespace enclab
