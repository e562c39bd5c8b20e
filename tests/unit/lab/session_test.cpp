// SPDX-License-Identifier: Apache-2.0
// The parts a lab is made of, where no run of a lab shows them: directory, child process, commands.
#include <gmock/gmock.h>
#include <sys/shm.h>
#include <unistd.h>
#include <asio/io_context.hpp>

#include <fstream>

#include "lab/session/commands.h"
#include "lab/session/findings.h"
#include "lab/session/lab.h"
#include "tests/support/script.h"
#include "tests/unit/lab/random.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::ThrowsMessage;

namespace enclab {
namespace {

class SessionTest : public testing::Test {
  protected:
    ~SessionTest() override { fs::remove_all(place); }

    void file(const fs::path& name, const std::string& text) {
        fs::create_directories((place / name).parent_path());
        std::ofstream(place / name) << text;
    }

    // Short enough for sockets.
    const fs::path place = "/tmp/lab-test-" + std::to_string(getpid());
};

TEST_F(SessionTest, DirectoryRefusesWhatIsNotForItAndTakesNothingOfOthers) {
    file("c/log/diary.txt", "mine");
    EXPECT_THAT([&] { LabDirectory(place / "c"); },
                ThrowsMessage<std::runtime_error>(HasSubstr("not empty")));
    EXPECT_TRUE(fs::exists(place / "c/log/diary.txt"));
    const std::string longest(108 - place.native().size() - 1 - sizeof "/mmsg/esadapter", 'x');
    EXPECT_THAT([&] { LabDirectory(place / (longest + "y")); },
                ThrowsMessage<std::runtime_error>(HasSubstr("too long")));
    EXPECT_NO_THROW(LabDirectory{place / longest});

    const ParameterArea mine;
    file("b/lock", std::to_string(getpid() + 1) + " " + std::to_string(mine.shmid()) + "\n");
    EXPECT_NO_THROW(LabDirectory{place / "b"});
    EXPECT_EQ(shmget(mine.key(), 0, 0), mine.shmid()) << "a removed one loses its key";
}

TEST_F(SessionTest, ChildIsGoneEvenWhenItIgnoresTheTermination) {
    asio::io_context io;
    bool ready = false;
    auto child = std::make_unique<Child>(
        io, std::vector<std::string>{"/bin/sh", "-c", "trap '' TERM; echo; while :; do :; done"},
        std::vector<std::string>{}, [&](const std::string&) { ready = true; });
    while (!ready) {
        io.run_one();
    }
    const pid_t pid = child->pid();
    child.reset();
    EXPECT_EQ(kill(pid, 0), -1);
}

TEST_F(SessionTest, AnyCommandIsDoneOrRefusedInOneLineWithNothingChangedAndHealMendsAll) {
    const Words all(
        "fan temp heat inlet psu rail drive cut mend fail fault bus switch startup shutdown clock "
        "disk raw show mail pull return lock wear stall all auto lost good present on off add "
        "remove list lm75-0 lm75-9 0x41 0x1234 act=nak act=burn prob=0.5 delay split flood glue "
        "die late perform 0 1 3 4 -1 99999999999 1x nan -inf 200/s log full first zz FAN close "
        "stop glue 5 5@2 drift nv gone silent refuse");
    for (const bool plant : {false, true}) {
        Lab lab({.directory = place / "lab", .daemon = "/bin/true", .plant = plant});
        Commands commands(
            lab, [] {}, [](bool) {});
        int refused = 0;
        std::string before = labState(lab);
        for (int n = 0; n < 400; ++n) {
            std::string line = all[numbers() % 20];
            for (auto length = numbers() % 4; length > 0; --length) {
                line += "  " + all[numbers() % all.all.size()];
            }
            const Commands::Result result = commands.run(line);
            refused += result.ok ? 0 : 1;
            EXPECT_TRUE(result.ok || result.text.find('\n') == result.text.npos) << line;
            const std::string after = labState(lab);
            ASSERT_TRUE(result.ok || after == before) << line << result.text;
            before = after;
            if (n % 20 == 19) {
                commands.run("heal");
                before = labState(lab);
                EXPECT_TRUE(findings(lab).empty()) << line << "\n" << before;
            }
        }
        EXPECT_TRUE(refused > 250 && refused < 400) << refused;
    }
}

}  // namespace
}  // namespace enclab
