// The host as the module sees it: controller and machine behind one interface.
#pragma once

#include <cstdint>

#include "em_pni/em_pni.h"
#include "host/machine/fru_controller.h"
#include "host/machine/network_answers.h"

namespace em_pni {

class CPlayedHost final : public CIHostInterface {
  public:
    // Both must outlive the host.
    CPlayedHost(CFruController& controller, CNetworkAnswers& network)
        : controller_(controller), network_(network) {}

    // 0 when the message has no command that could take the answer.
    std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override;
    std::uint32_t SwitchStartFinished(CIExtensionModule* /*module*/,
                                      std::uint32_t /*value*/) override {
        return 1;
    }
    std::uint32_t GetHostKind() override { return 0; }

  private:
    CFruController& controller_;
    CNetworkAnswers& network_;
};

}  // namespace em_pni
