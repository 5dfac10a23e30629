// What differs between an Ethernet and a Fibre Channel adapter; all else is written once, in the
// templates that take one of these.
#pragma once

#include <cstdint>

#include "adapters/net_interface_connection_context.h"
#include "frudata/layout.h"

namespace em_pni {

class NIC_LocalPniPortFunctionArea;
class FC_LocalPniPortFunctionArea;

struct NicTechnology {
    static constexpr const char* prefix = "NIC";  // of the class names
    static constexpr ModuleTechnology moduleTypeCode = ModuleTechnology::eth;
    static constexpr FunctionTechnology technologyType = FunctionTechnology::nic;

    using PortFunctionArea = NIC_LocalPniPortFunctionArea;
    // What the adapter owns to ask the host, and what its areas borrow of that.
    using Context = NetInterfaceConnectionContext;
    using BorrowedContext = NetInterfaceConnectionContext*;
    static BorrowedContext borrow(Context& context) noexcept { return &context; }
};

struct FcTechnology {
    static constexpr const char* prefix = "FC";
    static constexpr ModuleTechnology moduleTypeCode = ModuleTechnology::fc;
    static constexpr FunctionTechnology technologyType = FunctionTechnology::fc;

    using PortFunctionArea = FC_LocalPniPortFunctionArea;
    // The host is asked for nothing.
    struct Context {
        Context(CKrcpConnection* /*connection*/, std::int32_t /*cabinet*/,
                const std::shared_ptr<SharedHostInterfaces>& /*shared*/) noexcept {}
        void Refresh() noexcept {}
    };
    struct BorrowedContext {};
    static BorrowedContext borrow(Context& /*context*/) noexcept { return {}; }
};

}  // namespace em_pni
