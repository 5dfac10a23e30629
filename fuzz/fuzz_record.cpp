// Reads any bytes as a FRU image. All readers of a record must agree with the walk through it, and
// no result may point outside the image.
#include <stdexcept>

#include "frudata/address_index.h"
#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/record_mutator.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr std::size_t outside = SIZE_MAX;

// Picks positions 0, 1, 2, 4, 8, ... and the last one. Each search begins at the front, so checking
// all positions would take too long.
bool isSample(unsigned position, unsigned count) {
    return (position & (position - 1)) == 0 || position + 1 == count;
}

class CNavigation {
  public:
    explicit CNavigation(std::span<const std::uint8_t> image)
        : data_(image.data()),
          size_(image.size()),
          record_(Bytes(image.begin(), image.end())),
          isValid_(pniValidateFru(data_, size_) == PNI_SUCCESS) {}

    void Check() {
        CheckFinds();
        const RecordFrame frame = locateFrame({data_, size_});
        const bool hasFrame = frame.fault == FrameFault::none;
        require(hasFrame || !isValid_, "a valid image holds a record");
        require(isValid_ == record_.IsValid(),
                "CPniFruData judges the image as pniValidateFru does");
        if (hasFrame) {
            CheckFrame(frame);
            CheckWalk(frame);
        }
        CheckAnyIndices();
        CheckSizes(frame);
    }

  private:
    // The image offset of a result. `length` bytes must lie there.
    std::size_t OffsetOf(const std::uint8_t* found, std::size_t length) const {
        if (found == nullptr) {
            return outside;
        }
        const auto offset = static_cast<std::size_t>(found - data_);
        require(found >= data_ && CByteView(data_, size_).Has(offset, length),
                "a result lies inside the image");
        return offset;
    }

    void CheckFinds() {
        area_ = OffsetOf(pni_findOemInternalUseArea(data_, size_), 8);
        header_ = OffsetOf(pni_findPniFruMultirecordHeader(data_, size_), 6);
        common_ = OffsetOf(pni_findPniCommonArea(data_, size_), 0);
        require(common_ == outside || common_ == header_ + 6,
                "the record begins where the header ends");
        std::uint8_t version = 0;
        const bool hasVersion = pni_getRecordFormatVersion(data_, size_, &version) == PNI_SUCCESS;
        require(hasVersion == (header_ != outside),
                "the version is there exactly when the header is");
        require(!isValid_ || (version >= 10 && version <= 12),
                "a valid record has version 10 to 12");
    }

    void CheckFrame(const RecordFrame& frame) const {
        require(area_ == frame.internalUseArea && header_ == frame.multirecordHeader &&
                    common_ == frame.commonArea,
                "the find functions agree with the frame");
        require(pni_getModuleCount(data_, size_) == frame.moduleCount,
                "the module count agrees with the frame");
    }

    void CheckWalk(const RecordFrame& frame) const {
        CRecordCursor cursor(CByteView(data_, size_), frame);
        bool isHidden = false;  // a module in front has a wrong end mark
        while (cursor.NextModule()) {
            const std::uint8_t module = cursor.Module().position;
            if (isHidden) {
                require(!isValid_ && pni_getPortCount(data_, size_, module) == 0,
                        "a wrong end mark hides the modules behind it");
                break;
            }
            isHidden = !cursor.ModuleFitsItsPlace();
            const bool isChecked = isSample(module, frame.moduleCount);
            if (isChecked) {
                CheckModule(cursor);
            }
            while (cursor.NextPort()) {
                const CPniPortArea port = cursor.Port();
                const bool isPortChecked = isChecked && isSample(port.position, 0);
                require(!isPortChecked || pni_getPortFunctionCount(data_, size_, module,
                                                                   port.position) == port.pfCount,
                        "the function count agrees with the walk");
                while (cursor.NextFunction()) {
                    if (isPortChecked && isSample(cursor.Function().Position(), port.pfCount)) {
                        CheckFunction(cursor);
                    }
                }
            }
        }
        require(!isValid_ || (cursor.Fault() == WalkFault::none &&
                              cursor.Module().position + 1 == frame.moduleCount && !isHidden),
                "the walk reaches the end of a valid record");
    }

    void CheckModule(const CRecordCursor& cursor) const {
        const PNI_MODULE_AREA& module = cursor.Module();
        const std::size_t strict =
            OffsetOf(pni_findPniModuleArea(data_, size_, module.position, true), 3);
        const std::size_t any =
            OffsetOf(pni_findPniModuleArea(data_, size_, module.position, false), 3);
        require(any == module.offset && strict == any, "the module search agrees with the walk");
        require(pni_getPortCount(data_, size_, module.position) == module.portCount,
                "the port count agrees with the walk");
    }

    void CheckFunction(const CRecordCursor& cursor) const {
        const CPniPortFunction& function = cursor.Function();
        const std::uint8_t module = cursor.Module().position;
        const std::uint8_t port = cursor.Port().position;
        const auto location = record_.GetPciLocation(module, port, function.Position());
        require(location == function.U16(26), "the PCI location agrees with the field");
        Bytes buffer(1 + size_ % 120, 0xEE);
        const std::uint32_t code = pni_readAddressBlock(
            data_, size_, module, port, function.Position(), buffer.data(), buffer.size());
        const bool isFc = function.Technology() == FunctionTechnology::fc;
        require(isFc == (code != PNI_UNSUPPORTED_ERR),
                "only Fibre Channel functions have a block to read");
        require((code == PNI_SUCCESS) == (isFc && function.Size() >= 64),
                "the names need 64 bytes");
        require(code == PNI_SUCCESS || buffer == Bytes(buffer.size(), 0xEE),
                "a failed read leaves the buffer as it is");
        Bytes block(buffer.size());
        const auto read = CByteView(data_, size_)
                              .Inside(function.Offset() + function.U8(2).value_or(0),
                                      std::min({function.Size(), std::size_t{96}, block.size()}));
        std::copy(read.begin(), read.end(), block.begin());
        require(code != PNI_SUCCESS || buffer == block, "the block is copied, then zeros");
    }

    // Indices that the record does not have.
    void CheckAnyIndices() const {
        const CModuleAddressIndex owners(CByteView(data_, size_));
        for (unsigned index = 1; index < 256; index += 63) {
            const auto module = static_cast<std::uint8_t>(index);
            const auto other = static_cast<std::uint8_t>(size_ + index);
            const std::size_t found =
                OffsetOf(pni_findPniModuleArea(data_, size_, module, false), 3);
            require(found == outside || module < pni_getModuleCount(data_, size_),
                    "a found module is counted");
            require(pni_getPortFunctionCount(data_, size_, module, other) == 0 ||
                        other < pni_getPortCount(data_, size_, module),
                    "a port with functions is counted");
            std::uint8_t byte = 0;
            pni_readAddressBlock(data_, size_, module, other, other, &byte, 1);
            const auto addresses = record_.GetModulePhysicalAddresses(module);
            require(addresses.empty() || module < record_.GetModuleCount(),
                    "a module with addresses is counted");
            for (const PhysicalAddress& address : addresses) {
                const auto owner = record_.FindModuleByAddress(address);
                require(owner == owners.Find(address), "the index agrees with the search");
                const auto [isFound, where] = owner;
                const bool isNone = address.wwpn == 0 && !address.mac.IsUsable();
                require(isFound ? where <= module : isNone,
                        "an address leads to its module or to one in front");
            }
        }
        require(!isValid_ || record_.GetModuleIds().size() == record_.GetModuleCount(),
                "each module has an id");
    }

    void CheckSizes(const RecordFrame& frame) {
        const unsigned count = record_.GetModuleCount();
        try {
            require(record_.GetStoredPniRealSize() <= size_,
                    "the record is not longer than the image");
            std::size_t end = static_cast<std::size_t>(record_.FindPniModuleArea(0, true) -
                                                       record_.FindPniCommonArea()) +
                              common_;
            require(end == frame.commonArea + 4, "the first module begins behind the common area");
            for (unsigned i = 0; i < std::min(count, 16U); ++i) {
                end += record_.GetModuleSize(static_cast<std::uint8_t>(i));
            }
            require(count > 16 || (end - size_) % 0x10000 == 0, "the modules fill the image");
        } catch (const std::runtime_error&) {
            // The image holds no record, or a module has no bytes.
        }
    }

    const std::uint8_t* data_;
    std::size_t size_;
    CPniFruData record_;
    bool isValid_;
    std::size_t area_ = outside;
    std::size_t header_ = outside;
    std::size_t common_ = outside;
};

}  // namespace

std::size_t em_pni::fuzz::imageOffset(std::span<const std::uint8_t> /*input*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CNavigation({data, size}).Check();
    return 0;
}
