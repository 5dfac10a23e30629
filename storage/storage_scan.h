// Finds the disks, partitions, volumes, file systems and swap areas of a machine.
//
//     CMachine machine;
//     const StorageInventory storage = scanStorage(machine, {});
#pragma once

#include "devscan/machine.h"
#include "storage/bounded_questions.h"
#include "storage/storage_inventory.h"

namespace em_pni {

// Never fails as a whole: what cannot be read stays unknown, and a device that vanishes during the
// scan is left out. Writes nothing.
//
// Opens no device when udevd runs, because its database says what a device holds. A device that
// udevd does not know is opened for reading when that cannot wake a disk; see isSafeToOpen().
// Questions that may not be answered are asked in a child process within `limits`: the space of
// mounted file systems, the content of devices, and the serial number of a virtio disk. Call it
// while the process has one thread.
StorageInventory scanStorage(CMachine& machine, const TimeLimits& limits);

}  // namespace em_pni
