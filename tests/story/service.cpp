// SPDX-License-Identifier: Apache-2.0
#include "tests/story/service.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "chassis/table.h"
#include "esamain.h"
#include "i2c.h"
#include "lab/chassis/catalog.h"
#include "link/esa_mmsg.h"
#include "start/esa_init.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/hex.h"
#include "tests/support/personality_dir.h"

static MPU_PARAMS_t area;

// ---- the platform's transfers ----

static enclab::Bus* theBus = nullptr;

// -1 with errno, as the platform gives it.
static int transfer(std::vector<enclab::BusMessage>* messages) {
    errno = theBus->transfer(*messages).error;
    return errno == 0 ? 0 : -1;
}

void begin_i2c_data(int) {}

int read_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t length) {
    std::vector<enclab::BusMessage> messages{{i2cAddress, false, {registerNumber}},
                                             {i2cAddress, true, Bytes(length)}};
    const int result = transfer(&messages);
    if (result == 0) {
        std::ranges::copy(messages[1].bytes, buffer);
    }
    return result;
}

int write_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t length) {
    std::vector<enclab::BusMessage> messages{{i2cAddress, false, {registerNumber}}};
    messages[0].bytes.insert(messages[0].bytes.end(), buffer, buffer + length);
    return transfer(&messages);
}

StoryService::StoryService(const StoryRow& row)
    : row_(row),
      chassis_(row.chassis()),
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
    esaChassisTableUse(esaChassisTable());
    esaControl = {};
    esaControl.socketFdMSM = -1;
    esaControl.i2cFileFd = -1;
    area = {};
    area.version = MPU_K_PARAMS_VERSION;
    area.flags = MPU_K_FLAG_RCP_COMPLETE;
    switch_.directory().copy(area.mmsgDirectory, sizeof area.mmsgDirectory - 1);
    pMpuParams = &area;
    systemCalls = {};
    systemCalls.enclosureDevice = "/dev/null";
    theBus = &chassis_->bus();
    switch_.open();
    enclosureCommands();
    serviceCommands();
}

StoryService::~StoryService() {
    close(esaControl.socketFdMSM);
    close(esaControl.i2cFileFd);
    pMpuParams = nullptr;
    theBus = nullptr;
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
    const std::string_view selector = enclab::selectorOf(enclab::chassisOfType(row_.type));
    std::string text = "<chassis name=\"" + std::string(selector) + "\"/>\n";
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

void StoryService::link(U8_t type) {
    close(esaControl.socketFdMSM);
    switch_.drop();
    esaControl = {};
    esaLinkOpen();
    switch_.accept();
    esaControl.enclosureType = type;
    esaControl.selectTimeout = {ESA_K_SELECT_TIMEOUT_SEC, 0};
    esaControl.pollTimeout = {ESA_K_POLL_PERIOD_SEC * 100, 0};  // polls are called
}

static bool hasPolled() {
    return esaControl.pollTimeout.sec == ESA_K_POLL_PERIOD_SEC;
}

void StoryService::poll() {
    do {
        esaLoopPass();
    } while (!hasPolled());
}

// ---- the peers ----

static void headerSet(MMCH_t* header, const std::string& name, U32_t value) {
    if (name == "length") {
        header->mmsg_length = static_cast<U16_t>(value);
    } else if (name == "command") {
        header->opcode.request.type = value;
    } else if (name == "from") {
        header->requestor = static_cast<U8_t>(value);
    } else if (name == "handle") {
        header->handle = value;
    } else {
        throw std::invalid_argument("no header field " + name);
    }
}

void StoryService::send(const std::map<std::string, U32_t>& header, const Bytes& userData) {
    auto message =
        enclab::Message::make(MMSG_E_PROTOCOL_SES, SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND,
                              MMSG_E_EPID_ENVIRONMP, MMSG_K_HEADER_SIZE + userData.size());
    message.addRecipient(MMSG_E_EPID_ES_ADAPTERMP);
    for (const auto& [name, value] : header) {
        headerSet(&message.header(), name, value);
    }
    Bytes bytes = message.bytes();
    std::ranges::copy(userData, bytes.begin() + MMSG_K_HEADER_SIZE);
    bytes.resize(be16At(bytes, 10));
    switch_.send(bytes);
    esaLoopPass();
    if (hasPolled()) {
        throw std::logic_error("the pass of this message polled as well");
    }
}

// Requests apart: "fans 2 80000004, alarms 0 80000002".
static std::vector<Words> requestsOf(const Words& words) {
    std::vector<Words> requests;
    std::istringstream list(words.from(1));
    for (std::string request; std::getline(list, request, ',');) {
        requests.emplace_back(request);
    }
    return requests;
}

void StoryService::put(const Words& words) {
    std::map<std::string, std::map<std::size_t, Bytes>> records;
    for (const Words& request : requestsOf(words)) {
        if (request[0] == "leds") {
            drives_.clear();
            for (std::size_t n = 1; n < request.all.size(); ++n) {
                drives_[request.u8(n)] = {0, 0, 0, 0x04};
            }
        } else {
            records[request[0]][request.u8(1)] = hexBytes(request[2]);
        }
    }
    auto drives = drives_;
    records["drives"].merge(drives);
    Bytes page = hexBytes("1D 10 00 00 00 FF 00 00  02 00 00 FC 00 00 00 00");
    for (const PageSection& section : PAGE_SECTIONS) {
        const std::size_t overall = page.size();
        page.resize(overall + 4 * (1 + std::size_t{esaControl.*section.count}));
        for (const auto& [index, record] : records[section.name]) {
            page[overall + 3] = 0x80;
            std::ranges::copy(record, &page.at(overall + 4 * (1 + index)));
        }
    }
    send({{"command", SES_K_SEND_DIAGNOSTIC_COMMAND}}, page);
}

// ---- the enclosure ----

void StoryService::devicesCut(const std::string& device, bool cut) {
    for (const enclab::ChassisDevice& candidate : chassis_->devices()) {
        if (device == "all" || device == candidate.name) {
            cut ? chassis_->bus().cut(candidate.address) : chassis_->bus().mend(candidate.address);
        }
    }
}

// ---- commands ----

void StoryService::enclosureCommands() {
    commands_["fan"] = [this](auto& w) {
        w[2] == "pull" ? chassis_->pullFan(w.number(1)) : chassis_->returnFan(w.number(1));
    };
    commands_["temp"] = [this](auto& w) {
        for (int sensor = 0; sensor < chassis_->sensors(); ++sensor) {
            if (w[1] == "all" || sensor == w.number(1)) {
                chassis_->setTemperature(sensor, std::stod(w[2]));
            }
        }
    };
    commands_["rail"] = [this](auto& w) { chassis_->setRail(w[1], std::stod(w[2])); };
    commands_["psu"] = [this](auto& w) { chassis_->setRedundancy(w[1] == "good"); };
    commands_["drive"] = [this](auto& w) { chassis_->setDrivePresent(w.number(1), w[2] == "in"); };
    commands_["cut"] = [this](auto& w) { devicesCut(w[1], true); };
    commands_["mend"] = [this](auto& w) { devicesCut(w[1], false); };
    commands_["wait"] = [this](auto& w) { chassis_->advance(std::chrono::seconds(w.number(1))); };
}

void StoryService::serviceCommands() {
    commands_["tune"] = [this](auto& w) { tuning_.at(w[1]) = w.number(2); };
    commands_["start"] = [this](auto&) { start(); };
    commands_["link"] = [this](auto& w) { link(w.u8(1)); };
    commands_["poll"] = [this](auto& w) {
        for (int n = std::max(w.number(1), 1); n > 0; --n) {
            poll();
        }
    };
    commands_["page"] = [this](auto&) { send({}, hexBytes("1C800200FFFF0000")); };
    commands_["put"] = [this](auto& w) { put(w); };
    commands_["send"] = [this](auto& w) {
        std::map<std::string, U32_t> header;
        std::string data;
        for (const std::string& word : Words(w.from(1)).all) {
            const std::size_t equals = word.find('=');
            if (equals == word.npos) {
                data += word;
            } else {
                header[word.substr(0, equals)] = Words(word.substr(equals + 1)).u32(0);
            }
        }
        send(header, hexBytes(data));
    };
}

void StoryService::run(const std::string& command) {
    const Words words(command);
    const auto found = commands_.find(words[0]);
    if (found == commands_.end()) {
        throw std::invalid_argument("no such command: " + command);
    }
    found->second(words);
}
