#include <exception>
#include <utility>
#include <vector>

#include "em_pni/krcp_message.h"
#include "platform/trace.h"
#include "pni/pni_ext_module.h"

namespace em_pni {
namespace {

constexpr std::uint32_t readTimeout = 60000;  // milliseconds
constexpr std::uint32_t writeTimeout = 5000;  // milliseconds

// A request about the record. Its object index is the cabinet number.
CKrcpMessage fruRequest(std::uint16_t opcode, std::int32_t cabinet) {
    return krcp::makeRequest(opcode, krcp::pniFruExtension, static_cast<std::uint16_t>(cabinet),
                             cabinet);
}

void cropRecord(CPniFruData& record) {
    try {
        record.CropToValidSize();
        PNI_TRACE(
            3, "\nEM_PNI              : RequestPniFruData() Cropped PNI data to valid structure");
    } catch (const std::exception& exception) {
        PNI_TRACE(2, "\nEM_PNI              : Exception in CropToValidSize! %s", exception.what());
    }
}

}  // namespace

bool CPniExtModule::RequestPniFruData(CPniFruData& record) {
    const CRecursiveLockGuard guard(FruDataLock);
    PNI_TRACE(3, "\nEM_PNI              : Request PNI FRU data");
    CKrcpMessage message = fruRequest(krcp::readFru, CabinetNumber());
    SendRequest(message, readTimeout);
    if (!krcp::hasData(message)) {
        PNI_TRACE(1, "\nEM_PNI              : FAILED to request PNI FRU data (KRCP status 0x%X)",
                  krcp::status(message));
        return false;
    }
    std::vector<std::uint8_t> bytes;
    if (krcp::copyRawBytes(message, bytes) == 0) {
        PNI_TRACE(1, "\nEM_PNI              : PNI FRU data request FAILED (No data)!");
        return false;
    }
    const std::size_t received = bytes.size();
    PNI_TRACE(3, "\nEM_PNI              : Received %u bytes PNI FRU data",
              static_cast<unsigned>(received));
    record.SetImage(std::move(bytes));
    const bool isValid = record.IsValid();
    if (isValid) {
        InitialFruSize = received;
        cropRecord(record);
    }
    PNI_TRACE(3, "\nEM_PNI              : PNI FRU data are %s!", isValid ? "valid" : "invalid");
    return true;
}

bool CPniExtModule::WritePniDataOnThisMachine(const CPniFruData& record) {
    const CRecursiveLockGuard guard(FruDataLock);
    if (SwitchShutdown) {
        return true;
    }
    if (!record.IsValid()) {
        PNI_TRACE(1,
                  "\nEM_PNI::WritePniDataOnThisMachine() : CRITICAL ERROR! Tried to write invalid "
                  "PNI structure!");
        return false;
    }
    std::vector<std::uint8_t> bytes = record.GetImage();
    if (InitialFruSize > bytes.size()) {
        // Zeros overwrite the rest of a longer record in the controller.
        PNI_TRACE(4,
                  "\nEM_PNI::WritePniDataOnThisMachine() : Extend initial FRU (%u) bytes by (%u). "
                  "New size = (%u) bytes.",
                  static_cast<unsigned>(bytes.size()),
                  static_cast<unsigned>(InitialFruSize - bytes.size()),
                  static_cast<unsigned>(InitialFruSize));
        bytes.resize(InitialFruSize);
    }
    CKrcpMessage message = fruRequest(krcp::writeFru, CabinetNumber());
    krcp::setRawBytes(message, bytes);
    SendRequest(message, writeTimeout);
    const std::uint32_t status = krcp::status(message);
    if (!krcp::isSuccess(status)) {
        PNI_TRACE(1, "\nEM_PNI              : FAILED to write PNI FRU data (KRCP status 0x%X)",
                  status);
        return false;
    }
    return true;
}

}  // namespace em_pni
