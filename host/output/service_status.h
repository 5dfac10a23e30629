// Tells systemd how a service is. Without systemd all functions do nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace em_pni {

class CServiceStatus {
  public:
    // Loads libsystemd when systemd waits for messages of this program, and only then: on Debian 12
    // it brings seven more libraries, which took a quarter of the start of each command. Throws a
    // CHostError when it cannot be loaded.
    CServiceStatus();

    // Whether systemd waits for messages of this program.
    [[nodiscard]] bool IsService() const noexcept { return library_ != nullptr; }
    // How often Alive must be called; no value = systemd does not watch.
    [[nodiscard]] std::optional<std::chrono::milliseconds> AliveInterval() const noexcept;

    void Ready() const noexcept { Notify("READY=1"); }
    void Reloading() const noexcept { Notify("RELOADING=1"); }
    void Stopping() const noexcept { Notify("STOPPING=1"); }
    void Alive() const noexcept { Notify("WATCHDOG=1"); }
    // One line about what the service does.
    void Text(const std::string& text) const { Notify(("STATUS=" + text).c_str()); }

  private:
    struct Unload {
        void operator()(void* library) const noexcept;
    };

    void Notify(const char* state) const noexcept;

    std::unique_ptr<void, Unload> library_;
    // Both are functions of libsystemd, or both null.
    int (*notify_)(int unsetEnvironment, const char* state) = nullptr;
    int (*watchdogEnabled_)(int unsetEnvironment, std::uint64_t* microseconds) = nullptr;
};

}  // namespace em_pni
