// The kernel's IPMI device: /dev/ipmi0 of the driver ipmi_devintf.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/file.h"

namespace em_pni {

// An open device, and the time that its users wait.
class CIIpmiPort {
  public:
    using Clock = std::chrono::steady_clock;

    CIIpmiPort() = default;
    virtual ~CIIpmiPort() = default;
    CIIpmiPort(const CIIpmiPort&) = delete;
    CIIpmiPort& operator=(const CIIpmiPort&) = delete;

    // `request` is an IPMICTL_... constant. Returns 0 or an errno value.
    virtual int Ioctl(unsigned long request, void* argument) = 0;
    // Waits for a message from the controller. False at the deadline, and when the device cannot be
    // polled.
    virtual bool WaitForMessage(Clock::time_point deadline) = 0;
    virtual void Pause(Clock::duration duration) = 0;
    [[nodiscard]] virtual Clock::time_point Now() const = 0;
};

// Opens the device. Throws a CHostError.
using IpmiPortOpener = std::function<std::unique_ptr<CIIpmiPort>()>;

class CKernelIpmiPort final : public CIIpmiPort {
  public:
    // Throws a CHostError.
    explicit CKernelIpmiPort(const std::string& path);

    int Ioctl(unsigned long request, void* argument) override;
    bool WaitForMessage(Clock::time_point deadline) override;
    void Pause(Clock::duration duration) override;
    [[nodiscard]] Clock::time_point Now() const override { return Clock::now(); }

  private:
    CFileDescriptor device_;
};

}  // namespace em_pni
