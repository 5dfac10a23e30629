// Makes any sequence of changes to a record. A valid record must stay valid, a refused change must
// change nothing, and a change must touch only its own bytes.
//
// Input: one byte, the script, the rest. Bits 0-5 of the first byte are the length of the script in
// bytes. With bit 7 the record is built from the rest; without it the rest is the image.
#include <algorithm>
#include <stdexcept>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "fuzz/record_mutator.h"
#include "fuzz/record_shape.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr unsigned scriptMask = 0x3F;
constexpr std::uint8_t buildBit = 0x80;
constexpr unsigned maxEdits = 8;
constexpr std::size_t maxImage = 65'535;

// A record, cut into the parts that a change may touch and those that it may not. Counts, lengths,
// checksums and the end marks of modules depend on the rest; they read as 0 here.
struct CutRecord {
    Bytes front;  // up to the first module
    std::vector<Bytes> modules;
    Bytes padding;         // from the last module to the end of the record
    Bytes behind;          // the rest of the image
    bool isWhole = false;  // valid without the bytes behind the record, and no module ends there

    explicit CutRecord(const Bytes& image) {
        const CByteView view(image.data(), image.size());
        const RecordFrame frame = locateFrame(view, FrameChecks::checksums);
        if (pniValidateFru(image.data(), image.size()) != PNI_SUCCESS ||
            frame.fault != FrameFault::none) {
            return;
        }
        const auto part = [&view](std::size_t begin, std::size_t end) {
            const auto bytes = view.Inside(begin, end - begin);
            return Bytes(bytes.begin(), bytes.end());
        };
        std::vector<std::size_t> begins;
        CRecordCursor cursor(view, frame);
        forEachModule(cursor,
                      [&begins](CRecordCursor& at) { begins.push_back(at.Module().offset); });
        begins.push_back(cursor.NextOffset());
        for (std::size_t i = 0; i + 1 < begins.size(); ++i) {
            Bytes& module = modules.emplace_back(part(begins[i], begins[i + 1]));
            if (!module.empty()) {
                module.front() &= 0x7F;
            }
        }
        front = part(0, begins.front());
        for (const std::size_t place : {frame.internalUseArea + 3, frame.internalUseArea + 7,
                                        frame.multirecordHeader + 2, frame.multirecordHeader + 3,
                                        frame.multirecordHeader + 4, frame.multirecordHeader + 5}) {
            front[place] = 0;
        }
        const std::size_t end = frame.commonArea + std::size_t{frame.recordLength};
        isWhole = begins.back() <= end && pniValidateFru(image.data(), end) == PNI_SUCCESS;
        if (isWhole) {
            padding = part(begins.back(), end);
            behind = part(end, view.Size());
        }
    }

    // All parts but the modules must be the same.
    void RequireSameFrame(const CutRecord& other) const {
        require(front == other.front, "the bytes in front of the modules stay");
        require(padding == other.padding, "the padding of the record stays");
        require(behind == other.behind, "the bytes behind the record stay");
        require(modules.size() == other.modules.size(), "the number of modules stays");
    }
};

MacAddress takeMac(CFuzzInput& script, const CPniFruData& record) {
    const auto macs = record.GetActiveMacAddresses();
    const unsigned choice = script.Byte();
    return choice < 200 && !macs.empty()
               ? macs[choice % macs.size()]
               : MacAddress(script.Take(choice % 2 == 0 ? 6 : script.Below(12)));
}

// Whether an Ethernet function of the record lists the address.
bool isListed(const Bytes& image, const IpAddress& address) {
    const auto holds = [&address](const CPniPortFunction& function) {
        const auto counters = function.AddressBytes(44, 1);
        const std::size_t v4 = counters ? counters->front() & 0x0FU : 0;
        const std::size_t v6 = counters ? counters->front() >> 4U : 0;
        const bool isV4 = address.size() == 4;
        for (std::size_t i = 0; i < (isV4 ? v4 : v6); ++i) {
            const auto one =
                function.AddressBytes(45 + (isV4 ? 4 * i : 4 * v4 + 16 * i), address.size());
            if (one && std::equal(one->begin(), one->end(), address.begin(), address.end())) {
                return true;
            }
        }
        return false;
    };
    return forEachFunction(CByteView(image), [&holds](const CRecordCursor& cursor) {
        return cursor.Function().Technology() == FunctionTechnology::nic &&
               holds(cursor.Function());
    });
}

// The common fields of all functions. The length of a function may change; it reads as 0 here.
std::vector<Bytes> commonFields(const Bytes& image) {
    const CByteView view(image);
    std::vector<Bytes> fields;
    forEachFunction(view, [&](const CRecordCursor& cursor) {
        const std::size_t size = cursor.FormatVersion() == 10 ? 36 : 34;
        const auto bytes =
            view.Inside(cursor.Function().Offset(), std::min(cursor.Function().Size(), size));
        Bytes one(bytes.begin(), bytes.end());
        if (one.size() > 1) {
            one[1] = 0;
        }
        fields.push_back(std::move(one));
    });
    return fields;
}

class CEditing {
  public:
    CEditing(Bytes image, CFuzzInput& script) : record_(std::move(image)), script_(script) {}

    void Run() {
        for (unsigned i = 0; i < maxEdits && !script_.IsEmpty(); ++i) {
            const Bytes image = record_.GetImage();
            const CutRecord before(image);
            const bool wasValid = record_.IsValid();
            const Edit edit = edits[script_.Below(std::size(edits))];
            (this->*edit)(before);
            require(!wasValid || record_.IsValid(), "a valid record stays valid");
            require(record_.GetSize() <= std::max(image.size(), maxImage),
                    "no change makes the image too long");
            require(edit == &CEditing::AddModule || edit == &CEditing::RemoveModule ||
                        !before.isWhole || commonFields(record_.GetImage()) == commonFields(image),
                    "no address is written over the common fields");
            require(isDone_ || record_.GetImage() == image, "a refused change changes nothing");
        }
    }

  private:
    using Edit = void (CEditing::*)(const CutRecord& before);

    [[nodiscard]] CutRecord Now() const { return CutRecord(record_.GetImage()); }

    void SetIpv4(const CutRecord& before) {
        const IpAddress address = script_.Take(4);
        isDone_ = record_.AssignIpv4Address(takeMac(script_, record_), address);
        CheckIpChange(before, address);
    }

    void SetIpv6(const CutRecord& before) {
        const IpAddress address = script_.Take(16);
        const std::size_t slot = script_.Below(18);
        isDone_ = record_.AssignIpv6Address(takeMac(script_, record_), address, slot);
        CheckIpChange(before, address);
    }

    void CheckIpChange(const CutRecord& before, const IpAddress& address) const {
        require(!isDone_ || isListed(record_.GetImage(), address), "the address is stored");
        if (!before.isWhole || !isDone_) {
            return;
        }
        const CutRecord now = Now();
        now.RequireSameFrame(before);
        unsigned changed = 0;
        for (std::size_t i = 0; i < now.modules.size(); ++i) {
            const std::size_t grown = now.modules[i].size() - before.modules[i].size();
            require(grown == 0 || grown == address.size(), "a module grows by one address");
            changed += now.modules[i] != before.modules[i] ? 1U : 0U;
        }
        require(changed <= 1, "one module changes");
    }

    void SetMacs(const CutRecord& before) {
        std::vector<MacAddress> macs(script_.Below(4));
        for (MacAddress& mac : macs) {
            mac = takeMac(script_, record_);
        }
        const std::uint8_t module = script_.Byte() & 0x0FU;
        isDone_ = record_.AssignMacAddresses(macs, module);
        CheckAddressChange(before, module);
    }

    void SetNames(const CutRecord& before) {
        std::vector<PhysicalAddress> names(script_.Below(4));
        for (PhysicalAddress& name : names) {
            name.wwpn = script_.Byte() * 0x0101010101010101U;
            name.wwnn = script_.Byte();
        }
        const std::uint8_t module = script_.Byte() & 0x0FU;
        isDone_ = record_.AssignWwnAddresses(names, module);
        CheckAddressChange(before, module);
    }

    void CheckAddressChange(const CutRecord& before, std::uint8_t module) const {
        if (!before.isWhole || !isDone_) {
            return;
        }
        const CutRecord now = Now();
        now.RequireSameFrame(before);
        for (std::size_t i = 0; i < now.modules.size(); ++i) {
            require(now.modules[i].size() == before.modules[i].size(), "no module grows");
            require(i == module || now.modules[i] == before.modules[i], "the other modules stay");
        }
    }

    void ClearIps(const CutRecord& before) {
        const MacAddress mac = takeMac(script_, record_);
        const auto takesAddress = [&] {
            return CPniFruData(record_).AssignIpv4Address(mac, Bytes(4, 1));
        };
        const bool tookAddress = record_.GetSize() <= maxImage && takesAddress();
        isDone_ = record_.ClearIpAddresses();
        const Bytes cleared = record_.GetImage();
        record_.ClearIpAddresses();
        require(record_.GetImage() == cleared, "a second clearing changes nothing");
        require(!tookAddress || takesAddress(), "a cleared function takes an address again");
        if (before.isWhole) {
            const CutRecord now = Now();
            now.RequireSameFrame(before);
            for (std::size_t i = 0; i < now.modules.size(); ++i) {
                require(now.modules[i].size() <= before.modules[i].size(), "no module grows");
            }
        }
    }

    // The same steps as in each cycle of the update thread.
    void AssignAnew(const CutRecord& /*before*/) {
        struct Interface {
            MacAddress mac;
            IpAddress ipv4, ipv6;
        };
        std::vector<Interface> interfaces(script_.Below(4));
        for (Interface& one : interfaces) {
            one = {takeMac(script_, record_), script_.Take(4), script_.Take(16)};
        }
        const auto assign = [&] {
            record_.ClearIpAddresses();
            for (const Interface& one : interfaces) {
                record_.AssignIpv4Address(one.mac, one.ipv4);
                record_.AssignIpv6Address(one.mac, one.ipv6, 0);
                record_.AssignIpv6Address(one.mac, one.ipv6, 1);
            }
            return record_.GetImage();
        };
        const Bytes once = assign();
        require(assign() == once, "the same addresses lead to the same bytes");
        isDone_ = true;
    }

    void AddModule(const CutRecord& before) PNI_UNCHECKED {  // ends a write that AddPniModule began
        std::uint8_t version = 12;
        (void)record_.GetRecordFormatVersion(&version);
        Bytes stream = script_.Below(8) == 0
                           ? script_.Take(script_.Below(40))
                           : buildModule(script_, version, script_.Below(64), false);
        const Bytes asked = stream;
        isDone_ = record_.AddPniModule(stream);
        if (before.isWhole && !asked.empty() && (asked.front() & 0x3F) == 0) {
            require(!isDone_, "no onboard adapter is added");
            record_.Lock().EndWrite();
        }
        if (!isDone_) {
            return;
        }
        CutRecord now = Now();
        stream.front() &= 0x7F;
        require(before.isWhole && now.isWhole, "only a whole record gets a module");
        if (before.modules.back().empty()) {
            return;  // behind a module without bytes is also in front of it
        }
        require(now.modules.back() == stream, "the new module is the stream");
        require(now.behind.empty(), "the bytes behind the record are cut off");
        now.modules.pop_back();
        now.behind = before.behind;
        now.RequireSameFrame(before);
        require(now.modules == before.modules, "the other modules stay");
        TakeOutAgain(before);
    }

    // Works on a copy, so that the next change finds the module.
    void TakeOutAgain(const CutRecord& before) const {
        CPniFruData copy(record_);
        const auto ids = copy.GetModuleIds();
        if (ids.back() == 0) {
            return;  // the id has wrapped to 0, which means onboard
        }
        require(copy.RemoveModule(static_cast<std::uint8_t>(ids.size() - 1)),
                "the new module can be removed");
        const CutRecord now(copy.GetImage());
        require(now.isWhole && now.front == before.front && now.modules == before.modules &&
                    now.padding == before.padding && now.behind.empty(),
                "adding and removing restores the record");
    }

    void RemoveModule(const CutRecord& before) {
        const std::uint8_t index = script_.Byte() & 0x0FU;
        try {
            isDone_ = record_.RemoveModule(index);
        } catch (const std::logic_error&) {
            isDone_ = false;
            require(record_.GetModuleIds().at(index) == 0,
                    "only the removal of an onboard module throws");
        }
        if (!before.isWhole || !isDone_) {
            return;
        }
        const CutRecord now = Now();
        std::vector<Bytes> others = before.modules;
        others.erase(others.begin() + index);
        require(now.isWhole && now.front == before.front && now.modules == others &&
                    now.padding == before.padding && now.behind == before.behind,
                "everything but the module stays");
    }

    // A repair of a whole record must change nothing.
    void Repair(const CutRecord& before) {
        isDone_ = !before.isWhole;
        try {
            record_.UpdateInternalUseAreaChecksum();
            record_.UpdateEndOfListBit();
            record_.UpdateOemPniRecordChecksum();
        } catch (const std::runtime_error&) {
            require(!before.isWhole, "all modules of a whole record are found");
        }
    }

    void Crop(const CutRecord& before) {
        isDone_ = before.isWhole;
        if (isDone_) {
            record_.CropToValidSize();
            require(Now().behind.empty(), "a cropped image ends with the record");
        }
    }

    static constexpr Edit edits[] = {
        &CEditing::SetIpv4,  &CEditing::SetIpv6,    &CEditing::SetMacs,   &CEditing::SetNames,
        &CEditing::ClearIps, &CEditing::AssignAnew, &CEditing::AddModule, &CEditing::RemoveModule,
        &CEditing::Repair,   &CEditing::Crop,
    };

    CPniFruData record_;
    CFuzzInput& script_;
    bool isDone_ = false;
};

}  // namespace

std::size_t em_pni::fuzz::imageOffset(std::span<const std::uint8_t> input) {
    return input.empty() || (input.front() & buildBit) != 0
               ? input.size()
               : 1 + std::size_t{input.front() & scriptMask};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input({data, size});
    const std::uint8_t head = input.Byte();
    const Bytes script = input.Take(head & scriptMask);
    Bytes image;
    if ((head & buildBit) != 0) {
        image = buildRecord(input);
        require(pniValidateFru(image.data(), image.size()) == PNI_SUCCESS,
                "a built record is valid");
    } else {
        image = input.TakeRest();
    }
    CFuzzInput edits(script);
    CEditing(std::move(image), edits).Run();
    return 0;
}
