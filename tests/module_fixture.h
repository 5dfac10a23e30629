// A module object with a scripted host, a fake machine and its own files.
#pragma once

#include <gtest/gtest.h>

#include "pni/pni_ext_module.h"
#include "tests/scripted_network.h"
#include "tests/trace_capture.h"

namespace em_pni::test {

// At first the machine, the interfaces and the record agree.
class ModuleFixture : public ::testing::Test {
  protected:
    explicit ModuleFixture(int traceLevel) : trace_(traceLevel) {
        buildSampleMachine(machine_);
        network_.interfaces = sampleInterfaces();
    }

    [[nodiscard]] std::unique_ptr<CPniExtModule> NewModule() { return NewModule(machine_); }
    [[nodiscard]] std::unique_ptr<CPniExtModule> NewModule(CFakeMachine& machine) {
        return std::make_unique<CPniExtModule>(
            PniPlaces{.config = {.currentDirectory = directory_.File("current"),
                                 .programDirectory = directory_.File("program"),
                                 .dataRoot = directory_.File("root")},
                      .dumpFile = directory_.File("pnidump")},
            std::shared_ptr<CMachine>(std::shared_ptr<void>(), &machine.Machine()));
    }
    static void Send(CPniExtModule& module, std::uint16_t opcode, const std::string& data = "0") {
        CKrcpMessage event = parsedMessage(R"({"SIP":{"CMD":[{"ST":255,"OC":)" +
                                           std::to_string(opcode) + ",\"DA\":" + data + "}]}}");
        module.ModuleReply(event);
    }
    void Configure(const std::string& cycle, const std::string& place = "current") const {
        directory_.Write(place + "/em_pni.ini", "[EM_PNI]\nFruUpdateCycle=" + cycle + "\n");
    }

    CTraceCapture trace_;
    CTempDirectory directory_;
    CFakeMachine machine_;
    const Bytes original_ = sample("three-modules-in-2k-device.fru");
    CScriptedHost host_{original_};
    CScriptedNetwork network_{host_};
    std::unique_ptr<CPniExtModule> owner_ = NewModule();
    CPniExtModule& module_ = *owner_;
};

}  // namespace em_pni::test
