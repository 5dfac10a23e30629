#include "host/machine/fru_place.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

std::string resolveLinks(const std::string& path) {
    struct Free {
        void operator()(char* text) const noexcept { std::free(text); }
    };
    const std::unique_ptr<char, Free> resolved(::realpath(path.c_str(), nullptr));
    if (!resolved) {
        throw CHostError(systemErrorText(path, errno));
    }
    return resolved.get();
}

// All paths of one device give the same base name.
PathParts placeOfController(const FruSource& source) {
    struct stat status {};
    if (::stat(source.path.c_str(), &status) != 0) {
        throw CHostError(systemErrorText(source.path, errno));
    }
    // The driver numbers its devices by their minor numbers.
    return {std::filesystem::path(source.stateFolder) / "",
            "ipmi" + std::to_string(minor(status.st_rdev)) + "-fru" + std::to_string(source.fruId)};
}

// Returns whether the folder is new. `path` ends with a slash.
bool createStateFolder(const std::string& path) {
    const auto above = std::filesystem::path(path).parent_path().parent_path();
    std::error_code ignored;  // without the folder above, mkdir fails
    std::filesystem::create_directories(above, ignored);
    if (::mkdir(path.c_str(), S_IRWXU) != 0) {
        if (errno != EEXIST) {
            throw CHostError(systemErrorText(path + ": cannot create the state folder", errno));
        }
        return false;
    }
    return true;
}

CFileDescriptor openStateFolder(const std::string& path) {
    const bool isNew = createStateFolder(path);
    CFileDescriptor folder = openFolder(path);
    // A new folder must be on the disk before a journal in it counts.
    if (!folder || (isNew && ::syncfs(folder.Get()) != 0)) {
        throw CHostError(systemErrorText(path + ": cannot open the state folder", errno));
    }
    struct stat status {};
    if (::fstat(folder.Get(), &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw CHostError(path + ": other users can write to the state folder");
    }
    return folder;
}

// A reader that may not enter the folder does without it.
CFileDescriptor openFolderOfController(const std::string& path, CFruPlace::Use use) {
    return use == CFruPlace::Use::write ? openStateFolder(path) : openFolder(path);
}

CFileDescriptor openImageFolder(const std::string& name, const std::string& path) {
    CFileDescriptor folder = openFolder(path);
    if (!folder) {
        throw CHostError(systemErrorText(name + ": cannot open its folder", errno));
    }
    return folder;
}

}  // namespace

bool isIpmiDevice(const std::string& path, const std::string& root) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) {
        return false;
    }
    std::error_code error;
    const std::filesystem::path driver = std::filesystem::read_symlink(
        root + "/sys/dev/char/" + std::to_string(major(status.st_rdev)) + ':' +
            std::to_string(minor(status.st_rdev)) + "/subsystem",
        error);
    return !error && driver.filename() == "ipmi";
}

CFruPlace::CFruPlace(const FruSource& source, Use use)
    : isController_(isIpmiDevice(source.path)),
      name_(isController_ ? source.path + " (FRU " + std::to_string(source.fruId) + ')'
                          : source.path),
      place_(isController_ ? placeOfController(source) : splitPath(resolveLinks(source.path))),
      folder_(isController_ ? openFolderOfController(place_.folder, use)
                            : openImageFolder(name_, place_.folder)) {}

}  // namespace em_pni
