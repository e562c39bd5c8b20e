// SPDX-License-Identifier: Apache-2.0
// The message printer: rules of what is printed of which message, each line and field once, held
// against messages of random bytes.
#include <gtest/gtest.h>

#include <iomanip>
#include <regex>

#include "ses/esa_print.h"
#include "state/esa_control.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

// "== BYTE=VALUE ...": of messages with these bytes follow these lines (of byte 17 only the
// response's bit counts). "PLACE > LINE" where so many bytes are there. "PLACE COLUMN LABEL: ..."
// is a record: its fields "[@BIT] NAME [WIDTH]", each of one bit behind the one before where it
// says nothing else, "x" behind the width of hexadecimal ones, are lines "LABEL NAME = [VALUE]"
// with the equals sign in that column. "+" is the place behind a record of four bytes, and "*N" as
// many of those as there are elements of type N: of temperature sensors nothing is said. Lines may
// go on behind blanks.
const char RULES[] = R"(
==
0 33 MMCH: @96 protocol 8, type 24, requestor 8, mmsg_cont 8, @256 recipient_ob_bm 32x,
  @144 dest_ep 8, @320 handle 32, general_use1 32x, @80 mmsg_length 16, @288 return_code 32
== 17=0
0 > This is a Request Message.
== 17=0 15=28
64 35 RCV DIAG RES Cmd: operation code 8, @9 reserved 7, page code 8, @32 allocation length 16,
  control 8x
== 17=0 15=29
64 33 SND DIAG Cmd: operation code 8, @13 self test code 3, @12 pf, @11 reserved bit,
  @10 self test, @9 devOffL, @8 unitOffL, @16 reserved 8, @32 parameterListLength 16, control 8x
73 > SENT
== 17=0 15=29 72=2
72 33 ENC CONT Page: code 8, unrecov, crit, non crit, info, reserved 4, page length 16,
  generation code 32
80 32 : Device      overallControl 32
*0 32 Device: commonControl 8, reserved1 8, reserved2, rqstIdent, rqstRemove, rqstInsert,
  reserved3 2, doNotRemove, rqstActive, reserved4 2, enableBypB, enableBypA, deviceOff, rqstFault,
  reserved5 2
+ 32 : PowerSupply overallControl 32
*1 32 PowerSupply: commonControl 8, reserved1 7, rqstIdent, reserved2 8, reserved3 5, rqstOn,
  rqstFail, rsvd
+ 32 : Cooling overallControl 32
*2 32 Cooling: commonControl 8, reserved1 7, rqstIdent, reserved2 8, requestedSpeedCode 3,
  reserved3 2, rqstOn, rqstFail, rsvd
+ 0 :
*3 0 :
+ 32 : Audible Alarm overallControl 32
*4 32 Audible Alarm: commonControl 8, reserved1 7, rqstIdent, reserved2 8, unrecov, crit, nonCrit,
  info, setRemind, rsvd1, setMute, rsvd2
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
65 40 Sense Data: responseCode 7, valid, obsolete 8, senseKey 4, reserved, ili, eom, filemark,
  @32 information 32, additionalSenseLength 8, @96 commandSpecificInformation 32,
  additionalSenseCode 8, additionalSenseCodeQualifier 8, fieldReplaceableUnitCode 8,
  senseKeySpecific7Bits 7, sksv, senseKeySpecific16Bits 16
== 17=64 16=26 64=0 15=28
66 > RECEIVED
== 17=64 16=26 64=0 15=28 65=1
65 33 ENC CONF Page: code 8, numberSubEnclosure 8, pageLength 16, generationCode 32
73 41 ENC Descriptor: numberESProcesses 3, reserved1, relESProcessId 3, reserved2,
  subEnclosureId 8, numberElementTypeDescHdrs 8, enclosureDescLength 8, enclosureLogId 8,
  @96 enclosureVendorId 8, @160 productId 8, @288 productRevLevel 32
113 52 ENC Device Descriptor: DESCRIPTOR
117 52 ENC Power Supply Descriptor: DESCRIPTOR
121 52 ENC Cooling Descriptor: DESCRIPTOR
129 52 ENC Audible Alarm Descriptor: DESCRIPTOR
== 17=64 16=26 64=0 15=28 65=2
65 33 ENC STAT Page: code 8, unrecov, crit, non crit, info, invop, reserved 3, page length 16,
  generation code 32
73 32 : Device      overallStatus 32x
*0 32 Device: commonStatus 8, slotAddress 8, report, ident, rmv, readyToInsert, enclosureBypB,
  enclosureBypA, doNotRemove, appClientBypA, deviceBypB, deviceBypA, BypB, BypA, deviceOff,
  faultReqstd, faultSensed, appClientBypB
+ 32 : PowerSupply overallStatus 32x
*1 32 PowerSupply: commonStatus 8, reserved1 7, ident, rsvd1, dcOverCurrent, dcUnderVoltage,
  dcOverVoltage, reserved2 4, dcFail, acFail, tempWarn, ovrtmpFail, off, rqstedOn, fail, rsvd2
+ 32 : Cooling overallStatus 32x
*2 32 Cooling: commonStatus 8, actualFanSpeedMsb 2, reserved 5, ident, actualFanSpeed 8,
  actualSpeedCode 3, rsvd1, off, rqstedOn, fail, rsvd2
+ 0 :
*3 0 :
+ 32 : Audible Alarm overallStatus 32x
*4 32 Audible Alarm: commonStatus 8, reserved1 7, ident, reserved2 8, unrecov, crit, nonCrit, info,
  remind, rsvd, muted, rqstMute
)";
const char DESCRIPTOR[] =
    "elementType 8, numberPossibleElements 8, subEnclosureId 8, typeDescTextLength 8";

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
    std::string lines;

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
    void rule(const std::string& line) {
        std::istringstream words(line);
        std::string place, column, label, rest;
        words >> place >> column >> std::ws;
        const bool isElement = place[0] == '*';
        place_ = isElement || place == "+" ? place_ : std::stoul(place);
        if (column == ">") {
            std::getline(words, rest);
            const std::string said =
                rest == "SENT"       ? pageLine(message_[72], true)
                : rest == "RECEIVED" ? pageLine(message_[65], false)
                : rest == "UNKNOWN"  ? text("Un-supported SES Command [", number(8 * 13, 24), "].")
                                     : rest;
            lines += place_ <= size_ ? said + "\n" : "";
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
        std::size_t bit = 8 * place_;
        for (std::string name; std::getline(stream >> std::ws, name, ',');) {
            if (name[0] == '@') {
                bit = 8 * place_ + std::stoul(name.substr(1));
                name.erase(0, name.find(' ') + 1);
            }
            const std::size_t last = name.rfind(' ') + 1;
            const bool isWide = std::isdigit(name[last]) != 0;
            const std::size_t width = isWide ? std::stoul(name.substr(last)) : 1;
            std::ostringstream line;
            line << std::left << std::setw(static_cast<int>(column))
                 << label + (isWide ? name.substr(0, last - 1) : name) << "= [";
            if (bit + width <= 8 * size_) {
                const U32_t value = number(bit, width);
                name.back() == 'x' ? line << "0x" << std::hex << value
                                   : line << static_cast<S32_t>(value);
                lines += line.str() + "]\n";
            }
            bit += width;
        }
    }
    U32_t number(std::size_t bit, std::size_t width) const {
        U32_t value = 0;
        for (const std::size_t end = bit + width; bit < end; ++bit) {
            value = value << 1 | (message_.at(bit / 8) >> (7 - bit % 8) & 1);
        }
        return value;
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
    for (std::size_t round = 0; round < 600; ++round) {
        std::generate_n(&esaControl.deviceMaxNumber, 5, [&] {
            return random.of<U8_t>({0, 1, 1, 2, 3, round % 100 == 0 ? U8_t{255} : U8_t{11}});
        });
        const std::size_t length = round % 30 == 0
                                       ? random.of<std::size_t>({0, 63, 4063, 4064, 4065, 65535})
                                       : 64 + round % 173;
        // Random bytes, but for what decides what is printed.
        Bytes message = random.bytes(4064);
        const auto page = static_cast<U8_t>(round / 2 % 17);
        message[10] = static_cast<U8_t>(length >> 8);
        message[11] = static_cast<U8_t>(length);
        message[15] = random.of<U8_t>({28, 28, 29, 30});
        message[13] = message[14] = message[15] == 30 && random.onceIn(2) ? 1 : 0;
        message[16] = random.of<U8_t>({26, 26, 18});
        message[36] = message[37] = message[38] = 0;
        message[39] = random.of<U8_t>({1, 2});
        message[64] = random.of<U8_t>({0, 0, 0, 2, 1});
        message[65] = random.of<U8_t>({1, 2, 2, page, page});
        message[72] = random.of<U8_t>({2, 2, page, page});
        // Of a reply in the work space the byte that its length does not count is printed, too.
        const bool inWorkSpace = round % 2 == 0;
        std::ranges::copy(message, esaControl.esaWorkSpace);
        esaMmsgPrint(wireView<MMSG_t>(inWorkSpace ? esaControl.esaWorkSpace : message.data()));
        const std::size_t size = std::clamp<std::size_t>(length, 64, 4064) +
                                 (inWorkSpace && (message[17] & 0x40) != 0 ? 1 : 0);
        std::string said;
        for (const std::string& line : trace.take()) {
            ASSERT_TRUE(line.starts_with("esaMmsgPrint:")) << line;
            said += line.substr(line.find(":  ") + 3) + "\n";
        }
        ASSERT_EQ(said, Model(message, std::min<std::size_t>(size, 4064)).lines) << round;
    }
    TRACE__setTraceLevel(0, 0xFFEF);
    esaMmsgPrint(wireView<MMSG_t>(esaControl.esaWorkSpace));
    EXPECT_TRUE(trace.take().empty());
}
