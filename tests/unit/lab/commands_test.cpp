// SPDX-License-Identifier: Apache-2.0
// The commands of a lab: what they do and say (scripts/commands.txt), and that one that cannot be
// done says so in one line and changes nothing.
#include <fmt/format.h>
#include <unistd.h>

#include <random>

#include "lab/session/commands.h"
#include "tests/support/script.h"

namespace enclab {
namespace {

class CommandPlayer : public Player {
  public:
    CommandPlayer() {
        commands["lab"] = [this](const Words& words) { make(words[1], words[2] == "plant"); };
        commands["read"] = [this](const Words& words) {
            say(fmt::format("{:02x}",
                            *lab->chassis().bus().readRegister(words.u8(1), words.u8(2))));
        };
        commands["state"] = [this](const Words& words) {
            std::istringstream state(labState(*lab));
            for (std::string line; std::getline(state, line);) {
                say(line.find(words.from(1)) == line.npos ? "" : line);
            }
        };
    }
    void make(const std::string& chassis, bool plant) {
        lab = std::make_unique<Lab>(LabOptions{.directory = fmt::format("/tmp/cmd-{}", getpid()),
                                               .daemon = "/bin/true",
                                               .personality = personalityOf(chassis).xml(),
                                               .plant = plant});
        typed = std::make_unique<Commands>(
            *lab, [] {}, [](bool) {});
        for (const char* const name :
             {"fan", "temp", "psu", "cut", "mend", "fault", "rail", "drive", "heat"}) {
            commands[name] = [this](const Words& words) {
                const Commands::Result result = typed->run(words.from(0));
                say(result.ok ? "" : "error: ", result.text);
            };
        }
    }
    std::unique_ptr<Lab> lab;
    std::unique_ptr<Commands> typed;
};

TEST(CommandsTest, DoAndSayWhatIsTyped) {
    scriptPlay<CommandPlayer>(SCRIPTS "/commands.txt");
}

TEST(CommandsTest, AnyWordsAreDoneOrRefusedInOneLineWithNothingChanged) {
    const Words all(
        "fan temp heat inlet psu rail drive cut mend fail fault bus switch startup shutdown clock "
        "disk "
        "raw show mail pull return lock wear stall all auto lost good present on off add remove "
        "list "
        "lm75-0 lm75-9 0x41 0x1234 act=nak act=burn prob=0.5 delay split flood glue die late "
        "perform "
        "0 1 3 4 -1 99999999999 1x nan -inf 200/s log full first zz FAN");
    for (const bool plant : {false, true}) {
        CommandPlayer player;
        player.make("vsc055", plant);
        player.typed->setSeed(5);
        std::mt19937 random(12);
        int refused = 0;
        std::string before = labState(*player.lab);
        for (int n = 0; n < 400; ++n) {
            std::string line = all[random() % 20];
            for (auto length = random() % 4; length > 0; --length) {
                line += "  " + all[random() % all.all.size()];
            }
            const Commands::Result result = player.typed->run(line);
            refused += result.ok ? 0 : 1;
            EXPECT_TRUE(result.ok || result.text.find('\n') == result.text.npos) << line;
            const std::string after = labState(*player.lab);
            ASSERT_TRUE(result.ok || after == before) << line << result.text;
            before = after;
        }
        EXPECT_GT(refused, 250);
        EXPECT_LT(refused, 400);
        const std::string rule = player.typed->run("fault  add any prob=0.5 act=nak").text;
        EXPECT_NE(rule.find("seed=5"), rule.npos) << "the run's, unless it has its own";
    }
}

}  // namespace
}  // namespace enclab
