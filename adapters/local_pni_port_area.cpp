#include "adapters/local_pni_port_area.h"

#include "adapters/area_clone.h"
#include "adapters/area_fields.h"

namespace em_pni {

LocalPniPortArea::LocalPniPortArea(const LocalPniPortArea& other)
    : portNumber_(other.portNumber_), last_(other.last_) {
    constexpr const char* operation = "LocalPniPortArea::CopyCtor()";
    PNI_TRACE(5, "\nEM_PNI %s : Copy %u port function areas.", operation,
              static_cast<unsigned>(other.functionAreas_.size()));
    try {
        for (const auto& area : other.functionAreas_) {
            functionAreas_.push_back(clonedArea(area.get(), operation));
        }
    } catch (...) {
        CleanupAll();
        throw;
    }
}

LocalPniPortArea::~LocalPniPortArea() {
    PNI_TRACE(5, "\nEM_PNI LocalPniPortArea::Dtor() : Start.");
    CleanupAll();
    PNI_TRACE(5, "\nEM_PNI LocalPniPortArea::Dtor() : Done.");
}

void LocalPniPortArea::AddLocalPniPortFunctionArea(const LocalPniPortFunctionArea* area) {
    constexpr const char* operation = "LocalPniPortArea::AddLocalPniPortFunctionArea()";
    tracingExceptions(operation, [&] { functionAreas_.push_back(clonedArea(area, operation)); });
}

void LocalPniPortArea::CleanupAll() noexcept {
    PNI_TRACE(5, "\nEM_PNI LocalPniPortArea::CleanupAll() : Start.");
    functionAreas_.clear();
    PNI_TRACE(5, "\nEM_PNI LocalPniPortArea::CleanupAll() : Done.");
}

std::vector<std::uint8_t> LocalPniPortArea::ToPniFruDataPort() const {
    using Port = layout::PNI_PORT_AREA;
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortArea::ToPniFruDataPort() : Start.");
    std::vector<std::uint8_t> bytes(Port::size);
    CByteEditor area(bytes);
    area.PutU8(Port::flags, areaFlags(GetPortNumber(), layout::portIdMask, IsEnabled(), IsLast()));
    area.PutU8(Port::recordLen, Port::size);
    area.PutU8(Port::pfCount, static_cast<std::uint8_t>(functionAreas_.size()));
    area.PutU8(Port::wolBehaviour, GetWolBehaviour());
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortArea::ToPniFruDataPort() : Done.");
    return bytes;
}

template <class Technology>
LocalPniPortAreaOf<Technology>::LocalPniPortAreaOf(std::uint32_t portNumber, bool last)
    : LocalPniPortArea(portNumber, last) {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortArea::Ctor() : Create port #%u (last = %s)",
              Technology::prefix, portNumber, last ? "TRUE" : "FALSE");
}

template <class Technology>
LocalPniPortAreaOf<Technology>::~LocalPniPortAreaOf() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortArea::Dtor() : Start.", Technology::prefix);
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortArea::Dtor() : Done.", Technology::prefix);
}

template <class Technology>
void LocalPniPortAreaOf<Technology>::MarkLast() {
    last_ = true;
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniPortArea::MarkLast() : Last element marked.",
              Technology::prefix);
}

template <class Technology>
std::unique_ptr<LocalPniPortArea> LocalPniPortAreaOf<Technology>::Clone() const {
    return std::make_unique<LocalPniPortAreaOf>(*this);
}

template class LocalPniPortAreaOf<NicTechnology>;
template class LocalPniPortAreaOf<FcTechnology>;

}  // namespace em_pni
