#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
#include <set>

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
        create = Find<EM_CreateFunction>("EM_Create");
        destroy = Find<EM_DeleteFunction>("EM_Delete");
        name = Find<EM_GetModuleNameFunction>("EM_GetModuleName");
        setup = Find<EM_SetupActionFunction>("EM_SetupAction");
    }
    ~CLoadedLibrary() { ::dlclose(handle_); }
    CLoadedLibrary(const CLoadedLibrary&) = delete;
    CLoadedLibrary& operator=(const CLoadedLibrary&) = delete;

    static bool IsLoaded() {
        void* const handle = ::dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
        return handle != nullptr && ::dlclose(handle) == 0;
    }

    EM_CreateFunction create;
    EM_DeleteFunction destroy;
    EM_GetModuleNameFunction name;
    EM_SetupActionFunction setup;

  private:
    template <class Function>
    Function Find(const char* symbol) {
        return reinterpret_cast<Function>(::dlsym(handle_, symbol));
    }
    void* handle_;
};

std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = ::popen(command.c_str(), "r");
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
        output.push_back(static_cast<char>(c));
    }
    ::pclose(pipe);
    return output;
}

std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

TEST(Library, ExportsFourFunctionsAndNeedsOnlyTheRuntime) {
    EXPECT_EQ(outputOf("nm -D --defined-only " + libraryPath + " | awk '{print $NF}' | sort"),
              "EM_Create\nEM_Delete\nEM_GetModuleName\nEM_SetupAction\n");
    if (!isSanitized) {
        EXPECT_EQ(outputOf("readelf -d " + libraryPath +
                           " | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\]/\\1/p' | sort"),
                  "libc.so.6\nlibgcc_s.so.1\nlibstdc++.so.6\n");
    }
}

// Where a virtual function stands in the table: its pointer-to-member says so.
template <class Function>
std::size_t slotOf(Function function) {
    std::uintptr_t words[2] = {};
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return (words[0] - 1) / sizeof(void*);
}

TEST(Library, InterfacesKeepTheirSlots) {
    EXPECT_EQ(slotOf(&CIExtensionModule::GetModuleInfo), 2U);
    EXPECT_EQ(slotOf(&CIExtensionModule::Init), 3U);
    EXPECT_EQ(slotOf(&CIExtensionModule::Start), 4U);
    EXPECT_EQ(slotOf(&CIExtensionModule::Stop), 5U);
    EXPECT_EQ(slotOf(&CIExtensionModule::OnSwitchStarted), 6U);
    EXPECT_EQ(slotOf(&CIExtensionModule::ModuleReply), 7U);
    EXPECT_EQ(slotOf(&CIExtensionModule::ModuleRequest), 8U);
    EXPECT_EQ(slotOf(&CIExtensionModule::SetCabinetNumber), 10U);
    EXPECT_EQ(slotOf(&CIExtensionModule::Notify), 13U);
    EXPECT_EQ(slotOf(&CIExtensionModule::GetModuleName), 14U);
    EXPECT_EQ(slotOf(&CIExtensionModule::Reserved22), 22U);
    EXPECT_EQ(slotOf(&CIExtensionModule::OnModuleNotification), 23U);
    EXPECT_EQ(slotOf(&CIHostInterface::SendRequest), 0U);
    EXPECT_EQ(slotOf(&CIHostInterface::SwitchStartFinished), 1U);
    EXPECT_EQ(slotOf(&CIHostInterface::GetHostKind), 2U);
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
    for (std::uint32_t action = 0; action < 6; ++action) {
        EXPECT_EQ(library.setup(action), 1U);
    }
}

TEST(Library, DescribesItselfAndLeavesOtherBytesAlone) {
    CLoadedLibrary library;
    CIExtensionModule* module = nullptr;
    ASSERT_TRUE(library.create(&module, nullptr));
    Bytes block(250, 0xA5);
    put(block, 0, {245, 0, 0, 0});
    const Bytes before = block;
    EXPECT_EQ(module->GetModuleInfo(block.data()), 0U);
    EXPECT_EQ(block, before);
    put(block, 0, {246, 0, 0, 0});
    EXPECT_EQ(module->GetModuleInfo(block.data()), 1U);
    Bytes expected(250, 0xA5);
    put(expected, 0, {246, 0, 0, 0});
    expected[8] = 0xA6;
    expected[21] = 0xA5;
    put(expected, 42, {3, 0, 0, 0});
    put(expected, 46, Bytes(200, 0));
    put(expected, 46, textBytes("EM_PNI"));
    put(expected, 146, textBytes("Platform Network Inventory extension module"));
    EXPECT_EQ(block, expected);
    CModuleDescription description;
    EXPECT_EQ(module->GetModuleInfo(description.Data()), 1U);
    EXPECT_EQ(description.Name(), "EM_PNI");
    EXPECT_EQ(module->GetModuleInfo(nullptr), 0U);
    library.destroy();
}

TEST(Library, LoadsAndUnloadsAThousandTimes) {
    // Without addresses, since this host tells of no interfaces.
    CScriptedHost host(recordImage(12, {nicModule(0, true)}));
    std::thread([] {}).join();  // brings up what a sanitizer runs beside the first thread
    const std::size_t threadsBefore = threadCount();
    [[maybe_unused]] std::size_t heapBefore = 0;
    for (int i = 0; i < 1000; ++i) {
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
            if (i % 3 != 0) {  // else the library is unloaded with its module alive
                ASSERT_EQ(library.destroy(), 1U);
            }
        }
        ASSERT_FALSE(CLoadedLibrary::IsLoaded());
        // The kernel shows a joined thread for a moment longer.
        ASSERT_TRUE(soon([&] { return threadCount() == threadsBefore; }));
        if (i == 99) {
            heapBefore = ::mallinfo2().uordblks;
        }
    }
    if (!isSanitized) {  // the sanitizers look for leaks themselves
        EXPECT_LT(::mallinfo2().uordblks, heapBefore + 4096);
    }
    EXPECT_EQ(host.Count(krcp::writeFru), 0);
}

}  // namespace
}  // namespace em_pni::test
