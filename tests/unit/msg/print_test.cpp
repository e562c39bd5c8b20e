// SPDX-License-Identifier: Apache-2.0
// Message printer: every label, value and column, and nothing from behind the message.
#include "msg/esa_print.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/esa_control.h"
#include "tests/support/trace_capture.h"
#include "tests/unit/msg/inbound.h"
#include "tests/unit/msg/print_golden.h"

using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using Lines = std::vector<std::string>;

constexpr int HEADER_LINES = 10;

class Printer : public testing::Test {
  protected:
    Printer() {
        esaControl = {};
        countsSet(1);
        esaControl.temperatureSensorMaxNumber = 2;
    }
    static void countsSet(std::uint8_t count) {
        esaControl.deviceMaxNumber = count;
        esaControl.powerSupplyMaxNumber = count;
        esaControl.coolingMaxNumber = count;
        esaControl.temperatureSensorMaxNumber = count;
        esaControl.audibleAlarmMaxNumber = count;
    }
    Lines print(InboundBuffer buffer) {
        esaMmsgPrint(buffer.message());
        return trace_.take();
    }
    // The lines behind the header's.
    Lines body(const Inbound& in) {
        Lines lines = print(InboundBuffer(in));
        EXPECT_GE(lines.size(), std::size_t{HEADER_LINES});
        lines.erase(lines.begin(), lines.begin() + HEADER_LINES);
        return lines;
    }
    std::string text(const Inbound& in) { return joined(body(in)); }
    static std::string joined(const Lines& lines) {
        std::string all;
        for (const std::string& line : lines) {
            all += line + "\n";
        }
        return all;
    }

    TraceCapture trace_;
};

TEST_F(Printer, HeaderAndReceiveDiagnosticRequest) {
    InboundBuffer buffer({.cont = 0xBF, .data = {0x1C, 0x85, 0x02, 0xFF, 0x12, 0x34, 0xA7}});
    buffer.put(18, 7, 1);
    buffer.put(28, 0x11111111, 4);  // first words of the maps: not printed
    buffer.put(20, 0x22222222, 4);
    buffer.put(32, 0x89ABCDEF, 4);
    buffer.put(36, 0xFFFFFFFE, 4);
    buffer.put(40, 0x01020304, 4);
    buffer.put(44, 0xFEDCBA98, 4);
    EXPECT_EQ(joined(print(buffer)), RECEIVE_REQUEST);
}

TEST_F(Printer, SentControlPage) {
    EXPECT_EQ(text({.length = 124, .type = 29, .data = SEND_DATA}), SEND_REQUEST);
}

TEST_F(Printer, ConfigurationReply) {
    EXPECT_EQ(text({.length = 132, .requestor = 33, .cont = 0x40, .data = CONFIGURATION_DATA}),
              CONFIGURATION_REPLY);
}

TEST_F(Printer, StatusReplyEndsWhereTheMessageEnds) {
    EXPECT_EQ(text({.length = 116, .requestor = 33, .cont = 0x40, .data = STATUS_DATA}),
              STATUS_REPLY);
}

TEST_F(Printer, CheckConditionReply) {
    EXPECT_EQ(text({.length = 92, .type = 29, .requestor = 33, .cont = 0x40, .data = SENSE_DATA}),
              CHECK_CONDITION_REPLY);
}

TEST_F(Printer, OtherMessagesHaveTheirHeaderAndAWordOrTwo) {
    const struct {
        Inbound in;
        Lines lines;
    } cases[] = {
        {{.length = 64, .type = 14}, {"This is a Request Message."}},
        {{.length = 64, .type = 29}, {"This is a Request Message."}},
        {{.length = 64, .protocol = 12, .requestor = 18, .cont = 0x40, .returnCode = 1},
         {"This is a Response Message.", "Startup Response MMSG with returned code [OK]."}},
        {{.length = 64, .protocol = 12, .requestor = 18, .cont = 0x40, .returnCode = 2},
         {"This is a Response Message.", "Startup Response MMSG with returned code [REJECTED]."}},
        {{.length = 68, .type = 29, .requestor = 33, .cont = 0x40, .data = {0, 2, 0, 0}},
         {"This is a Response Message.",
          "Command                          = [SES_K_SEND_DIAGNOSTIC_COMMAND]",
          "Status                           = [SES_K_SCSI_STATUS_CODE_GOOD]"}},
        {{.length = 68, .requestor = 33, .cont = 0x40, .data = {8, 2, 0, 0}},
         {"This is a Response Message.",
          "Command                          = [SES_K_RECEIVE_DIAGNOSTIC_RESULTS_COMMAND]"}},
        {{.length = 64, .type = 30, .requestor = 33, .cont = 0x40},
         {"This is a Response Message.", "Un-supported SES Command [30]."}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(body(c.in), c.lines);
    }
}

TEST_F(Printer, PagesAreNamedByDirection) {
    const struct {
        std::uint8_t code;
        const char* received;
        const char* sent;
    } pages[] = {
        {0, "SES_K_SUPPORTED_DIAGNOSTIC_PAGE", "SES_K_SUPPORTED_DIAGNOSTIC_PAGE"},
        {3, "SES_K_HELP_TEXT_DIAGNOSTIC_PAGE", "SES_K_HELP_TEXT_DIAGNOSTIC_PAGE"},
        {4, "SES_K_STRING_IN_DIAGNOSTIC_PAGE", "SES_K_STRING_OUT_DIAGNOSTIC_PAGE"},
        {5, "SES_K_THRESHOLD_IN_DIAGNOSTIC_PAGE", "SES_K_THRESHOLD_OUT_DIAGNOSTIC_PAGE"},
        {6, "SES_K_OBSOLETE_DIAGNOSTIC_PAGE", "SES_K_OBSOLETE_DIAGNOSTIC_PAGE"},
        {7, "SES_K_ELEMENT_DESCRIPTOR_DIAGNOSTIC_PAGE", "SES_K_ELEMENT_DESCRIPTOR_DIAGNOSTIC_PAGE"},
        {8, "SES_K_SHORT_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE",
         "SES_K_SHORT_ENCLOSURE_STATUS_DIAGNOSTIC_PAGE"},
        {9, "SES_K_ENCLOSURE_BUSY_DIAGNOSTIC_PAGE", "SES_K_ENCLOSURE_BUSY_DIAGNOSTIC_PAGE"},
        {10, "SES_K_ADDITIONAL_ELEMENT_STATUS_DIAGNOSTIC_PAGE",
         "SES_K_ADDITIONAL_ELEMENT_STATUS_DIAGNOSTIC_PAGE"},
        {11, "SES_K_SUBENCLOSURE_HELP_TEXT_DIAGNOSTIC_PAGE",
         "SES_K_SUBENCLOSURE_HELP_TEXT_DIAGNOSTIC_PAGE"},
        {12, "SES_K_SUBENCLOSURE_STRING_IN_DIAGNOSTIC_PAGE",
         "SES_K_SUBENCLOSURE_STRING_OUT_DIAGNOSTIC_PAGE"},
        {13, "SES_K_SUPPORTED_SES_DIAGNOTSTIC_PAGES_DIAGNOSTIC_PAGE",
         "SES_K_SUPPORTED_SES_DIAGNOTSTIC_PAGES_DIAGNOSTIC_PAGE"},
        {14, "SES_K_DOWNLOAD_MICROCODE_STATUS_DIAGNOSTIC_PAGE",
         "SES_K_DOWNLOAD_MICROCODE_CONTROL_DIAGNOSTIC_PAGE"},
        {15, "SES_K_SUNENCLOSURE_NICKNAME_STATUS_DIAGNOSTIC_PAGE",
         "SES_K_SUBENCLOSURE_NICKNAME_CONTROL_DIAGNOSTIC_PAGE"},
    };
    const std::string label = "Page                             = [";
    for (const auto& page : pages) {
        const Inbound received = {.cont = 0x40, .data = {0, page.code}};
        const Inbound sent = {
            .length = 80, .type = 29, .data = {0x1D, 0, 0, 0, 0, 0, 0, 0, page.code}};
        EXPECT_EQ(body(received).back(), label + page.received + "]");
        EXPECT_EQ(body(sent).back(), label + page.sent + "]");
    }
    for (const std::uint8_t code : Bytes{16, 255}) {
        const std::string line = "Un-supported SES Page [" + std::to_string(code) + "].";
        EXPECT_EQ(body({.cont = 0x40, .data = {0, code}}).back(), line);
        EXPECT_EQ(
            body({.length = 80, .type = 29, .data = {0x1D, 0, 0, 0, 0, 0, 0, 0, code}}).back(),
            line);
    }
}

// "commonStatus=0 slotAddress=1 ..." of the lines that begin with `element`.
std::string fields(const Lines& lines, const std::string& element) {
    std::string all;
    for (const std::string& line : lines) {
        if (line.rfind(element + " ", 0) == 0) {
            const std::string rest = line.substr(element.size() + 1);
            const std::size_t value = rest.find('[') + 1;
            all += (all.empty() ? "" : " ") + rest.substr(0, rest.find(' ')) + "=" +
                   rest.substr(value, rest.find(']') - value);
        }
    }
    return all;
}

// Three records whose bits 7..0 of each byte read 0F, 33 and 55: no two bits agree in all three.
const Bytes THREE = {0x0F, 0x0F, 0x0F, 0x0F, 0x33, 0x33, 0x33, 0x33, 0x55, 0x55, 0x55, 0x55};

struct ElementCase {
    std::string element;
    std::string values[3];
};

class PrinterBits : public Printer {
  protected:
    // A page of five sections of three such elements, behind `front`.
    void check(Inbound in, const Bytes& front, const std::vector<ElementCase>& cases) {
        countsSet(3);
        in.data = front;
        for (int section = 0; section < 5; ++section) {
            in.data.insert(in.data.end(), 4, 0);
            in.data.insert(in.data.end(), THREE.begin(), THREE.end());
        }
        in.length = static_cast<std::uint32_t>(64 + in.data.size());
        const Lines lines = body(in);
        for (const ElementCase& c : cases) {
            for (int i = 0; i < 3; ++i) {
                const std::string name = c.element + " [" + std::to_string(i) + "]";
                EXPECT_EQ(fields(lines, name), c.values[i]) << name;
            }
        }
    }
};

TEST_F(PrinterBits, EveryBitOfTheStatusElements) {
    check({.cont = 0x40}, {0, 2, 0, 0, 0, 0, 0, 0, 0},
          {{"Device",
            {"commonStatus=15 slotAddress=15 report=0 ident=0 rmv=0 readyToInsert=0 "
             "enclosureBypB=1 enclosureBypA=1 doNotRemove=1 appClientBypA=1 deviceBypB=0 "
             "deviceBypA=0 BypB=0 BypA=0 deviceOff=1 faultReqstd=1 faultSensed=1 appClientBypB=1",
             "commonStatus=51 slotAddress=51 report=0 ident=0 rmv=1 readyToInsert=1 "
             "enclosureBypB=0 enclosureBypA=0 doNotRemove=1 appClientBypA=1 deviceBypB=0 "
             "deviceBypA=0 BypB=1 BypA=1 deviceOff=0 faultReqstd=0 faultSensed=1 appClientBypB=1",
             "commonStatus=85 slotAddress=85 report=0 ident=1 rmv=0 readyToInsert=1 "
             "enclosureBypB=0 enclosureBypA=1 doNotRemove=0 appClientBypA=1 deviceBypB=0 "
             "deviceBypA=1 BypB=0 BypA=1 deviceOff=0 faultReqstd=1 faultSensed=0 "
             "appClientBypB=1"}},
           {"PowerSupply",
            {"commonStatus=15 reserved1=7 ident=1 rsvd1=0 dcOverCurrent=0 dcUnderVoltage=0 "
             "dcOverVoltage=0 reserved2=15 dcFail=0 acFail=0 tempWarn=0 ovrtmpFail=0 off=1 "
             "rqstedOn=1 fail=1 rsvd2=1",
             "commonStatus=51 reserved1=25 ident=1 rsvd1=0 dcOverCurrent=0 dcUnderVoltage=1 "
             "dcOverVoltage=1 reserved2=3 dcFail=0 acFail=0 tempWarn=1 ovrtmpFail=1 off=0 "
             "rqstedOn=0 fail=1 rsvd2=1",
             "commonStatus=85 reserved1=42 ident=1 rsvd1=0 dcOverCurrent=1 dcUnderVoltage=0 "
             "dcOverVoltage=1 reserved2=5 dcFail=0 acFail=1 tempWarn=0 ovrtmpFail=1 off=0 "
             "rqstedOn=1 fail=0 rsvd2=1"}},
           {"Cooling",
            {"commonStatus=15 actualFanSpeedMsb=0 reserved=7 ident=1 actualFanSpeed=15 "
             "actualSpeedCode=0 rsvd1=0 off=1 rqstedOn=1 fail=1 rsvd2=1",
             "commonStatus=51 actualFanSpeedMsb=0 reserved=25 ident=1 actualFanSpeed=51 "
             "actualSpeedCode=1 rsvd1=1 off=0 rqstedOn=0 fail=1 rsvd2=1",
             "commonStatus=85 actualFanSpeedMsb=1 reserved=10 ident=1 actualFanSpeed=85 "
             "actualSpeedCode=2 rsvd1=1 off=0 rqstedOn=1 fail=0 rsvd2=1"}},
           {"Audible Alarm",
            {"commonStatus=15 reserved1=7 ident=1 reserved2=15 unrecov=0 crit=0 nonCrit=0 info=0 "
             "remind=1 rsvd=1 muted=1 rqstMute=1",
             "commonStatus=51 reserved1=25 ident=1 reserved2=51 unrecov=0 crit=0 nonCrit=1 "
             "info=1 remind=0 rsvd=0 muted=1 rqstMute=1",
             "commonStatus=85 reserved1=42 ident=1 reserved2=85 unrecov=0 crit=1 nonCrit=0 "
             "info=1 remind=0 rsvd=1 muted=0 rqstMute=1"}}});
}

TEST_F(PrinterBits, EveryBitOfTheControlElements) {
    check({.type = 29}, {0x1D, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0},
          {{"Device",
            {"commonControl=15 reserved1=15 reserved2=0 rqstIdent=0 rqstRemove=0 rqstInsert=0 "
             "reserved3=3 doNotRemove=1 rqstActive=1 reserved4=0 enableBypB=0 enableBypA=0 "
             "deviceOff=1 rqstFault=1 reserved5=3",
             "commonControl=51 reserved1=51 reserved2=0 rqstIdent=0 rqstRemove=1 rqstInsert=1 "
             "reserved3=0 doNotRemove=1 rqstActive=1 reserved4=0 enableBypB=1 enableBypA=1 "
             "deviceOff=0 rqstFault=0 reserved5=3",
             "commonControl=85 reserved1=85 reserved2=0 rqstIdent=1 rqstRemove=0 rqstInsert=1 "
             "reserved3=1 doNotRemove=0 rqstActive=1 reserved4=1 enableBypB=0 enableBypA=1 "
             "deviceOff=0 rqstFault=1 reserved5=1"}},
           {"PowerSupply",
            {"commonControl=15 reserved1=7 rqstIdent=1 reserved2=15 reserved3=1 rqstOn=1 "
             "rqstFail=1 rsvd=1",
             "commonControl=51 reserved1=25 rqstIdent=1 reserved2=51 reserved3=6 rqstOn=0 "
             "rqstFail=1 rsvd=1",
             "commonControl=85 reserved1=42 rqstIdent=1 reserved2=85 reserved3=10 rqstOn=1 "
             "rqstFail=0 rsvd=1"}},
           {"Cooling",
            {"commonControl=15 reserved1=7 rqstIdent=1 reserved2=15 requestedSpeedCode=0 "
             "reserved3=1 rqstOn=1 rqstFail=1 rsvd=1",
             "commonControl=51 reserved1=25 rqstIdent=1 reserved2=51 requestedSpeedCode=1 "
             "reserved3=2 rqstOn=0 rqstFail=1 rsvd=1",
             "commonControl=85 reserved1=42 rqstIdent=1 reserved2=85 requestedSpeedCode=2 "
             "reserved3=2 rqstOn=1 rqstFail=0 rsvd=1"}},
           {"Audible Alarm",
            {"commonControl=15 reserved1=7 rqstIdent=1 reserved2=15 unrecov=0 crit=0 nonCrit=0 "
             "info=0 setRemind=1 rsvd1=1 setMute=1 rsvd2=1",
             "commonControl=51 reserved1=25 rqstIdent=1 reserved2=51 unrecov=0 crit=0 nonCrit=1 "
             "info=1 setRemind=0 rsvd1=0 setMute=1 rsvd2=1",
             "commonControl=85 reserved1=42 rqstIdent=1 reserved2=85 unrecov=0 crit=1 nonCrit=0 "
             "info=1 setRemind=0 rsvd1=1 setMute=0 rsvd2=1"}}});
}

TEST_F(Printer, ColumnHoldsForTwoDigitIndexes) {
    esaControl.deviceMaxNumber = 11;
    const Lines lines = body({.length = 200, .cont = 0x40, .data = {0, 2}, .older = 0});
    EXPECT_THAT(lines, Contains("Device [9] rmv                  = [0]"));
    EXPECT_THAT(lines, Contains("Device [10] rmv                 = [0]"));
}

// Whatever the length, direction and counts, the lines do not depend on what an older message left
// behind this one.
TEST_F(Printer, NothingBehindTheMessageIsPrinted) {
    std::vector<std::uint32_t> lengths = {0, 1, 63, 4063, 4064, 4065, 65535};
    for (std::uint32_t length = 64; length < 150; ++length) {
        lengths.push_back(length);
    }
    const Inbound messages[] = {
        {.type = 29, .data = SEND_DATA},
        {.cont = 0x40, .data = CONFIGURATION_DATA},
        {.cont = 0x40, .data = STATUS_DATA},
        {.type = 29, .cont = 0x40, .data = SENSE_DATA},
        {.data = {0x1C, 0x85, 0x02, 0xFF, 0x12, 0x34, 0xA7}},
    };
    for (const std::uint8_t count : Bytes{1, 16, 255}) {
        countsSet(count);
        for (Inbound in : messages) {
            const Bytes whole = in.data;
            for (const std::uint32_t length : lengths) {
                in.length = length;
                in.data = whole;
                in.data.resize(std::clamp<std::size_t>(length, 64, 4064) - 64);
                in.older = 0x00;
                const std::string lines = text(in);
                in.older = 0x02;
                ASSERT_EQ(text(in), lines) << length << " bytes, type " << in.type;
            }
        }
    }
}

TEST_F(Printer, EveryLineNamesThePrinter) {
    TRACE__setTraceLevel(0, TRACE_K_FUNCTION | 0x0010);
    for (const std::string& line :
         print(InboundBuffer({.length = 124, .type = 29, .data = SEND_DATA}))) {
        EXPECT_THAT(line, StartsWith("esaMmsgPrint:"));
    }
}

TEST_F(Printer, SilentWhenTheOrdinaryLevelIsOff) {
    TRACE__setTraceLevel(0, static_cast<U16_t>(0xFFFF & ~0x0010));
    EXPECT_THAT(print(InboundBuffer({.length = 124, .type = 29, .data = SEND_DATA})), IsEmpty());
}

}  // namespace
