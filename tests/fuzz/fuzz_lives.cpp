// SPDX-License-Identifier: Apache-2.0
// One input is what happens to the service, step by step, from its start on: a switch that comes
// and goes, messages whole, in pieces, glued and broken, calls that fail, chips that read oddly or
// not at all, time. A step is a byte, number (see STEPS) and argument in the upper half, and what
// it takes behind it. The build renames the service's system calls to world_...: none reaches the
// kernel.

#include <sys/select.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string>

#include "chassis/table.h"
#include "esamain.h"
#include "link/esa_mmsg.h"
#include "start/personality.h"
#include "state/esa_trace.h"
#include "tests/fuzz/world.h"

namespace {

constexpr int TRACE_LINES_MAX = 60, LIVES_MAX = 3, PASSES_TO_SETTLE = 40;
constexpr unsigned TRACED_OF = 64;   // tracing costs ten times the rest: one input of so many does
constexpr int PASS_MAX = 2'100'000;  // microseconds

constexpr int ERRORS[16] = {0,     EINTR, EAGAIN, ENOBUFS,   ENOMEM, EPIPE,  ECONNRESET, ENOTCONN,
                            EBADF, EIO,   ENXIO,  ETIMEDOUT, ENOTTY, EMFILE, EINVAL,     EACCES};

Bytes input;
bool mayTrace;
std::jmp_buf lifeEnd;
Byte body[1 << 16];

Bytes takeMany(std::size_t size) {
    const Bytes bytes = input.first(std::min(size, input.size()));
    input = input.subspan(bytes.size());
    return bytes;
}

Byte take() {
    return input.empty() ? Byte{0} : takeMany(1)[0];
}

// ---- the switch ----

void streamAdd(Bytes bytes) {
    const std::size_t size = std::min(bytes.size(), sizeof stream - life.tail);
    std::copy_n(bytes.data(), size, stream + life.tail);
    life.tail += size;
}

void messageAdd(Byte type, Byte requestor, std::size_t size, Byte handle = 0) {
    Byte header[64] = {};
    *wireView<Be32>(header + 8) = static_cast<U32_t>(0x0E010000 + 64 + size);
    *wireView<Be32>(header + 12) = 0x12000000u + type;
    header[16] = requestor;
    header[27] = 2;
    header[43] = handle;
    for (; life.patchCount > 0; --life.patchCount) {
        header[life.patches[life.patchCount - 1][0] % 64] = life.patches[life.patchCount - 1][1];
    }
    streamAdd(header);
    streamAdd({body, size});
}

void requestAdd(Byte page, bool hasPage, bool hasRoom, Byte handle = 0) {
    const Byte request[] = {
        0x1C, Byte(hasPage ? 0x80 : 0), page, 0, Byte(hasRoom ? 0xFF : 0), 32, 0, 0};
    std::ranges::copy(request, body);
    messageAdd(0x1C, 26, sizeof request, handle);
}

std::size_t pageSize() {
    const EsaControl_t& c = esaControl;
    return 8 + 4 * (5u + c.deviceMaxNumber + c.powerSupplyMaxNumber + c.coolingMaxNumber +
                    c.temperatureSensorMaxNumber + c.audibleAlarmMaxNumber);
}

// The list repeats the bytes behind; bit 0: it is no longer than they; 1: the volume manager's; 2:
// they stand there once; 3: it is a list of none.
void controlAdd(Byte n) {
    const Bytes list = takeMany(take());
    const std::size_t size = 8 + (n & 1 ? 8 + list.size() : pageSize());
    std::memset(body, 0, size + list.size());
    const Byte head[] = {0x1D, 0x08, 0, 0, Byte(n & 8 ? 0 : 1), 0, 0, 0, 2};
    std::ranges::copy(head, body);
    for (std::size_t at = 16; at + list.size() <= size && !list.empty();
         at += n & 4 ? size : list.size()) {
        std::ranges::copy(list, body + at);
    }
    messageAdd(0x1D, n & 2 ? 20 : 26, size);
}

void bulkAdd(Byte type) {
    const std::size_t length = std::size_t{take()} << 8 | take();
    std::memset(body, take(), sizeof body);
    messageAdd(type, 26, std::max<std::size_t>(length, 64) - 64);
}

// ---- the steps; `n` is the argument ----

// Call `n` fails, so often; behind the calls: the switch refuses, a part of the next message goes.
void fail(Byte n) {
    const Byte how = take();
    if (n < CALLS) {
        life.failures[n] = {Byte(ERRORS[how & 15]), Byte(how >> 4)};
    } else if (n == CALLS) {
        life.refuses = how != 0;
    } else {
        life.sendPart = how;
    }
}

void trace(Byte n) {
    life.traced = n + 1;
    TRACE__setTraceLevel(ESA_K_TRACE_MODULE, life.traceLines > 0 ? 0xC0FF : 0);
}

struct Step {
    std::string_view name;
    void (*run)(Byte n);
};
void registerSet(Byte n) {
    const Byte number = take();
    registers[n][number] = take();
}

constexpr Step STEPS[16] = {
    {"idle", [](Byte n) { life.idle = n < 15 ? n : 11; }},  // 11 passes: a poll
    {"request", [](Byte n) { requestAdd(n & 7, (n & 7) != 7, (n & 8) == 0); }},
    {"control", controlAdd},
    {"raw", [](Byte) { streamAdd(takeMany(take())); }},
    {"bulk", bulkAdd},
    {"header", [](Byte) { std::ranges::copy(takeMany(2), life.patches[life.patchCount++ % 8]); }},
    {"glue", [](Byte) { life.glued = true; }},
    {"hold", [](Byte n) { life.held = take(), life.heldWaits = n, life.glued = true; }},
    {"piece", [](Byte) { life.pieceMax = take(); }},
    {"close", [](Byte n) { life.ended = true, life.refuses = n != 0; }},
    {"fail", fail},
    {"silence", [](Byte n) { life.silent[n] = Byte(ERRORS[take() & 15]); }},
    {"answers", [](Byte) { life.answers = takeMany(take()); }},
    {"register", registerSet},
    {"trace", trace},
    {"life", nullptr},
};
constexpr Byte NEXT_LIFE = 15;

void stepsRun() {
    life.held = life.heldWaits == 0 ? 0 : life.held;
    life.glued = life.idle-- <= 0;
    while (life.glued && life.stage == RUNS) {
        life.glued = false;
        if (input.empty() || (input[0] & 15) == NEXT_LIFE) {
            life.stage = SETTLES;
        } else {
            const Byte step = take();
            STEPS[step & 15].run(step >> 4);
            life.patchCount = std::min<std::size_t>(life.patchCount, 8);
        }
    }
}

// ---- a life ----

void settle() {
    std::memset(life.failures, 0, sizeof life.failures);
    life.held = life.pieceMax = life.patchCount = 0;
    life.sendPart = -1;
    life.refuses = false;
    if (!life.reachable) {
        std::longjmp(lifeEnd, 1);
    }
    require(++life.passes < PASSES_TO_SETTLE, "the service does not come back");
    if (life.connected && !life.ended && visible() == 0 && life.frameLeft == 0) {
        requestAdd(2, true, true, LAST_HANDLE);
        life.replySize = 0;
        life.stage = ASKED;
    } else if (life.passes > 4 && life.connected) {
        life.ended = true;  // within a message, or with many to come
        life.tail = life.head;
    }
}

void stateCheck() {
    const U32_t faults = esaControl.compositeFaultStatus;
    require(life.passBegan == 0 || life.now - life.passBegan <= PASS_MAX, "a pass waits too long");
    require(esaLinkIsUp() == life.connected && esaControl.socketFdMSM == life.socket, "what link?");
    require(!life.broken || !life.connected, "a link stays up behind a part of a message");
    require((faults & ESA_K_FAULT_ALL) != 0 ? faults >= ESA_K_FAULT_LED_ON : faults == 0,
            "what LED?");
}

void answerCheck() {
    const std::size_t size = pageSize();
    require(life.replySize == 64 + size, "the last status request is not answered");
    require(wordAt(life.reply, 20) == 1 << 26 && life.reply[64] == 0, "an answer to others");
    require(wordAt(life.reply, 64) >> 8 == 2 << 8 && wordAt(life.reply, 65) % 65536 == size - 4,
            "?");
    require(life.sendFailed || life.ledLit == (esaControl.compositeFaultStatus != 0),
            "another LED");
    std::longjmp(lifeEnd, 1);
}

Bytes usualPersonality(std::size_t kind) {
    static std::string texts[7];
    const auto names = esaChassisTable()[kind % 7]->names;
    std::string& text = texts[kind % 7];
    if (text.empty()) {
        text = names.empty() ? "-" : names[0].quoted;
        const char* values[] = {"2",  "4",  "4",  "60", "30",   "40",
                                "50", "45", "35", "20", "1500", "25"};
        for (std::size_t n = 0; n < 12; ++n) {
            text += esaPersonalityKeys()[n].quoted + std::string(" value=\"") + values[n] + "\" ";
        }
    }
    return {reinterpret_cast<const Byte*>(text.data()), text.size()};
}

// `what`: 0 usual, 1 own text, 2 no text, then a path too long, a refusing switch, a failing call,
// silent chips, a bad start; `how` tells them apart.
void lifeBegin(Byte n, Byte what, Byte how) {
    life = {};
    std::memset(registers, 0xBA, sizeof registers);  // reads well nearly everywhere
    std::memset(registers[8], 0x19, 6 * sizeof registers[8]);
    life.now = 1000L * SECOND;
    life.traceLines = mayTrace ? TRACE_LINES_MAX : 0;
    life.reachable = what != 3;
    life.refuses = what == 4;
    life.failures[how % CALLS] = {Byte(ERRORS[how / 16]), Byte(what == 5 ? 2 : 0)};
    std::memset(life.silent, what == 6 ? ENXIO : 0, sizeof life.silent);
    life.personality = what == 1   ? takeMany(take())
                       : what == 2 ? Bytes{}
                                   : usualPersonality(n & 7u);
    const Byte kind = n & 7;  // places in the chassis table, and one behind it
    const bool named = kind < 7 && !esaChassisTable()[kind]->names.empty();
    life.forcedType = named ? Byte{0} : static_cast<Byte>(kind + 1);
    area.version = MPU_K_PARAMS_VERSION + (what == 7 ? how & 1u : 0);
    area.flags = mayTrace && (n & 8) != 0 ? MPU_K_FLAG_TRACE_VERBOSE : 0;
    std::memset(area.mmsgDirectory, 'm', sizeof area.mmsgDirectory);
    area.mmsgDirectory[life.reachable ? 4 : 127] = '\0';
}

void lifeRun() {
    static char program[] = "/usr/sbin/esa", key[] = "100", low[] = "99";
    const Byte n = take() >> 4, what = take() & 7, how = take();
    char* arguments[] = {program, what == 7 && (how & 2) != 0 ? low : key, nullptr};
    lifeBegin(n, what, how);
    if (setjmp(lifeEnd) == 0) {
        esaMain(what == 7 && (how & 4) != 0 ? 1 : 2, arguments);
    }
    if (traceData.modNames != nullptr) {
        TRACE__done();
    }
}

// A line of seeds.txt, as a file of its own.
void seedWrite(const std::string& line, const std::string& directory) {
    static int count = 0;
    std::string seed, word;
    for (std::istringstream words(line); words >> word;) {
        const std::size_t colon = word.find(':');
        const auto* const step = std::ranges::find(STEPS, word.substr(0, colon), &Step::name);
        const auto n = std::stoul(word.substr(colon + 1), nullptr, 16);
        seed += static_cast<char>(
            colon == word.npos ? n : static_cast<unsigned long>(step - STEPS) | n << 4);
    }
    // A last step that does nothing makes the sum one of those that may trace.
    const unsigned sum = std::accumulate(seed.begin(), seed.end(), 8U);
    seed += {8, static_cast<char>((TRACED_OF - sum % TRACED_OF) % TRACED_OF)};
    std::ofstream(directory + "/" + std::to_string(++count)) << seed;
}

}  // namespace

extern "C" {
#pragma GCC diagnostic ignored "-Wmissing-prototypes"

int world_select(int count, fd_set* watched, fd_set*, fd_set*, timeval* timeout) {
    stateCheck();
    if (life.traced > 0 && --life.traced == 0) {
        TRACE__setTraceLevel(ESA_K_TRACE_MODULE, 0);
    }
    if (life.stage == ASKED) {
        answerCheck();
    } else if (life.stage == RUNS) {
        stepsRun();
    }
    if (life.stage == SETTLES) {
        settle();
    }
    life.passBegan = life.now;
    require(count == (life.connected ? life.socket + 1 : 0), "the link is not watched");
    if (isFailing(SELECT)) {
        return -1;
    }
    if (life.connected && (visible() > 0 || life.ended)) {
        life.now += SECOND * 9 / 10;
        *timeout = {0, SECOND / 10};
        return 1;
    }
    life.now += SECOND;
    *timeout = {};
    FD_ZERO(watched);
    return 0;
}

// ---- the fuzzer's ----

// What was freed need not be kept for long.
const char* __asan_default_options() {
    return "quarantine_size_mb=1:malloc_context_size=2:intercept_strstr=0";
}

// "--seeds FILE DIRECTORY".
int LLVMFuzzerInitialize(int* argc, char*** argv) {
    setenv("TZ", "UTC0", 1);
    if (*argc != 4 || std::strcmp((*argv)[1], "--seeds") != 0) {
        return 0;
    }
    std::ifstream lines((*argv)[2]);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t star = line.find('*');
        for (const char kind : std::string(star == line.npos ? "0" : "0123456789ABCDEF")) {
            if (star != line.npos) {
                line[star] = kind;
            }
            if (line.starts_with("life:")) {
                seedWrite(line, (*argv)[3]);
            }
        }
    }
    std::exit(0);
}

int LLVMFuzzerTestOneInput(const Byte* data, std::size_t size) {
    input = {data, size};
    mayTrace = std::accumulate(data, data + size, 0U) % TRACED_OF == 0;
    for (int lives = 0; lives == 0 || (lives < LIVES_MAX && !input.empty()); ++lives) {
        lifeRun();
    }
    return 0;
}
}
