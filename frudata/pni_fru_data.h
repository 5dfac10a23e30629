// The owner of one FRU image.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "frudata/address_assignment.h"
#include "frudata/address_index.h"
#include "frudata/module_facts.h"
#include "platform/address.h"
#include "platform/read_write_lock.h"

namespace em_pni {

// Any thread may call any member. Every member takes the lock of the image for each search that it
// makes: readers share the lock, a change has it alone. Some members search twice (GetModuleSize,
// GetStoredPniRealSize, CropToValidSize, GetModuleFacts, RemoveModule). A caller that needs one
// consistent answer from them holds the lock for writing. A returned pointer stays good until the
// next change.
//
// A member that does not find what it needs throws std::runtime_error with the text that its
// comment quotes. All members take any image and touch no byte outside it.
class CPniFruData {
  public:
    CPniFruData() { image_.reserve(32); }
    explicit CPniFruData(std::vector<std::uint8_t> image) : image_(std::move(image)) {}
    // A copy has the same bytes and a lock of its own.
    CPniFruData(const CPniFruData& other);
    CPniFruData& operator=(const CPniFruData& other);

    [[nodiscard]] std::vector<std::uint8_t> GetImage() const;
    void SetImage(std::vector<std::uint8_t> image);
    [[nodiscard]] std::size_t GetSize() const;
    [[nodiscard]] bool HasSameImage(const CPniFruData& other) const;

    // A thread that holds the lock for writing may call all members.
    [[nodiscard]] CReadWriteLock& Lock() const noexcept { return lock_; }
    // Calls `reader` with the bytes under the read lock and returns its result. The reader must not
    // change this object.
    template <class Reader>
    auto Read(Reader reader) const {
        const CReadGuard guard(lock_);
        return reader(std::span<const std::uint8_t>(image_));
    }

    [[nodiscard]] bool IsValid() const;
    // Returns false when the image holds no multi-record header.
    [[nodiscard]] bool GetRecordFormatVersion(std::uint8_t* version) const;
    // Whether the format version of the record is one with technology codes.
    [[nodiscard]] bool HasCodes() const;

    // "FindOemInternalUseArea() : Could not find OEM Internal Area."
    [[nodiscard]] const std::uint8_t* FindOemInternalUseArea() const;
    // "FindPniFruMultirecordHeader() : Could not find PNI Multirecord Header."
    [[nodiscard]] const std::uint8_t* FindPniFruMultirecordHeader() const;
    // "FindPniCommonArea() : Could not find PNI Common Area."
    [[nodiscard]] const std::uint8_t* FindPniCommonArea() const;
    // "FindPniModuleArea() : Could not find Module Area."
    [[nodiscard]] const std::uint8_t* FindPniModuleArea(std::uint8_t index,
                                                        bool checkEndOfList) const;

    [[nodiscard]] std::uint8_t GetModuleCount() const;
    [[nodiscard]] std::uint8_t GetPortCount(std::uint8_t module) const;
    [[nodiscard]] std::uint8_t GetPortFunctionCount(std::uint8_t module, std::uint8_t port) const;
    // Bytes of a module. The last module reaches to the end of the image: crop the image first.
    // "FindPniModuleArea() : Could not find Module Area.", "GetModuleSize() : moduleSize is 0."
    [[nodiscard]] std::uint16_t GetModuleSize(std::uint8_t index) const;
    // Bytes from the beginning of the image to the end of the record. Throws the texts of
    // FindPniCommonArea and FindPniFruMultirecordHeader.
    [[nodiscard]] std::size_t GetStoredPniRealSize() const;

    // Resizes the image to its real size modulo 65,536. "PNI Fru Structure not valid!"
    void CropToValidSize();

    // Repairs after a change of the record. Call them in this order: the checksum of the record
    // covers the end marks. UpdateEndOfListBit repairs the end marks of modules only.
    // "FindPniModuleArea() : Could not find Module Area."
    bool UpdateInternalUseAreaChecksum();
    void UpdateEndOfListBit();
    void UpdateOemPniRecordChecksum();

    // Each change of addresses is made wholly or not at all. Returns whether it was made.
    // address_assignment.h says what is refused.
    bool AssignMacAddresses(std::span<const MacAddress> macs, std::uint8_t module);
    bool AssignWwnAddresses(std::span<const PhysicalAddress> names, std::uint8_t module);
    bool AssignIpv4Address(const MacAddress& mac, const IpAddress& address);
    bool AssignIpv6Address(const MacAddress& mac, const IpAddress& address, std::size_t slot);
    bool ClearIpAddresses();

    // Puts a module area behind the last module and cuts off what follows the record. The low six
    // bits of the stream's first byte state the slot. The id of the new module replaces them, in
    // the record and in `stream`. Returns false and keeps the image when the stream is not exactly
    // one module or does not fit into the record.
    // For slot 0, the onboard adapter, it returns false and the calling thread owns the lock of the
    // image for writing; end it with Lock().EndWrite().
    bool AddPniModule(std::vector<std::uint8_t>& stream);
    // Removes the module at this position. The other modules keep their ids. Returns false and
    // keeps the image when the result would be no valid record.
    // std::logic_error "RemoveModule() - Requested removing onboard adapter (location id == 0)"
    bool RemoveModule(std::uint8_t index);
    // The first free id of the 32 from the location id on. An id above 63 is stored modulo 64.
    // std::logic_error
    // "CPniFruData::GetNextAvailableModuleId() : No available module id found?"
    [[nodiscard]] std::uint8_t GetNextAvailableModuleId(std::uint8_t locationId) const;

    // The first module in record order that has this manufacture MAC or WWPN.
    [[nodiscard]] FoundModule FindModuleByMacAddress(const MacAddress& mac) const;
    [[nodiscard]] FoundModule FindModuleByWWPNAddress(WorldWideName wwpn) const;
    [[nodiscard]] FoundModule FindModuleByAddress(const PhysicalAddress& address) const;
    // One entry per Ethernet or Fibre Channel function in port and function order.
    [[nodiscard]] std::vector<MacAddress> GetModuleMacAddresses(std::uint8_t module) const;
    [[nodiscard]] std::vector<PhysicalAddress> GetModuleWWPNAddresses(std::uint8_t module) const;
    // The MACs, or the WWPNs when the module has no MAC.
    [[nodiscard]] std::vector<PhysicalAddress> GetModulePhysicalAddresses(
        std::uint8_t module) const;
    // Calls `visit` with each module and its physical addresses in record order. The visitor must
    // not call members of this object.
    using ModuleVisitor = std::function<void(const ModuleFacts& module,
                                             const std::vector<PhysicalAddress>& addresses)>;
    void VisitModules(const ModuleVisitor& visit) const;
    // "FindPniModuleArea() : Could not find Module Area."
    [[nodiscard]] ModuleFacts GetModuleFacts(std::uint8_t module) const;
    // The active MACs of all Ethernet functions of the record.
    [[nodiscard]] std::vector<MacAddress> GetActiveMacAddresses() const;
    // The id of each module in record order.
    [[nodiscard]] std::vector<std::uint8_t> GetModuleIds() const;
    // The PCI bus (bits 8-15), device (3-7) and function (0-2) of a port function. Returns no value
    // when the record does not hold them.
    [[nodiscard]] std::optional<std::uint16_t> GetPciLocation(std::uint8_t module,
                                                              std::uint8_t port,
                                                              std::uint8_t function) const;

  private:
    FoundModule Search(const PhysicalAddress& wanted) const;

    // The analysis is off inside: these change a private copy without its lock.
    bool InsertModule(std::vector<std::uint8_t>& stream) PNI_REQUIRES(lock_) PNI_UNCHECKED;
    bool EraseModule(std::uint8_t index) PNI_REQUIRES(lock_) PNI_UNCHECKED;
    // Replaces the image with the changed copy when that is valid.
    bool TakeWhen(bool isValid, CPniFruData& changed, const char* operation)
        PNI_REQUIRES(lock_) PNI_UNCHECKED;
    void UpdateAfterModuleChange();

    static constexpr const char* noModuleAreaText =
        "FindPniModuleArea() : Could not find Module Area.";

    mutable CReadWriteLock lock_;
    std::vector<std::uint8_t> image_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
