#include "host/machine/open_fru.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

#include "host/machine/controller_fru.h"
#include "host/machine/fru_image.h"
#include "host/machine/ipmi_port.h"

namespace em_pni {

namespace {

constexpr const char* standardInput = "-";

std::vector<std::uint8_t> readStandardInput() {
    std::vector<std::uint8_t> bytes;
    std::uint8_t buffer[4096];
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw CHostError(systemErrorText("standard input", errno));
        }
        if (got == 0 && bytes.empty()) {
            throw CHostError("standard input: there are no bytes");
        }
        if (got == 0) {
            return bytes;
        }
        bytes.insert(bytes.end(), buffer, buffer + got);
        if (bytes.size() > CFruImage::maxSize) {
            throw CHostError("standard input: too large for a FRU image");
        }
    }
}

}  // namespace

COpenFru::COpenFru(const FruSource& source, CFruPlace::Use use, FruProgress progress) {
    if (source.path == standardInput && use == CFruPlace::Use::read) {
        store_ =
            std::make_unique<CFruCopy>("standard input", readStandardInput(), CFruImage::maxSize);
        return;
    }
    place_.emplace(source, use);
    if (!place_->IsController()) {
        store_ = std::make_unique<CFruImage>(*place_);
        return;
    }
    store_ = std::make_unique<CControllerFru>(
        *place_, source.fruId,
        [path = source.path]() -> std::unique_ptr<CIIpmiPort> {
            return std::make_unique<CKernelIpmiPort>(path);
        },
        std::move(progress));
}

}  // namespace em_pni
