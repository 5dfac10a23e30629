// The differences between an Ethernet and a Fibre Channel adapter. Everything else is written once,
// in templates that take one of these two classes.
#pragma once

#include <cstdint>
#include <memory>

#include "adapters/net_interface_connection_context.h"
#include "frudata/layout.h"

namespace em_pni {

class NIC_LocalPniPortFunctionArea;
class FC_LocalPniPortFunctionArea;

struct NicTechnology {
    static constexpr const char* prefix = "NIC";  // of the class names in the trace
    static constexpr ModuleTechnology module = ModuleTechnology::eth;
    static constexpr FunctionTechnology function = FunctionTechnology::nic;

    using PortFunctionArea = NIC_LocalPniPortFunctionArea;
    // Asks the host about its interfaces. The adapter, its clones and their areas share it.
    using Context = std::shared_ptr<NetInterfaceConnectionContext>;
    static Context connect(CKrcpConnection* connection, std::int32_t cabinet,
                           const std::shared_ptr<SharedHostInterfaces>& shared) {
        return std::make_shared<NetInterfaceConnectionContext>(connection, cabinet, shared);
    }
    static void refresh(const Context& context) { context->Refresh(); }
};

struct FcTechnology {
    static constexpr const char* prefix = "FC";
    static constexpr ModuleTechnology module = ModuleTechnology::fc;
    static constexpr FunctionTechnology function = FunctionTechnology::fc;

    using PortFunctionArea = FC_LocalPniPortFunctionArea;
    // Asks the host nothing.
    struct Context {};
    static Context connect(CKrcpConnection* /*connection*/, std::int32_t /*cabinet*/,
                           const std::shared_ptr<SharedHostInterfaces>& /*shared*/) noexcept {
        return {};
    }
    static void refresh(const Context& /*context*/) noexcept {}
};

}  // namespace em_pni
