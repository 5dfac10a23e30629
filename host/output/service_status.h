// Tells systemd how a service is. Without systemd all functions do nothing.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace em_pni {

class CServiceStatus {
  public:
    // Whether systemd waits for messages of this program.
    [[nodiscard]] bool IsService() const noexcept;
    // How often Alive must be called; no value = systemd does not watch.
    [[nodiscard]] std::optional<std::chrono::milliseconds> AliveInterval() const noexcept;

    void Ready() const noexcept;
    void Reloading() const noexcept;
    void Stopping() const noexcept;
    void Alive() const noexcept;
    // One line about what the service does.
    void Text(const std::string& text) const;
};

}  // namespace em_pni
