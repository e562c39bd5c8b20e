// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/ses/ses_fixture.h"

#include <algorithm>
#include <cstring>

#include "core/esa_fault.h"

FakeChassis fake;

static void note(const char* what) {
    fake.calls.emplace_back(what);
}
static void note(const char* what, U32_t number) {
    fake.calls.push_back(std::string(what) + " " + std::to_string(number));
}
static ESA_CODE_e resultOf(const std::map<int, ESA_CODE_e>& results, int n) {
    const auto found = results.find(n);
    return found == results.end() ? ESA_E_OK : found->second;
}

static ESA_CODE_e init() {
    return ESA_E_OK;
}
static void poll() {}
static ESA_CODE_e fanSpeedRead(int fan, U16_t* rpm) {
    note("fan", static_cast<U32_t>(fan));
    const auto found = fake.rpms.find(fan);
    if (found == fake.rpms.end()) {
        *rpm = 4711;  // what a failed read leaves behind means nothing
        return fake.unreadableFan;
    }
    *rpm = found->second;
    return ESA_E_OK;
}
static void fanLoad(U8_t, U8_t) {}
static void fanSwitch(U8_t fan, bool on) {
    note(on ? "fan on" : "fan off", fan);
}
static void alarmSet(EsaAlarmState_e) {}
static void alarmSilence() {
    note("silence");
}
static void alarmSound(EsaAlarmState_e state) {
    note("sound", state);
}
static U32_t alarmPageState() {
    note("alarm");
    return fake.alarmState;
}
static ESA_CODE_e driveLedSet(int drive) {
    note("led on", static_cast<U32_t>(drive));
    return resultOf(fake.ledResults, drive);
}
static ESA_CODE_e driveLedClear(int drive) {
    note("led off", static_cast<U32_t>(drive));
    return resultOf(fake.ledResults, drive);
}
static ESA_CODE_e drivePresent(int drive) {
    note("drive", static_cast<U32_t>(drive));
    return resultOf(fake.drives, drive);
}
static void supplyPageStatus(int supply, PowerSupplyElementStat_t* element,
                             EsaPageChange_t* change) {
    note("supply", static_cast<U32_t>(supply));
    element->commonStatus = SES_E_ELEMENT_STATUS_CODE_OK;
    if (fake.supply) {
        fake.supply(supply, element, change);
    }
}
static void supplyFaultIndicate(ESA_CODE_e status) {
    note(status == ESA_E_OK ? "supply ok" : "supply fault");
}
static void fanPageStatus(int fan, U16_t rpm, CoolingElementStat_t* element,
                          EsaPageChange_t* change) {
    note("fan mark", static_cast<U32_t>(fan));
    if (fake.fanMark) {
        fake.fanMark(fan, rpm, element, change);
    }
}
static void temperaturesPageRead() {
    note("temperatures");
    std::copy(fake.temperatures.begin(), fake.temperatures.end(), esaControl.temperatureSensor);
    if (fake.onTemperatures) {
        fake.onTemperatures();
    }
}

static constexpr EsaChassis_t FULL_ROW = {
    .type = KORVO_E_CHASSIS_KORVO_VSC055,
    .init = init,
    .initSuccessText = "",
    .initFailureText = "",
    .poll = poll,
    .fanSpeedRead = fanSpeedRead,
    .fanSweepEndsWhenUnavailable = true,
    .fanLoad = fanLoad,
    .policyFans = 0,
    .fanSwitch = fanSwitch,
    .fanGroupSize = 1,
    .alarmSet = alarmSet,
    .alarmSilence = alarmSilence,
    .alarmSound = alarmSound,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = alarmPageState,
    .driveLedSet = driveLedSet,
    .driveLedClear = driveLedClear,
    .drivePresent = drivePresent,
    .supplyPageStatus = supplyPageStatus,
    .supplyFaultIndicate = supplyFaultIndicate,
    .fanPageStatus = fanPageStatus,
    .temperaturesPageRead = temperaturesPageRead,
    .i2cDevices = {nullptr, 0},
};

// Fans in two groups, an alarm with a sound of its own for critical.
static constexpr EsaChassis_t groupedRow() {
    EsaChassis_t row = FULL_ROW;
    row.type = KORVO_E_CHASSIS_XYRATEX_2U12ATX;
    row.fanGroupSize = 4;
    row.alarmCriticalState = ESA_E_ALARM_STATE_CRITICAL_S4;
    return row;
}
static constexpr EsaChassis_t GROUPED_ROW = groupedRow();

static constexpr EsaChassis_t NO_BACKEND_ROW = {
    .type = KORVO_E_CHASSIS_NONE,
    .init = ESA_NOT_FITTED,
    .initSuccessText = "",
    .initFailureText = "",
    .poll = ESA_NOT_FITTED,
    .fanSpeedRead = ESA_NOT_FITTED,
    .fanSweepEndsWhenUnavailable = false,
    .fanLoad = ESA_NOT_FITTED,
    .policyFans = 0,
    .fanSwitch = ESA_NOT_FITTED,
    .fanGroupSize = 1,
    .alarmSet = ESA_NOT_FITTED,
    .alarmSilence = ESA_NOT_FITTED,
    .alarmSound = ESA_NOT_FITTED,
    .alarmCriticalState = ESA_E_ALARM_STATE_FAULT_S1,
    .alarmPageState = ESA_NOT_FITTED,
    .driveLedSet = ESA_NOT_FITTED,
    .driveLedClear = ESA_NOT_FITTED,
    .drivePresent = ESA_NOT_FITTED,
    .supplyPageStatus = ESA_NOT_FITTED,
    .supplyFaultIndicate = ESA_NOT_FITTED,
    .fanPageStatus = ESA_NOT_FITTED,
    .temperaturesPageRead = ESA_NOT_FITTED,
    .i2cDevices = {nullptr, 0},
};

const EsaChassis_t* esaChassis() {
    switch (fake.row) {
        case FakeChassis::FULL:
            return &FULL_ROW;
        case FakeChassis::GROUPED:
            return &GROUPED_ROW;
        case FakeChassis::NO_BACKEND:
            return &NO_BACKEND_ROW;
        default:
            return nullptr;
    }
}

const EsaChassis_t* esaChassisOf(KORVO_E_CHASSIS_t) {
    return &NO_BACKEND_ROW;
}

void esaFault(const char*, int, const char* fnName, const char*, ...) {
    note(fnName);
}

std::vector<std::string> FakeChassis::takeCalls() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
}

CleanControl::CleanControl() {
    esaControl = {};
    esaControl.enclosureType = KORVO_E_CHASSIS_KORVO_VSC055;
    esaControl.elementTypeMaxNumber = SES_K_ELEMENT_TYPES;
    // A work space full of an older message: what a reply leaves unwritten must be zero anyway.
    std::memset(esaControl.esaWorkSpace, 0xFF, sizeof esaControl.esaWorkSpace);
    fake = {};
}

void SesTest::counts(U8_t devices, U8_t supplies, U8_t fans, U8_t sensors, U8_t alarms) {
    esaControl.deviceMaxNumber = devices;
    esaControl.powerSupplyMaxNumber = supplies;
    esaControl.coolingMaxNumber = fans;
    esaControl.temperatureSensorMaxNumber = sensors;
    esaControl.audibleAlarmMaxNumber = alarms;
}

MMSG_t* SesTest::request(U32_t type, const Bytes& userData, U8_t requestor) {
    std::memset(esaControl.esaInMsg, 0xEE, sizeof esaControl.esaInMsg);
    MMCH_t header = {};
    header.message_type = 14;
    header.mmch_version = 1;
    header.mmsg_length = static_cast<U16_t>(MMSG_K_HEADER_SIZE + userData.size());
    header.opcode.request.protocol = MMSG_E_PROTOCOL_SES;
    header.opcode.request.type = type;
    header.requestor = requestor;
    header.handle = HANDLE;
    std::memcpy(esaControl.esaInMsg, &header, sizeof header);
    std::copy(userData.begin(), userData.end(), esaControl.esaInMsg + MMSG_K_HEADER_SIZE);
    return wireView<MMSG_t>(esaControl.esaInMsg);
}

Bytes SesTest::takeOne() {
    const std::vector<Bytes> messages = peer_.take();
    if (messages.size() != 1) {
        ADD_FAILURE() << messages.size() << " messages were sent";
        return Bytes(4096);
    }
    Bytes message = messages.front();
    std::fill_n(message.begin(), 8, std::uint8_t{0});
    return message;
}

Bytes part(const Bytes& bytes, std::size_t from, std::size_t count) {
    Bytes cut(bytes);
    cut.resize(from + count);
    cut.erase(cut.begin(), cut.begin() + static_cast<std::ptrdiff_t>(from));
    return cut;
}

bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return countOf(lines, line) > 0;
}

long countOf(const std::vector<std::string>& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line);
}
