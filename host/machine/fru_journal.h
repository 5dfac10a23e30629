// The journal of a write to a controller: both images, kept in a file until the write is complete.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/machine/fru_place.h"

namespace em_pni {

class CFruJournal {
  public:
    // Of the same size.
    struct Images {
        std::vector<std::uint8_t> before;
        std::vector<std::uint8_t> after;
    };

    // "<base name>.journal", in the folder of the place.
    static std::string NameAt(const CFruPlace& place) { return place.FileName() + ".journal"; }

    // The place must outlive this. Without a folder there is no journal.
    explicit CFruJournal(const CFruPlace& place) : place_(place), name_(NameAt(place)) {}

    [[nodiscard]] bool Exists() const noexcept;
    // The images on disk. No value = the file is damaged. Throws a CHostError when it cannot be
    // read now: a later call may succeed.
    [[nodiscard]] std::optional<Images> Read() const;
    // Writes the file and flushes it to disk. Throws a CHostError.
    void Keep(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after) const;
    // Throws a CHostError.
    void Remove() const;
    // Renames the file, so that it is never read again. Returns its new path. Throws a CHostError.
    [[nodiscard]] std::string PutAside() const;

  private:
    [[noreturn]] void Fail(const char* what) const;

    const CFruPlace& place_;
    const std::string name_;
};

}  // namespace em_pni
