// The registry store: a tree of keys and values in memory, restored from and saved to text files in
// one directory ("registry", "registry.old", "registry.new", "registry.default").
//
// Keys are named by their path from a top-level key on, "HKEY_LOCAL_MACHINE\SOFTWARE\X". The rules
// for names and texts stand in registry_node.h, the form of the files in registry_format.h.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/recursive_lock.h"
#include "platform/registry_files.h"
#include "platform/registry_node.h"

namespace em_pni {

// Every operation may be called from any thread; one lock of the process guards all stores. Two
// stores on the same directory do not see each other's changes. Only a lack of memory throws
// (std::bad_alloc), and leaves a sound tree. Changes reach the files by SaveTree alone: ending the
// store drops what was not saved.
//
// A handle stands for one key: opening the key again gives the same handle, and it need not be
// closed. It goes stale when its key is deleted or the tree is restored anew. Numbers are not used
// again while the library is loaded, so a stale handle, or one of another store, is refused.
class CRegistry {
  public:
    using Handle = int;
    static constexpr Handle noHandle = 0;
    static constexpr const char* systemDirectory = "/opt/QuillonRT/vital/etc/qlagent";

    explicit CRegistry(std::string_view directory = systemDirectory);
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    // Restores the tree from the current, the previous or the default file, whichever is the first
    // to be whole, and drops unsaved changes. Nothing is done when that has been done before,
    // unless it is forced. False when no file could be restored: the tree then stays as it is, with
    // at least the top-level keys. Opening, creating and deleting keys do this first when needed.
    bool SetupTree(bool force);
    // Sets up by force.
    bool InitClass();
    // Nothing is done unless the tree has changed since it was saved or restored. False when saving
    // failed, or the tree is larger than maxRegistryText: the files then stay as they are, and the
    // tree is still to be saved.
    bool SaveTree();

    // noHandle when there is no such key.
    Handle Open(const std::string& path);
    // Opens the key, made with all keys above it where missing; top-level keys cannot be made.
    // noHandle when a name is refused or the path is too deep.
    Handle CreateKey(const std::string& path);
    // Deletes the key and all below it; false when there is none or it is a top-level key.
    bool DeleteKey(const std::string& path);

    std::optional<RegistryData> GetValue(Handle key, const std::string& name);
    // Adds or replaces. False when handle, name or data is refused.
    bool SetValue(Handle key, const std::string& name, RegistryData data);
    bool DeleteValue(Handle key, const std::string& name);
    // Copies the bytes of a value to `data`. `count` says how many fit and is set to how many there
    // are, 0 without such a value. With null `data` only type and count are told; `type` may be
    // null. False when there is no such value or it does not fit; then nothing is copied.
    bool QueryValue(Handle key, const std::string& name, RegistryType* type, void* data,
                    std::uint32_t* count);

  private:
    bool Restore(const std::string& path) PNI_REQUIRES(lock_);
    [[nodiscard]] CRegistryNode::Pointer FindKey(const std::vector<std::string_view>& names) const
        PNI_REQUIRES(lock_);
    // Null when the handle is unknown.
    [[nodiscard]] CRegistryNode* KeyOf(Handle key) const PNI_REQUIRES(lock_);
    Handle HandleOf(const CRegistryNode::Pointer& node) PNI_REQUIRES(lock_);
    void DropStaleHandles() noexcept PNI_REQUIRES(lock_);

    const RegistryFiles files_;
    CRecursiveLock& lock_;  // the one of the process
    CRegistryNode::Pointer root_ PNI_GUARDED_BY(lock_);
    std::map<Handle, CRegistryNode::Pointer> handles_ PNI_GUARDED_BY(lock_);
    bool isSetup_ PNI_GUARDED_BY(lock_) = false;
    bool isDirty_ PNI_GUARDED_BY(lock_) = false;
};

}  // namespace em_pni
