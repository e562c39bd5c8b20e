// SPDX-License-Identifier: Apache-2.0
// The shipped daemon in the lab: each case of stories/*.txt is a lab of its own, what is done to it
// and what its peers see. Setting up:
//   lab          chassis=NAME speed=N trace smbus no-device no-file no-startup no-platform platform
//                version=N, where the lab is not the usual one (VSC055, 50 times as fast)
//   personality  "KEY=VALUE ..." changes in its file; "KEY=-" takes the value away
//   pad, arguments, messages   its file is filled up to that size in front; the daemon's words; the
//                directory of the sockets as it is told
//   before       lab commands before the daemon starts
//   start        how far the daemon is waited for: loop (else), none
// Steps: any lab command, and those of StoryTest::step. A line that begins with a blank belongs to
// the one before.
#include <fmt/format.h>

#include <regex>

#include "lab/session/commands.h"
#include "tests/e2e/e2e.h"
#include "tests/support/cases.h"
#include "tests/support/hex.h"

using namespace enclab;

namespace {

std::string joined(const std::vector<std::string>& words) {
    return fmt::format("{}", fmt::join(words, " "));
}

class StoryTest : public LabTest, public testing::WithParamInterface<Case> {
  protected:
    void setUp(const Case& c) {
        std::string personality;
        for (const std::string& word : wordsOf(c.get("lab"))) {
            const std::string value = word.substr(word.find('=') + 1);
            if (word.starts_with("chassis=")) {
                personality = personalityOf(value).xml();
            } else if (word.starts_with("speed=")) {
                options.speed = static_cast<unsigned>(std::stoul(value));
            }
        }
        options.personality = edited(personality.empty() ? Personality().xml() : personality, c);
        options.trace = is("trace");
        options.adapter = is("smbus") ? AdapterKind::kSmbusOnly : AdapterKind::kI2c;
        options.device = !is("no-device");
        options.personalityFile = !is("no-file");
        options.startupVariable = !is("no-startup");
        options.rcpComplete = !is("no-platform");
        options.messageDirectory = c.get("messages");
        if (c.has("arguments")) {
            options.arguments = linesOf(c.get("arguments"));
        }
    }
    // Whether `lab` has the word.
    static bool is(const std::string& word) {
        const std::vector<std::string> words = wordsOf(GetParam().get("lab"));
        return std::find(words.begin(), words.end(), word) != words.end();
    }
    static std::string edited(std::string text, const Case& c) {
        for (const std::string& change : wordsOf(c.get("personality"))) {
            const std::string key = change.substr(0, change.find('='));
            const std::string value = change.substr(key.size() + 1);
            text = std::regex_replace(text, std::regex("(\"" + key + "\") value=\"\\w+\""),
                                      value == "-" ? "$1" : "$1 value=\"" + value + "\"");
        }
        const std::size_t size = c.number("pad", 0);
        return std::string(size > text.size() ? size - text.size() : 0, ' ') + text;
    }
    void begin(const Case& c) {
        prepare();
        commands_ = std::make_unique<Commands>(
            lab(), [] {}, [](bool) {});
        if (is("version=17")) {
            lab().parameters().values().version = 17;
        }
        if (is("platform")) {
            lab().parameters().setFlag(MPU_K_FLAG_RCP_COMPLETE);
        }
        for (const std::string& line : linesOf(c.get("before"))) {
            step(line);
        }
        lab().startDaemon();
        EXPECT_TRUE(c.get("start") == "none" || untilLoop());
    }

    // "slot2.3": byte 3 of slot 2's record in a page; "fan.3": of the fans' overall word.
    std::size_t offsetOf(const std::string& name) {
        const Chassis& chassis = lab().chassis();
        const std::pair<const char*, int> kinds[] = {{"slot", chassis.slots()},
                                                     {"supply", 2},
                                                     {"fan", chassis.fans()},
                                                     {"sensor", chassis.sensors()},
                                                     {"alarm", 1}};
        std::size_t at = 8;
        const std::size_t dot = name.find('.');
        for (const auto& [kind, count] : kinds) {
            if (name.starts_with(kind)) {
                const std::string index = name.substr(0, dot).substr(std::strlen(kind));
                return at + std::stoul(name.substr(dot + 1)) +
                       (index.empty() ? 0 : 4 + 4 * std::stoul(index));
            }
            at += 4 + 4 * static_cast<std::size_t>(count);
        }
        return at;  // "end"
    }
    // A control page that asks for nothing but what the words put into it.
    Bytes controlPage(const std::vector<std::string>& changes) {
        Bytes page(offsetOf("end"));
        page[0] = 2;
        page[3] = static_cast<std::uint8_t>(page.size() - 4);
        for (const std::string& change : changes) {
            const std::size_t equals = change.find('=');
            page.at(offsetOf(change.substr(0, equals))) =
                static_cast<std::uint8_t>(std::stoi(change.substr(equals + 1), nullptr, 16));
        }
        return page;
    }
    // What the daemon answers; nothing else may have come before.
    std::string reply(const Message& message) {
        if (!client_) {
            client_ = std::make_unique<SesClient>(lab());
        }
        client_->send(message.bytes());
        const auto answer = client_->receive();
        EXPECT_TRUE(answer && answer->header().handle == message.header().handle);
        return answer ? hexText(userData(*answer)) : "nothing";
    }
    void send(const Message& message, const char* socket = "environ") {
        SesClient(lab(), socket).send(message.bytes());
    }

    std::string lit() {
        std::vector<std::string> lit;
        const Chassis& chassis = lab().chassis();
        for (int slot = 0; slot < chassis.slots(); ++slot) {
            if (chassis.driveFaultLed(slot)) {
                lit.push_back(std::to_string(slot));
            }
        }
        for (const ChassisLed& led : chassis.statusLeds()) {
            if (led.lit) {
                lit.push_back(led.name);
            }
        }
        return joined(lit);
    }
    void expectExit(int status) {
        ASSERT_TRUE(lab().runUntil([&] { return !lab().daemonRunning(); }));
        EXPECT_EQ(lab().daemon().exitStatus(), status);
    }
    std::string output() { return fmt::format("{}\n", fmt::join(lab().daemonOutput(), "\n")); }

    // One step: its first word, what follows it, and what stands behind " = ".
    void step(const std::string& line) {
        const std::size_t equals = line.rfind(" = ");
        const std::string expected = equals == line.npos ? "" : line.substr(equals + 3);
        std::vector<std::string> words = wordsOf(line.substr(0, equals));
        const std::string name = words.at(0);
        words.erase(words.begin());
        const std::string rest = equals > name.size() + 1 && line.size() > name.size()
                                     ? line.substr(name.size() + 1, equals - name.size() - 1)
                                     : "";
        const auto number = [&](std::size_t n) { return std::stoi(words.at(n)); };
        const auto page = [&] {
            return getPage(static_cast<std::uint8_t>(number(0)),
                           static_cast<std::uint16_t>(words.size() > 1 ? number(1) : 4000),
                           ++handle_,
                           static_cast<std::uint8_t>(words.size() > 2 ? number(2) : kEnvironment));
        };
        if (name == "polls") {  // that many more end
            ASSERT_TRUE(pollsPass(number(0)));
        } else if (name == "clear") {  // forgets what the daemon sent
            lab().clearReceived();
            next_ = 0;
        } else if (name == ">") {  // the next message the daemon sent
            ASSERT_TRUE(lab().runUntil([&] { return lab().received().size() > next_; })) << line;
            EXPECT_EQ(said().at(next_++), line.substr(2));
        } else if (name == "quiet") {  // it sent no more
            EXPECT_EQ(said().size(), next_);
        } else if (name == "until") {  // it has sent that
            ASSERT_TRUE(lab().runUntil([&] { return timesSaid(rest) > 0; })) << line;
        } else if (name == "sent") {  // how often it has
            EXPECT_EQ(std::to_string(timesSaid(rest)), expected) << line;
        } else if (name == "get") {  // PAGE [ALLOCATION [REQUESTOR]], answered
            EXPECT_EQ(reply(page()), hexText(expected)) << line;
        } else if (name == "ask") {  // the same, not answered
            send(page());
        } else if (name == "put") {
            EXPECT_EQ(reply(putPage(controlPage(words), ++handle_)), hexText("00 000000"));
        } else if (name == "put-nothing") {
            EXPECT_EQ(reply(putPage({}, ++handle_)), hexText(expected));
        } else if (name == "volume-manager") {  // puts, not answered
            send(putPage(controlPage(words), ++handle_, kVolumeManager), "volmgr");
        } else if (name == "unknown") {  // a command there is not
            Message message = getPage(1);
            message.header().opcode.request.type = 30;
            send(message);
        } else if (name == "loads") {
            EXPECT_EQ(fmt::format("{}", fmt::join(fanLoads(), " ")), expected) << line;
        } else if (name == "lit") {
            EXPECT_EQ(lit(), expected) << line;
        } else if (name == "until-lit") {
            ASSERT_TRUE(lab().runUntil([&] { return lit() == expected; })) << lit();
        } else if (name == "alarm") {
            ASSERT_TRUE(lab().runUntil([&] { return lab().chassis().alarm() == expected; }))
                << lab().chassis().alarm();
        } else if (name == "composite") {
            EXPECT_EQ(lab().startupProcess().compositeLedLit() ? "on" : "off", expected);
        } else if (name == "traced") {
            EXPECT_EQ(std::to_string(traced(rest)), expected) << line;
        } else if (name == "until-traced") {
            ASSERT_TRUE(untilTraced(rest)) << line;
        } else if (name == "exit") {
            expectExit(number(0));
        } else if (name == "output") {
            EXPECT_THAT(output(), testing::HasSubstr(line.substr(7)));
        } else if (name == "answers") {
            EXPECT_TRUE(answers());
        } else {
            const Commands::Result result = commands_->run(line);
            EXPECT_TRUE(result.ok) << result.text;
        }
    }

  private:
    std::unique_ptr<Commands> commands_;
    std::unique_ptr<SesClient> client_;
    std::uint32_t handle_ = 0x01020304;
    std::size_t next_ = 0;  // of the received messages
};

std::string nameOf(const testing::TestParamInfo<Case>& story) {
    std::string name;
    for (const char c : story.param.name) {
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

}  // namespace

TEST_P(StoryTest, IsAsTold) {
    setUp(GetParam());
    begin(GetParam());
    const std::string steps = std::regex_replace(GetParam().get("steps"), std::regex("\n +"), " ");
    for (const std::string& line : linesOf(steps)) {
        SCOPED_TRACE(line);
        step(line);
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_TRUE(lab().daemonRunning() || steps.find("exit ") != steps.npos);
}

// Shown as the case's name.
void PrintTo(const Case& story, std::ostream* out) {
    *out << story.name;
}

INSTANTIATE_TEST_SUITE_P(Startup, StoryTest, testing::ValuesIn(casesOf(STORIES "/startup.txt")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Service, StoryTest, testing::ValuesIn(casesOf(STORIES "/service.txt")),
                         nameOf);
