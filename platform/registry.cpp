#include "platform/registry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/file.h"
#include "platform/registry_format.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::array<std::string_view, 5> topLevelKeys{"HKEY_LOCAL_MACHINE", "HKEY_CURRENT_USER",
                                                       "HKEY_USERS", "HKEY_CLASSES_ROOT",
                                                       "HKEY_CURRENT_CONFIG"};

CRegistry::Handle lastHandle = CRegistry::noHandle;  // of all stores; guarded by processLock

CRecursiveLock& processLock() {
    // Never destroyed, because static objects that end later may own a store.
    alignas(CRecursiveLock) static std::byte storage[sizeof(CRecursiveLock)];
    static auto* const lock = new (storage) CRecursiveLock;
    return *lock;
}

void addTopLevelKeys(CRegistryNode& root) {
    for (const std::string_view name : topLevelKeys) {
        if (!root.FindChild(name)) {
            root.AddChild(name);
        }
    }
}

// The paths of the files. All are empty for an empty directory.
struct Files {
    std::string directory;
    std::string current;
    std::string previous;
    std::string fresh;  // being written
    std::string defaults;
};

Files filesIn(const std::string& directory) {
    if (directory.empty()) {
        return {};
    }
    const std::string current = directory + "/registry";
    return {directory, current, current + ".old", current + ".new", current + ".default"};
}

constexpr mode_t fileMode = 0644;

// Sets the mode before the rename: a crash between the two must not leave another mode.
bool writeDurably(CFileDescriptor file, std::string_view text) noexcept {
    return writeAll(file.Get(), text) && ::fchmod(file.Get(), fileMode) == 0 &&
           ::fsync(file.Get()) == 0 && file.Close();
}

// Renames the current file to the previous one and the new file to the current one.
bool changePlaces(const Files& files) noexcept {
    struct stat status {};
    const bool exists = ::stat(files.current.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        return false;
    }
    const bool isKept = exists && S_ISREG(status.st_mode) && status.st_size > 0;
    if (isKept && ::rename(files.current.c_str(), files.previous.c_str()) != 0) {
        return false;
    }
    if (::rename(files.fresh.c_str(), files.current.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    if (isKept) {
        (void)::rename(files.previous.c_str(), files.current.c_str());
    }
    errno = reason;
    return false;
}

// On failure writes a line to the trace and returns false.
bool save(const Files& files, std::string_view text) noexcept {
    // Do not write into a file that a crash left: it may have become a link to another file.
    ::unlink(files.fresh.c_str());
    CFileDescriptor file(
        ::open(files.fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode));
    if (!file) {
        PNI_TRACE(1, "CRegistry: ERROR: Cannot open \"%s\" for writing\n", files.fresh.c_str());
        return false;
    }
    if (!writeDurably(std::move(file), text) || !changePlaces(files)) {
        const int reason = errno;
        PNI_TRACE(1, "CRegistry: ERROR: Saving to \"%s\" failed (errno %d)\n",
                  files.current.c_str(), reason);
        ::unlink(files.fresh.c_str());
        return false;
    }
    if (!flushFolder(files.directory)) {
        const int reason = errno;
        PNI_TRACE(1, "CRegistry: ERROR: Flushing \"%s\" failed (errno %d)\n",
                  files.directory.c_str(), reason);
        return false;
    }
    return true;
}

}  // namespace

CRegistry::CRegistry(std::string_view directory)
    : directory_(directory), lock_(processLock()), root_(std::make_shared<CRegistryNode>("")) {}

bool CRegistry::SetupTree(bool force) {
    const CRecursiveLockGuard guard(lock_);
    PNI_TRACE(2, "CRegistry: SetupTree(): ForceSetup=%d, MIsSetup=%d, MIsDirty=%d\n",
              static_cast<int>(force), static_cast<int>(isSetup_), static_cast<int>(isDirty_));
    if (isSetup_ && !force) {
        return true;
    }
    const Files files = filesIn(directory_);
    bool restored = Restore(files.current);
    if (!restored) {
        PNI_TRACE(1, "CRegistry: WARNING: Could not restore tree from \"%s\", trying backup\n",
                  files.current.c_str());
        restored = Restore(files.previous);
    }
    if (!restored) {
        PNI_TRACE(1, "CRegistry: WARNING: Could not restore tree from \"%s\", trying default\n",
                  files.previous.c_str());
        restored = Restore(files.defaults);
    }
    if (!restored) {
        PNI_TRACE(1, "CRegistry: ERROR: Could not restore tree from \"%s\", restoring failed\n",
                  files.defaults.c_str());
        addTopLevelKeys(*root_);
    }
    isSetup_ = true;
    return restored;
}

bool CRegistry::Restore(const std::string& path) {
    if (path.empty()) {
        PNI_TRACE(1, "CRegistry: ERROR: Empty file path");
        return false;
    }
    const auto text = readSmallFile(path, maxRegistryText);
    if (!text && errno != EFBIG) {
        // Level 2: a missing file is normal.
        PNI_TRACE(2, "CRegistry: WARNING: Could not open \"%s\"\n", path.c_str());
        return false;
    }
    auto tree = text ? parseRegistry(*text) : nullptr;
    if (!tree) {
        PNI_TRACE(1,
                  "CRegistry: WARNING: Node restoring from \"%s\" failed - check the content of "
                  "this file\n",
                  path.c_str());
        return false;
    }
    addTopLevelKeys(*tree);
    std::swap(root_, tree);
    tree->DeleteNode();
    DropStaleHandles();
    isDirty_ = false;
    return true;
}

bool CRegistry::InitClass() {
    PNI_TRACE(2, "CRegistry::InitClass() : re-initialize the registry-tree\n");
    return SetupTree(true);
}

bool CRegistry::SaveTree() {
    const CRecursiveLockGuard guard(lock_);
    if (!isDirty_) {
        return true;
    }
    const Files files = filesIn(directory_);
    const std::string text = formatRegistry(*root_);
    if (text.size() > maxRegistryText) {
        PNI_TRACE(1, "CRegistry: ERROR: The tree is too large for \"%s\" (%zu bytes)\n",
                  files.current.c_str(), text.size());
        return false;
    }
    if (!save(files, text)) {
        return false;
    }
    isDirty_ = false;
    PNI_TRACE(2, "\nCRegistry::SaveTree MPRegistryTemp[%s] \t MPRegistry[%s]", files.fresh.c_str(),
              files.current.c_str());
    return true;
}

CRegistryNode::Pointer CRegistry::FindKey(const std::vector<std::string_view>& names) const {
    CRegistryNode::Pointer node = names.empty() ? nullptr : root_;
    for (auto name = names.begin(); node && name != names.end(); ++name) {
        node = node->FindChild(*name);
    }
    return node;
}

CRegistryNode* CRegistry::KeyOf(Handle key) const {
    const auto found = handles_.find(key);
    return found != handles_.end() ? found->second.get() : nullptr;
}

CRegistry::Handle CRegistry::HandleOf(const CRegistryNode::Pointer& node) {
    if (!node) {
        return noHandle;
    }
    if (node->Handle() == noHandle && lastHandle < std::numeric_limits<Handle>::max()) {
        handles_.emplace(lastHandle + 1, node);
        node->SetHandle(++lastHandle);
    }
    return node->Handle();
}

void CRegistry::DropStaleHandles() noexcept {
    std::erase_if(handles_, [](const auto& entry) { return !entry.second->IsValid(); });
}

CRegistry::Handle CRegistry::Open(const std::string& path) {
    const CRecursiveLockGuard guard(lock_);
    if (!isSetup_) {
        SetupTree(false);
    }
    const Handle key = HandleOf(FindKey(registryPathNames(path)));
    PNI_TRACE(5, "\nCRegistry::Open \"%s\", hKey = %d\n", path.c_str(), key);
    return key;
}

CRegistry::Handle CRegistry::CreateKey(const std::string& path) {
    const CRecursiveLockGuard guard(lock_);
    PNI_TRACE(5, "CRegistry::CreateKey \"%s\"\n", path.c_str());
    if (!isSetup_) {
        SetupTree(false);
    }
    const auto names = registryPathNames(path);
    CRegistryNode::Pointer node = names.empty() ? nullptr : root_->FindChild(names.front());
    for (std::size_t i = 1; node && i < names.size(); ++i) {
        const auto child = node->FindChild(names[i]);
        isDirty_ = isDirty_ || !child;
        node = child ? child : node->AddChild(names[i]);
    }
    return HandleOf(node);
}

bool CRegistry::DeleteKey(const std::string& path) {
    const CRecursiveLockGuard guard(lock_);
    PNI_TRACE(5, "CRegistry::DeleteKey \"%s\"\n", path.c_str());
    if (!isSetup_) {
        SetupTree(false);
    }
    auto names = registryPathNames(path);
    if (names.size() < 2) {
        return false;
    }
    const std::string_view name = names.back();
    names.pop_back();
    const auto parent = FindKey(names);
    if (!parent || !parent->DeleteChild(name)) {
        return false;
    }
    isDirty_ = true;
    DropStaleHandles();
    return true;
}

std::optional<RegistryData> CRegistry::GetValue(Handle key, const std::string& name) {
    const CRecursiveLockGuard guard(lock_);
    const CRegistryNode* const node = KeyOf(key);
    const RegistryData* const data = node != nullptr ? node->FindValue(name) : nullptr;
    PNI_TRACE(5, "CRegistry::GetValue \"%s\" --> len %d\n", name.c_str(),
              data != nullptr ? static_cast<int>(data->bytes.size()) : -1);
    return data != nullptr ? std::optional(*data) : std::nullopt;
}

bool CRegistry::SetValue(Handle key, const std::string& name, RegistryData data) {
    const CRecursiveLockGuard guard(lock_);
    PNI_TRACE(5, "CRegistry::SetValue \"%s\" %d %d\n", name.c_str(), static_cast<int>(data.type),
              static_cast<int>(data.bytes.size()));
    CRegistryNode* const node = KeyOf(key);
    if (node == nullptr || !isRegistryValueName(name) || !isRegistryData(data)) {
        return false;
    }
    const RegistryData* const old = node->FindValue(name);
    if (old == nullptr || *old != data) {
        node->SetValue(name, std::move(data));
        isDirty_ = true;
    }
    return true;
}

bool CRegistry::DeleteValue(Handle key, const std::string& name) {
    const CRecursiveLockGuard guard(lock_);
    PNI_TRACE(5, "CRegistry::DeleteValue \"%s\"\n", name.c_str());
    CRegistryNode* const node = KeyOf(key);
    const bool deleted = node != nullptr && node->DeleteValue(name);
    isDirty_ = isDirty_ || deleted;
    return deleted;
}

bool CRegistry::QueryValue(Handle key, const std::string& name, RegistryType* type, void* data,
                           std::uint32_t* count) {
    if (count == nullptr) {
        PNI_TRACE(1, "CRegistry::QueryValue: ** ERROR **  pdwCount is a NULL pointer\n");
        return false;
    }
    const auto value = GetValue(key, name);
    const std::uint32_t room =
        std::exchange(*count, value ? static_cast<std::uint32_t>(value->bytes.size()) : 0);
    if (!value) {
        return false;
    }
    if (type != nullptr) {
        *type = value->type;
    }
    if (data == nullptr) {
        return true;
    }
    if (room < value->bytes.size()) {
        return false;
    }
    std::memcpy(data, value->bytes.data(), value->bytes.size());
    return true;
}

}  // namespace em_pni
