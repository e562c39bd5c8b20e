// SPDX-License-Identifier: Apache-2.0
#include "tests/story/service.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "chassis/table.h"
#include "esamain.h"
#include "i2c.h"
#include "lab/chassis/catalog.h"
#include "start/esa_init.h"
#include "tests/support/fake_system_calls.h"
#include "tests/support/personality_dir.h"

static MPU_PARAMS_t area;

// ---- the platform's transfers ----

static enclab::Bus* theBus = nullptr;

void begin_i2c_data(int) {}

int read_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, U8_t* buffer, U32_t) {
    const auto value = theBus->readRegister(i2cAddress, registerNumber);
    *buffer = value.value_or(*buffer);
    return value ? 0 : -1;
}

int write_i2c_data(int, U8_t i2cAddress, U8_t registerNumber, const U8_t* buffer, U32_t) {
    return theBus->writeRegister(i2cAddress, registerNumber, *buffer) ? 0 : -1;
}

// ---- the process ----

static std::unique_ptr<enclab::Chassis> chassisOf(const StoryRow& row) {
    const std::string_view name = enclab::chassisOfType(row.type);
    return enclab::makeChassis(name.empty() ? enclab::kDefaultChassis : name);
}

StoryService::StoryService(const StoryRow& facts)
    : row(facts),
      chassis(chassisOf(facts)),
      personality{.chassis = enclab::selectorOf(enclab::chassisOfType(row.type)),
                  .fanSpeedDivisor = row.fanSpeedDivisor,
                  .coolingMaxNumber = chassis->fans(),
                  .temperatureSensorMaxNumber = chassis->sensors()} {
    esaChassisTableUse(esaChassisTable());
    esaControl = {};
    area = {};
    area.version = MPU_K_PARAMS_VERSION;
    area.flags = MPU_K_FLAG_RCP_COMPLETE;
    switch_.directory().copy(area.mmsgDirectory, sizeof area.mmsgDirectory - 1);
    pMpuParams = &area;
    systemCalls = {};
    systemCalls.enclosureDevice = "/dev/null";
    theBus = &chassis->bus();
    switch_.open();
}

StoryService::~StoryService() {
    close(esaControl.socketFdMSM);
    close(esaControl.i2cFileFd);
    pMpuParams = nullptr;
    theBus = nullptr;
}

void StoryService::start() {
    static PersonalityDir directory;
    directory.write(personality.xml());
    esaInit();
    if (!switch_.accept()) {
        throw std::runtime_error("the service did not connect");
    }
    esaControl.enclosureType = row.type;
    if (row.board == Board::w83782d) {  // no personality file has its address
        esaControl.i2cAddressW83782d = chassis->addressOf("w83782d");
    }
    esaInitCompleteSend();
    esaRcpCompleteWait(pMpuParams);
    esaBackendInit();
    esaControl.selectTimeout = {ESA_K_SELECT_TIMEOUT_SEC, 0};
}

void StoryService::poll() {
    esaControl.pollTimeout = {};
    esaLoopPass();
}

// ---- the peers ----

void StoryService::send(U32_t command, const Bytes& userData) {
    auto message = enclab::Message::make(MMSG_E_PROTOCOL_SES, command, requestor,
                                         MMSG_K_HEADER_SIZE + userData.size());
    message.addRecipient(MMSG_E_EPID_ES_ADAPTERMP);
    message.header().handle = handle;
    Bytes bytes = message.bytes();
    std::ranges::copy(userData, bytes.begin() + MMSG_K_HEADER_SIZE);
    switch_.send(bytes);
    esaControl.pollTimeout = {ESA_K_POLL_PERIOD_SEC, 0};
    esaLoopPass();
}

void StoryService::page(U8_t code, int room) {
    send(SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND,
         {0x1C, 0x80, code, 0, static_cast<U8_t>(room >> 8), static_cast<U8_t>(room), 0, 0});
}

void StoryService::put(const Records& records) {
    Bytes page = {0x1D, 0x10, 0, 0, 0, 0xFF, 0, 0, 0x02, 0, 0, 0xFC, 0, 0, 0, 0};
    std::size_t overall[ALARMS + 1];
    for (const Section section : {DRIVES, SUPPLIES, FANS, SENSORS, ALARMS}) {
        overall[section] = page.size();
        page.resize(page.size() + 4 * (1 + std::size_t{esaControl.*COUNTS[section]}));
    }
    for (const auto& [place, record] : records) {
        const std::size_t at = overall[place.first];
        page[at + 3] = 0x80;
        *wireView<Be32>(&page.at(at + 4 * (1 + static_cast<std::size_t>(place.second)))) = record;
    }
    send(SES_K_SEND_DIAGNOSTIC_COMMAND, page);
}

std::vector<enclab::Message> StoryService::take() {
    std::vector<enclab::Message> messages;
    for (Bytes& bytes : switch_.take()) {
        messages.emplace_back(std::move(bytes));
    }
    return messages;
}
