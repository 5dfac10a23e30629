// The base of extension modules: calls into the host, cabinet number, notifications.
#pragma once

#include <atomic>
#include <cstdint>

#include "em_pni/extension_module.h"
#include "module/krcp_connection.h"
#include "platform/trace_client.h"

namespace em_pni {

class CExtensionModule : public CIExtensionModule, protected CKrcpConnection, private CITraceSink {
  public:
    // Ends the trace to the host.
    ~CExtensionModule() override;
    std::uint32_t GetModuleInfo(void* block) override;
    std::uint32_t Init() override;
    std::uint32_t Start(CIHostInterface* host, std::uint32_t instance) override;
    std::uint32_t Stop() override;
    std::uint32_t OnSwitchStarted() override;
    void ModuleReply(CKrcpMessage& reply) override;
    std::uint32_t ModuleRequest(CKrcpMessage& request) override;
    std::uint32_t Reserved9() override { return 0; }
    std::uint32_t SetCabinetNumber(std::int32_t number) override;
    std::uint32_t Reserved11() override { return 0; }
    std::uint32_t Reserved12() override { return 0; }
    std::uint32_t Notify(std::uint32_t code, std::uint32_t param) override;
    const char* GetModuleName() override { return "EM_XXX"; }
    void Reserved15() override {}
    void Reserved16() override {}
    void Reserved17() override {}
    void Reserved18() override {}
    std::uint32_t Reserved19() override { return 0; }
    std::uint32_t Reserved20() override { return 0; }
    std::uint32_t Reserved21() override { return 0; }
    std::uint32_t Reserved22() override { return 0; }
    std::uint32_t OnModuleNotification(std::uint32_t code, std::uint32_t param) override;

  protected:
    CExtensionModule() = default;

    // The number of the server cabinet. It belongs to the process. 0 until the host sets it.
    [[nodiscard]] static std::int32_t CabinetNumber() noexcept;

    // Calls into the host. Return 0 before Start.
    std::uint32_t SwitchStartFinished(std::uint32_t value);
    std::uint32_t GetHostKind();
    // The text of a configuration file; null when the host gives none.
    const char* GetModuleConfig();
    // Whether the module may use a message of the host. Traces a message that it refuses.
    bool Accept(CKrcpMessage& message);
    // Adds a missing "CA" and sends the message, as CKrcpConnection::SendRequest. Before Start,
    // sets the status EXEC_FAILED and sends nothing.
    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override;

    // Set by the notification of a switch shutdown and never cleared. The module must not write the
    // record while it is set. A thread of the host writes it, the update thread reads it.
    std::atomic<bool> SwitchShutdown{false};

  private:
    // Null when the host does not configure the module.
    [[nodiscard]] CIConfiguringHostInterface* ConfiguringHost();
    void OnTraceLine(const char* line) override;

    std::atomic<CIHostInterface*> host_{nullptr};
    std::atomic<CIConfiguringHostInterface*> traceHost_{nullptr};  // null = no trace lines
    std::atomic<std::uint32_t> instance_{0};  // the host may start the module again while it runs
};

}  // namespace em_pni
