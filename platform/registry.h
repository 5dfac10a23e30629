// The registry store: a tree of keys and values in memory, kept in text files in one directory.
//
//     registry          the current tree
//     registry.old      the tree before the last save
//     registry.new      being written
//     registry.default  factory defaults
//
// The name of a key is its path from a top-level key on, "HKEY_LOCAL_MACHINE\SOFTWARE\X". See
// registry_node.h for the rules of names and values, registry_format.h for the form of the files.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/recursive_lock.h"
#include "platform/registry_node.h"

namespace em_pni {

// Any thread may call any operation: one lock of the process guards all stores. Two stores on the
// same directory do not see each other's changes. The only exception is std::bad_alloc, which
// leaves the tree sound. Only SaveTree writes to the files: changes that are not saved are lost
// with the store.
//
// A handle stands for one key. Opening a key twice gives the same handle. There is no close. A
// handle ends when its key is deleted or the tree is restored again. Handles are never used twice
// in a process, so each store refuses an ended handle and a handle of another store.
class CRegistry {
  public:
    using Handle = int;
    static constexpr Handle noHandle = 0;
    static constexpr const char* systemDirectory = "/opt/QuillonRT/vital/etc/qlagent";

    explicit CRegistry(std::string_view directory = systemDirectory);
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    // Restores the tree from "registry", else "registry.old", else "registry.default", and drops
    // unsaved changes. After the first call does nothing and returns true, unless `force` is set.
    // Returns false when no file could be restored: the tree then keeps its content and gets the
    // top-level keys. Open, CreateKey and DeleteKey call this first.
    bool SetupTree(bool force);
    // SetupTree with force.
    bool InitClass();
    // Writes the tree to "registry", mode 0644, and the old "registry" to "registry.old" unless it
    // is empty. Does nothing when the tree has not changed since it was saved or restored. A crash
    // at any moment leaves the old or the new tree in "registry", or the old tree in
    // "registry.old" and no "registry". Returns false when saving failed or the tree is larger than
    // maxRegistryText. The old "registry" is then still there, unless only flushing the directory
    // failed. The next call tries again.
    bool SaveTree();

    // Returns noHandle when there is no such key.
    Handle Open(const std::string& path);
    // Opens the key. Creates it and the keys above it when they are missing, except top-level keys.
    // Returns noHandle when a name is not allowed or the path is too deep.
    Handle CreateKey(const std::string& path);
    // Deletes the key and all keys below it. Returns false when there is no such key or it is a
    // top-level key.
    bool DeleteKey(const std::string& path);

    std::optional<RegistryData> GetValue(Handle key, const std::string& name);
    // Adds or replaces a value. Returns false when the handle is unknown, or the name or data not
    // allowed.
    bool SetValue(Handle key, const std::string& name, RegistryData data);
    bool DeleteValue(Handle key, const std::string& name);
    // Copies the bytes of a value to `data`. `*count` is the size of `data` in bytes and becomes
    // the size of the value, or 0 when there is no such value. `type` may be null. With null `data`
    // only type and size are returned. Returns false and copies nothing when there is no such value
    // or it does not fit.
    bool QueryValue(Handle key, const std::string& name, RegistryType* type, void* data,
                    std::uint32_t* count);

  private:
    bool Restore(const std::string& path) PNI_REQUIRES(lock_);
    [[nodiscard]] CRegistryNode::Pointer FindKey(const std::vector<std::string_view>& names) const
        PNI_REQUIRES(lock_);
    // Returns null when the handle is unknown.
    [[nodiscard]] CRegistryNode* KeyOf(Handle key) const PNI_REQUIRES(lock_);
    Handle HandleOf(const CRegistryNode::Pointer& node) PNI_REQUIRES(lock_);
    void DropStaleHandles() noexcept PNI_REQUIRES(lock_);

    const std::string directory_;
    CRecursiveLock& lock_;  // one for all stores of the process
    CRegistryNode::Pointer root_ PNI_GUARDED_BY(lock_);
    std::map<Handle, CRegistryNode::Pointer> handles_ PNI_GUARDED_BY(lock_);
    bool isSetup_ PNI_GUARDED_BY(lock_) = false;
    bool isDirty_ PNI_GUARDED_BY(lock_) = false;
};

}  // namespace em_pni
