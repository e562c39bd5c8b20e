// SPDX-License-Identifier: Apache-2.0
#include "tests/story/service.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "core/esa_init.h"
#include "esamain.h"
#include "msg/esa_mmsg.h"
#include "tests/story/calls.h"
#include "tests/story/registers.h"
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
    esaControl.socketFdMSM = -1;
    esaControl.i2cFileFd = -1;
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
    wholeLength_ = bytes.size();
    if (cut_ != 0) {
        std::ranges::copy(bytes, esaControl.esaInMsg);
        headerSet(wireView<MMCH_t>(bytes.data()), "length", static_cast<U32_t>(cut_));
    }
    bytes.resize(be16At(bytes, 10));
    switch_.send(bytes);
    esaLoopPass();
    if (hasPolled()) {
        throw std::logic_error("the pass of this message polled as well");
    }
}

// Requests apart: "fans 2 80000004, alarms 0 80000002".
static std::vector<std::vector<std::string>> requestsOf(const std::vector<std::string>& words) {
    std::vector<std::vector<std::string>> requests(1);
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        const bool last = word->ends_with(',');
        requests.back().push_back(last ? word->substr(0, word->size() - 1) : *word);
        if (last) {
            requests.emplace_back();
        }
    }
    return requests;
}

void StoryService::put(const Words& words) {
    std::map<std::string, std::map<std::size_t, Bytes>> records;
    for (const Words& request : requestsOf(words)) {
        if (request.at(0) == "leds") {
            drives_.clear();
            for (std::size_t n = 1; n < request.size(); ++n) {
                drives_[std::stoul(request[n])] = {0, 0, 0, 0x04};
            }
        } else {
            records[request[0]][std::stoul(request.at(1))] = hexBytes(request.at(2));
        }
    }
    records["drives"].merge(std::map(drives_));
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

static U8_t hexByte(const std::string& word) {
    return hexBytes(word).at(0);
}

RegisterChip& StoryService::chip(const std::string& address) {
    return dynamic_cast<RegisterChassis&>(*chassis_).chip(hexByte(address));
}

// ---- commands ----

static int numberOf(const std::string& word) {
    return static_cast<int>(std::stoll(word, nullptr, 0));
}

static std::vector<Number> numbersFrom(const std::vector<std::string>& words, std::size_t first) {
    std::vector<Number> numbers;
    for (std::size_t n = first; n < words.size(); ++n) {
        numbers.push_back(std::stoll(words[n], nullptr, 0));
    }
    return numbers;
}

const std::map<std::string, StoryService::Command> StoryService::COMMANDS = {
    // the enclosure
    {"fan",
     [](StoryService& s, const Words& w) {
         w.at(2) == "pull" ? s.chassis_->pullFan(numberOf(w[1]))
                           : s.chassis_->returnFan(numberOf(w[1]));
     }},
    {"temp",
     [](StoryService& s, const Words& w) {
         for (int sensor = 0; sensor < s.chassis_->sensors(); ++sensor) {
             if (w.at(1) == "all" || sensor == numberOf(w[1])) {
                 s.chassis_->setTemperature(sensor, std::stod(w.at(2)));
             }
         }
     }},
    {"rail",
     [](StoryService& s, const Words& w) { s.chassis_->setRail(w.at(1), std::stod(w.at(2))); }},
    {"psu", [](StoryService& s, const Words& w) { s.chassis_->setRedundancy(w.at(1) == "good"); }},
    {"drive",
     [](StoryService& s, const Words& w) {
         s.chassis_->setDrivePresent(numberOf(w.at(1)), w.at(2) == "in");
     }},
    {"cut", [](StoryService& s, const Words& w) { s.devicesCut(w.at(1), true); }},
    {"mend", [](StoryService& s, const Words& w) { s.devicesCut(w.at(1), false); }},
    {"fail",
     [](StoryService& s, const Words& w) {
         enclab::FaultRule fault{.nth = static_cast<std::uint64_t>(numberOf(w.at(1)))};
         if (w.size() > 2) {
             fault.addresses = {s.chassis_->addressOf(w[2])};
         }
         s.chassis_->bus().add(fault);
     }},
    {"wait", [](StoryService& s,
                const Words& w) { s.chassis_->advance(std::chrono::seconds(numberOf(w.at(1)))); }},
    // plain registers
    {"use", [](StoryService& s, const Words& w) { s.use(w.at(1)); }},
    {"up",
     [](StoryService& s, const Words& w) {
         s.use(w.at(1));
         callRoutine("init", {});
     }},
    {"reg",
     [](StoryService& s, const Words& w) {
         for (std::size_t n = 3; n < w.size(); ++n) {
             s.chip(w.at(1)).set(static_cast<U8_t>(hexByte(w[2]) + n - 3), hexByte(w[n]));
         }
     }},
    {"next",
     [](StoryService& s, const Words& w) {
         Bytes values;
         std::transform(w.begin() + 3, w.end(), std::back_inserter(values), hexByte);
         s.chip(w.at(1)).setNext(hexByte(w.at(2)), values);
     }},
    {"input",
     [](StoryService& s, const Words& w) {
         s.chip(w.at(1)).setInputs(hexByte(w.at(2)), hexByte(w.at(3)));
     }},
    // the service
    {"tune", [](StoryService& s, const Words& w) { s.tuning_.at(w.at(1)) = numberOf(w.at(2)); }},
    {"start", [](StoryService& s, const Words&) { s.start(); }},
    {"link", [](StoryService& s, const Words& w) { s.link(static_cast<U8_t>(numberOf(w.at(1)))); }},
    {"poll",
     [](StoryService& s, const Words& w) {
         for (int n = w.size() > 1 ? numberOf(w[1]) : 1; n > 0; --n) {
             s.poll();
         }
     }},
    {"set", [](StoryService&, const Words& w) { setField(w.at(1), numbersFrom(w, 2)); }},
    {"call",
     [](StoryService& s, const Words& w) { s.result_ = callRoutine(w.at(1), numbersFrom(w, 2)); }},
    // the peers
    {"page", [](StoryService& s, const Words&) { s.send({}, hexBytes("1C800200FFFF0000")); }},
    {"put", [](StoryService& s, const Words& w) { s.put(w); }},
    {"send",
     [](StoryService& s, const Words& w) {
         std::map<std::string, U32_t> header;
         std::string data;
         for (auto word = w.begin() + 1; word != w.end(); ++word) {
             const std::size_t equals = word->find('=');
             if (equals == std::string::npos) {
                 data += *word;
             } else {
                 header[word->substr(0, equals)] =
                     static_cast<U32_t>(std::stoll(word->substr(equals + 1), nullptr, 0));
             }
         }
         s.send(header, hexBytes(data));
     }},
};

void StoryService::use(const std::string& file) {
    std::ifstream lines(std::string(GOLDEN_DIR) + "/" + file + "/registers.txt");
    if (!lines) {
        throw std::invalid_argument("no registers of " + file);
    }
    for (std::string line; std::getline(lines, line);) {
        run(line.substr(0, line.find('#')));
    }
}

std::string StoryService::run(const std::string& command) {
    result_.clear();
    std::istringstream stream(command);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    if (!words.empty()) {
        const auto found = COMMANDS.find(words[0]);
        if (found == COMMANDS.end()) {
            throw std::invalid_argument("no such command: " + command);
        }
        found->second(*this, words);
    }
    return result_;
}
