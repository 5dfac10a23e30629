// Any bytes as a FRU image: everything that finds its way through a record agrees with the walk,
// and nothing points outside.
#include <stdexcept>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/record_mutator.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr std::size_t outside = SIZE_MAX;

// The first elements, then ever fewer, and the last one: each search begins at the front.
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
        require(hasFrame || !isValid_, "a valid image has a record");
        require(isValid_ == record_.IsValid(), "the owner of the image says the same");
        if (hasFrame) {
            CheckFrame(frame);
            CheckWalk(frame);
        }
        CheckAnyIndices();
        CheckSizes(frame);
    }

  private:
    // Where a result points to; it must have `length` bytes there.
    std::size_t OffsetOf(const std::uint8_t* found, std::size_t length) const {
        if (found == nullptr) {
            return outside;
        }
        const auto offset = static_cast<std::size_t>(found - data_);
        require(found >= data_ && CByteView(data_, size_).Has(offset, length),
                "what is found lies inside");
        return offset;
    }

    void CheckFinds() {
        area_ = OffsetOf(pni_findOemInternalUseArea(data_, size_), 8);
        header_ = OffsetOf(pni_findPniFruMultirecordHeader(data_, size_), 6);
        common_ = OffsetOf(pni_findPniCommonArea(data_, size_), 0);
        require(common_ == outside || common_ == header_ + 6, "the header ends at the record");
        std::uint8_t version = 0;
        const bool hasVersion = pni_getRecordFormatVersion(data_, size_, &version) == PNI_SUCCESS;
        require(hasVersion == (header_ != outside), "whoever finds the header has a version");
        require(!isValid_ || (version >= 10 && version <= 12), "valid versions are 10 to 12");
    }

    void CheckFrame(const RecordFrame& frame) const {
        require(area_ == frame.internalUseArea && header_ == frame.multirecordHeader &&
                    common_ == frame.commonArea,
                "the finds agree with the frame");
        require(pni_getModuleCount(data_, size_) == frame.moduleCount, "so does the count");
    }

    void CheckWalk(const RecordFrame& frame) const {
        CRecordCursor cursor(CByteView(data_, size_), frame);
        bool isHidden = false;  // behind a module whose end mark does not fit its place
        while (cursor.NextModule()) {
            const std::uint8_t module = cursor.Module().position;
            if (isHidden) {
                require(!isValid_ && pni_getPortCount(data_, size_, module) == 0, "it is hidden");
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
                        "functions are counted as walked");
                while (cursor.NextFunction()) {
                    if (isPortChecked && isSample(cursor.Function().Position(), port.pfCount)) {
                        CheckFunction(cursor);
                    }
                }
            }
        }
        require(!isValid_ || (cursor.Fault() == WalkFault::none &&
                              cursor.Module().position + 1 == frame.moduleCount && !isHidden),
                "a valid record is walked to its end");
    }

    void CheckModule(const CRecordCursor& cursor) const {
        const PNI_MODULE_AREA& module = cursor.Module();
        const std::size_t strict =
            OffsetOf(pni_findPniModuleArea(data_, size_, module.position, true), 3);
        const std::size_t any =
            OffsetOf(pni_findPniModuleArea(data_, size_, module.position, false), 3);
        require(any == module.offset && strict == any, "modules are found where they are walked");
        require(pni_getPortCount(data_, size_, module.position) == module.portCount,
                "ports are counted as walked");
    }

    void CheckFunction(const CRecordCursor& cursor) const {
        const CPniPortFunction& function = cursor.Function();
        const std::uint8_t module = cursor.Module().position;
        const std::uint8_t port = cursor.Port().position;
        const auto location = record_.GetPciLocation(module, port, function.Position());
        require(location == function.U16(26), "a function has one PCI location");
        Bytes buffer(1 + size_ % 120, 0xEE);
        const std::uint32_t code = pni_readAddressBlock(
            data_, size_, module, port, function.Position(), buffer.data(), buffer.size());
        const bool isFc = function.Technology() == FunctionTechnology::fc;
        require(isFc == (code != PNI_UNSUPPORTED_ERR), "Fibre Channel only");
        require((code == PNI_SUCCESS) == (isFc && function.Size() >= 64), "names need their room");
        require(code == PNI_SUCCESS || buffer == Bytes(buffer.size(), 0xEE), "else nothing is put");
    }

    // What the record does not say must not matter.
    void CheckAnyIndices() const {
        for (unsigned index = 1; index < 256; index += 63) {
            const auto module = static_cast<std::uint8_t>(index);
            const auto other = static_cast<std::uint8_t>(size_ + index);
            const std::size_t found =
                OffsetOf(pni_findPniModuleArea(data_, size_, module, false), 3);
            require(found == outside || module < pni_getModuleCount(data_, size_), "counted");
            require(pni_getPortFunctionCount(data_, size_, module, other) == 0 ||
                        other < pni_getPortCount(data_, size_, module),
                    "functions stand in ports that are counted");
            std::uint8_t byte = 0;
            pni_readAddressBlock(data_, size_, module, other, other, &byte, 1);
            const auto addresses = record_.GetModulePhysicalAddresses(module);
            require(addresses.empty() || module < record_.GetModuleCount(), "addresses, too");
            for (const PhysicalAddress& address : addresses) {
                const auto [isFound, where] = record_.FindModuleByAddress(address);
                const bool isNone = address.wwpn == 0 && !address.mac.IsUsable();
                require(isFound ? where <= module : isNone, "an address leads to its module");
            }
        }
        require(!isValid_ || record_.GetModuleIds().size() == record_.GetModuleCount(),
                "each module has an id");
    }

    void CheckSizes(const RecordFrame& frame) {
        const unsigned count = record_.GetModuleCount();
        try {
            require(record_.GetStoredPniRealSize() <= size_, "the record is not longer");
            std::size_t end = static_cast<std::size_t>(record_.FindPniModuleArea(0, true) -
                                                       record_.FindPniCommonArea()) +
                              common_;
            require(end == frame.commonArea + 4, "the first module stands first");
            for (unsigned i = 0; i < std::min(count, 16U); ++i) {
                end += record_.GetModuleSize(static_cast<std::uint8_t>(i));
            }
            require(count > 16 || (end - size_) % 0x10000 == 0, "modules fill the image");
        } catch (const std::runtime_error&) {
            // Not a record, or a module without a byte of its own.
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
