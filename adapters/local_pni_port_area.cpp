#include "adapters/local_pni_port_area.h"

#include "adapters/clone.h"
#include "platform/trace.h"

namespace em_pni {

LocalPniPortArea::LocalPniPortArea(const LocalPniPortArea& other)
    : portNumber_(other.portNumber_), adapter_(other.adapter_), last_(other.last_) {
    PNI_TRACE(5, "\nEM_PNI LocalPniPortArea::CopyCtor() : Copy %u port function areas.",
              static_cast<unsigned>(other.functionAreas_.size()));
    try {
        for (const auto& area : other.functionAreas_) {
            functionAreas_.push_back(clonedArea(area.get(), "LocalPniPortArea::CopyCtor()"));
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

template <class Technology>
LocalPniPortAreaOf<Technology>::LocalPniPortAreaOf(std::uint32_t portNumber,
                                                   const CSystemAdapter& adapter, bool last,
                                                   Context context)
    : LocalPniPortArea(portNumber, adapter, last), context_(context) {
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

template <class Technology>
void LocalPniPortAreaOf<Technology>::Attach(Context context) noexcept {
    context_ = context;
    for (const auto& area : functionAreas_) {
        if (auto* const own = dynamic_cast<typename Technology::PortFunctionArea*>(area.get())) {
            own->Attach(context);
        }
    }
}

template class LocalPniPortAreaOf<NicTechnology>;
template class LocalPniPortAreaOf<FcTechnology>;

}  // namespace em_pni
