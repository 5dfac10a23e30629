// FRU data as the commands use them: an image file, a controller, or standard input.
#pragma once

#include <memory>
#include <optional>

#include "host/machine/fru_place.h"
#include "host/machine/fru_store.h"

namespace em_pni {

class COpenFru {
  public:
    // The path "-" with Use::read is a copy of standard input. Throws a CHostError. `progress` is
    // for controllers, which take seconds.
    COpenFru(const FruSource& source, CFruPlace::Use use, FruProgress progress = {});

    [[nodiscard]] CIFruStore& Store() noexcept { return *store_; }
    [[nodiscard]] bool IsController() const noexcept { return place_ && place_->IsController(); }
    // Only when the path is not "-".
    [[nodiscard]] const CFruPlace& Place() const noexcept { return *place_; }

  private:
    std::optional<CFruPlace> place_;
    std::unique_ptr<CIFruStore> store_;
};

}  // namespace em_pni
