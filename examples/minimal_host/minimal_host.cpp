// A minimal host: gives the module the record of an image file, prints the inventory and ends.
//
//     minimal_host /usr/local/lib/em_pni/em_pni.so server.fru
//
// It keeps what the module writes in memory: the file does not change.
#include <cstdio>
#include <dlfcn.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "em_pni/em_pni.h"

// Starts the module, prints its inventory and stops it. Returns whether there is an inventory.
bool useModule(em_pni::CIExtensionModule& module, em_pni::CIHostInterface& host) {
    namespace krcp = em_pni::krcp;
    if (const auto tag = em_pni::askForTag(module); tag != em_pni::interfaceTag) {
        std::fprintf(stderr, "other interface: %s\n", em_pni::tagDifference(tag).c_str());
        return false;
    }
    module.SetCabinetNumber(0);
    module.Start(&host, 0);
    module.OnSwitchStarted();  // reads the record and starts the thread of the module
    auto request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    module.ModuleRequest(request);
    module.Stop();  // the thread ends after its cycle
    if (krcp::status(request) != krcp::SUCCESS) {
        std::fprintf(stderr, "no inventory: %s\n", krcp::statusName(krcp::status(request)));
        return false;
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    krcp::findData(request)->Accept(writer);
    std::puts(text.GetString());
    return true;
}

// Loads the module, uses it and unloads it. Returns whether there was an inventory.
bool runModule(const char* path, em_pni::CIHostInterface& host) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return false;
    }
    const auto create = reinterpret_cast<em_pni::EM_CreateFunction>(dlsym(library, "EM_Create"));
    const auto destroy = reinterpret_cast<em_pni::EM_DeleteFunction>(dlsym(library, "EM_Delete"));
    em_pni::CIExtensionModule* module = nullptr;
    bool isDone = false;
    if (create != nullptr && destroy != nullptr && create(&module, nullptr)) {
        isDone = useModule(*module, host);
        destroy();
    }
    dlclose(library);
    return isDone;
}

#include <fstream>
#include <iterator>
#include <mutex>

namespace {

using namespace em_pni;

// Answers the requests of the module. Any thread may call it.
class CMinimalHost final : public CIHostInterface {
  public:
    explicit CMinimalHost(std::vector<std::uint8_t> image) : image_(std::move(image)) {}

    std::uint32_t SendRequest(CIExtensionModule*, CKrcpMessage& message, std::uint32_t) override {
        return krcp::setStatus(message, Answer(message)) ? 1 : 0;
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t) override { return 1; }
    std::uint32_t GetHostKind() override { return 0; }

  private:
    // Writes the data of the answer and returns its status.
    krcp::Status Answer(CKrcpMessage& message) {
        const std::lock_guard guard(lock_);
        std::vector<std::uint8_t> record;
        switch (krcp::opcode(message)) {
            case krcp::readFru:
                krcp::setRawBytes(message, image_);
                return krcp::SUCCESS;
            case krcp::writeFru:
                if (krcp::copyRawBytes(message, record) == 0) {
                    return krcp::INVALID_SET_VALUE;
                }
                image_ = record;
                std::fprintf(stderr, "written: %zu bytes\n", image_.size());
                return krcp::SUCCESS;
            case krcp::interfaceCount:
                // A real host tells of its interfaces. Without them the module removes all IP
                // addresses from the record.
                krcp::setMember(message, "DA", krcp::number(0));
                return krcp::SUCCESS;
            default:
                return krcp::INVALID_CMD;
        }
    }

    std::mutex lock_;
    std::vector<std::uint8_t> image_;  // lock_ guards it
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: minimal_host MODULE FRU-FILE\n");
        return 2;
    }
    std::ifstream file(argv[2], std::ios::binary);
    CMinimalHost host(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {}));
    return runModule(argv[1], host) ? 0 : 1;
}
