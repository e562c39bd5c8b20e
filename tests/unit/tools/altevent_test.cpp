// SPDX-License-Identifier: Apache-2.0
// altevent as a command: which slots it lists, in which order, and its exit status.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <numeric>

#include "tests/unit/tools/altevent_file.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const Bytes EMPTY_SLOT = Bytes(4096);

// A record no kind knows, told by its evId.
Bytes someRecord(std::uint8_t id) {
    Bytes record(4064);
    record[151] = id;
    return record;
}

std::vector<int> idsOf(const std::string& json) {
    std::vector<int> ids;
    const auto document = nlohmann::json::parse(json);
    for (const auto& record : document["records"]) {
        ids.push_back(record["header"]["evId"]);
    }
    return ids;
}

}  // namespace

TEST_F(AlteventTest, RecordsComeOldestFirstByTheirNumbers) {
    std::vector<Bytes> slots;
    for (int number = 257; number <= 258; ++number) {  // the ring has been overwritten twice
        slots.push_back(slotOf(static_cast<std::uint8_t>(number), someRecord(90)));
        slots.back()[22] = 1;
    }
    for (std::uint8_t number = 3; number != 0; ++number) {
        slots.push_back(slotOf(number, someRecord(number)));
    }
    slots.push_back(slotOf(0, someRecord(80)));
    slots.back()[22] = 1;  // number 256
    write(slots);
    const Result result = run({file_.string(), "--json"});
    EXPECT_EQ(result.status, 0);
    std::vector<int> expected(253);
    std::iota(expected.begin(), expected.end(), 3);
    expected.insert(expected.end(), {80, 90, 90});
    EXPECT_EQ(idsOf(result.out), expected);
}

TEST_F(AlteventTest, LastPrintsTheNewestOldestFirst) {
    write({slotOf(1, someRecord(1)), slotOf(2, someRecord(2)), slotOf(3, someRecord(3))});
    EXPECT_THAT(idsOf(run({file_.string(), "--json", "--last", "2"}).out), ElementsAre(2, 3));
    EXPECT_THAT(idsOf(run({file_.string(), "--json", "--last", "256"}).out), ElementsAre(1, 2, 3));
}

TEST_F(AlteventTest, DamagedSlotsAreNamedAndTheOthersListed) {
    Bytes torn = slotOf(2, someRecord(2));
    torn[4000] ^= 0x10;
    Bytes foreign = slotOf(4, someRecord(4));
    foreign[3] = '2';
    Bytes cut = slotOf(6, someRecord(6));
    cut.resize(100);
    write({slotOf(1, someRecord(1)), torn, EMPTY_SLOT, foreign, slotOf(5, someRecord(5)), cut});
    const Result text = run();
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, HasSubstr("slot 1 (at byte 4096) is torn: "
                                    "its record was not written to the end\n"
                                    "slot 3 (at byte 12288) is foreign: this log did not write it\n"
                                    "slot 5 (at byte 20480) is torn: "
                                    "its record was not written to the end\n"
                                    "2 records, 3 damaged slots\n"));
    const Result json = run({file_.string(), "--json"});
    EXPECT_EQ(json.status, 1);
    EXPECT_THAT(idsOf(json.out), ElementsAre(1, 5));
    EXPECT_EQ(nlohmann::json::parse(json.out)["damaged"], nlohmann::json::parse(R"([
        {"slot": 1, "state": "torn"},
        {"slot": 3, "state": "foreign"},
        {"slot": 5, "state": "torn"}])"));
}

TEST_F(AlteventTest, LogWithoutRecordsIsFine) {
    write({});
    EXPECT_EQ(run().status, 0);
    write({EMPTY_SLOT, EMPTY_SLOT});
    const Result result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "0 records, 0 damaged slots\n");
}

TEST_F(AlteventTest, WhatIsBehindTheLastSlotIsNoPartOfTheLog) {
    std::vector<Bytes> slots(257, EMPTY_SLOT);
    slots[0] = slotOf(1, someRecord(1));
    slots[256] = slotOf(1, someRecord(2));
    write(slots);
    EXPECT_EQ(run().status, 0);
    EXPECT_THAT(idsOf(run({file_.string(), "--json"}).out), ElementsAre(1));
}

TEST_F(AlteventTest, UnreadableFilesCostOneLineAndStatusThree) {
    write({Bytes(5000, 'x')});
    fs::create_directory(directory_ / "dir");
    struct Case {
        std::string file;
        std::string line;
    };
    const std::string place = directory_.string();
    const Case cases[] = {
        {place + "/none", "altevent: " + place + "/none: No such file or directory\n"},
        {place + "/dir", "altevent: " + place + "/dir: not a plain file\n"},
        {"/dev/null", "altevent: /dev/null: not a plain file\n"},
        {file_.string(), "altevent: " + file_.string() + ": not an alternate event log\n"},
    };
    for (const Case& c : cases) {
        const Result result = run({c.file});
        EXPECT_EQ(result.status, 3) << c.file;
        EXPECT_EQ(result.err, c.line);
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(AlteventTest, WrongUsageCostsOneLineAndStatusTwo) {
    const std::vector<std::string> cases[] = {
        {"--last", "0"}, {"--last", "257"}, {"--last"}, {"--last", "x"}, {"--wide"}, {"a", "b"},
    };
    for (const auto& arguments : cases) {
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 2) << arguments[0];
        EXPECT_THAT(result.err, testing::MatchesRegex("altevent: [^\n]*--help\\)\n"));
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(AlteventTest, HelpNamesTheExitStatusAndIsNoError) {
    const Result result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("Exit status:\n  0  all slots are whole\n"));
}

TEST_F(AlteventTest, OutputThatCannotBeWrittenIsStatusThree) {
    write({});
    const std::string file = file_.string();
    const char* const words[] = {"altevent", file.c_str()};
    std::FILE* const full = std::fopen("/dev/full", "w");
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const err = open_memstream(&text, &size);
    EXPECT_EQ(altevent::run(2, words, full, err), 3);
    std::fclose(err);
    EXPECT_STREQ(text, "altevent: cannot write: No space left on device\n");
    std::free(text);
    std::fclose(full);
}

TEST_F(AlteventTest, HexAddsTheWholeRecord) {
    Bytes record = someRecord(7);
    record[4063] = 0xEE;
    write({slotOf(1, record)});
    EXPECT_THAT(run({file_.string(), "--hex"}).out,
                HasSubstr("  record\n"
                          "    0000  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  "
                          "|................|\n"
                          "    *\n"
                          "    0090  00 00 00 00 00 00 00 07 00 00 00 00 00 00 00 00  "
                          "|................|\n"
                          "    00a0  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  "
                          "|................|\n"
                          "    *\n"
                          "    0fd0  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ee  "
                          "|................|\n"));
    const auto json = nlohmann::json::parse(run({file_.string(), "--hex", "--json"}).out);
    const std::string hex = json["records"][0]["record"];
    EXPECT_EQ(hex.size(), 2u * 4064);
    EXPECT_EQ(hex.substr(300), "0007" + std::string(2 * 3911, '0') + "ee");
}
