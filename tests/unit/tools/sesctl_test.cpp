// SPDX-License-Identifier: Apache-2.0
// sesctl as its users meet it: command line, output and exit code, against a scripted switch.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/hex.h"
#include "tests/unit/tools/fake_switch.h"
#include "tests/unit/tools/typed_pages.h"
#include "tools/sesctl/cli.h"

using sesctl::Bytes;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::SizeIs;
using Answer = FakeSwitch::Answer;

namespace {

struct Result {
    int code;
    std::string out;
    std::string err;
};

Result run(std::vector<std::string> words) {
    std::vector<const char*> argv = {"sesctl"};
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out;
    std::ostringstream err;
    const int code = sesctl::run(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

Result run(const FakeSwitch& messageSwitch, std::vector<std::string> words) {
    words.insert(words.end(), {"--dir", messageSwitch.directory(), "--timeout", "5"});
    return run(words);
}

bool isControl(const Bytes& request) {
    return request[15] == 29;
}

Bytes payloadFor(const Bytes& request, const Bytes& statusPayload) {
    if (isControl(request)) {
        return Bytes(3);  // peers send three bytes behind the status
    }
    return request[66] == 1 ? hexBytes(CONFIGURATION_PAYLOAD) : statusPayload;
}

// The service in good order, with some bytes of its status page changed.
FakeSwitch::Script service(std::initializer_list<std::pair<unsigned, std::uint8_t>> changes = {}) {
    Bytes status = hexBytes(STATUS_PAYLOAD);
    for (const auto& [offset, value] : changes) {
        status.at(offset) = value;
    }
    return [status](const Bytes& request) {
        return Answer{{serviceReply(request, 0, payloadFor(request, status))}};
    };
}

// Text without blanks at line ends.
std::string trimmed(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return result;
}

}  // namespace

TEST(Sesctl, ConfigShowsNamesAndCounts) {
    FakeSwitch messageSwitch(service());
    const Result result = run(messageSwitch, {"config"});
    EXPECT_EQ(result.out,
              "Vendor      ACME\n"
              "Product     Box\n"
              "Revision    1.02\n"
              "Generation  0\n"
              "\n"
              "Element             Type  Number\n"
              "drive slot             1      16\n"
              "power supply           2       2\n"
              "fan                    3       4\n"
              "temperature sensor     4       4\n"
              "audible alarm          6       1\n");
    EXPECT_EQ(result.code, 0);
}

TEST(Sesctl, StatusShowsAHealthyEnclosureAndExitsWithZero) {
    FakeSwitch messageSwitch(service());
    const Result result = run(messageSwitch, {"status"});
    EXPECT_EQ(result.code, 0) << result.err;
    const std::string text = trimmed(result.out);
    EXPECT_THAT(text, HasSubstr("    Slot  Status         Fault LED  Flags\n"
                                "       0  OK             off        -\n"));
    EXPECT_THAT(text, HasSubstr("      15  OK             off        -\n"
                                "  Supply  Status         Flags\n"
                                "       0  OK             -\n"
                                "       1  OK             -\n"
                                "     Fan  Speed          State\n"
                                "       0  2250 RPM       running\n"));
    EXPECT_THAT(text, HasSubstr("  Sensor  Temperature    State\n"
                                "       0  30 °C          normal\n"));
    EXPECT_THAT(text, HasSubstr("   Alarm  Status         Flags\n"
                                "       0  enabled        not told (the byte is left out)\n"));
}

TEST(Sesctl, StatusShowsFaultsAndExitsWithOne) {
    FakeSwitch messageSwitch(service({{1, 0x40},
                                      {SLOT_0 + 4 * 3 + 3, 0x06},
                                      {SUPPLY_0, 5},
                                      {SUPPLY_0 + 3, 0x43},
                                      {FAN_0 + 2, 0},
                                      {FAN_0 + 3, 0x08},
                                      {FAN_0 + 6, 0},
                                      {FAN_0 + 11, 0xE6},
                                      {SENSOR_0 + 2, 76},
                                      {SENSOR_0 + 3, 0x20},
                                      {SENSOR_0 + 6, 0},
                                      {ALARM_0, 0x20}}));
    const Result result = run(messageSwitch, {"status"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "");
    for (const char* line :
         {"Enclosure: critical\n", "       3  OK             on         fault sensed\n",
          "       0  not installed  AC failed, fault\n", "       0  0 RPM          stopped\n",
          "       1  -              no reading\n", "       0  56 °C          too hot (warning)\n",
          "       0  disabled       not told"}) {
        EXPECT_THAT(result.out, HasSubstr(line));
    }
}

TEST(Sesctl, StatusJsonTellsWhatThePageTells) {
    FakeSwitch messageSwitch(service({{SLOT_0 + 4 * 3 + 3, 0x04}, {FAN_0 + 6, 0}}));
    const Result result = run(messageSwitch, {"status", "--json"});
    EXPECT_EQ(result.code, 1);
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["fault"], true);
    EXPECT_THAT(json["devices"], SizeIs(16));
    EXPECT_EQ(json["devices"][3]["faultRequested"], true);
    EXPECT_EQ(json["devices"][4]["faultRequested"], false);
    EXPECT_EQ(json["devices"][15]["slot"], 15);
    EXPECT_EQ(json["powerSupplies"][1]["status"], "OK");
    EXPECT_EQ(json["fans"][0]["rpm"], 2250);
    EXPECT_EQ(json["fans"][0]["speedCode"], 7);
    EXPECT_EQ(json["fans"][1]["rpm"], nullptr);
    EXPECT_EQ(json["temperatureSensors"][0]["celsius"], 30);
    EXPECT_EQ(json["audibleAlarms"][0]["flags"], nullptr);
    EXPECT_EQ(json["audibleAlarms"][0]["status"], "unsupported");
}

TEST(Sesctl, WatchLooksAgainUntilItFails) {
    int looks = 0;
    const FakeSwitch::Script healthy = service();
    FakeSwitch messageSwitch([&](const Bytes& request) {
        Answer answer = healthy(request);
        answer.hangUp = ++looks == 4;  // configuration and status, twice
        return answer;
    });
    const Result result = run(messageSwitch, {"status", "--watch", "0.01"});
    EXPECT_EQ(result.code, 3);
    const std::size_t first = result.out.find("    Slot  Status");
    const std::size_t second = result.out.find("    Slot  Status", first + 1);
    EXPECT_NE(second, std::string::npos);
    EXPECT_EQ(result.out.find("    Slot  Status", second + 1), std::string::npos);
}

TEST(Sesctl, LedKeepsTheOtherSlotsRequests) {
    FakeSwitch messageSwitch(service({{SLOT_0 + 4 * 3 + 3, 0x04}}));
    const Result result = run(messageSwitch, {"led", "on", "0", "15"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "");
    ASSERT_THAT(messageSwitch.requests(), SizeIs(3));
    Bytes sent = messageSwitch.requests()[2];
    std::fill_n(sent.begin() + 40, 4, std::uint8_t{0});  // the handle is the client's affair
    EXPECT_EQ(hexText(sent), hexText(R"(
        00000000 00000000 0E0100D0 1200001D 1A002100 00000000 00000002 00000000
        00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
        1D080000 00880000
        02000084 00000000
        00000080
        80000004 00000000 00000000 00000004  00000000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000  00000000 00000000 00000000 80000004
        00000000 00000000 00000000
        00000000 00000000 00000000 00000000 00000000
        00000000 00000000 00000000 00000000 00000000
        00000000 00000000)"));
}

TEST(Sesctl, EachActionSendsItsOwnRecord) {
    struct Case {
        std::vector<std::string> words;
        std::map<std::size_t, int> changes;  // bytes of the control page that are not 0
    };
    const Case cases[] = {
        {{"led", "off", "3"}, {{11, 0x80}, {24, 0x80}}},
        {{"fan", "on", "1"}, {{91, 0x80}, {96, 0x80}, {99, 0x04}}},
        {{"fan", "off", "0"}, {{91, 0x80}, {92, 0x80}}},
        {{"alarm", "mute"}, {{131, 0x80}, {132, 0x80}, {135, 0x02}}},
        {{"alarm", "info"}, {{131, 0x80}, {132, 0x80}, {135, 0x10}}},
        {{"alarm", "critical"}, {{131, 0x80}, {132, 0x80}, {135, 0x40}}},
        {{"psu", "fault", "1"}, {{79, 0x80}, {84, 0x80}, {87, 0x02}}},
        {{"psu", "ok", "0"}, {{79, 0x80}, {80, 0x80}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.words));
        FakeSwitch messageSwitch(service());
        EXPECT_EQ(run(messageSwitch, c.words).code, 0);
        ASSERT_THAT(messageSwitch.requests(), SizeIs(3));
        const Bytes& sent = messageSwitch.requests()[2];
        ASSERT_THAT(sent, SizeIs(72 + 136));
        std::map<std::size_t, int> changes;
        for (std::size_t i = 8; i < 136; i++) {
            if (sent[72 + i] != 0) {
                changes[i] = sent[72 + i];
            }
        }
        EXPECT_EQ(changes, c.changes);
    }
}

TEST(Sesctl, LedShowTellsOnlyTheSlotsAskedFor) {
    FakeSwitch some(service({{SLOT_0 + 4 * 3 + 3, 0x04}}));
    EXPECT_EQ(run(some, {"led", "show", "3", "4"}).out,
              "slot 3: fault LED on\nslot 4: fault LED off\n");
    FakeSwitch all(service());
    EXPECT_THAT(run(all, {"led", "show"}).out, HasSubstr("slot 15: fault LED off\n"));
}

TEST(Sesctl, NumbersOutOfRangeAreUsageErrorsAndChangeNothing) {
    struct Case {
        std::vector<std::string> words;
        const char* error;
    };
    const Case cases[] = {
        {{"led", "on", "3", "16"}, "sesctl: no slot 16: they are numbered 0 to 15\n"},
        {{"led", "show", "16"}, "sesctl: no slot 16: they are numbered 0 to 15\n"},
        {{"fan", "off", "4"}, "sesctl: no fan 4: they are numbered 0 to 3\n"},
        {{"psu", "fault", "2"}, "sesctl: no power supply 2: they are numbered 0 to 1\n"},
    };
    for (const Case& c : cases) {
        FakeSwitch messageSwitch(service());
        const Result result = run(messageSwitch, c.words);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.err, c.error);
        EXPECT_THAT(messageSwitch.requests(), SizeIs(2));
    }
}

TEST(Sesctl, ElementsAboveTheServicesArraysCannotBeActedOn) {
    // 255 fans in both pages; the service keeps eight.
    Bytes configuration = hexBytes(CONFIGURATION_PAYLOAD);
    configuration[57] = 255;
    Bytes status = hexBytes(STATUS_PAYLOAD);
    status.insert(status.begin() + FAN_0, 4 * 251, 0);
    status[2] = 0x04;  // 0x84 + 4 * 251
    status[3] = 0x70;
    const auto script = [&](const Bytes& request) {
        const bool first = !isControl(request) && request[66] == 1;
        return Answer{{serviceReply(request, 0,
                                    isControl(request) ? Bytes(3)
                                    : first            ? configuration
                                                       : status)}};
    };
    FakeSwitch messageSwitch(script);
    EXPECT_EQ(run(messageSwitch, {"fan", "on", "8"}).err,
              "sesctl: no fan 8: they are numbered 0 to 7\n");
    FakeSwitch again(script);
    EXPECT_EQ(run(again, {"fan", "on", "7"}).code, 0);
    ASSERT_THAT(again.requests(), SizeIs(3));
    EXPECT_EQ(again.requests()[2][72 + 92 + 4 * 7 + 3], 0x04);
}

TEST(Sesctl, WrongUsageIsOneLineAndExitsWithTwo) {
    const std::vector<std::string> cases[] = {
        {},
        {"open"},
        {"status", "--json", "--hex"},
        {"status", "--watch", "0"},
        {"status", "extra"},
        {"led"},
        {"led", "blink", "1"},
        {"led", "on"},
        {"led", "on", "one"},
        {"led", "on", "-1"},
        {"fan", "on"},
        {"fan", "on", "1", "2"},
        {"alarm"},
        {"alarm", "beep"},
        {"psu", "fault"},
        {"--timeout", "0", "status"},
        {"--name", "a", "--dir", "b", "status"},
    };
    for (const auto& words : cases) {
        SCOPED_TRACE(testing::PrintToString(words));
        const Result result = run(words);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, testing::MatchesRegex("sesctl: [^\n]*\n"));
        EXPECT_EQ(result.out, "");
    }
}

TEST(Sesctl, HelpExitsWithZero) {
    const Result result = run({"--help"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("sg_ses --status --page=es --inhex=-"));
}

TEST(Sesctl, AnUnreachableSwitchExitsWithThree) {
    for (const std::string& directory :
         {std::string("/nonexistent"), "/tmp/" + std::string(120, 'x')}) {
        const Result result = run({"status", "--dir", directory});
        EXPECT_EQ(result.code, 3);
        EXPECT_THAT(result.err,
                    testing::MatchesRegex("sesctl: cannot reach the message switch at [^\n]*\n"));
    }
    FakeSwitch messageSwitch([](const Bytes&) { return Answer{{}, true}; });
    const Result result = run(messageSwitch, {"status"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.err, "sesctl: the message switch closed the connection\n");
}

TEST(Sesctl, AMalformedReplyExitsWithFour) {
    const std::pair<const char*, FakeSwitch::Script> cases[] = {
        {"another page",
         [](const Bytes& request) {
             return Answer{{serviceReply(request, 0, hexBytes("02 00 00 02 AA"))}};
         }},
        {"the last byte too",
         [](const Bytes& request) {
             Bytes whole = hexBytes(CONFIGURATION_PAYLOAD);
             whole.push_back(0);
             return Answer{{serviceReply(request, 0, whole)}};
         }},
        {"unknown status",
         [](const Bytes& request) { return Answer{{serviceReply(request, 8, Bytes(27))}}; }},
        {"header only",
         [](const Bytes& request) {
             Bytes reply = serviceReply(request, 0, {});
             reply.resize(64);
             reply[11] = 64;
             return Answer{{reply}};
         }},
        {"length 63",
         [](const Bytes& request) {
             Bytes reply = serviceReply(request, 0, {});
             reply[11] = 63;
             return Answer{{reply}};
         }},
        {"length 4065",
         [](const Bytes& request) {
             Bytes reply = serviceReply(request, 0, {});
             reply[10] = 0x0F;
             reply[11] = 0xE1;
             return Answer{{reply}};
         }},
        {"status page of another size", service({{3, 0x80}})},
    };
    for (const auto& [what, script] : cases) {
        FakeSwitch messageSwitch(script);
        const Result result = run(messageSwitch, {"status"});
        EXPECT_EQ(result.code, 4) << what;
        EXPECT_THAT(result.err, ContainsRegex("^sesctl: malformed reply: [^\n]*\n$")) << what;
        EXPECT_EQ(result.out, "") << what;
    }
}

TEST(Sesctl, CheckConditionExitsWithFive) {
    const FakeSwitch::Script healthy = service();
    FakeSwitch messageSwitch([&](const Bytes& request) {
        if (!isControl(request)) {
            return healthy(request);
        }
        Bytes sense = hexBytes("E0 00 50 00 00000000 00 000000 00000000 24 00");
        sense.resize(27);
        return Answer{{serviceReply(request, 2, sense)}};
    });
    const Result result = run(messageSwitch, {"alarm", "mute"});
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(result.err, "sesctl: CHECK CONDITION: sense key 5, additional sense 0x24/0x00\n");
}

TEST(Sesctl, NoReplyInTimeExitsWithSeven) {
    const std::pair<const char*, FakeSwitch::Script> cases[] = {
        {"silence", [](const Bytes&) { return Answer{}; }},
        {"half a message",
         [](const Bytes& request) {
             Bytes reply = serviceReply(request, 0, Bytes(10));
             reply.resize(70);
             return Answer{{reply}};
         }},
        {"a reply to somebody else",
         [](const Bytes& request) {
             Bytes reply = serviceReply(request, 0, hexBytes(CONFIGURATION_PAYLOAD));
             reply[40] ^= 0xFF;
             return Answer{{reply}};
         }},
    };
    for (const auto& [what, script] : cases) {
        FakeSwitch messageSwitch(script);
        const Result result =
            run({"config", "--dir", messageSwitch.directory(), "--timeout", "0.05"});
        EXPECT_EQ(result.code, 7) << what;
        EXPECT_EQ(result.err, "sesctl: no reply within 0.05 s\n") << what;
    }
}

TEST(Sesctl, FindsItsReplyAmongOtherMessagesHoweverTheStreamIsCut) {
    for (const std::size_t size : {std::size_t{50}, std::size_t{64}, std::size_t{1000}}) {
        FakeSwitch messageSwitch([size](const Bytes& request) {
            Bytes stream = serviceReply(request, 0, hexBytes("FF"));
            stream[43] ^= 0xFF;  // somebody else's
            const Bytes reply = serviceReply(request, 0, hexBytes(CONFIGURATION_PAYLOAD));
            stream.insert(stream.end(), reply.begin(), reply.end());
            Answer answer;
            for (auto at = stream.begin(); at != stream.end();) {
                const auto end = at + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(size),
                                                               stream.end() - at);
                answer.pieces.emplace_back(at, end);
                at = end;
            }
            return answer;
        });
        EXPECT_EQ(run(messageSwitch, {"config"}).code, 0) << size;
    }
}

TEST(Sesctl, EachCommandHasItsOwnHandle) {
    FakeSwitch messageSwitch(service());
    run(messageSwitch, {"status"});
    ASSERT_THAT(messageSwitch.requests(), SizeIs(2));
    const auto handle = [&](std::size_t i) {
        const Bytes& request = messageSwitch.requests()[i];
        return Bytes(request.begin() + 40, request.begin() + 44);
    };
    EXPECT_NE(handle(0), handle(1));
    EXPECT_NE(handle(0), Bytes(4));
}

TEST(Sesctl, EnvironmentNamesTheSocketsUnlessAnOptionDoes) {
    FakeSwitch messageSwitch(service());
    setenv("ESA_MMSG_DIR", (messageSwitch.directory() + "/mmsg").c_str(), 1);
    EXPECT_EQ(run({"config", "--name", "no-such-lab"}).code, 3);
    EXPECT_EQ(run({"config"}).code, 0);
    unsetenv("ESA_MMSG_DIR");
}

namespace {

// What sg_ses makes of sesctl's hexadecimal output.
std::string sgSes(const std::string& hex, const std::string& page) {
    char file[] = "/tmp/sesctl-hex-XXXXXX";
    close(mkstemp(file));
    std::ofstream(file) << hex;
    const std::string command = "sg_ses --status --page=" + page + " --inhex=" + file + " 2>&1";
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string text;
    char chunk[4096];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) {
        text.append(chunk, got);
    }
    EXPECT_EQ(pclose(pipe), 0) << text;
    std::remove(file);
    return text;
}

// All numbers or words that follow `label` in `text`, up to the end of line or a comma.
std::vector<std::string> valuesOf(const std::string& text, const std::string& label) {
    std::vector<std::string> values;
    for (std::size_t at = text.find(label); at != std::string::npos;
         at = text.find(label, at + 1)) {
        const std::size_t begin = at + label.size();
        values.push_back(text.substr(begin, text.find_first_of(",\n", begin) - begin));
    }
    return values;
}

}  // namespace

TEST(Sesctl, SgSesDecodesTheSameConfiguration) {
    FakeSwitch messageSwitch(service());
    const std::string text = sgSes(run(messageSwitch, {"status", "--hex"}).out, "cf");
    EXPECT_THAT(valuesOf(text, "Element type: "),
                testing::ElementsAre("Device slot", "Power supply", "Cooling", "Temperature sensor",
                                     "Audible alarm"));
    EXPECT_THAT(valuesOf(text, "number of possible elements: "),
                testing::ElementsAre("16", "2", "4", "4", "1"));
    EXPECT_THAT(text, HasSubstr("enclosure vendor: ACME      product: Box"));
}

// Only where the layouts agree: codes, slot addresses, low fan speeds, temperatures.
TEST(Sesctl, SgSesDecodesTheSameStatus) {
    const auto changes = {std::pair<unsigned, std::uint8_t>{SLOT_0 + 4, 5},
                          {SUPPLY_0, 2},
                          {FAN_0 + 2, 1},
                          {FAN_0 + 6, 255},
                          {SENSOR_0 + 2, 1},
                          {SENSOR_0 + 6, 76},
                          {SENSOR_0 + 10, 255}};
    FakeSwitch first(service(changes));
    const std::string text = sgSes(run(first, {"status", "--hex"}).out, "es");
    FakeSwitch second(service(changes));
    const auto json = nlohmann::json::parse(run(second, {"status", "--json"}).out);

    // sg_ses lists each type's overall word in front of its elements.
    const std::vector<std::string> codes = valuesOf(text, "status: ");
    const std::vector<std::string> speeds = valuesOf(text, "Actual speed=");
    const std::vector<std::string> degrees = valuesOf(text, "Temperature=");
    const std::vector<std::string> slots = valuesOf(text, "Slot address: ");
    ASSERT_THAT(codes, SizeIs(27 + 5));
    ASSERT_THAT(slots, SizeIs(17));
    ASSERT_THAT(speeds, SizeIs(5));
    ASSERT_THAT(degrees, SizeIs(4));
    const std::map<std::string, std::string> names = {{"OK", "OK"},
                                                      {"Critical", "critical"},
                                                      {"Not installed", "not installed"},
                                                      {"Unsupported", "unsupported"}};
    std::size_t code = 0;
    for (const char* kind :
         {"devices", "powerSupplies", "fans", "temperatureSensors", "audibleAlarms"}) {
        code++;
        for (const auto& element : json[kind]) {
            EXPECT_EQ(names.at(codes.at(code)), element["status"]) << kind << element["index"];
            code++;
        }
    }
    EXPECT_EQ(codes[2], "Not installed");
    for (std::size_t i = 0; i < 16; i++) {
        EXPECT_EQ(slots[i + 1], std::to_string(json["devices"][i]["slot"].get<int>()));
    }
    for (std::size_t i = 0; i < 4; i++) {
        EXPECT_EQ(speeds[i + 1], std::to_string(json["fans"][i]["rpm"].get<int>()) + " rpm");
        EXPECT_EQ(degrees[i],
                  std::to_string(json["temperatureSensors"][i]["celsius"].get<int>()) + " C");
    }
    EXPECT_EQ(speeds[2], "2550 rpm");
    EXPECT_EQ(degrees[0], "-19 C");
}
