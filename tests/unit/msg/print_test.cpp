// SPDX-License-Identifier: Apache-2.0
// The message printer. Each field is described once, from the records' layout; the law prints
// messages of random bytes and compares with the text that follows from the descriptions.
#include <gtest/gtest.h>

#include <bit>
#include <map>
#include <sstream>

#include "ses/esa_print.h"
#include "state/esa_control.h"
#include "tests/support/laws.h"
#include "tests/support/trace_capture.h"

namespace {

// Lines "LABEL NAME = [VALUE]" with the equals sign in a column. A field is "NAME BYTE:MASK"; the
// mask has two digits for each of the field's bytes; "x" behind it: the value is hexadecimal.
struct Field {
    std::string name;
    std::size_t at, size;
    U32_t mask;
    bool hex;
};
struct Group {
    Group() = default;
    Group(const char* itsLabel, std::size_t itsColumn, const std::string& texts)
        : label(itsLabel), column(itsColumn) {
        std::istringstream stream(texts);
        for (std::string field; std::getline(stream >> std::ws, field, ',');) {
            const std::size_t blank = field.rfind(' '), colon = field.rfind(':');
            const std::string mask = field.substr(colon + 1);
            fields.push_back({field.substr(0, blank), std::stoul(field.substr(blank)),
                              mask.size() / 2, static_cast<U32_t>(std::stoul(mask, nullptr, 16)),
                              mask.back() == 'x'});
        }
    }
    std::string label;
    std::size_t column = 0;
    std::vector<Field> fields;
};

// In the order of the lines, which is not the header's.
const Group HEADER = {"MMCH", 33,
                      "protocol 12:FF, type 13:FFFFFF, requestor 16:FF, mmsg_cont 17:FF,"
                      "recipient_ob_bm 32:FFFFFFFFx, dest_ep 18:FF, handle 40:FFFFFFFF,"
                      "general_use1 44:FFFFFFFFx, mmsg_length 10:FFFF, return_code 36:FFFFFFFF"};
const Group RECEIVE = {"RCV DIAG RES Cmd", 35,
                       "operation code 0:FF, reserved 1:7F, page code 2:FF,"
                       "allocation length 4:FFFF, control 6:FFx"};
const Group SEND = {"SND DIAG Cmd", 33,
                    "operation code 0:FF, self test code 1:07, pf 1:08, reserved bit 1:10,"
                    "self test 1:20, devOffL 1:40, unitOffL 1:80, reserved 2:FF,"
                    "parameterListLength 4:FFFF, control 6:FFx"};
const Group SENSE = {"Sense Data", 40,
                     "responseCode 0:FE, valid 0:01, obsolete 1:FF, senseKey 2:F0, reserved 2:08,"
                     "ili 2:04, eom 2:02, filemark 2:01, information 4:FFFFFFFF,"
                     "additionalSenseLength 8:FF, commandSpecificInformation 12:FFFFFFFF,"
                     "additionalSenseCode 16:FF, additionalSenseCodeQualifier 17:FF,"
                     "fieldReplaceableUnitCode 18:FF, senseKeySpecific7Bits 19:FE, sksv 19:01,"
                     "senseKeySpecific16Bits 20:FFFF"};

const Group CONFIGURATION = {"ENC CONF Page", 33,
                             "code 0:FF, numberSubEnclosure 1:FF, pageLength 2:FFFF,"
                             "generationCode 4:FFFFFFFF"};
// Of a text its first byte is shown, of the revision all four.
const Group ENCLOSURE = {"ENC Descriptor", 41,
                         "numberESProcesses 0:E0, reserved1 0:10, relESProcessId 0:0E,"
                         "reserved2 0:01, subEnclosureId 1:FF, numberElementTypeDescHdrs 2:FF,"
                         "enclosureDescLength 3:FF, enclosureLogId 4:FF, enclosureVendorId 12:FF,"
                         "productId 20:FF, productRevLevel 36:FFFFFFFF"};
const Group DESCRIPTOR = {"", 52,
                          "elementType 0:FF, numberPossibleElements 1:FF, subEnclosureId 2:FF,"
                          "typeDescTextLength 3:FF"};

// Header and elements of page 2, of a status page and of one that is sent. Nothing is said of
// temperature sensors.
struct Page {
    Group header;
    Group overall;
    Group elements[5];
};
const Page STATUS = {
    {"ENC STAT Page", 33,
     "code 0:FF, unrecov 1:80, crit 1:40, non crit 1:20, info 1:10, invop 1:08, reserved 1:07,"
     "page length 2:FFFF, generation code 4:FFFFFFFF"},
    {"", 32, "overallStatus 0:FFFFFFFFx"},
    {{"Device", 32,
      "commonStatus 0:FF, slotAddress 1:FF, report 2:80, ident 2:40, rmv 2:20, readyToInsert 2:10,"
      "enclosureBypB 2:08, enclosureBypA 2:04, doNotRemove 2:02, appClientBypA 2:01,"
      "deviceBypB 3:80, deviceBypA 3:40, BypB 3:20, BypA 3:10, deviceOff 3:08, faultReqstd 3:04,"
      "faultSensed 3:02, appClientBypB 3:01"},
     {"PowerSupply", 32,
      "commonStatus 0:FF, reserved1 1:FE, ident 1:01, rsvd1 2:80, dcOverCurrent 2:40,"
      "dcUnderVoltage 2:20, dcOverVoltage 2:10, reserved2 2:0F, dcFail 3:80, acFail 3:40,"
      "tempWarn 3:20, ovrtmpFail 3:10, off 3:08, rqstedOn 3:04, fail 3:02, rsvd2 3:01"},
     {"Cooling", 32,
      "commonStatus 0:FF, actualFanSpeedMsb 1:C0, reserved 1:3E, ident 1:01, actualFanSpeed 2:FF,"
      "actualSpeedCode 3:E0, rsvd1 3:10, off 3:08, rqstedOn 3:04, fail 3:02, rsvd2 3:01"},
     {},
     {"Audible Alarm", 32,
      "commonStatus 0:FF, reserved1 1:FE, ident 1:01, reserved2 2:FF, unrecov 3:80, crit 3:40,"
      "nonCrit 3:20, info 3:10, remind 3:08, rsvd 3:04, muted 3:02, rqstMute 3:01"}}};
const Page CONTROL = {
    {"ENC CONT Page", 33,
     "code 0:FF, unrecov 1:80, crit 1:40, non crit 1:20, info 1:10, reserved 1:0F,"
     "page length 2:FFFF, generation code 4:FFFFFFFF"},
    {"", 32, "overallControl 0:FFFFFFFF"},
    {{"Device", 32,
      "commonControl 0:FF, reserved1 1:FF, reserved2 2:80, rqstIdent 2:40, rqstRemove 2:20,"
      "rqstInsert 2:10, reserved3 2:0C, doNotRemove 2:02, rqstActive 2:01, reserved4 3:C0,"
      "enableBypB 3:20, enableBypA 3:10, deviceOff 3:08, rqstFault 3:04, reserved5 3:03"},
     {"PowerSupply", 32,
      "commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF, reserved3 3:F8,"
      "rqstOn 3:04, rqstFail 3:02, rsvd 3:01"},
     {"Cooling", 32,
      "commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF,"
      "requestedSpeedCode 3:E0, reserved3 3:18, rqstOn 3:04, rqstFail 3:02, rsvd 3:01"},
     {},
     {"Audible Alarm", 32,
      "commonControl 0:FF, reserved1 1:FE, rqstIdent 1:01, reserved2 2:FF, unrecov 3:80,"
      "crit 3:40, nonCrit 3:20, info 3:10, setRemind 3:08, rsvd1 3:04, setMute 3:02, rsvd2 3:01"}}};

// SES_K_..._DIAGNOSTIC_PAGE, odd spellings included; some of the pages that are sent have their
// own.
const char* const PAGES[] = {"SUPPORTED",
                             "CONFIGURATION",
                             "ENCLOSURE_STATUS",
                             "HELP_TEXT",
                             "STRING_IN",
                             "THRESHOLD_IN",
                             "OBSOLETE",
                             "ELEMENT_DESCRIPTOR",
                             "SHORT_ENCLOSURE_STATUS",
                             "ENCLOSURE_BUSY",
                             "ADDITIONAL_ELEMENT_STATUS",
                             "SUBENCLOSURE_HELP_TEXT",
                             "SUBENCLOSURE_STRING_IN",
                             "SUPPORTED_SES_DIAGNOTSTIC_PAGES",
                             "DOWNLOAD_MICROCODE_STATUS",
                             "SUNENCLOSURE_NICKNAME_STATUS"};
const std::map<int, const char*> SENT_PAGES = {{4, "STRING_OUT"},
                                               {5, "THRESHOLD_OUT"},
                                               {12, "SUBENCLOSURE_STRING_OUT"},
                                               {14, "DOWNLOAD_MICROCODE_CONTROL"},
                                               {15, "SUBENCLOSURE_NICKNAME_CONTROL"}};

// What is to be printed of a message of these bytes: nothing of a field that is not there whole.
class Model {
  public:
    Model(const Bytes& bytes, const U8_t (&counts)[5]) : bytes_(bytes), counts_(counts) {
        group(HEADER, 0);
        const int type = at(13) << 16 | at(14) << 8 | at(15);
        if ((at(17) & 0x40) == 0) {
            lines.push_back("This is a Request Message.");
            requestSay(type);
        } else {
            lines.push_back("This is a Response Message.");
            responseSay(type);
        }
    }
    Lines lines;

  private:
    // -1: it is not there.
    int at(std::size_t n) const { return n < bytes_.size() ? bytes_[n] : -1; }
    void line(std::string label, std::size_t column, const std::string& value) {
        label.resize(std::max(column, label.size()), ' ');
        lines.push_back(label + "= [" + value + "]");
    }
    void name(const std::string& label, const std::string& what) {
        line(label, 33, "SES_K_" + what);
    }
    void group(const Group& group, std::size_t from, const std::string& behindLabel = " ") {
        for (const Field& field : group.fields) {
            U32_t value = 0;
            for (std::size_t n = 0; n < field.size; ++n) {
                value = value << 8 | static_cast<U8_t>(at(from + field.at + n));
            }
            value = (value & field.mask) >> std::countr_zero(field.mask);
            char hex[20];
            std::snprintf(hex, sizeof hex, "0x%x", value);
            if (from + field.at + field.size <= bytes_.size()) {
                line(group.label + behindLabel + field.name, group.column,
                     field.hex ? hex : std::to_string(static_cast<S32_t>(value)));
            }
        }
    }
    // Elements go by the service's own counts, as far as the message goes.
    void page(const Page& page, std::size_t from) {
        group(page.header, from);
        from += 8;
        for (int type = 0; type < 5; ++type) {
            const Group& element = page.elements[type];
            if (type != 3) {
                group(page.overall, from, element.label + (type == 0 ? "      " : " "));
            }
            from += 4;
            for (int n = 0; n < counts_[type] && at(from) >= 0; ++n, from += 4) {
                group(element, from, text(" [", n, "] "));
            }
        }
    }
    void pageNameSay(int code, bool sent) {
        if (code > 15) {
            lines.push_back(text("Un-supported SES Page [", code, "]."));
        } else if (code >= 0) {
            const bool own = sent && SENT_PAGES.contains(code);
            name("Page", std::string(own ? SENT_PAGES.at(code) : PAGES[code]) + "_DIAGNOSTIC_PAGE");
        }
    }
    void receivedPageSay() {
        pageNameSay(at(65), false);
        if (at(65) == 1) {
            group(CONFIGURATION, 65);
            group(ENCLOSURE, 73);
            group(DESCRIPTOR, 113, "ENC Device Descriptor ");
            group(DESCRIPTOR, 117, "ENC Power Supply Descriptor ");
            group(DESCRIPTOR, 121, "ENC Cooling Descriptor ");
            group(DESCRIPTOR, 129, "ENC Audible Alarm Descriptor ");
        } else if (at(65) == 2) {
            page(STATUS, 65);
        }
    }
    void responseSay(int type) {
        if (at(16) == 18) {
            const bool ok = at(36) == 0 && at(37) == 0 && at(38) == 0 && at(39) == 1;
            lines.push_back(
                text("Startup Response MMSG with returned code [", (ok ? "OK" : "REJECTED"), "]."));
            return;
        }
        if (type == 28 || type == 29) {
            name("Command",
                 type == 28 ? "RECEIVE_DIAGNOSTIC_RESULTS_COMMAND" : "SEND_DIAGNOSTIC_COMMAND");
        } else {
            lines.push_back(text("Un-supported SES Command [", type, "]."));
        }
        if (at(64) == 2) {
            name("Status", "SCSI_STATUS_CODE_CHECK_CONDITION");
            group(SENSE, 65);
        } else if (at(64) == 0) {
            name("Status", "SCSI_STATUS_CODE_GOOD");
            if (type == 28) {
                receivedPageSay();
            }
        }
    }
    void requestSay(int type) {
        if (type == 28) {
            group(RECEIVE, 64);
        } else if (type == 29) {
            group(SEND, 64);
            pageNameSay(at(72), true);
            if (at(72) == 2) {
                page(CONTROL, 72);
            }
        }
    }

    Bytes bytes_;
    const U8_t (&counts_)[5];
};

}  // namespace

// Whatever the bytes, the length, the counts and what an older message left behind this one. Each
// field's statement is where its description stands, so that no two have the same place.
TEST(Print, SaysWhatTheRecordsHoldAsFarAsTheMessageGoes) {
    Random random(20);
    TraceCapture trace(0x4010);
    std::map<std::string, std::string> places;
    esaControl = {};
    U8_t elsewhere[4064];
    for (std::size_t round = 0; round < 2040; ++round) {
        SCOPED_TRACE(round);
        U8_t counts[5];
        for (U8_t& count : counts) {
            count = random.of<U8_t>({0, 1, 1, 2, 3, round % 300 == 0 ? U8_t{255} : U8_t{11}});
        }
        std::ranges::copy(counts, &esaControl.deviceMaxNumber);
        const std::size_t length = round % 60 == 0
                                       ? random.of<std::size_t>({0, 1, 63, 4063, 4064, 4065, 65535})
                                       : 64 + round % 173;
        // Random bytes, but for what decides what is printed.
        Bytes message = random.bytes(4064);
        message[10] = static_cast<U8_t>(length >> 8);
        message[11] = static_cast<U8_t>(length);
        message[13] = message[14] = random.onceIn(8) ? 1 : 0;
        message[15] = random.of<U8_t>({28, 28, 29, 30});
        message[16] = random.of<U8_t>({26, 33, 18, 19});
        message[36] = message[37] = message[38] = random.onceIn(4) ? 255 : 0;
        message[39] = random.of<U8_t>({0, 1, 1, 2});
        message[64] = random.of<U8_t>({0, 0, 0, 2, 1});
        const auto page = static_cast<U8_t>(round / 2 % 17);
        message[65] = random.of<U8_t>({1, 2, 2, page, page});
        message[72] = random.of<U8_t>({2, 2, page, page});
        U8_t* const place = round % 2 == 0 ? elsewhere : esaControl.esaWorkSpace;
        std::ranges::copy(message, place);
        esaMmsgPrint(wireView<MMSG_t>(place));

        Lines lines = trace.take();
        for (std::string& line : lines) {
            const std::size_t colon = line.find(":  ");
            const std::string where = line.substr(0, colon);
            line = line.substr(colon + 3);
            const bool field = line.starts_with("MMCH ") || line.starts_with("Sense Data ");
            const std::string label = field ? line.substr(0, line.find('=')) : "";
            ASSERT_TRUE(!field || places.emplace(where, label).first->second == label) << where;
            ASSERT_TRUE(where.starts_with("esaMmsgPrint:")) << where;
        }
        // Of a reply in the work space the byte that its length does not count is printed, too.
        const bool reply = place != elsewhere && (message[17] & 0x40) != 0;
        message.resize(std::min<std::size_t>(
            std::clamp<std::size_t>(length, 64, 4064) + (reply ? 1 : 0), 4064));
        Lines expected = Model(message, counts).lines;
        expected.resize(std::max(expected.size(), lines.size()), "(no line)");
        lines.resize(expected.size(), "(no line)");
        for (std::size_t n = 0; n < lines.size(); ++n) {
            ASSERT_EQ(lines[n], expected[n]);
        }
    }
    TRACE__setTraceLevel(0, 0xFFEF);
    esaMmsgPrint(wireView<MMSG_t>(elsewhere));
    EXPECT_TRUE(trace.take().empty());
}
