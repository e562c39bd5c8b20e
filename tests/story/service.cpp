// SPDX-License-Identifier: Apache-2.0
#include "tests/story/service.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "core/esa_init.h"
#include "esamain.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/personality_dir.h"

static MPU_PARAMS_t area;

StoryService::StoryService(const StoryRow& row)
    : row_(row),
      chassis_(row.chassis()),
      bus_(chassis_->bus()),
      tuning_{{"fanSpeedDivisor", row.fanSpeedDivisor},
              {"coolingMaxNumber", chassis_->fans()},
              {"temperatureSensorMaxNumber", chassis_->sensors()},
              {"overheatTemperatureLimit", 60},
              {"fanPwm25To50TemperatureThreshold", 32},
              {"fanPwm50To75TemperatureThreshold", 38},
              {"fanPwm75To100TemperatureThreshold", 44},
              {"fanPwm100To75TemperatureThreshold", 41},
              {"fanPwm75To50TemperatureThreshold", 35},
              {"fanPwm50To25TemperatureThreshold", 29},
              {"fanFaultRpmLimit", 1500},
              {"fanPwmLoadMinimum", 25}} {
    esaControl = {};
    area = {};
    area.version = MPU_K_PARAMS_VERSION;
    area.flags = MPU_K_FLAG_RCP_COMPLETE;
    switch_.directory().copy(area.mmsgDirectory, sizeof area.mmsgDirectory - 1);
    pMpuParams = &area;
    systemCalls = {};
    systemCalls.enclosureDevice = "/dev/null";
    switch_.open();
}

StoryService::~StoryService() {
    close(esaControl.socketFdMSM);
    close(esaControl.i2cFileFd);
    pMpuParams = nullptr;
}

std::vector<enclab::Message> StoryService::take() {
    std::vector<enclab::Message> messages;
    for (Bytes& bytes : switch_.take()) {
        messages.emplace_back(std::move(bytes));
    }
    return messages;
}

// ---- the process ----

std::string StoryService::personalityText() const {
    std::string text = std::string("<chassis name=\"") + row_.personality + "\"/>\n";
    for (const auto& [key, number] : tuning_) {
        text += "<parameter name=\"" + key + "\" value=\"" + std::to_string(number) + "\"/>\n";
    }
    return text;
}

// One directory and, as long as it says the same, one file for all: there are many starts.
static void personalityWrite(const std::string& text) {
    static PersonalityDir directory;
    static std::string written;
    if (text != written) {
        directory.write(text);
        written = text;
    }
}

void StoryService::start() {
    personalityWrite(personalityText());
    esaInit();
    if (!switch_.accept()) {
        throw std::runtime_error("the service did not connect");
    }
    esaControl.enclosureType = row_.type;
    if (row_.afterInit != nullptr) {
        row_.afterInit();
    }
    esaInitCompleteSend();
    esaRcpCompleteWait(pMpuParams);
    esaBackendInit();
    esaControl.selectTimeout = {ESA_K_SELECT_TIMEOUT_SEC, 0};
}

static bool hasPolled() {
    return esaControl.pollTimeout.sec == ESA_K_POLL_PERIOD_SEC;
}

void StoryService::poll() {
    do {
        esaLoopPass();
    } while (!hasPolled());
}

void StoryService::send(std::uint32_t type, const Bytes& userData) {
    auto message = enclab::Message::make(MMSG_E_PROTOCOL_SES, type, MMSG_E_EPID_ENVIRONMP,
                                         MMSG_K_HEADER_SIZE + userData.size());
    message.addRecipient(MMSG_E_EPID_ES_ADAPTERMP);
    Bytes bytes = message.bytes();
    std::ranges::copy(userData, bytes.begin() + MMSG_K_HEADER_SIZE);
    switch_.send(bytes);
    esaLoopPass();
    if (hasPolled()) {
        throw std::logic_error("the pass of this message polled as well");
    }
}

void StoryService::put(const Words& words) {
    if (words.at(1) == "leds") {
        litSlots_.clear();
        std::transform(words.begin() + 2, words.end(), std::back_inserter(litSlots_),
                       [](const std::string& slot) { return std::stoul(slot); });
    }
    Bytes page = hexBytes("1D 10 00 00 00 FF 00 00  02 00 00 FC 00 00 00 00");
    const std::size_t drives = page.size();
    for (const PageSection& section : PAGE_SECTIONS) {
        const std::size_t overall = page.size();
        page.resize(overall + 4 * (1 + std::size_t{esaControl.*section.count}));
        if (section.name == words[1]) {
            const std::size_t record = overall + 4 * (1 + std::stoul(words.at(2)));
            page[overall + 3] = 0x80;
            std::ranges::copy(hexBytes(words.at(3)),
                              page.begin() + static_cast<std::ptrdiff_t>(record));
        }
    }
    for (const std::size_t slot : litSlots_) {
        page.at(drives + 4 * (1 + slot) + 3) = 0x04;
    }
    send(SES_K_SEND_DIAGNOSTIC_COMMAND, page);
}

// False when `words` are no command to the service.
bool StoryService::serviceRun(const Words& words) {
    if (words[0] == "start") {
        start();
    } else if (words[0] == "tune") {
        tuning_.at(words.at(1)) = std::stoi(words.at(2));
    } else if (words[0] == "poll") {
        for (int n = words.size() > 1 ? std::stoi(words[1]) : 1; n > 0; --n) {
            poll();
        }
    } else if (words[0] == "page") {
        send(SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND, hexBytes("1C 80 02 00 FFFF 00 00"));
    } else if (words[0] == "put") {
        put(words);
    } else {
        return false;
    }
    return true;
}

// ---- the enclosure ----

void StoryService::devicesCut(const std::string& device, bool cut) {
    for (const enclab::ChassisDevice& candidate : chassis_->devices()) {
        if (device == "all" || device == candidate.name) {
            cut ? chassis_->bus().cut(candidate.address) : chassis_->bus().mend(candidate.address);
        }
    }
}

// False when `words` are no command to the enclosure.
bool StoryService::enclosureRun(const Words& words) {
    const auto number = [&words](std::size_t n) { return std::stoi(words.at(n)); };
    if (words[0] == "fan") {
        words.at(2) == "pull" ? chassis_->pullFan(number(1)) : chassis_->returnFan(number(1));
    } else if (words[0] == "temp") {
        for (int sensor = 0; sensor < chassis_->sensors(); ++sensor) {
            if (words.at(1) == "all" || sensor == number(1)) {
                chassis_->setTemperature(sensor, std::stod(words.at(2)));
            }
        }
    } else if (words[0] == "rail") {
        chassis_->setRail(words.at(1), std::stod(words.at(2)));
    } else if (words[0] == "psu") {
        chassis_->setRedundancy(words.at(1) == "good");
    } else if (words[0] == "drive") {
        chassis_->setDrivePresent(number(1), words.at(2) == "in");
    } else if (words[0] == "cut" || words[0] == "mend") {
        devicesCut(words.at(1), words[0] == "cut");
    } else if (words[0] == "fail") {
        chassis_->bus().add({.addresses = {chassis_->addressOf(words[1])},
                             .nth = static_cast<std::uint64_t>(number(2))});
    } else if (words[0] == "wait") {
        chassis_->advance(std::chrono::seconds(number(1)));
    } else {
        return false;
    }
    return true;
}

void StoryService::run(const std::string& command) {
    std::istringstream stream(command);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    if (!serviceRun(words) && !enclosureRun(words)) {
        throw std::invalid_argument("no such command: " + command);
    }
}
