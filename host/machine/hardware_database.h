// The names of vendors and devices in the hardware database of the system (libudev).
#pragma once

#include <memory>

#include "devscan/adapter_names.h"

struct udev;
struct udev_hwdb;

namespace em_pni {

class CIHardwareNames {
  public:
    virtual AdapterNames Find(const PciIds& ids) = 0;

  protected:
    ~CIHardwareNames() = default;
};

class CHardwareDatabase final : public CIHardwareNames {
  public:
    // A system without the database has no names.
    CHardwareDatabase();

    AdapterNames Find(const PciIds& ids) override;

  private:
    struct Free {
        void operator()(udev* context) const noexcept;
        void operator()(udev_hwdb* database) const noexcept;
    };

    std::unique_ptr<udev, Free> context_;
    std::unique_ptr<udev_hwdb, Free> database_;
};

}  // namespace em_pni
