// The owner of one FRU image.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "frudata/address_assignment.h"
#include "frudata/module_facts.h"
#include "platform/address.h"
#include "platform/read_write_lock.h"

namespace em_pni {

// Whether a module was found, and its position in the record.
using FoundModule = std::pair<bool, std::uint8_t>;

// Every member takes the image's lock for each search it makes: readers share it, changes have it
// alone. Where a member looks twice (GetModuleSize, GetModuleFacts, RemoveModule), a caller that
// needs one consistent answer holds the lock itself. Pointers handed out stay good until the next
// change.
//
// A member that cannot find what it needs throws std::runtime_error with the text that the member's
// comment quotes. All take any image, however damaged, and touch no byte outside it.
class CPniFruData {
  public:
    CPniFruData() { image_.reserve(32); }
    explicit CPniFruData(std::vector<std::uint8_t> image) : image_(std::move(image)) {}
    // A copy gets the bytes and a lock of its own.
    CPniFruData(const CPniFruData& other);
    CPniFruData& operator=(const CPniFruData& other);

    [[nodiscard]] std::vector<std::uint8_t> GetImage() const;
    void SetImage(std::vector<std::uint8_t> image);
    [[nodiscard]] std::size_t GetSize() const;
    // Same length and same bytes.
    [[nodiscard]] bool HasSameImage(const CPniFruData& other) const;

    // For a caller that needs several answers about the same bytes: members may be called while it
    // is held for writing.
    [[nodiscard]] CReadWriteLock& Lock() const noexcept { return lock_; }
    // Calls `reader` with the bytes under the read lock and returns its result. The reader must not
    // change this object.
    template <class Reader>
    auto Read(Reader reader) const {
        const CReadGuard guard(lock_);
        return reader(std::span<const std::uint8_t>(image_));
    }

    [[nodiscard]] bool IsValid() const;
    // False when there is no record to read it from.
    [[nodiscard]] bool GetRecordFormatVersion(std::uint8_t* version) const;
    // Whether the record has codes where the oldest format has texts. False likewise.
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
    // Bytes of a module; the last one reaches to the end of the image, so crop first.
    // "GetModuleSize() : moduleSize is 0."
    [[nodiscard]] std::uint16_t GetModuleSize(std::uint8_t index) const;
    // Bytes of the image up to the end of the record, header included.
    [[nodiscard]] std::size_t GetStoredPniRealSize() const;

    // Cuts the image to its real size modulo 65536. "PNI Fru Structure not valid!"
    void CropToValidSize();

    // Checksums and end marks after a change of the record, in this order: internal use area, end
    // marks, record (whose data hold the end marks).
    bool UpdateInternalUseAreaChecksum();
    void UpdateEndOfListBit();
    void UpdateOemPniRecordChecksum();

    // Each change of addresses is all or nothing; address_assignment.h says what is refused.
    bool AssignMacAddresses(std::span<const MacAddress> macs, std::uint8_t module);
    bool AssignWwnAddresses(std::span<const PhysicalAddress> names, std::uint8_t module);
    bool AssignIpv4Address(const MacAddress& mac, const IpAddress& address);
    bool AssignIpv6Address(const MacAddress& mac, const IpAddress& address, std::size_t slot);
    bool ClearIpAddresses();

    // Appends a whole module area, and cuts off what lies behind the record. The low six bits of
    // the stream's first byte say the slot; they are replaced, here and in the record, by the id
    // that the module gets. False, and the image as it was, when the stream is no module or does
    // not fit into the record. For slot 0, the onboard adapter, false as well, and the image's lock
    // is then left with the calling thread.
    bool AddPniModule(std::vector<std::uint8_t>& stream);
    // Takes out the module at this position; the ids of the others stay. False, and the image as it
    // was, when that leaves no valid record.
    // std::logic_error "RemoveModule() - Requested removing onboard adapter (location id == 0)"
    bool RemoveModule(std::uint8_t index);
    // The first free one of 32 from the location id on; above 63 it wraps where it is stored.
    // std::logic_error
    // "CPniFruData::GetNextAvailableModuleId() : No available module id found?"
    [[nodiscard]] std::uint8_t GetNextAvailableModuleId(std::uint8_t locationId) const;

    // The first module, in record order, whose manufacture MAC or WWPN is the searched one.
    [[nodiscard]] FoundModule FindModuleByMacAddress(const MacAddress& mac) const;
    [[nodiscard]] FoundModule FindModuleByWWPNAddress(WorldWideName wwpn) const;
    [[nodiscard]] FoundModule FindModuleByAddress(const PhysicalAddress& address) const;
    // One entry per Ethernet or Fibre Channel function, in port and function order.
    [[nodiscard]] std::vector<MacAddress> GetModuleMacAddresses(std::uint8_t module) const;
    [[nodiscard]] std::vector<PhysicalAddress> GetModuleWWPNAddresses(std::uint8_t module) const;
    // The former, or, when there are none, the latter.
    [[nodiscard]] std::vector<PhysicalAddress> GetModulePhysicalAddresses(
        std::uint8_t module) const;
    // Calls `visit` with each module and its physical addresses, in record order. The visitor must
    // not change this object.
    using ModuleVisitor = std::function<void(const ModuleFacts& module,
                                             const std::vector<PhysicalAddress>& addresses)>;
    void VisitModules(const ModuleVisitor& visit) const;
    // "FindPniModuleArea() : Could not find Module Area."
    [[nodiscard]] ModuleFacts GetModuleFacts(std::uint8_t module) const;
    // The active MACs of all Ethernet functions of the record.
    [[nodiscard]] std::vector<MacAddress> GetActiveMacAddresses() const;
    // `moduleId` of each module, in record order: the slot it sits in, 0 = onboard.
    [[nodiscard]] std::vector<std::uint8_t> GetModuleIds() const;
    // Bus (bits 8-15), device (3-7) and function (0-2) stored for a port function.
    [[nodiscard]] std::optional<std::uint16_t> GetPciLocation(std::uint8_t module,
                                                              std::uint8_t port,
                                                              std::uint8_t function) const;

  private:
    // Unchecked inside: they change a copy that no other thread knows, without its lock.
    bool InsertModule(std::vector<std::uint8_t>& stream) PNI_REQUIRES(lock_) PNI_UNCHECKED;
    bool EraseModule(std::uint8_t index) PNI_REQUIRES(lock_) PNI_UNCHECKED;
    bool TakeWhen(bool isValid, CPniFruData& changed, const char* operation)
        PNI_REQUIRES(lock_) PNI_UNCHECKED;
    void UpdateAfterModuleChange();

    mutable CReadWriteLock lock_;
    std::vector<std::uint8_t> image_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
