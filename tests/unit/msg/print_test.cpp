// SPDX-License-Identifier: Apache-2.0
// The message printer: rules of what is printed of which message, each line and field once, held
// against messages of random bytes.
#include <gtest/gtest.h>

#include <bit>
#include <iomanip>
#include <regex>

#include "ses/esa_print.h"
#include "state/esa_control.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

// "== BYTE=VALUE ...": of messages with these bytes follow these lines (of byte 17 only the
// response's bit counts). "PLACE > LINE" where so many bytes are there. "PLACE COLUMN LABEL: ..."
// is a record: its fields "NAME BYTE:MASK", with two digits of mask for each of the field's bytes
// and "x" behind them where the value is hexadecimal, are lines "LABEL NAME = [VALUE]" with the
// equals sign in that column. "+" is the place behind a record of four bytes, and "*N" as many of
// those as there are elements of type N: of temperature sensors nothing is said. Lines may go on
// behind blanks.
const char RULES[] = R"(
==
0 33 MMCH: protocol 12:FF, type 13:FFFFFF, requestor 16:FF, mmsg_cont 17:FF,
  recipient_ob_bm 32:FFFFFFFFx, dest_ep 18:FF, handle 40:FFFFFFFF, general_use1 44:FFFFFFFFx,
  mmsg_length 10:FFFF, return_code 36:FFFFFFFF
== 17=0
0 > This is a Request Message.
== 17=0 15=28
64 35 RCV DIAG RES Cmd: operation code 0:FF, reserved 1:7F, page code 2:FF,
  allocation length 4:FFFF, control 6:FFx
== 17=0 15=29
64 33 SND DIAG Cmd: operation code 0:FF, self test code 1:07, pf 1:08, reserved bit 1:10,
  self test 1:20, devOffL 1:40, unitOffL 1:80, reserved 2:FF, parameterListLength 4:FFFF,
  control 6:FFx
73 > SENT
== 17=0 15=29 72=2
72 33 ENC CONT Page: code 0:FF, unrecov 1:80, crit 1:40, non crit 1:20, info 1:10, reserved 1:0F,
  page length 2:FFFF, generation code 4:FFFFFFFF
80 32 : Device      overallControl 0:FFFFFFFF
*0 32 Device: commonControl 0:FF, reserved1 1:FF, reserved2 2:80, rqstIdent 2:40, rqstRemove 2:20,
  rqstInsert 2:10, reserved3 2:0C, doNotRemove 2:02, rqstActive 2:01, reserved4 3:C0,
  enableBypB 3:20, enableBypA 3:10, deviceOff 3:08, rqstFault 3:04, reserved5 3:03
+ 32 : PowerSupply overallControl 0:FFFFFFFF
*1 32 PowerSupply: commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF,
  reserved3 3:F8, rqstOn 3:04, rqstFail 3:02, rsvd 3:01
+ 32 : Cooling overallControl 0:FFFFFFFF
*2 32 Cooling: commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF,
  requestedSpeedCode 3:E0, reserved3 3:18, rqstOn 3:04, rqstFail 3:02, rsvd 3:01
+ 0 :
*3 0 :
+ 32 : Audible Alarm overallControl 0:FFFFFFFF
*4 32 Audible Alarm: commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF,
  unrecov 3:80, crit 3:40, nonCrit 3:20, info 3:10, setRemind 3:08, rsvd1 3:04, setMute 3:02,
  rsvd2 3:01
== 17=64
0 > This is a Response Message.
== 17=64 16=18 39=1
0 > Startup Response MMSG with returned code [OK].
== 17=64 16=18 39=2
0 > Startup Response MMSG with returned code [REJECTED].
== 17=64 16=26 15=28
0 > Command                          = [SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND]
== 17=64 16=26 15=29
0 > Command                          = [SES_K_SEND_DIAGNOSTIC_COMMAND]
== 17=64 16=26 15=30
0 > UNKNOWN
== 17=64 16=26 64=0
65 > Status                           = [SES_K_SCSI_STATUS_CODE_GOOD]
== 17=64 16=26 64=2
65 > Status                           = [SES_K_SCSI_STATUS_CODE_CHECK_CONDITION]
65 40 Sense Data: responseCode 0:FE, valid 0:01, obsolete 1:FF, senseKey 2:F0, reserved 2:08,
  ili 2:04, eom 2:02, filemark 2:01, information 4:FFFFFFFF, additionalSenseLength 8:FF,
  commandSpecificInformation 12:FFFFFFFF, additionalSenseCode 16:FF,
  additionalSenseCodeQualifier 17:FF, fieldReplaceableUnitCode 18:FF, senseKeySpecific7Bits 19:FE,
  sksv 19:01, senseKeySpecific16Bits 20:FFFF
== 17=64 16=26 64=0 15=28
66 > RECEIVED
== 17=64 16=26 64=0 15=28 65=1
65 33 ENC CONF Page: code 0:FF, numberSubEnclosure 1:FF, pageLength 2:FFFF,
  generationCode 4:FFFFFFFF
73 41 ENC Descriptor: numberESProcesses 0:E0, reserved1 0:10, relESProcessId 0:0E, reserved2 0:01,
  subEnclosureId 1:FF, numberElementTypeDescHdrs 2:FF, enclosureDescLength 3:FF,
  enclosureLogId 4:FF, enclosureVendorId 12:FF, productId 20:FF, productRevLevel 36:FFFFFFFF
113 52 ENC Device Descriptor: DESCRIPTOR
117 52 ENC Power Supply Descriptor: DESCRIPTOR
121 52 ENC Cooling Descriptor: DESCRIPTOR
129 52 ENC Audible Alarm Descriptor: DESCRIPTOR
== 17=64 16=26 64=0 15=28 65=2
65 33 ENC STAT Page: code 0:FF, unrecov 1:80, crit 1:40, non crit 1:20, info 1:10, invop 1:08,
  reserved 1:07, page length 2:FFFF, generation code 4:FFFFFFFF
73 32 : Device      overallStatus 0:FFFFFFFFx
*0 32 Device: commonStatus 0:FF, slotAddress 1:FF, report 2:80, ident 2:40, rmv 2:20,
  readyToInsert 2:10, enclosureBypB 2:08, enclosureBypA 2:04, doNotRemove 2:02, appClientBypA 2:01,
  deviceBypB 3:80, deviceBypA 3:40, BypB 3:20, BypA 3:10, deviceOff 3:08, faultReqstd 3:04,
  faultSensed 3:02, appClientBypB 3:01
+ 32 : PowerSupply overallStatus 0:FFFFFFFFx
*1 32 PowerSupply: commonStatus 0:FF, reserved1 1:FE, ident 1:01, rsvd1 2:80, dcOverCurrent 2:40,
  dcUnderVoltage 2:20, dcOverVoltage 2:10, reserved2 2:0F, dcFail 3:80, acFail 3:40, tempWarn 3:20,
  ovrtmpFail 3:10, off 3:08, rqstedOn 3:04, fail 3:02, rsvd2 3:01
+ 32 : Cooling overallStatus 0:FFFFFFFFx
*2 32 Cooling: commonStatus 0:FF, actualFanSpeedMsb 1:C0, reserved 1:3E, ident 1:01,
  actualFanSpeed 2:FF, actualSpeedCode 3:E0, rsvd1 3:10, off 3:08, rqstedOn 3:04, fail 3:02,
  rsvd2 3:01
+ 0 :
*3 0 :
+ 32 : Audible Alarm overallStatus 0:FFFFFFFFx
*4 32 Audible Alarm: commonStatus 0:FF, reserved1 1:FE, ident 1:01, reserved2 2:FF, unrecov 3:80,
  crit 3:40, nonCrit 3:20, info 3:10, remind 3:08, rsvd 3:04, muted 3:02, rqstMute 3:01
)";
const char DESCRIPTOR[] =
    "elementType 0:FF, numberPossibleElements 1:FF, subEnclosureId 2:FF, typeDescTextLength 3:FF";

// SES_K_..._DIAGNOSTIC_PAGE by page code, odd spellings included; some have another name where
// they are sent.
const char PAGES[] = R"(SUPPORTED CONFIGURATION ENCLOSURE_STATUS HELP_TEXT STRING_IN/STRING_OUT
  THRESHOLD_IN/THRESHOLD_OUT OBSOLETE ELEMENT_DESCRIPTOR SHORT_ENCLOSURE_STATUS ENCLOSURE_BUSY
  ADDITIONAL_ELEMENT_STATUS SUBENCLOSURE_HELP_TEXT SUBENCLOSURE_STRING_IN/SUBENCLOSURE_STRING_OUT
  SUPPORTED_SES_DIAGNOTSTIC_PAGES DOWNLOAD_MICROCODE_STATUS/DOWNLOAD_MICROCODE_CONTROL
  SUNENCLOSURE_NICKNAME_STATUS/SUBENCLOSURE_NICKNAME_CONTROL)";

std::string pageLine(int code, bool sent) {
    std::istringstream names(PAGES);
    std::string name;
    for (int n = 0; n <= code; ++n) {
        names >> name;
    }
    const std::size_t slash = name.find('/');
    name = sent ? name.substr(slash + 1) : name.substr(0, slash);
    return code > 15 ? text("Un-supported SES Page [", code, "].")
                     : "Page                             = [SES_K_" + name + "_DIAGNOSTIC_PAGE]";
}

// What is to be printed of a message of which `size` bytes are there: nothing of a field that is
// not there whole.
class Model {
  public:
    Model(const Bytes& message, std::size_t size) : message_(message), size_(size) {
        static const std::string rules = std::regex_replace(RULES, std::regex("\n  "), " ");
        std::istringstream stream(rules);
        bool holds = false;
        for (std::string line; std::getline(stream, line);) {
            if (line.starts_with("==")) {
                holds = isOf(line.substr(2));
            } else if (holds) {
                rule(line);
            }
        }
    }
    Lines lines;

  private:
    bool isOf(const std::string& kind) const {
        std::istringstream stream(kind);
        std::size_t at;
        char equals;
        for (int value; stream >> at >> equals >> value;) {
            if ((at == 17 ? message_[17] & 0x40 : message_[at]) != value) {
                return false;
            }
        }
        return true;
    }
    U32_t number(std::size_t at, std::size_t bytes) const {
        return bytes == 0 ? 0 : number(at, bytes - 1) << 8 | message_.at(at + bytes - 1);
    }
    void rule(const std::string& line) {
        std::istringstream words(line);
        std::string place, column, label, rest;
        words >> place >> column >> std::ws;
        const bool isElement = place[0] == '*';
        place_ = isElement || place == "+" ? place_ : std::stoul(place);
        if (column == ">") {
            std::getline(words, rest);
            say(place_, rest == "SENT"       ? pageLine(message_[72], true)
                        : rest == "RECEIVED" ? pageLine(message_[65], false)
                        : rest == "UNKNOWN"
                            ? text("Un-supported SES Command [", number(13, 3), "].")
                            : rest);
            return;
        }
        std::getline(words, label, ':');
        std::getline(words >> std::ws, rest);
        const int count = isElement ? (&esaControl.deviceMaxNumber)[place[1] - '0'] : 1;
        for (int n = 0; n < count && place_ < size_; ++n, place_ += 4) {
            const std::string behind = isElement ? text(" [", n, "] ") : label.empty() ? "" : " ";
            record(label + behind, std::stoul(column), rest == "DESCRIPTOR" ? DESCRIPTOR : rest);
        }
    }
    void record(const std::string& label, std::size_t column, const std::string& fields) {
        std::istringstream stream(fields);
        for (std::string field; std::getline(stream >> std::ws, field, ',');) {
            const std::size_t blank = field.rfind(' '), colon = field.rfind(':');
            const std::size_t at = place_ + std::stoul(field.substr(blank));
            const std::size_t bytes = (field.size() - colon - 1) / 2;
            const auto mask = static_cast<U32_t>(std::stoul(field.substr(colon + 1), nullptr, 16));
            std::ostringstream line;
            line << std::left << std::setw(static_cast<int>(column))
                 << label + field.substr(0, blank) << "= [";
            if (at + bytes <= size_) {
                const U32_t value = (number(at, bytes) & mask) >> std::countr_zero(mask);
                field.back() == 'x' ? line << "0x" << std::hex << value
                                    : line << static_cast<S32_t>(value);
                say(at + bytes, line.str() + "]");
            }
        }
    }
    void say(std::size_t end, const std::string& line) {
        if (end <= size_) {
            lines.push_back(line);
        }
    }

    const Bytes& message_;
    std::size_t size_, place_ = 0;
};

}  // namespace

// Whatever the bytes, the length, the counts and what an older message left behind this one.
TEST(Print, SaysWhatTheRecordsHoldAsFarAsTheMessageGoes) {
    Random random(20);
    TraceCapture trace(0x4010);
    esaControl = {};
    for (std::size_t round = 0; round < 1020; ++round) {
        std::generate_n(&esaControl.deviceMaxNumber, 5, [&] {
            return random.of<U8_t>({0, 1, 1, 2, 3, round % 100 == 0 ? U8_t{255} : U8_t{11}});
        });
        const std::size_t length = round % 30 == 0
                                       ? random.of<std::size_t>({0, 63, 4063, 4064, 4065, 65535})
                                       : 64 + round % 173;
        // Random bytes, but for what decides what is printed.
        Bytes message = random.bytes(4064);
        message[10] = static_cast<U8_t>(length >> 8);
        message[11] = static_cast<U8_t>(length);
        message[15] = random.of<U8_t>({28, 28, 29, 30});
        message[13] = message[14] = message[15] == 30 && random.onceIn(2) ? 1 : 0;
        message[16] = random.of<U8_t>({26, 26, 18});
        message[39] = random.of<U8_t>({1, 2});
        message[36] = message[37] = message[38] = 0;
        message[64] = random.of<U8_t>({0, 0, 0, 2, 1});
        const auto page = static_cast<U8_t>(round / 2 % 17);
        message[65] = random.of<U8_t>({1, 2, 2, page, page});
        message[72] = random.of<U8_t>({2, 2, page, page});
        // Of a reply in the work space the byte that its length does not count is printed, too.
        const bool inWorkSpace = round % 2 == 0;
        std::ranges::copy(message, esaControl.esaWorkSpace);
        esaMmsgPrint(wireView<MMSG_t>(inWorkSpace ? esaControl.esaWorkSpace : message.data()));
        const std::size_t size = std::clamp<std::size_t>(length, 64, 4064) +
                                 (inWorkSpace && (message[17] & 0x40) != 0 ? 1 : 0);
        Lines expected = Model(message, std::min<std::size_t>(size, 4064)).lines;
        for (const std::string& line : trace.take()) {
            ASSERT_TRUE(line.starts_with("esaMmsgPrint:")) << line;
            ASSERT_FALSE(expected.empty()) << round << ": " << line;
            ASSERT_EQ(line.substr(line.find(":  ") + 3), expected.front()) << round;
            expected.erase(expected.begin());
        }
        ASSERT_EQ(expected, Lines()) << round;
    }
    TRACE__setTraceLevel(0, 0xFFEF);
    esaMmsgPrint(wireView<MMSG_t>(esaControl.esaWorkSpace));
    EXPECT_TRUE(trace.take().empty());
}
