// SPDX-License-Identifier: Apache-2.0
#include "tools/altevent/names.h"

#include <algorithm>
#include <csignal>

#include "emp_mesgs.h"
#include "esa_evl.h"
#include "mmsg.h"
#include "startup.h"
#include "sys_msg.h"

namespace altevent {

std::string nameOf(Names names, U32_t value) {
    const auto found = std::ranges::find(names, value, &Name::value);
    return found == names.end() ? "" : found->text;
}

#define TYPE(name) \
    { MSG_E_TYPE_##name, #name }
static const Name messageTypes[] = {
    TYPE(INVALID), TYPE(ISURP),  TYPE(SGT),      TYPE(CLH), TYPE(DSD),  TYPE(VT),  TYPE(DRP),
    TYPE(EXT),     TYPE(URGENT), TYPE(IOMGR_VT), TYPE(RWR), TYPE(RCD),  TYPE(DLM), TYPE(FER),
    TYPE(MMSG),    TYPE(DROP),   TYPE(RCPM),     TYPE(BCD), TYPE(CMSP),
};
#undef TYPE
const Names MESSAGE_TYPES = messageTypes;

#define ENDPOINT(name) \
    { MMSG_E_EPID_##name, #name }
static const Name endpoints[] = {
    ENDPOINT(ISCSI18P),
    ENDPOINT(ISCSI28P),
    ENDPOINT(SCSI8P),
    ENDPOINT(CACHE18P),
    ENDPOINT(CACHE28P),
    ENDPOINT(IOMGR8P),
    ENDPOINT(SATA8P),
    ENDPOINT(MIP8P),
    ENDPOINT(PIEMAN8P),
    ENDPOINT(AWR8P),
    ENDPOINT(VPI8P),
    ENDPOINT(MIP_LOCAL_8P),
    ENDPOINT(ICHAR),
    ENDPOINT(OB0),
    ENDPOINT(OB1),
    ENDPOINT(HACCMP),
    ENDPOINT(MSMMP),
    ENDPOINT(RCPMP),
    ENDPOINT(STARTUPMP),
    ENDPOINT(DDLMMP),
    ENDPOINT(VOLMGRMP),
    ENDPOINT(DRIVEADMP),
    ENDPOINT(ISCSIMP),
    ENDPOINT(SYSTEM_CONFIGMP),
    ENDPOINT(NETWORK_CONFIGMP),
    ENDPOINT(AIMMP),
    ENDPOINT(ENVIRONMP),
    ENDPOINT(EVENTLOGMP),
    ENDPOINT(SNMPMP),
    ENDPOINT(SMIS),
    ENDPOINT(SMI_IND),
    ENDPOINT(ISNSC),
    ENDPOINT(BATTERY_MANAGERMP),
    ENDPOINT(ES_ADAPTERMP),
};
#undef ENDPOINT
const Names ENDPOINTS = endpoints;

#define PROTOCOL(name) \
    { MMSG_E_PROTOCOL_##name, #name }
static const Name protocols[] = {
    PROTOCOL(DEFAULT),
    PROTOCOL(RCP),
    PROTOCOL(HACC),
    PROTOCOL(CMP),
    PROTOCOL(VOLMGR),
    PROTOCOL(DDLM),
    PROTOCOL(NETCFG),
    PROTOCOL(CMAP),
    PROTOCOL(EVENTMGR),
    PROTOCOL(IOMGR),
    PROTOCOL(ISCSI),
    PROTOCOL(ISNSC),
    PROTOCOL(STARTUP),
    PROTOCOL(SHUTDOWN),
    PROTOCOL(BUGCHECK),
    PROTOCOL(SMIS),
    PROTOCOL(BATTERY_MANAGEMENT),
    PROTOCOL(FIRMWARE_UPGRADE),
    PROTOCOL(SES),
    PROTOCOL(DEVMGR),
};
#undef PROTOCOL
const Names PROTOCOLS = protocols;

static constexpr U32_t opcode(MMSG_PROTOCOL protocol, U32_t type) {
    return (U32_t{protocol} << 24) | type;
}
static const Name requests[] = {
    {opcode(MMSG_E_PROTOCOL_EVENTMGR, EMP_E_MSGS_LOG), "log event"},
    {opcode(MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_NOTIFY_INIT_COMPLETE), "initialisation complete"},
    {opcode(MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_CHANGE_LED_COLOR), "change LED"},
    {opcode(MMSG_E_PROTOCOL_STARTUP, SUS_E_MMSG_SEND_EMAIL_NOTIFICATION), "send e-mail"},
    {opcode(MMSG_E_PROTOCOL_SHUTDOWN, SHDN_E_MMSG_REQ_ORDRLY_SHUTDOWN), "orderly shutdown"},
    {opcode(MMSG_E_PROTOCOL_SES, SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND),
     "RECEIVE DIAGNOSTIC RESULTS"},
    {opcode(MMSG_E_PROTOCOL_SES, SES_K_SEND_DIAGNOSTIC_COMMAND), "SEND DIAGNOSTIC"},
};
const Names REQUESTS = requests;

static const Name eventTypes[] = {
    {EMP_E_TYPE_INFORMATION, "information"},
    {EMP_E_TYPE_WARNING, "warning"},
    {EMP_E_TYPE_ERROR, "error"},
};
const Names EVENT_TYPES = eventTypes;

static const Name signals[] = {
    {SIGHUP, "SIGHUP"}, {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},   {SIGBUS, "SIGBUS"},
    {SIGFPE, "SIGFPE"}, {SIGSEGV, "SIGSEGV"}, {SIGTERM, "SIGTERM"},
};
const Names SIGNALS = signals;

static const Name elementTypes[] = {
    {SES_E_ELEMENT_TYPE_DEVICE, "device"},
    {SES_E_ELEMENT_TYPE_POWER_SUPPLY, "power supply"},
    {SES_E_ELEMENT_TYPE_COOLING, "cooling"},
    {SES_E_ELEMENT_TYPE_TEMPERATURE_SENSOR, "temperature sensor"},
    {SES_E_ELEMENT_TYPE_AUDIBLE_ALARM, "audible alarm"},
};
const Names ELEMENT_TYPES = elementTypes;

static const Name fanSwitches[] = {{0, "not available"}, {1, "off"}, {2, "on"}};
const Names FAN_SWITCHES = fanSwitches;

static const Name temperatures[] = {{32767, "unreadable"}};
const Names TEMPERATURES = temperatures;

static const Name temperatureBands[] = {
    {0, "not reported"},
    {ESA_E_EVENT_TEMPERATURE_BELOW_35_DEGREES, "below 35"},
    {ESA_E_EVENT_TEMPERATURE_OVER_35_DEGREES, "over 35"},
    {ESA_E_EVENT_TEMPERATURE_OVER_45_DEGREES, "over 45"},
    {ESA_E_EVENT_TEMPERATURE_OVER_55_DEGREES, "over 55"},
};
const Names TEMPERATURE_BANDS = temperatureBands;

static const Name alarmStates[] = {
    {0, "idle"}, {1, "fault"}, {2, "remind"}, {3, "mute"}, {4, "critical"},
};
const Names ALARM_STATES = alarmStates;

static const Name compositeFaults[] = {
    {0x00000001, "power supply voltage"},
    {0x00000002, "power supply redundancy"},
    {0x00000004, "fan"},
    {0x00000008, "overheat"},
    {0x00000010, "I2C bus"},
    {0x80000000, "LED on"},
};
const Names COMPOSITE_FAULTS = compositeFaults;

static const Name powerSupplyBits[] = {
    {0x1, "voltage in tolerance"},
    {0x2, "redundancy good"},
    {0x4, "no fault indication"},
};
const Names POWER_SUPPLY_BITS = powerSupplyBits;

}  // namespace altevent
