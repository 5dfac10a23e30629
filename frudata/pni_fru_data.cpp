#include "frudata/pni_fru_data.h"

#include <stdexcept>

#include "frudata/layout.h"
#include "frudata/module_search.h"
#include "frudata/pni_fru.h"
#include "frudata/record_checksum.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

constexpr const char* noModuleArea = "FindPniModuleArea() : Could not find Module Area.";

const std::uint8_t* foundOrThrow(const std::uint8_t* found, const char* text) {
    if (found == nullptr) {
        throw std::runtime_error(text);
    }
    return found;
}

bool traceValidity(std::uint32_t code) noexcept {
    PNI_TRACE(5, "\nCPniFruData         : pniValidateFru - %s [%d]", pniResultText(code),
              static_cast<int>(code));
    return code == PNI_SUCCESS;
}

}  // namespace

CPniFruData::CPniFruData(const CPniFruData& other) : image_(other.GetImage()) {}

CPniFruData& CPniFruData::operator=(const CPniFruData& other) {
    if (this != &other) {
        SetImage(other.GetImage());
    }
    return *this;
}

std::vector<std::uint8_t> CPniFruData::GetImage() const {
    const CReadGuard guard(lock_);
    return image_;
}

void CPniFruData::SetImage(std::vector<std::uint8_t> image) {
    const CWriteGuard guard(lock_);
    image_ = std::move(image);
}

std::size_t CPniFruData::GetSize() const {
    const CReadGuard guard(lock_);
    return image_.size();
}

bool CPniFruData::HasSameImage(const CPniFruData& other) const {
    const std::vector<std::uint8_t> theirs = other.GetImage();
    const CReadGuard guard(lock_);
    return image_ == theirs;
}

bool CPniFruData::IsValid() const {
    const CReadGuard guard(lock_);
    return traceValidity(pniValidateFru(image_.data(), image_.size()));
}

bool CPniFruData::GetRecordFormatVersion(std::uint8_t* version) const {
    const CReadGuard guard(lock_);
    PNI_TRACE(5, "\nCPniFruData         : DataSize       [%d]", static_cast<int>(image_.size()));
    PNI_TRACE(5, "\nCPniFruData         : GetDataStream  [%x]",
              static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(image_.data())));
    return pni_getRecordFormatVersion(image_.data(), image_.size(), version) == PNI_SUCCESS;
}

bool CPniFruData::HasCodes() const {
    std::uint8_t version = 0;
    return GetRecordFormatVersion(&version) && version >= Header::firstVersionWithCodes;
}

const std::uint8_t* CPniFruData::FindOemInternalUseArea() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findOemInternalUseArea(image_.data(), image_.size()),
                        "FindOemInternalUseArea() : Could not find OEM Internal Area.");
}

const std::uint8_t* CPniFruData::FindPniFruMultirecordHeader() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniFruMultirecordHeader(image_.data(), image_.size()),
                        "FindPniFruMultirecordHeader() : Could not find PNI Multirecord Header.");
}

const std::uint8_t* CPniFruData::FindPniCommonArea() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniCommonArea(image_.data(), image_.size()),
                        "FindPniCommonArea() : Could not find PNI Common Area.");
}

const std::uint8_t* CPniFruData::FindPniModuleArea(std::uint8_t index, bool checkEndOfList) const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniModuleArea(image_.data(), image_.size(), index, checkEndOfList),
                        noModuleArea);
}

std::uint8_t CPniFruData::GetModuleCount() const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getModuleCount(image_.data(), image_.size());
    PNI_TRACE(5, "\nCPniFruData::GetModuleCount() - Return %u", count);
    return count;
}

std::uint8_t CPniFruData::GetPortCount(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getPortCount(image_.data(), image_.size(), module);
    PNI_TRACE(5, "\nCPniFruData::GetPortCount() - Return %u", count);
    return count;
}

std::uint8_t CPniFruData::GetPortFunctionCount(std::uint8_t module, std::uint8_t port) const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getPortFunctionCount(image_.data(), image_.size(), module, port);
    PNI_TRACE(5, "\nCPniFruData::GetPortFunctionCount() - Return %u", count);
    return count;
}

std::uint16_t CPniFruData::GetModuleSize(std::uint8_t index) const {
    const std::uint8_t* const start = FindPniModuleArea(index, true);
    const std::uint8_t count = GetModuleCount();
    std::size_t size = 0;
    if (index + 1 < count) {
        size = static_cast<std::size_t>(
            FindPniModuleArea(static_cast<std::uint8_t>(index + 1), true) - start);
    } else {
        const CReadGuard guard(lock_);
        size = static_cast<std::size_t>(image_.data() + image_.size() - start);
    }
    const auto moduleSize = static_cast<std::uint16_t>(size);
    if (moduleSize == 0) {
        throw std::runtime_error("GetModuleSize() : moduleSize is 0.");
    }
    PNI_TRACE(2, "\nCPniFruData         : GetModuleSize() : Module [%u] Size = %u", index,
              moduleSize);
    return moduleSize;
}

std::size_t CPniFruData::GetStoredPniRealSize() const {
    const std::uint8_t* const common = FindPniCommonArea();
    const std::uint8_t* const header = FindPniFruMultirecordHeader();
    const CReadGuard guard(lock_);
    const auto headerEnd = static_cast<std::size_t>(common - image_.data());
    const std::uint16_t length =
        CByteView(image_.data(), image_.size())
            .U16(static_cast<std::size_t>(header - image_.data()) + Header::recordLength);
    const std::size_t size = headerEnd + length;
    PNI_TRACE(3,
              "\nCPniFruData         : GetStoredPniRealSize() : Real PNI size : Header (%u) + "
              "RecordLength (%u) = %u bytes.",
              static_cast<std::uint16_t>(headerEnd), length, static_cast<std::uint16_t>(size));
    return size;
}

void CPniFruData::CropToValidSize() {
    if (!IsValid()) {
        throw std::runtime_error("PNI Fru Structure not valid!");
    }
    const std::size_t realSize = GetStoredPniRealSize() % 0x10000;
    const CWriteGuard guard(lock_);
    image_.resize(realSize);
}

bool CPniFruData::UpdateInternalUseAreaChecksum() {
    const CWriteGuard guard(lock_);
    return mendInternalUseAreaChecksum(CByteEditor(image_));
}

void CPniFruData::UpdateEndOfListBit() {
    const CWriteGuard guard(lock_);
    const std::uint8_t count = GetModuleCount();
    const CByteView image(image_.data(), image_.size());
    CModuleSearch search(image, false);
    for (unsigned i = 0; i < count; ++i) {
        const auto index = static_cast<std::uint8_t>(i);
        PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Find module %d", index);
        const auto offset = search.Find(index);
        if (!offset) {
            throw std::runtime_error(noModuleArea);
        }
        moduleHeader(image, *offset, index).TraceDump();
        std::uint8_t& flags = image_[*offset];
        if (i + 1 == count) {
            flags |= layout::endOfListBit;
            PNI_TRACE(4,
                      "\nCPniFruData         : UpdateEndOfListBit() : Found last module (%u). "
                      "Setting EndOfList bit.",
                      i);
        } else if ((flags & layout::endOfListBit) != 0) {
            flags &= static_cast<std::uint8_t>(~layout::endOfListBit);
            PNI_TRACE(5,
                      "\nCPniFruData         : UpdateEndOfListBit() : Not boundary module (%u) has "
                      "EndOfList bit set. Changing...",
                      i);
        }
    }
}

void CPniFruData::UpdateOemPniRecordChecksum() {
    const CWriteGuard guard(lock_);
    mendRecordChecksum(CByteEditor(image_));
}

}  // namespace em_pni
