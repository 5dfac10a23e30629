#include <rapidjson/document.h>

#include "em_pni/krcp_message.h"
#include "frudata/pni_fru.h"
#include "module/krcp_trace.h"
#include "platform/trace.h"
#include "pni/dump_file.h"
#include "pni/guarded.h"
#include "pni/pni_ext_module.h"
#include "query/data_filter.h"
#include "query/pni_data.h"

namespace em_pni {
namespace {

void traceException(const CKrcpMessage& request) {
    const auto field = [&request](const char* key) {
        return static_cast<unsigned>(krcp::GetValue(request, request.index, key, 0));
    };
    PNI_TRACE(1,
              "\nEM_PNI (RETURN)     : ## EXCEPTION! CABID %04d: OpCode 0x%04X-0x%04X ObjId 0x%04X "
              "Status 0x%02X",
              static_cast<int>(field("CA")), field("OC"), field("OE"), field("OI"),
              krcp::status(request));
}

}  // namespace

std::uint32_t CPniExtModule::ModuleRequest(CKrcpMessage& request) {
    return guarded("ModuleRequest", std::uint32_t{0}, [&] {
        if (!Accept(request)) {
            return std::uint32_t{0};
        }
        krcp::traceMessage(2, GetModuleName(), " (REQ)", request);
        krcp::setStatus(request, krcp::NO_DATA);
        if (krcp::GetValue(request, request.index, "CA", 0) != CabinetNumber()) {
            krcp::setStatus(request, krcp::INVALID_CABINET_NUMBER);
            return std::uint32_t{0};
        }
        try {
            return std::uint32_t{AnswerRequest(request)};
        } catch (...) {
            krcp::setStatus(request, krcp::ACCESS_VIOLATION);
            traceException(request);
            return std::uint32_t{0};
        }
    });
}

bool CPniExtModule::AnswerRequest(CKrcpMessage& request) {
    bool result = false;
    if (krcp::opcode(request) != krcp::readPniData) {
        krcp::setStatus(request, krcp::INVALID_CMD);
    } else {
        {
            const CRecursiveLockGuard guard(FruDataLock);
            result = AnswerReadPniData(request);
        }
        if (const std::uint32_t status = krcp::status(request); status != krcp::SUCCESS) {
            PNI_TRACE(2, "\nEM_PNI (RETURN)     : ModuleRequest() Error! - %s",
                      krcp::statusName(status));
        }
    }
    krcp::traceMessage(2, GetModuleName(), " (RET)", request);
    return result;
}

bool CPniExtModule::AnswerReadPniData(CKrcpMessage& request) {
    PNI_TRACE(2, "\nEM_PNI (REQUEST)    : ReadPniData");
    if (record_.GetSize() == 0) {
        PNI_TRACE(2,
                  "\nEM_PNI (REQUEST)    : PNI Data Buffer is empty. Trying to get raw data from "
                  "PNI...");
        RequestPniFruData(record_);
        if (record_.GetSize() == 0) {
            krcp::setStatus(request, krcp::NOT_SUPPORTED);
            return true;
        }
    }
    const bool isValid = record_.Read([](std::span<const std::uint8_t> image) {
        return pniValidateFru(image.data(), image.size()) == PNI_SUCCESS;
    });
    if (!isValid) {
        krcp::setStatus(request, krcp::CHECKSUM_ERROR);
        return false;
    }
    CPNI_DataFilter filter;
    if (!filter.Read(request)) {
        krcp::setStatus(request, krcp::INVALID_CMD);
        return true;
    }
    const bool isFiltered = filter.IsFiltered();
    PNI_TRACE(2, "\nEM_PNI (REQUEST)    : %s", filter.Description().c_str());
    rapidjson::Document answer(&request.document.GetAllocator());
    const bool isBuilt = record_.Read([&](std::span<const std::uint8_t> image) {
        return CPNI_Data(image, isFiltered ? &filter : nullptr).PniGetAllData(answer);
    });
    if (!isBuilt) {
        krcp::setStatus(request, krcp::NO_DATA);
        return true;
    }
    writeDumpFile(places_.dumpFile, krcp::jsonText(answer));
    krcp::setMember(request, "DA", std::move(answer.Move()));
    krcp::setStatus(request, krcp::SUCCESS);
    PNI_TRACE(2, "\nEM_PNI (RETURN)     :  %s PNI Data", isFiltered ? "Filtered" : "Complete");
    return true;
}

}  // namespace em_pni
