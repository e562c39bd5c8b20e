// SPDX-License-Identifier: Apache-2.0
// Messages whose fields are all different, and what the printer says of them.
#pragma once

#include <cstdint>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline constexpr char RECEIVE_REQUEST[] = R"(MMCH protocol                    = [18]
MMCH type                        = [28]
MMCH requestor                   = [26]
MMCH mmsg_cont                   = [191]
MMCH recipient_ob_bm             = [0x89abcdef]
MMCH dest_ep                     = [7]
MMCH handle                      = [16909060]
MMCH general_use1                = [0xfedcba98]
MMCH mmsg_length                 = [72]
MMCH return_code                 = [-2]
This is a Request Message.
RCV DIAG RES Cmd operation code    = [28]
RCV DIAG RES Cmd reserved          = [5]
RCV DIAG RES Cmd page code         = [2]
RCV DIAG RES Cmd allocation length = [4660]
RCV DIAG RES Cmd control           = [0xa7]
)";

inline constexpr char SEND_REQUEST[] = R"(This is a Request Message.
SND DIAG Cmd operation code      = [29]
SND DIAG Cmd self test code      = [5]
SND DIAG Cmd pf                  = [1]
SND DIAG Cmd reserved bit        = [0]
SND DIAG Cmd self test           = [1]
SND DIAG Cmd devOffL             = [0]
SND DIAG Cmd unitOffL            = [1]
SND DIAG Cmd reserved            = [51]
SND DIAG Cmd parameterListLength = [8755]
SND DIAG Cmd control             = [0x5a]
Page                             = [SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE]
ENC CONT Page code               = [2]
ENC CONT Page unrecov            = [1]
ENC CONT Page crit               = [0]
ENC CONT Page non crit           = [1]
ENC CONT Page info               = [0]
ENC CONT Page reserved           = [6]
ENC CONT Page page length        = [258]
ENC CONT Page generation code    = [50595078]
Device overallControl           = [19088743]
Device [0] commonControl        = [128]
Device [0] reserved1            = [17]
Device [0] reserved2            = [1]
Device [0] rqstIdent            = [0]
Device [0] rqstRemove           = [1]
Device [0] rqstInsert           = [0]
Device [0] reserved3            = [1]
Device [0] doNotRemove          = [0]
Device [0] rqstActive           = [1]
Device [0] reserved4            = [2]
Device [0] enableBypB           = [1]
Device [0] enableBypA           = [0]
Device [0] deviceOff            = [0]
Device [0] rqstFault            = [1]
Device [0] reserved5            = [2]
PowerSupply overallControl      = [-2147483648]
PowerSupply [0] commonControl   = [129]
PowerSupply [0] reserved1       = [9]
PowerSupply [0] rqstIdent       = [1]
PowerSupply [0] reserved2       = [20]
PowerSupply [0] reserved3       = [21]
PowerSupply [0] rqstOn          = [1]
PowerSupply [0] rqstFail        = [0]
PowerSupply [0] rsvd            = [1]
Cooling overallControl          = [1]
Cooling [0] commonControl       = [130]
Cooling [0] reserved1           = [10]
Cooling [0] rqstIdent           = [1]
Cooling [0] reserved2           = [22]
Cooling [0] requestedSpeedCode  = [5]
Cooling [0] reserved3           = [1]
Cooling [0] rqstOn              = [1]
Cooling [0] rqstFail            = [0]
Cooling [0] rsvd                = [1]
Audible Alarm overallControl    = [2]
Audible Alarm [0] commonControl = [131]
Audible Alarm [0] reserved1     = [11]
Audible Alarm [0] rqstIdent     = [1]
Audible Alarm [0] reserved2     = [23]
Audible Alarm [0] unrecov       = [1]
Audible Alarm [0] crit          = [0]
Audible Alarm [0] nonCrit       = [1]
Audible Alarm [0] info          = [0]
Audible Alarm [0] setRemind     = [0]
Audible Alarm [0] rsvd1         = [1]
Audible Alarm [0] setMute       = [1]
Audible Alarm [0] rsvd2         = [0]
)";

inline constexpr char CONFIGURATION_REPLY[] = R"(This is a Response Message.
Command                          = [SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND]
Status                           = [SES_K_SCSI_STATUS_CODE_GOOD]
Page                             = [SES_K_CONFIGURATION_DIAGNOSTIC_PAGE]
ENC CONF Page code               = [1]
ENC CONF Page numberSubEnclosure = [18]
ENC CONF Page pageLength         = [64]
ENC CONF Page generationCode     = [50595078]
ENC Descriptor numberESProcesses         = [5]
ENC Descriptor reserved1                 = [0]
ENC Descriptor relESProcessId            = [3]
ENC Descriptor reserved2                 = [1]
ENC Descriptor subEnclosureId            = [19]
ENC Descriptor numberElementTypeDescHdrs = [5]
ENC Descriptor enclosureDescLength       = [36]
ENC Descriptor enclosureLogId            = [33]
ENC Descriptor enclosureVendorId         = [34]
ENC Descriptor productId                 = [35]
ENC Descriptor productRevLevel           = [606414376]
ENC Device Descriptor elementType                   = [1]
ENC Device Descriptor numberPossibleElements        = [16]
ENC Device Descriptor subEnclosureId                = [49]
ENC Device Descriptor typeDescTextLength            = [50]
ENC Power Supply Descriptor elementType             = [2]
ENC Power Supply Descriptor numberPossibleElements  = [3]
ENC Power Supply Descriptor subEnclosureId          = [51]
ENC Power Supply Descriptor typeDescTextLength      = [52]
ENC Cooling Descriptor elementType                  = [3]
ENC Cooling Descriptor numberPossibleElements       = [4]
ENC Cooling Descriptor subEnclosureId               = [53]
ENC Cooling Descriptor typeDescTextLength           = [54]
ENC Audible Alarm Descriptor elementType            = [6]
ENC Audible Alarm Descriptor numberPossibleElements = [1]
ENC Audible Alarm Descriptor subEnclosureId         = [57]
)";

inline constexpr char STATUS_REPLY[] = R"(This is a Response Message.
Command                          = [SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND]
Status                           = [SES_K_SCSI_STATUS_CODE_GOOD]
Page                             = [SES_K_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE]
ENC STAT Page code               = [2]
ENC STAT Page unrecov            = [0]
ENC STAT Page crit               = [1]
ENC STAT Page non crit           = [0]
ENC STAT Page info               = [1]
ENC STAT Page invop              = [1]
ENC STAT Page reserved           = [2]
ENC STAT Page page length        = [44]
ENC STAT Page generation code    = [50595078]
Device      overallStatus       = [0xa1b2c3d4]
Device [0] commonStatus         = [1]
Device [0] slotAddress          = [17]
Device [0] report               = [1]
Device [0] ident                = [0]
Device [0] rmv                  = [1]
Device [0] readyToInsert        = [0]
Device [0] enclosureBypB        = [0]
Device [0] enclosureBypA        = [1]
Device [0] doNotRemove          = [0]
Device [0] appClientBypA        = [1]
Device [0] deviceBypB           = [0]
Device [0] deviceBypA           = [1]
Device [0] BypB                 = [1]
Device [0] BypA                 = [0]
Device [0] deviceOff            = [1]
Device [0] faultReqstd          = [0]
Device [0] faultSensed          = [1]
Device [0] appClientBypB        = [0]
PowerSupply overallStatus       = [0x0]
PowerSupply [0] commonStatus    = [5]
PowerSupply [0] reserved1       = [9]
PowerSupply [0] ident           = [1]
PowerSupply [0] rsvd1           = [1]
PowerSupply [0] dcOverCurrent   = [0]
PowerSupply [0] dcUnderVoltage  = [1]
PowerSupply [0] dcOverVoltage   = [0]
PowerSupply [0] reserved2       = [6]
PowerSupply [0] dcFail          = [0]
PowerSupply [0] acFail          = [1]
PowerSupply [0] tempWarn        = [1]
PowerSupply [0] ovrtmpFail      = [0]
PowerSupply [0] off             = [1]
PowerSupply [0] rqstedOn        = [0]
PowerSupply [0] fail            = [1]
PowerSupply [0] rsvd2           = [0]
Cooling overallStatus           = [0xff]
Cooling [0] commonStatus        = [3]
Cooling [0] actualFanSpeedMsb   = [2]
Cooling [0] reserved            = [5]
Cooling [0] ident               = [1]
Cooling [0] actualFanSpeed      = [200]
Cooling [0] actualSpeedCode     = [5]
Cooling [0] rsvd1               = [0]
Cooling [0] off                 = [1]
Cooling [0] rqstedOn            = [1]
Cooling [0] fail                = [0]
Cooling [0] rsvd2               = [1]
Audible Alarm overallStatus     = [0x20]
Audible Alarm [0] commonStatus  = [32]
Audible Alarm [0] reserved1     = [11]
Audible Alarm [0] ident         = [1]
Audible Alarm [0] reserved2     = [23]
)";

inline constexpr char CHECK_CONDITION_REPLY[] = R"(This is a Response Message.
Command                          = [SES_K_SEND_DIAGNOSTIC_COMMAND]
Status                           = [SES_K_SCSI_STATUS_CODE_CHECK_CONDITION]
Sense Data responseCode                 = [112]
Sense Data valid                        = [1]
Sense Data obsolete                     = [17]
Sense Data senseKey                     = [5]
Sense Data reserved                     = [1]
Sense Data ili                          = [0]
Sense Data eom                          = [1]
Sense Data filemark                     = [0]
Sense Data information                  = [50595078]
Sense Data additionalSenseLength        = [19]
Sense Data commandSpecificInformation   = [67438087]
Sense Data additionalSenseCode          = [36]
Sense Data additionalSenseCodeQualifier = [37]
Sense Data fieldReplaceableUnitCode     = [38]
Sense Data senseKeySpecific7Bits        = [85]
Sense Data sksv                         = [0]
Sense Data senseKeySpecific16Bits       = [10281]
)";

inline const Bytes SEND_DATA = {
    0x1D, 0xAD, 0x33, 0xFF, 0x22, 0x33, 0x5A, 0xFF,  // command
    0x02, 0xA6, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06,  // page header
    0x01, 0x23, 0x45, 0x67, 0x80, 0x11, 0xA5, 0xA6,  // device
    0x80, 0x00, 0x00, 0x00, 0x81, 0x13, 0x14, 0xAD,  // power supply
    0x00, 0x00, 0x00, 0x01, 0x82, 0x15, 0x16, 0xAD,  // cooling
    0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  // two temperature sensors: not printed
    0x7B, 0x7B, 0x7B, 0x7B,                          //
    0x00, 0x00, 0x00, 0x02, 0x83, 0x17, 0x17, 0xA6,  // audible alarm
};

inline const Bytes CONFIGURATION_DATA = {
    0x00,                                            // status
    0x01, 0x12, 0x00, 0x40, 0x03, 0x04, 0x05, 0x06,  // page header
    0xA7, 0x13, 0x05, 0x24,                          // enclosure descriptor
    0x21, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  // logical identifier
    0x22, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  // vendor
    0x23, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  // product
    0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  //
    0x24, 0x25, 0x26, 0x28,                          // revision
    0x01, 0x10, 0x31, 0x32, 0x02, 0x03, 0x33, 0x34,  // type descriptors
    0x03, 0x04, 0x35, 0x36, 0x04, 0x08, 0x7B, 0x7B,  //
    0x06, 0x01, 0x39, 0x7B,                          // the last byte is not sent
};

inline const Bytes STATUS_DATA = {
    0x00,                                            // status
    0x02, 0x5A, 0x00, 0x2C, 0x03, 0x04, 0x05, 0x06,  // page header
    0xA1, 0xB2, 0xC3, 0xD4, 0x01, 0x11, 0xA5, 0x6A,  // device
    0x00, 0x00, 0x00, 0x00, 0x05, 0x13, 0xA6, 0x6A,  // power supply
    0x00, 0x00, 0x00, 0xFF, 0x03, 0x8B, 0xC8, 0xAD,  // cooling
    0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B, 0x7B,  // two temperature sensors: not printed
    0x7B, 0x7B, 0x7B, 0x7B,                          //
    0x00, 0x00, 0x00, 0x20, 0x20, 0x17, 0x17, 0x7B,  // audible alarm: the last byte is not sent
};

inline const Bytes SENSE_DATA = {
    0x02,                                            // status
    0xE1, 0x11, 0x5A, 0xFF, 0x03, 0x04, 0x05, 0x06,  //
    0x13, 0xFF, 0xFF, 0xFF, 0x04, 0x05, 0x06, 0x07,  //
    0x24, 0x25, 0x26, 0xAA, 0x28, 0x29, 0xFF, 0xFF,  //
};
