#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>

#include "tests/sanitizer.h"
#include "tests/scripted_host.h"

namespace em_pni::test {
namespace {

const std::string libraryPath = std::string(EM_PNI_BINARY_DIR) + "/em_pni.so";

// The module, loaded as a host loads it.
class CLoadedLibrary {
  public:
    CLoadedLibrary() : handle_(::dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(::dlerror());
        }
    }
    ~CLoadedLibrary() { ::dlclose(handle_); }
    CLoadedLibrary(const CLoadedLibrary&) = delete;
    CLoadedLibrary& operator=(const CLoadedLibrary&) = delete;

    static bool IsLoaded() {
        void* const handle = ::dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
        return handle != nullptr && ::dlclose(handle) == 0;
    }

  private:
    template <class Function>
    Function Find(const char* symbol) {
        return reinterpret_cast<Function>(::dlsym(handle_, symbol));
    }
    void* handle_;

  public:
    EM_CreateFunction create = Find<EM_CreateFunction>("EM_Create");
    EM_DeleteFunction destroy = Find<EM_DeleteFunction>("EM_Delete");
    EM_GetModuleNameFunction name = Find<EM_GetModuleNameFunction>("EM_GetModuleName");
    EM_SetupActionFunction setup = Find<EM_SetupActionFunction>("EM_SetupAction");
};

std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

TEST(Library, ExportsFourFunctionsAndNeedsOnlyTheRuntime) {
    const auto isOutput = [](const std::string& command, const std::string& expected) {
        return std::system(("test \"$(" + command + ")\" = '" + expected + "'").c_str()) == 0;
    };
    const std::string library = "'" + libraryPath + "'";
    EXPECT_TRUE(isOutput("nm -D --defined-only " + library + " | awk '{print $NF}' | sort",
                         "EM_Create\nEM_Delete\nEM_GetModuleName\nEM_SetupAction"));
    if (!isSanitized) {
        EXPECT_TRUE(isOutput(
            "readelf -d " + library + " | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\]/\\1/p' | sort",
            "libc.so.6\nlibgcc_s.so.1\nlibstdc++.so.6"));
    }
}

// The slot of a virtual function. Its pointer-to-member holds the offset in the table plus 1.
template <class Function>
std::size_t slotOf(Function function) {
    std::uintptr_t words[2] = {};
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return (words[0] - 1) / sizeof(void*);
}

TEST(Library, InterfacesKeepTheirSlots) {
    using Module = CIExtensionModule;
    using Host = CIHostInterface;
    EXPECT_EQ((std::vector{slotOf(&Module::GetModuleInfo), slotOf(&Module::Init),
                           slotOf(&Module::Start), slotOf(&Module::Stop),
                           slotOf(&Module::OnSwitchStarted), slotOf(&Module::ModuleReply),
                           slotOf(&Module::ModuleRequest), slotOf(&Module::SetCabinetNumber),
                           slotOf(&Module::Notify), slotOf(&Module::GetModuleName),
                           slotOf(&Module::Reserved22), slotOf(&Module::OnModuleNotification)}),
              (std::vector<std::size_t>{2, 3, 4, 5, 6, 7, 8, 10, 13, 14, 22, 23}));
    EXPECT_EQ((std::vector{slotOf(&Host::SendRequest), slotOf(&Host::SwitchStartFinished),
                           slotOf(&Host::GetHostKind)}),
              (std::vector<std::size_t>{0, 1, 2}));
}

TEST(Library, KeepsOneModule) {
    CLoadedLibrary library;
    EXPECT_STREQ(library.name(), "EM_PNI");
    EXPECT_EQ(library.destroy(), 0U);
    CIExtensionModule* first = nullptr;
    CIExtensionModule* second = nullptr;
    ASSERT_TRUE(library.create(&first, nullptr));
    ASSERT_TRUE(library.create(&second, &second));
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first->GetModuleName(), "EM_PNI");
    EXPECT_EQ(library.destroy(), 1U);
    EXPECT_EQ(library.destroy(), 0U);
    EXPECT_EQ(library.setup(5), 1U);
}

TEST(Library, DescribesItselfAndLeavesOtherBytesAlone) {
    CLoadedLibrary library;
    CIExtensionModule* module = nullptr;
    ASSERT_TRUE(library.create(&module, nullptr));
    Bytes block(250, 0xA5);
    put(block, 0, {245, 0, 0, 0});
    Bytes expected = block;
    EXPECT_EQ(module->GetModuleInfo(block.data()), 0U);
    EXPECT_EQ(block, expected);
    block[0] = expected[0] = 246;
    EXPECT_EQ(module->GetModuleInfo(block.data()), 1U);
    expected[8] = 0xA6;
    expected[21] = 0xA5;
    put(expected, 42, {3, 0, 0, 0});
    put(expected, 46, Bytes(200, 0));
    put(expected, 46, textBytes("EM_PNI"));
    put(expected, 146, textBytes("Platform Network Inventory extension module"));
    EXPECT_EQ(block, expected);
    EXPECT_EQ(module->GetModuleInfo(nullptr), 0U);
    library.destroy();
}

TEST(Library, LoadsAndUnloadsManyTimes) {
    // Without IP addresses: this host has no interfaces.
    CScriptedHost host(recordImage(12, {nicModule(0, true)}));
    std::thread([] {}).join();  // starts the background thread of a sanitizer
    const std::size_t threadsBefore = threadCount();
    [[maybe_unused]] std::size_t heapBefore = 0;
    for (int i = 0; i < 300; ++i) {
        {
            CLoadedLibrary library;
            CIExtensionModule* module = nullptr;
            ASSERT_TRUE(library.create(&module, nullptr));
            module->SetCabinetNumber(0);
            module->Start(&host, 0);
            module->OnSwitchStarted();
            if (i % 2 == 0) {
                CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
                ASSERT_EQ(module->ModuleRequest(request), 1U);
                module->Stop();
            }
            if (i % 3 != 0) {  // otherwise unload the library with its module
                ASSERT_EQ(library.destroy(), 1U);
            }
        }
        ASSERT_FALSE(CLoadedLibrary::IsLoaded());
        // The kernel lists a joined thread for a short time.
        ASSERT_TRUE(soon([&] { return threadCount() == threadsBefore; }));
        if (i == 99) {
            heapBefore = ::mallinfo2().uordblks;
        }
    }
    if (!isSanitized) {  // sanitizers find leaks themselves
        EXPECT_LT(::mallinfo2().uordblks, heapBefore + 4096);
    }
    EXPECT_EQ(host.Count(krcp::writeFru), 0);
}

}  // namespace
}  // namespace em_pni::test
