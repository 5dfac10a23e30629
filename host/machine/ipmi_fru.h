// A FRU device behind the management controller: the storage commands of IPMI 2.0, section 34.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "host/machine/ipmi_messages.h"

namespace em_pni {

class CIpmiFru {
  public:
    using Clock = CIIpmiPort::Clock;
    // Learns how many of how many bytes are done.
    using Progress = std::function<void(std::size_t done, std::size_t total)>;

    // Asks the controller for the size. The port must outlive this. `name` is for the texts of
    // errors. All commands together, this one included, must end within `patience`. All functions
    // throw a CHostError; after a Write that throws, some bytes may be written.
    CIpmiFru(CIIpmiPort& port, const std::string& name, std::uint8_t id, Clock::duration patience);

    // 1 to 65535, in bytes. Of the memory, or of the part in use: nothing behind it is touched.
    [[nodiscard]] std::size_t Size() const noexcept { return size_; }

    // The part must lie within the size.
    std::vector<std::uint8_t> Read(std::size_t offset, std::size_t length,
                                   const Progress& progress = {});
    // The bytes must lie within the size. A controller may accept bytes without storing them: only
    // a Read afterwards shows what is stored. Throws a CFruProtected when the data are
    // write-protected.
    void Write(std::size_t offset, std::span<const std::uint8_t> bytes,
               const Progress& progress = {});

  private:
    // Repeats the command while the controller is busy. The answer has any other code.
    IpmiAnswer Ask(std::uint8_t command, std::span<const std::uint8_t> data);
    [[nodiscard]] std::size_t AskSize();
    // The bytes from `offset` that one command reads, at least one.
    std::vector<std::uint8_t> ReadChunk(std::size_t offset, std::size_t length);
    // Returns how many bytes the controller has taken, at least one.
    std::size_t WriteChunk(std::size_t offset, std::span<const std::uint8_t> bytes);
    // False when the chunks cannot become smaller.
    bool ShrinkChunks() noexcept;
    [[noreturn]] void Refused(const char* what, std::uint8_t code) const;

    CIIpmiPort& port_;
    CIpmiMessages messages_;
    const std::string name_;
    const std::uint8_t id_;
    const Clock::time_point deadline_;
    std::size_t chunk_ = 32;  // bytes in a command; many controllers take no more
    const std::size_t size_;
};

}  // namespace em_pni
