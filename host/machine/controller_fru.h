// The FRU data of a real management controller, written so that no cut leaves them half changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/machine/fru_journal.h"
#include "host/machine/fru_store.h"
#include "host/machine/ipmi_fru.h"

namespace em_pni {

// A write sends only the bytes that differ and reads them back. Both images are in a journal
// meanwhile, so that Mend can complete the write after a crash.
class CControllerFru final : public CIFruStore {
  public:
    // `place` must outlive this. A caller that writes holds its lock. Each operation opens the
    // device anew: a driver may have been loaded again since the last one.
    CControllerFru(const CFruPlace& place, std::uint8_t fruId, IpmiPortOpener open,
                   FruProgress progress = {});

    [[nodiscard]] const std::string& Name() const noexcept override { return place_.Name(); }
    [[nodiscard]] std::size_t Capacity(std::size_t size) const noexcept override { return size; }
    [[nodiscard]] std::vector<std::uint8_t> Read() override;
    // Throws a CFruProtected when the controller is write-protected. When a write fails, the bytes
    // from before are written back. When this fails, too, the journal stays.
    void Write(std::span<const std::uint8_t> stored, std::span<const std::uint8_t> image) override;
    std::optional<std::string> Mend() override;
    [[nodiscard]] std::optional<std::int64_t> WriteMark() const override;

  private:
    // Writes what differs between the two images, and compares. Throws a CHostError.
    void Change(std::span<const std::uint8_t> from, std::span<const std::uint8_t> to);
    // Reads bytes that were written. Writes them once more when they differ, then throws when they
    // still do.
    void Compare(CIpmiFru& fru, std::size_t begin, std::span<const std::uint8_t> wanted,
                 const CIpmiFru::Progress& progress) const;
    void GoBack(std::span<const std::uint8_t> from, std::span<const std::uint8_t> to) noexcept;

    const CFruPlace& place_;
    const CFruJournal journal_;
    const std::uint8_t fruId_;
    const IpmiPortOpener open_;
    const FruProgress progress_;
};

}  // namespace em_pni
