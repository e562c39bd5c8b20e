// SPDX-License-Identifier: Apache-2.0
// The management message: the 64-byte common header every process of the controller puts in front
// of its user data, and the enumerations that fill it. Big-endian on the wire.
#pragma once

#include "basetypes.h"
#include "wire.h"

constexpr U32_t MMSG_K_HEADER_SIZE = 64;    // bytes of MMCH_t
constexpr U32_t MMSG_K_MESSAGE_MAX = 4064;  // bytes of the largest message, header included
constexpr U32_t MMSG_K_SMALL_MAX = 224;     // bytes of a small message, header included

constexpr U8_t MMSG_K_VERSION = 1;           // mmch_version
constexpr U8_t MMSG_K_CONT_RESPONSE = 0x40;  // mmsg_cont: this message is a response

// Endpoint ids (requestor, dest_ep, recipient maps); aliases share a value.
enum MMSG_EPID : U8_t {
    MMSG_E_DPX_EPID_START = 0,
    MMSG_E_EPID_ISCSI18P = 0,
    MMSG_E_EPID_ISCSI28P = 1,
    MMSG_E_EPID_SCSI8P = 2,
    MMSG_E_EPID_CACHE18P = 3,
    MMSG_E_EPID_CACHE28P = 4,
    MMSG_E_EPID_IOMGR8P = 5,
    MMSG_E_EPID_SATA8P = 6,
    MMSG_E_EPID_MIP8P = 7,
    MMSG_E_EPID_PIEMAN8P = 8,
    MMSG_E_EPID_AWR8P = 9,
    MMSG_E_EPID_VPI8P = 10,
    MMSG_E_EPID_MIP_LOCAL_8P = 11,
    MMSG_E_DPX_EPID_END = 12,
    MMSG_E_MPU_EPID_START = 12,
    MMSG_E_EPID_ICHAR = 12,
    MMSG_E_EPID_OB0 = 13,
    MMSG_E_EPID_OB1 = 14,
    MMSG_E_EPID_HACCMP = 15,
    MMSG_E_EPID_MSMMP = 16,  // the message switch
    MMSG_E_EPID_RCPMP = 17,
    MMSG_E_EPID_STARTUPMP = 18,  // the start-up process
    MMSG_E_CMAP_EPID_START = 19,
    MMSG_E_EPID_DDLMMP = 19,
    MMSG_E_EPID_VOLMGRMP = 20,  // the volume manager: may drive drive fault LEDs, gets no reply
    MMSG_E_EPID_DRIVEADMP = 21,
    MMSG_E_EPID_BATTERYMGRMP = 21,
    MMSG_E_EPID_ISCSIMP = 22,
    MMSG_E_EPID_SYSTEM_CONFIGMP = 23,
    MMSG_E_EPID_NETWORK_CONFIGMP = 24,
    MMSG_E_EPID_AIMMP = 25,
    MMSG_E_EPID_ENVIRONMP = 26,
    MMSG_E_CMAP_EPID_END = 27,
    MMSG_E_EPID_EVENTLOGMP = 27,  // the event manager
    MMSG_E_EPID_SNMPMP = 28,
    MMSG_E_EPID_SMIS = 29,
    MMSG_E_EPID_SMI_IND = 30,
    MMSG_E_EPID_ISNSC = 31,
    MMSG_E_EPID_BATTERY_MANAGERMP = 32,
    MMSG_E_EPID_ES_ADAPTERMP = 33,  // this service
    MMSG_E_MAX_DEFINED_EPIDS = 34,
    MMSG_E_MPU_EPID_END = 34,
};

// Bits a recipient map can name; a requestor at or above this cannot be answered.
constexpr U32_t MMSG_K_RECIPIENTS_MAX = 64;

// opcode.request.protocol
enum MMSG_PROTOCOL : U8_t {
    MMSG_E_PROTOCOL_DEFAULT = 0,
    MMSG_E_PROTOCOL_RCP = 1,
    MMSG_E_PROTOCOL_HACC = 2,
    MMSG_E_PROTOCOL_CMP = 3,
    MMSG_E_PROTOCOL_VOLMGR = 4,
    MMSG_E_PROTOCOL_DDLM = 5,
    MMSG_E_PROTOCOL_NETCFG = 6,
    MMSG_E_PROTOCOL_CMAP = 7,
    MMSG_E_PROTOCOL_EVENTMGR = 8,
    MMSG_E_PROTOCOL_IOMGR = 9,
    MMSG_E_PROTOCOL_ISCSI = 10,
    MMSG_E_PROTOCOL_ISNSC = 11,
    MMSG_E_PROTOCOL_STARTUP = 12,
    MMSG_E_PROTOCOL_SHUTDOWN = 13,
    MMSG_E_PROTOCOL_BUGCHECK = 14,
    MMSG_E_PROTOCOL_SMIS = 15,
    MMSG_E_PROTOCOL_BATTERY_MANAGEMENT = 16,
    MMSG_E_PROTOCOL_FIRMWARE_UPGRADE = 17,
    MMSG_E_PROTOCOL_SES = 18,
    MMSG_E_PROTOCOL_DEVMGR = 19,
    MMSG_E_MAX_PROTOCOL = 19,
};

// opcode of a request or response: protocol byte and 24-bit type within the protocol (for
// MMSG_E_PROTOCOL_SES the SCSI operation code), or all four bytes as one word.
union MMCH_OPCODE_u {
    struct {
        U8_t protocol;
        Be24 type;
    } request;
    Be32 whole;
};

struct MMCH_LINK_t {
    Be32 flink;  // low 32 bits of the message's own address in the sender's memory
    Be32 blink;  // as flink
};

struct MMCH_TIMESTAMP_t {
    Be32 high;
    Be32 low;
};

// Common header.
struct MMCH {
    MMCH_LINK_t mmch_lh;
    U8_t message_type;  // a MSG_TYPE (sys_msg.h); MSG_E_TYPE_MMSG in every message built here
    U8_t mmch_version;  // MMSG_K_VERSION
    Be16 mmsg_length;   // bytes of the whole message, header included: 64..4064
    MMCH_OPCODE_u opcode;
    U8_t requestor;  // endpoint that issued the request; a response names the responder
    U8_t mmsg_cont;  // MMSG_K_CONT_RESPONSE
    U8_t dest_ep;
    U8_t pad;
    Be32 recipient_loc_bm[2];  // this blade: endpoint n is bit n mod 32 of word n / 32
    Be32 recipient_ob_bm[2];   // the other blade, same bits
    Be32 return_code;
    Be32 handle;  // chosen by the requester, returned in the response
    Be32 general_use1;
    Be32 general_use2;
    Be32 general_use3;
    MMCH_TIMESTAMP_t timestamp;
};
using MMCH_t = MMCH;
WIRE_RECORD(MMCH_t, 64);
WIRE_OFFSET(MMCH_t, message_type, 8);
WIRE_OFFSET(MMCH_t, mmch_version, 9);
WIRE_OFFSET(MMCH_t, mmsg_length, 10);
WIRE_OFFSET(MMCH_t, opcode, 12);
WIRE_OFFSET(MMCH_t, requestor, 16);
WIRE_OFFSET(MMCH_t, mmsg_cont, 17);
WIRE_OFFSET(MMCH_t, dest_ep, 18);
WIRE_OFFSET(MMCH_t, recipient_loc_bm, 20);
WIRE_OFFSET(MMCH_t, recipient_ob_bm, 28);
WIRE_OFFSET(MMCH_t, return_code, 36);
WIRE_OFFSET(MMCH_t, handle, 40);
WIRE_OFFSET(MMCH_t, general_use1, 44);
WIRE_OFFSET(MMCH_t, general_use2, 48);
WIRE_OFFSET(MMCH_t, general_use3, 52);
WIRE_OFFSET(MMCH_t, timestamp, 56);

// A message as handed around: the header, then mmsg_length - 64 bytes of user data.
struct MMSG {
    MMCH_t mmch;
    U8_t user_data_start[1];
};
using MMSG_t = MMSG;
WIRE_OFFSET(MMSG_t, user_data_start, 64);

// The largest message and a small one.
struct MMSGLS_t {
    MMCH_t mmch;
    U8_t user_data_start[MMSG_K_MESSAGE_MAX - MMSG_K_HEADER_SIZE];
};
WIRE_RECORD(MMSGLS_t, 4064);
struct MMSGSS_t {
    MMCH_t mmch;
    U8_t user_data_start[MMSG_K_SMALL_MAX - MMSG_K_HEADER_SIZE];
};
WIRE_RECORD(MMSGSS_t, 224);
