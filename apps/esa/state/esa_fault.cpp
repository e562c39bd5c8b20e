// SPDX-License-Identifier: Apache-2.0
// Critical-fault reporting. The dump of the service's state is a table walked by one routine. Texts
// and order are the log readers'; the uneven blanks before some equals signs are theirs too. Reads
// the control block and sets but esaDebug in it, so it may be called while a message is half built.
#include "state/esa_fault.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "esa_evl.h"
#include "mpu_gbl.h"
#include "state/esa_control.h"

char esaDebugMsg[1024];
U8_t esaBugCheckWorkSpace[ALT_EVENT_K_RECORD_SIZE];

// The box and the dump are written at the critical level, all in the name of esaFault; a line of
// the dump is its table row's. (compatibility: critical-level)
#define FAULT_TRACE_AT(line, ...)                                                      \
    do {                                                                               \
        if (TRACE_IS_ON(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL_FAULT)) {                \
            TRACE__statement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, "esaFault", (line), \
                             __VA_ARGS__);                                             \
        }                                                                              \
    } while (0)
#define FAULT_TRACE(...) FAULT_TRACE_AT(__LINE__, __VA_ARGS__)
#define FAULT_TRACE_DUMP_AT(line, data, len, ...)                                                  \
    do {                                                                                           \
        if (TRACE_IS_ON(ESA_K_TRACE_MODULE, ESA_K_TRACE_LEVEL_FAULT)) {                            \
            TRACE__dumpStatement(ESA_K_TRACE_MODULE, ESA_K_TRACE_FILE, "esaFault", (line), (data), \
                                 (len), __VA_ARGS__);                                              \
        }                                                                                          \
    } while (0)

namespace {

constexpr U32_t BUFFER_BYTES_KEPT = 256;  // of each message buffer

// ---- the dump ----

enum class Form {
    DECIMAL,       // "= [%d]"
    BARE_DECIMAL,  // "= %d"
    HEX,           // "= [0x%x]"
    TEXT,          // "= [%s]"
    BYTES,         // title and hex dump; the name carries its own blanks
    SENSORS,       // one line per sensor
};

struct DumpRow {
    Form form;
    const char* name;
    const void* data;
    U32_t size;  // bytes
    int line;    // of the row
};

#define ROW(form, field) \
    { Form::form, #field, &esaControl.field, sizeof esaControl.field, __LINE__ }
#define BYTES_ROW(title, field) \
    { Form::BYTES, title, &esaControl.field, sizeof esaControl.field, __LINE__ }

const DumpRow DUMP[] = {
    ROW(DECIMAL, socketFdMSM),
    ROW(TEXT, socketAddressMSM.sun_path),
    ROW(DECIMAL, i2cFileFd),
    ROW(DECIMAL, enclosureType),
    ROW(DECIMAL, elementTypeMaxNumber),
    ROW(DECIMAL, deviceMaxNumber),
    ROW(DECIMAL, powerSupplyMaxNumber),
    ROW(DECIMAL, coolingMaxNumber),
    ROW(DECIMAL, temperatureSensorMaxNumber),
    ROW(DECIMAL, audibleAlarmMaxNumber),
    ROW(DECIMAL, pageCodeInRecentSndDiagCmd),
    BYTES_ROW("sesTypeDescriptorList ", sesTypeDescriptorList),
    ROW(DECIMAL, deviceElementControlOverall),
    BYTES_ROW("deviceElementControl ", deviceElementControl),
    ROW(DECIMAL, deviceElementStatusOverall),
    BYTES_ROW("deviceElementStatus ", deviceElementStatus),
    ROW(HEX, driveFaultLedStatus0),
    ROW(HEX, driveFaultLedStatus1),
    ROW(DECIMAL, powerSupplyElementControlOverall),
    BYTES_ROW("powerSupplyElementControl  ", powerSupplyElementControl),
    ROW(DECIMAL, powerSupplyElementStatusOverall),
    BYTES_ROW("powerSupplyElementStatus  ", powerSupplyElementStatus),
    ROW(HEX, powerSupplyStatus),
    ROW(DECIMAL, coolingElementControlOverall),
    BYTES_ROW("coolingElementControl  ", coolingElementControl),
    ROW(DECIMAL, coolingElementStatusOverall),
    BYTES_ROW("coolingElementStatus  ", coolingElementStatus),
    BYTES_ROW("coolingElementOnOff  ", coolingElementOnOff),
    ROW(HEX, fanFaultStatus),
    ROW(SENSORS, temperatureSensor),
    ROW(SENSORS, temperatureReportStatus),
    ROW(DECIMAL, audibleAlarmElementControlOverall),
    BYTES_ROW("audibleAlarmElementControl  ", audibleAlarmElementControl),
    ROW(DECIMAL, audibleAlarmElementStatusOverall),
    BYTES_ROW("audibleAlarmElementStatus  ", audibleAlarmElementStatus),
    ROW(BARE_DECIMAL, alarmState),
    ROW(HEX, compositeFaultStatus),
    ROW(DECIMAL, esaDebug),
    BYTES_ROW("vitesse.vsc055GPD  ", vitesse.vsc055GPD),
    BYTES_ROW("vitesse.vsc055DDP  ", vitesse.vsc055DDP),
    BYTES_ROW("vitesse.vsc055FSC  ", vitesse.vsc055FSC),
    ROW(DECIMAL, selectTimeout.sec),
    ROW(DECIMAL, pollTimeout.sec),
    {Form::BYTES, "esaInMsg  ", esaControl.esaInMsg, BUFFER_BYTES_KEPT, __LINE__},
    {Form::BYTES, "esaWorkSpace  ", esaControl.esaWorkSpace, BUFFER_BYTES_KEPT, __LINE__},
};

#undef ROW
#undef BYTES_ROW

int valueAt(const void* data, U32_t width) {
    switch (width) {
        case sizeof(U8_t):
            return *static_cast<const U8_t*>(data);
        case sizeof(S16_t):
            return *static_cast<const S16_t*>(data);
        default:
            return *static_cast<const S32_t*>(data);
    }
}

void sensorsDump(const DumpRow& row) {
    const U32_t width = row.size / SES_K_SENSORS_MAX;
    const int blanks = 26 - static_cast<int>(std::strlen(row.name));
    for (U32_t n = 0; n < SES_K_SENSORS_MAX; ++n) {
        FAULT_TRACE_AT(row.line, "esaControl.%s[%u]%*s= %d", row.name, n, blanks, "",
                       valueAt(static_cast<const U8_t*>(row.data) + n * width, width));
    }
}

void rowDump(const DumpRow& row) {
    switch (row.form) {
        case Form::DECIMAL:
            FAULT_TRACE_AT(row.line, "esaControl.%-34s= [%d]", row.name,
                           valueAt(row.data, row.size));
            break;
        case Form::BARE_DECIMAL:
            FAULT_TRACE_AT(row.line, "esaControl.%-34s= %d", row.name, valueAt(row.data, row.size));
            break;
        case Form::HEX:
            FAULT_TRACE_AT(row.line, "esaControl.%-34s= [0x%x]", row.name,
                           static_cast<U32_t>(valueAt(row.data, row.size)));
            break;
        case Form::TEXT:
            FAULT_TRACE_AT(row.line, "esaControl.%-34s= [%.*s]", row.name,
                           static_cast<int>(row.size), static_cast<const char*>(row.data));
            break;
        case Form::BYTES:
            FAULT_TRACE_DUMP_AT(row.line, row.data, row.size, "esaControl.%s=", row.name);
            break;
        case Form::SENSORS:
            sensorsDump(row);
            break;
    }
}

void controlBlockDump() {
    for (const DumpRow& row : DUMP) {
        rowDump(row);
    }
    FAULT_TRACE("\nFinish the Enclosure Services Adapter internal data dump.");
}

void boxWrite(const char* fileName, int lineNo, const char* fnName) {
    FAULT_TRACE("********************** Critical Error *********************");
    FAULT_TRACE("| File:      %s", fileName);
    FAULT_TRACE("| Function:  %s", fnName);
    FAULT_TRACE("| Line:      %d", lineNo);
    FAULT_TRACE("| Message:   %s", esaDebugMsg);
    FAULT_TRACE("***********************************************************");
}

// ---- the alternate event log ----

EsaErrorMsg_t errorMessageOf(const char* fileName, int lineNo, const char* fnName) {
    EsaErrorMsg_t error = {};
    wireTextSet(error.esaFileName, fileName);
    wireTextSet(error.esaFunctionName, fnName);
    error.esaLineNumber = static_cast<U32_t>(lineNo);
    wireTextSet(error.esaErrorMsg, esaDebugMsg);
    return error;
}

template <typename Bytes>
void bytesCopy(Bytes& to, const Bytes& from) {
    std::memcpy(&to, &from, sizeof to);
}

void elementsCopy(EsaInfo_t& info) {
    info.deviceElementControlOverall = esaControl.deviceElementControlOverall;
    bytesCopy(info.deviceElementControl, esaControl.deviceElementControl);
    info.deviceElementStatusOverall = esaControl.deviceElementStatusOverall;
    bytesCopy(info.deviceElementStatus, esaControl.deviceElementStatus);
    info.driveFaultLedStatus0 = esaControl.driveFaultLedStatus0;
    info.driveFaultLedStatus1 = esaControl.driveFaultLedStatus1;
    info.powerSupplyElementControlOverall = esaControl.powerSupplyElementControlOverall;
    bytesCopy(info.powerSupplyElementControl, esaControl.powerSupplyElementControl);
    info.powerSupplyElementStatusOverall = esaControl.powerSupplyElementStatusOverall;
    bytesCopy(info.powerSupplyElementStatus, esaControl.powerSupplyElementStatus);
    info.powerSupplyStatus = esaControl.powerSupplyStatus;
    info.coolingElementControlOverall = esaControl.coolingElementControlOverall;
    bytesCopy(info.coolingElementControl, esaControl.coolingElementControl);
    info.coolingElementStatusOverall = esaControl.coolingElementStatusOverall;
    bytesCopy(info.coolingElementStatus, esaControl.coolingElementStatus);
    bytesCopy(info.coolingElementOnOff, esaControl.coolingElementOnOff);
    info.fanFaultStatus = esaControl.fanFaultStatus;
    std::ranges::copy(esaControl.temperatureSensor, info.temperatureSensor);
    std::ranges::copy(esaControl.temperatureReportStatus, info.temperatureReportStatus);
    info.audibleAlarmElementControlOverall = esaControl.audibleAlarmElementControlOverall;
    bytesCopy(info.audibleAlarmElementControl, esaControl.audibleAlarmElementControl);
    info.audibleAlarmElementStatusOverall = esaControl.audibleAlarmElementStatusOverall;
    bytesCopy(info.audibleAlarmElementStatus, esaControl.audibleAlarmElementStatus);
}

EsaTime_t wireTimeOf(const MPU_TIME_t& time) {
    return {time.sec, time.usec};
}

EsaInfo_t infoOf() {
    EsaInfo_t info = {};
    info.socketFdMSM = static_cast<U32_t>(esaControl.socketFdMSM);
    info.socketAddressMSM.sun_family = esaControl.socketAddressMSM.sun_family;
    bytesCopy(info.socketAddressMSM.sun_path, esaControl.socketAddressMSM.sun_path);
    info.i2cFileFd = static_cast<U32_t>(esaControl.i2cFileFd);
    info.enclosureType = esaControl.enclosureType;
    info.elementTypeMaxNumber = esaControl.elementTypeMaxNumber;
    info.deviceMaxNumber = esaControl.deviceMaxNumber;
    info.powerSupplyMaxNumber = esaControl.powerSupplyMaxNumber;
    info.coolingMaxNumber = esaControl.coolingMaxNumber;
    info.temperatureSensorMaxNumber = esaControl.temperatureSensorMaxNumber;
    info.audibleAlarmMaxNumber = esaControl.audibleAlarmMaxNumber;
    info.pageCodeInRecentSndDiagCmd = esaControl.pageCodeInRecentSndDiagCmd;
    bytesCopy(info.sesTypeDescriptorList, esaControl.sesTypeDescriptorList);
    elementsCopy(info);
    info.alarmState = esaControl.alarmState;
    info.compositeFaultStatus = esaControl.compositeFaultStatus;
    info.esaDebug = esaControl.esaDebug;
    info.vitesse = esaControl.vitesse;
    info.selectTimeout = wireTimeOf(esaControl.selectTimeout);
    info.pollTimeout = wireTimeOf(esaControl.pollTimeout);
    return info;
}

void recordBuild(ESA_EV_ID evId, const void* payload, U32_t length) {
    std::memset(esaBugCheckWorkSpace, 0, sizeof esaBugCheckWorkSpace);
    auto* header = wireView<EmpEvLogHeader_t>(esaBugCheckWorkSpace);
    header->evStructLength = static_cast<U16_t>(length);
    header->evSource = MMSG_E_EPID_ES_ADAPTERMP;
    header->evType = EMP_E_TYPE_ERROR;
    header->evCategory = EMP_E_CATEGORY_ENVIRONMENTAL;
    header->evIdVersion = 1;
    header->evId = evId;
    std::memcpy(esaBugCheckWorkSpace + sizeof *header, payload, length);
}

void recordsStore(const EsaErrorMsg_t& error) {
    recordBuild(ESA_E_ID_ES_ADAPTERMP_BUGCHECK_ERROR_MSG, &error, sizeof error);
    altEventLogM(esaBugCheckWorkSpace, pMpuParams);
    const EsaInfo_t info = infoOf();
    recordBuild(ESA_E_ID_ES_ADAPTERMP_BUGCHECK_INFO, &info, sizeof info);
    altEventLogM(esaBugCheckWorkSpace, pMpuParams);
    recordBuild(ESA_E_ID_ES_ADAPTERMP_BUGCHECK_MSG_BUFFER, esaControl.esaInMsg, BUFFER_BYTES_KEPT);
    altEventLogM(esaBugCheckWorkSpace, pMpuParams);
    recordBuild(ESA_E_ID_ES_ADAPTERMP_BUGCHECK_WORKSPACE_BUFFER, esaControl.esaWorkSpace,
                BUFFER_BYTES_KEPT);
    altEventLog(esaBugCheckWorkSpace, pMpuParams, -1);
}

}  // namespace

void esaFault(const char* fileName, int lineNo, const char* fnName, const char* msg, ...) {
    va_list values;
    va_start(values, msg);
    std::vsnprintf(esaDebugMsg, sizeof esaDebugMsg, msg, values);
    va_end(values);
    esaControl.esaDebug = TRUE;  // stays so after the first critical error
    boxWrite(fileName, lineNo, fnName);
    controlBlockDump();
    recordsStore(errorMessageOf(fileName, lineNo, fnName));
}
