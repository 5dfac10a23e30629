#include <atomic>
#include <memory>
#include <utility>
#include <variant>

#include "host/commands/commands.h"
#include "host/events/device_watch.h"
#include "host/events/event_socket.h"
#include "host/events/network_watch.h"
#include "host/events/run_waiter.h"
#include "host/machine/image_lock.h"
#include "host/machine/kernel_network.h"
#include "host/output/inventory_diff.h"
#include "host/session/inventory_request.h"
#include "host/session/module_session.h"
#include "host/session/played_host.h"
#include "platform/text.h"

namespace em_pni {

namespace {

constexpr std::uint32_t onlyAfterEvents = 4294967295U;  // a cycle time

class CRunReport final : public CIFruListener {
  public:
    CRunReport(CConsole& console, CRunWaiter& waiter) : console_(console), waiter_(waiter) {}

    void OnRead(std::size_t bytes) override { Say("read: ", bytes); }
    void OnWritten(std::size_t bytes) override {
        Say("written: ", bytes);
        ++writes_;
        waiter_.NotifyWritten();
    }
    void OnReadFailed(const std::string& reason) override { console_.Error(reason); }
    void OnWriteFailed(const std::string& reason) override {
        writeFailed_ = true;
        console_.Line("not written: " + reason);
        console_.Error(reason);
    }
    [[nodiscard]] unsigned Writes() const noexcept { return writes_; }
    [[nodiscard]] bool WriteFailed() const noexcept { return writeFailed_; }

  private:
    void Say(const char* what, std::size_t bytes) {
        console_.Line(what + std::to_string(bytes) + " bytes");
    }

    CConsole& console_;
    CRunWaiter& waiter_;
    std::atomic<unsigned> writes_{0};
    std::atomic<bool> writeFailed_{false};
};

// Asks the module for its inventory and prints what has changed since the last time. The answers
// may refer to texts in the module's library, which must outlive this.
class CInventoryWatch {
  public:
    CInventoryWatch(CModuleSession& session, CConsole& console)
        : session_(session), console_(console) {}

    void Look() {
        auto now = std::make_unique<CKrcpMessage>(makeInventoryRequest({}));
        session_.Request(*now);
        const rapidjson::Value* const inventory = findInventory(*now);
        valid_ = inventory != nullptr;
        if (!valid_) {
            Complain("the module has no inventory: " + answerText(*now));
            return;
        }
        if (last_ != nullptr) {
            const rapidjson::Value& before = *findInventory(*last_);
            for (const std::string& line : inventoryDifferences(before, *inventory)) {
                console_.Line(line);
                changed_ = true;
            }
        }
        last_ = std::move(now);
    }

    [[nodiscard]] bool Valid() const noexcept { return valid_; }
    [[nodiscard]] bool Changed() const noexcept { return changed_; }

  private:
    // Prints a repeated error only once.
    void Complain(const std::string& text) {
        if (text != complaint_) {
            console_.Error(text);
            complaint_ = text;
        }
    }

    CModuleSession& session_;
    CConsole& console_;
    std::unique_ptr<CKrcpMessage> last_;  // has an inventory; null before the first one
    std::string complaint_;
    bool valid_ = false;
    bool changed_ = false;
};

// The text of a configuration file; empty = the module looks for its file.
std::string moduleConfig(const RunOptions& options) {
    if (!options.cycle && !options.once) {
        return "";
    }
    return "[EM_PNI]\nFruUpdateCycle=" + std::to_string(options.cycle.value_or(onlyAfterEvents)) +
           "\n";
}

void deliver(const EventReport& event, CModuleSession& session, CConsole& console) {
    const std::string origin = event.origin.empty() ? "" : " (" + printable(event.origin) + ")";
    console.Line("event: " + textOf(event.event) + origin);
    if (auto message = messageOf(event.event)) {
        session.Report(*message);
    } else {
        session.AnnounceShutdown();
    }
}

void addSources(CRunWaiter& waiter, const RunOptions& options, const CFruImage& image,
                CConsole& console) {
    waiter.Add(std::make_unique<CEventSocket>(image, console));
    if (options.watch) {
        // Device events come first: one cycle then sees that a card and its addresses are gone.
        waiter.Add(std::make_unique<CDeviceWatch>());
        waiter.Add(std::make_unique<CNetworkWatch>());
    }
}

// Runs until a signal ends it.
void serve(CModuleSession& session, CRunWaiter& waiter, CInventoryWatch& watch, CConsole& console) {
    for (;;) {
        const CRunWaiter::Occasion occasion = waiter.Wait();
        if (std::holds_alternative<CRunWaiter::Stop>(occasion)) {
            return;
        }
        if (const auto* const event = std::get_if<EventReport>(&occasion)) {
            deliver(*event, session, console);
        } else {
            watch.Look();
        }
    }
}

}  // namespace

int runModule(const RunOptions& options, CConsole& console) {
    const CFruImage image(options.file);
    static_cast<void>(image.Read());  // reports a bad file before the module is loaded
    image.RequireWritableFolder();
    const CEndSignals signals;  // a signal must not end the program before the lock is removed
    const CImageLock lock(image);
    CRunWaiter waiter(signals);  // its event socket must be gone before the lock
    if (!options.once) {
        addSources(waiter, options, image, console);
    }
    CRunReport report(console, waiter);
    CFruController controller(image, report, CFruController::Access::readWrite, options.capacity);
    CKernelNetwork kernel;
    CNetworkAnswers network(kernel, console);
    CPlayedHost host(&controller, network, console, moduleConfig(options));
    const CModuleLibrary library(options.module.empty() ? defaultModulePath() : options.module);
    CModuleSession session(library, host);
    session.Start();
    console.Line("started: " + session.Description());

    CInventoryWatch watch(session, console);
    watch.Look();
    session.SwitchStarted();
    if (!options.once) {
        serve(session, waiter, watch, console);
        session.AnnounceShutdown();  // with --once the only cycle must write
    }
    session.Stop();
    const unsigned writesSeen = report.Writes();
    watch.Look();  // the last cycle may have ended after the last Wait
    const bool deleted = session.Delete();
    if (report.Writes() != writesSeen) {
        // Stop waits five seconds for a running cycle, Delete waits until it has ended.
        console.Line("changed: the last cycle made more changes, which are not listed");
    } else if (options.once && watch.Valid() && !watch.Changed() && !report.WriteFailed()) {
        console.Line("unchanged");
    }
    if (deleted) {
        console.Line("stopped");
    } else {
        console.Error(library.Path() + ": the module reports a failure at its end");
    }
    return deleted && watch.Valid() && !report.WriteFailed() ? exitDone : exitFailed;
}

}  // namespace em_pni
