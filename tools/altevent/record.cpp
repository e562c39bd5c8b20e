// SPDX-License-Identifier: Apache-2.0
// Records come in two forms: an event header and its payload, or the same behind a message header
// that asks the event manager to log it. The kind follows from the numbers of the event header.
#include "tools/altevent/record.h"

#include <fmt/format.h>

#include <algorithm>

#include "MPU/event_record.h"
#include "esa_evl.h"

namespace altevent {

namespace {

struct Kind {
    U8_t source;
    U8_t type;
    U8_t category;
    U8_t idVersion;
    U16_t id;
    U16_t structLength;  // of such a record
    U32_t payloadSize;   // bytes to decode
    const char* text;
    Fields (*fields)(ByteSpan payload);
};

}  // namespace

static Fields errorMessageFields(ByteSpan payload) {
    const auto& error = view<EsaErrorMsg_t>(payload);
    return {
        text("esaErrorMsg", error.esaErrorMsg),
        text("esaFileName", error.esaFileName),
        text("esaFunctionName", error.esaFunctionName),
        number("esaLineNumber", error.esaLineNumber),
    };
}

static Fields bufferFields(ByteSpan payload) {
    return {group("header", messageHeaderFields(payload)), hexDump("bytes", payload)};
}

static Fields bugCheckFields(ByteSpan payload) {
    const auto& bugCheck = view<BugCheckPayload_t>(payload);
    const std::span<const char> names = bugCheck.names;
    const auto end = std::ranges::find(names, '\0');
    const auto functionName = end == names.end() ? end : end + 1;
    const std::span<const char> message = bugCheck.text;
    return {
        text("text", {message.begin(), std::ranges::find(message, '\n')}),
        text("fileName", {names.begin(), end}),
        text("functionName", {functionName, names.end()}),
        number("lineNumber", bugCheck.lineNumber),
    };
}

// Bytes of the two message buffers that a critical fault keeps.
static constexpr U32_t BUFFER_BYTES_KEPT = 256;

static const Kind KINDS[] = {
    {MMSG_E_EPID_ES_ADAPTERMP, EMP_E_TYPE_ERROR, EMP_E_CATEGORY_ENVIRONMENTAL, 1,
     ESA_E_ID_ES_ADAPTERMP_BUGCHECK_ERROR_MSG, sizeof(EsaErrorMsg_t), sizeof(EsaErrorMsg_t),
     "critical fault, message", errorMessageFields},
    {MMSG_E_EPID_ES_ADAPTERMP, EMP_E_TYPE_ERROR, EMP_E_CATEGORY_ENVIRONMENTAL, 1,
     ESA_E_ID_ES_ADAPTERMP_BUGCHECK_INFO, sizeof(EsaInfo_t), sizeof(EsaInfo_t),
     "critical fault, state of the service", serviceStateFields},
    {MMSG_E_EPID_ES_ADAPTERMP, EMP_E_TYPE_ERROR, EMP_E_CATEGORY_ENVIRONMENTAL, 1,
     ESA_E_ID_ES_ADAPTERMP_BUGCHECK_MSG_BUFFER, BUFFER_BYTES_KEPT, BUFFER_BYTES_KEPT,
     "critical fault, received message", bufferFields},
    {MMSG_E_EPID_ES_ADAPTERMP, EMP_E_TYPE_ERROR, EMP_E_CATEGORY_ENVIRONMENTAL, 1,
     ESA_E_ID_ES_ADAPTERMP_BUGCHECK_WORKSPACE_BUFFER, BUFFER_BYTES_KEPT, BUFFER_BYTES_KEPT,
     "critical fault, last message built", bufferFields},
    {BUGCHECK_K_SOURCE, EMP_E_TYPE_ERROR, BUGCHECK_K_CATEGORY, 1, BUGCHECK_K_EVENT_ID, 0,
     sizeof(BugCheckPayload_t), "trace bug check", bugCheckFields},
    {SIGNAL_K_SOURCE, EMP_E_TYPE_ERROR, BUGCHECK_K_CATEGORY, 1, SIGNAL_K_EVENT_ID,
     sizeof(SignalPayload_t), sizeof(SignalPayload_t), "fatal signal", signalFields},
};

static const Kind* kindOf(const EmpEvLogHeader_t& header) {
    const auto found = std::ranges::find_if(KINDS, [&](const Kind& kind) {
        return kind.source == header.evSource && kind.type == header.evType &&
               kind.category == header.evCategory && kind.idVersion == header.evIdVersion &&
               kind.id == header.evId && kind.structLength == header.evStructLength;
    });
    return found == std::end(KINDS) ? nullptr : &*found;
}

static Fields eventHeaderFields(const EmpEvLogHeader_t& header) {
    return {
        text("evEnclosureId", header.evEnclosureId),
        text("evBladeId", header.evBladeId),
        number("evSlotId", header.evSlotId),
        number("evInstanceNumber", header.evInstanceNumber),
        number("evSequenceId", header.evSequenceId),
        number("evTime", header.evTime),
        number("evStructLength", header.evStructLength),
        number("evSource", header.evSource),
        named("evType", header.evType, EVENT_TYPES),
        number("evCategory", header.evCategory),
        number("evIdVersion", header.evIdVersion),
        number("evId", header.evId),
    };
}

static bool isMessage(ByteSpan record) {
    const auto& header = view<MMCH_t>(record);
    return header.opcode.request.protocol == MMSG_E_PROTOCOL_EVENTMGR &&
           header.opcode.request.type == EMP_E_MSGS_LOG;
}

Decoded decodeRecord(const U8_t (&record)[ALT_EVENT_K_RECORD_SIZE]) {
    const ByteSpan whole = record;
    const ByteSpan event = isMessage(whole) ? whole.subspan(sizeof(MMCH_t)) : whole;
    const auto& header = view<EmpEvLogHeader_t>(event);
    const ByteSpan payload = event.subspan(sizeof header);
    const Kind* const kind = kindOf(header);
    if (kind != nullptr) {
        return {kind->text, eventHeaderFields(header),
                kind->fields(payload.first(kind->payloadSize))};
    }
    const std::size_t length = std::min<std::size_t>(header.evStructLength, payload.size());
    return {"unknown", eventHeaderFields(header), {hexDump("bytes", payload.first(length))}};
}

}  // namespace altevent
