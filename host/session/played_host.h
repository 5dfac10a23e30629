// The host as the module sees it: controller, network and configuration behind one interface.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "em_pni/em_pni.h"
#include "host/machine/fru_controller.h"
#include "host/machine/network_answers.h"
#include "host/output/console.h"

namespace em_pni {

// The text of a module's configuration: milliseconds between two cycles.
std::string cycleConfig(std::uint32_t cycle);
constexpr std::uint32_t onlyAfterEvents = 4294967295U;  // a cycle time

class CPlayedHost final : public CIConfiguringHostInterface {
  public:
    // All must outlive the host. Null = a host without a controller. `moduleConfig` is the text of
    // a configuration file; empty = the module looks for its file. Trace lines
    // of the module up to `traceLevel` go to standard error.
    CPlayedHost(CFruController* controller, CNetworkAnswers& network, CConsole& console,
                std::string moduleConfig = {}, std::uint32_t traceLevel = 0)
        : controller_(controller),
          network_(network),
          console_(console),
          moduleConfig_(std::move(moduleConfig)),
          traceLevel_(traceLevel) {}

    // Returns 0 when the message has no command that can hold the answer. Refuses a message with
    // another tag; the console gets one error for all of them.
    std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override;
    std::uint32_t SwitchStartFinished(CIExtensionModule* /*module*/,
                                      std::uint32_t /*value*/) override {
        return 1;
    }
    std::uint32_t GetHostKind() override { return configuringHostKind; }
    const char* GetModuleConfig() override {
        return moduleConfig_.empty() ? nullptr : moduleConfig_.c_str();
    }

    // When the last request of the module ended; now while one is being answered, or a write goes
    // on. Any thread may call.
    [[nodiscard]] std::chrono::steady_clock::time_point LastRequest() const noexcept;

    std::uint32_t GetTraceLevel() override { return traceLevel_; }
    void OnTraceLine(const char* line) override { console_.Trace(line); }

  private:
    std::uint32_t Answer(CKrcpMessage& message, std::uint32_t timeoutMs);

    CFruController* const controller_;
    CNetworkAnswers& network_;
    CConsole& console_;
    const std::string moduleConfig_;
    const std::uint32_t traceLevel_;
    std::atomic<bool> hasRefused_{false};
    std::atomic<int> openRequests_{0};
    std::atomic<std::chrono::steady_clock::time_point> lastRequest_{};
};

}  // namespace em_pni
