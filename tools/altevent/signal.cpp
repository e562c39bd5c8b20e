// SPDX-License-Identifier: Apache-2.0
// A fatal signal carries siginfo_t and the saved registers as the kernel of the process laid them
// out: 32-bit big-endian on the controller, 64-bit little-endian where it is developed. Which one
// shows in the signal number, the first word of both.
#include <fmt/format.h>

#include <csignal>

#include "MPU/event_record.h"
#include "tools/altevent/record.h"

namespace altevent {

namespace {

struct Machine {
    bool bigEndian;
    std::size_t wordSize;   // of registers and pointers
    std::size_t detailsAt;  // in siginfo_t: fault address, or process and user id of the sender
    std::span<const char* const> registers;
};

const char* const POWERPC_REGISTERS[] = {
    "gpr0",  "gpr1",  "gpr2",  "gpr3",  "gpr4",  "gpr5",  "gpr6",  "gpr7",      "gpr8",
    "gpr9",  "gpr10", "gpr11", "gpr12", "gpr13", "gpr14", "gpr15", "gpr16",     "gpr17",
    "gpr18", "gpr19", "gpr20", "gpr21", "gpr22", "gpr23", "gpr24", "gpr25",     "gpr26",
    "gpr27", "gpr28", "gpr29", "gpr30", "gpr31", "nip",   "msr",   "orig_gpr3", "ctr",
    "link",  "xer",   "ccr",   "mq",    "trap",  "dar",   "dsisr", "result",
};
const char* const X86_64_REGISTERS[] = {
    "r8",  "r9",  "r10", "r11", "r12", "r13", "r14", "r15",    "rdi", "rsi",    "rbp",
    "rbx", "rdx", "rax", "rcx", "rsp", "rip", "efl", "csgsfs", "err", "trapno", "oldmask",
};
const Machine POWERPC = {true, 4, 12, POWERPC_REGISTERS};
const Machine X86_64 = {false, 8, 16, X86_64_REGISTERS};

constexpr U32_t SIGNAL_NUMBER_MAX = 64;
constexpr std::size_t REGISTERS_A_LINE = 4;

}  // namespace

static U64_t wordAt(ByteSpan bytes, std::size_t offset, std::size_t size, bool bigEndian) {
    U64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = (value << 8) | bytes[offset + (bigEndian ? i : size - 1 - i)];
    }
    return value;
}

static U32_t signalNumber(ByteSpan info, const Machine& machine) {
    return static_cast<U32_t>(wordAt(info, 0, 4, machine.bigEndian));
}

static const Machine* machineOf(ByteSpan info) {
    for (const Machine* machine : {&POWERPC, &X86_64}) {
        const U32_t number = signalNumber(info, *machine);
        if (number > 0 && number <= SIGNAL_NUMBER_MAX) {
            return machine;
        }
    }
    return nullptr;
}

static bool isFault(U32_t number) {
    return number == SIGILL || number == SIGFPE || number == SIGSEGV || number == SIGBUS;
}

// Where the fault was, or who sent the signal.
static Fields causeFields(ByteSpan info, const Machine& machine, U32_t number, std::int32_t code) {
    if (isFault(number) && code > 0) {
        const U64_t address = wordAt(info, machine.detailsAt, machine.wordSize, machine.bigEndian);
        return {{"faultAddress", address, {fmt::format("{:#x}", address)}}};
    }
    const auto word = [&](const char* name, std::size_t offset) {
        return altevent::number(
            name, static_cast<std::int32_t>(wordAt(info, offset, 4, machine.bigEndian)));
    };
    return {
        word("senderProcessId", machine.detailsAt),
        word("senderUserId", machine.detailsAt + 4),
    };
}

static Field registerField(ByteSpan bytes, const Machine& machine) {
    Field field = {"registers", Json::object(), {}};
    for (std::size_t i = 0; i < machine.registers.size(); ++i) {
        const U64_t value =
            wordAt(bytes, i * machine.wordSize, machine.wordSize, machine.bigEndian);
        field.value[machine.registers[i]] = value;
        if (i % REGISTERS_A_LINE == 0) {
            field.lines.emplace_back();
        }
        field.lines.back() +=
            fmt::format("{:<9} {:0{}x}  ", machine.registers[i], value, 2 * machine.wordSize);
    }
    return field;
}

static Fields kernelFields(const SignalPayload_t& signal, const Machine& machine) {
    const ByteSpan info = signal.signalInfo;
    const U32_t number = signalNumber(info, machine);
    const auto code = static_cast<std::int32_t>(wordAt(info, 8, 4, machine.bigEndian));
    Fields fields = {named("signal", number, SIGNALS), altevent::number("code", code)};
    for (Field& field : causeFields(info, machine, number, code)) {
        fields.push_back(std::move(field));
    }
    fields.push_back(registerField(signal.registers, machine));
    return fields;
}

Fields signalFields(ByteSpan payload) {
    const auto& signal = view<SignalPayload_t>(payload);
    Fields fields = {number("processId", signal.processId),
                     text("programName", signal.programName)};
    const Machine* const machine = machineOf(signal.signalInfo);
    if (machine == nullptr) {
        fields.push_back(hexDump("signalInfo", signal.signalInfo));
        fields.push_back(hexDump("registers", signal.registers));
        return fields;
    }
    for (Field& field : kernelFields(signal, *machine)) {
        fields.push_back(std::move(field));
    }
    return fields;
}

}  // namespace altevent
