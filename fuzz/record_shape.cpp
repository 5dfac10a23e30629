#include "fuzz/record_shape.h"

#include "frudata/layout.h"
#include "frudata/record_checksum.h"
#include "frudata/record_cursor.h"
#include "tests/record_builder.h"

namespace em_pni::fuzz {
namespace {

using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

// Rewrites a function for format version 10: the technology becomes a text. The text gets four more
// bytes, so that the longest one does not run into the next field.
void makeTechnologyText(Bytes& function) {
    static constexpr const char* texts[] = {"NIC", "FC", "FCoE", "iSCSI", "IB", "SAS"};
    const std::string text = texts[function[14] % std::size(texts)];
    function.insert(function.begin() + 15, 4, 0);
    function[19] = 0;  // NUL behind the longest text
    test::put(function, 14, test::textBytes(text));
    function[1] = static_cast<std::uint8_t>(function[1] + 1);
    function[2] = 38;
}

Bytes buildAddresses(CFuzzInput& input, unsigned technology) {
    if (technology != 0) {
        return input.Take(input.Below(130));
    }
    const std::uint8_t counters = input.Byte();
    const std::size_t lists = (counters & 0x0FU) * 4 + (counters >> 4U) * 16U;
    // Sometimes the function gets as long as possible.
    const std::size_t slack = input.Below(50) * (input.Below(8) == 7 ? std::size_t{30} : 1);
    const std::uint8_t mac = input.Byte();
    return test::nicAddresses(mac, input.Take(std::min<std::size_t>(lists + slack, 930)), counters);
}

Bytes buildFunction(CFuzzInput& input, unsigned version, unsigned id, bool last) {
    const unsigned technology = input.Below(4) == 3 ? input.Below(8) : input.Below(2);
    Bytes bytes = test::function(id, last, technology, buildAddresses(input, technology));
    test::put(bytes, 15, input.Take(19));
    if (version == 10) {
        makeTechnologyText(bytes);
    }
    if (input.Below(16) == 15) {
        bytes[2] = input.Byte();
    }
    return bytes;
}

// Writes the number and the end mark of one element. The bits in `keptBits` stay.
void putMark(CByteEditor& image, std::size_t offset, std::uint8_t keptBits, unsigned number,
             bool last) {
    const unsigned flags = (image.View().U8(offset) & keptBits) | number | (last ? 0x80U : 0U);
    image.PutU8(offset, static_cast<std::uint8_t>(flags));
}

// Walks the record. Where a number or end mark stops the walk, it is corrected and the step is
// repeated.
class CMarkMender {
  public:
    CMarkMender(CByteEditor image, const RecordFrame& frame)
        : image_(image), modules_(frame.moduleCount), cursor_(image.View(), frame) {}

    void Mend() {
        while (cursor_.NextModule()) {
            const PNI_MODULE_AREA& module = cursor_.Module();
            putMark(image_, module.offset, 0x7F, 0, module.position + 1 == modules_);
            while (Enter(&CRecordCursor::NextPort)) {
                while (Enter(&CRecordCursor::NextFunction)) {
                }
            }
        }
    }

  private:
    bool Enter(bool (CRecordCursor::*next)() noexcept) {
        const CRecordCursor before = cursor_;
        if ((cursor_.*next)()) {
            return true;
        }
        if (cursor_.Fault() == WalkFault::port) {
            const CPniPortArea& port = cursor_.Port();
            putMark(image_, port.offset, 0x40, port.position,
                    port.position + 1 == cursor_.Module().portCount);
        } else if (cursor_.Fault() == WalkFault::function) {
            const CPniPortFunction& function = cursor_.Function();
            putMark(image_, function.Offset(), 0x60, function.Position(),
                    function.Position() + 1 == cursor_.Port().pfCount);
        } else {
            return false;
        }
        cursor_ = before;
        return (cursor_.*next)();
    }

    CByteEditor image_;
    int modules_;
    CRecordCursor cursor_;
};

}  // namespace

Bytes buildModule(CFuzzInput& input, unsigned version, unsigned id, bool last) {
    std::vector<Bytes> ports(input.Below(4));
    for (std::size_t p = 0; p < ports.size(); ++p) {
        std::vector<Bytes> functions(input.Below(4));
        for (std::size_t f = 0; f < functions.size(); ++f) {
            functions[f] =
                buildFunction(input, version, static_cast<unsigned>(f), f + 1 == functions.size());
        }
        ports[p] = test::port(static_cast<unsigned>(p), p + 1 == ports.size(), functions);
    }
    Bytes bytes = test::module(id, last, input.Below(6), ports);
    bytes[0] ^= static_cast<std::uint8_t>(input.Below(2) * 0x40);
    return bytes;
}

Bytes buildRecord(CFuzzInput& input) {
    const unsigned version = 10 + input.Below(3);
    std::vector<Bytes> modules(1 + input.Below(6));
    for (std::size_t m = 0; m < modules.size(); ++m) {
        modules[m] = buildModule(input, version, input.Below(64), m + 1 == modules.size());
    }
    Bytes image = test::recordImage((input.Byte() & 0xF0U) | version, modules);
    test::put(image, 22, input.Take(3));
    test::fixChecksums(image);
    image.resize(image.size() + input.Below(40), 0xA5);
    return image;
}

void mendRecord(Bytes& image) {
    CByteEditor editor(image);
    if (!editor.View().Has(0, layout::IPMI_FRU_COMMON_HEADER::size)) {
        return;
    }
    constexpr std::size_t headerSum = layout::IPMI_FRU_COMMON_HEADER::size - 1;
    editor.PutU8(headerSum, static_cast<std::uint8_t>(0U - editor.View().Sum(0, headerSum)));
    mendInternalUseAreaChecksum(editor);
    RecordFrame frame = locateFrame(editor.View());
    if (frame.fault == FrameFault::recordOutside) {
        editor.PutU16(frame.multirecordHeader + Header::recordLength,
                      static_cast<std::uint16_t>(image.size() - frame.commonArea));
        frame = locateFrame(editor.View());
    }
    if (frame.fault == FrameFault::none) {
        CMarkMender(editor, frame).Mend();
        mendRecordChecksum(editor);
    }
}

}  // namespace em_pni::fuzz
