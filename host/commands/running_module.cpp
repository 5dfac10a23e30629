#include "host/commands/running_module.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/commands/card_cycles.h"

namespace em_pni {

namespace {

using namespace std::chrono_literals;

constexpr auto quietTime = 2s;  // without a request of the module

std::string bytesText(std::size_t bytes) {
    return std::to_string(bytes) + " bytes";
}

}  // namespace

void CControllerReport::OnRead(std::size_t bytes) {
    log_.Write({.event = "read", .text = "read: " + bytesText(bytes), .bytes = bytes});
}

void CControllerReport::OnWritten(std::size_t bytes) {
    bytes_ = bytes;
    ++writes_;
    writeFailed_ = false;
    waiter_.NotifyWritten();
}

void CControllerReport::OnLateWrite() {
    lateWrite_ = true;
    waiter_.NotifyWritten();
}

void CControllerReport::OnReadFailed(const std::string& reason) {
    console_.Error(reason);
}

void CControllerReport::OnWriteFailed(const std::string& reason) {
    ++failures_;
    writeFailed_ = true;
    log_.Write({.event = "not written", .text = "not written: " + reason, .color = Color::red});
    console_.Error(reason);
}

void CControllerReport::OnChangedByOthers() {
    changedByOthers_ = true;
    waiter_.NotifyWritten();
}

void CControllerReport::OnNote(const std::string& text) {
    log_.Write({.event = "note", .text = "note: " + text});
}

void CRunningModule::Start(std::vector<std::uint8_t> bytes) {
    session_.emplace(library_, host_);
    session_->Start();
    log_.Write({.event = "started", .text = "started: " + session_->Description()});
    controller_.BeginStart(std::move(bytes));
    Look();
    if (comparesCards_) {
        enterCards(*session_, machine_, [this] {
            Look();
            return watch_.Inventory();
        });
    }
    session_->SwitchStarted();
    controller_.EndStart();
    RepeatDeviceEvents();
}

void CRunningModule::Reload() {
    session_->Stop();
    session_->Delete();
    Start();
}

void CRunningModule::Restart() {
    log_.Write(
        {.event = "restarted", .text = "restarted: another program has changed the FRU data"});
    ReadAgain();
    RepeatDeviceEvents();  // the thread before would still take them
}

// The module has taken these events to a record that was not written.
void CRunningModule::RepeatDeviceEvents() {
    for (const HostEvent event : deviceEvents_) {
        session_->Report(*messageOf(event));
    }
}

void CRunningModule::Wake() {
    session_->Report(*messageOf(HostEvent::addressChanged));
}

void CRunningModule::Deliver(const EventReport& event) {
    const std::string& origin = event.origin;
    log_.Write(
        {.event = "event",
         .text = "event: " + textOf(event.event) + (origin.empty() ? "" : " (" + origin + ")"),
         .origin = origin});
    if (auto message = messageOf(event.event)) {
        settling_ = event;
        deliveredAt_ = CIEventSource::Clock::now();
        writesAtEvent_ = report_.Writes();
        failuresAtEvent_ = report_.Failures();
        if (event.event != HostEvent::addressChanged) {
            deviceEvents_.insert(event.event);
        }
        session_->Report(*message);
    } else {
        session_->AnnounceShutdown();
    }
}

void CRunningModule::Look() {
    const unsigned total = report_.Writes();
    const unsigned writes = total - std::exchange(writesSeen_, total);
    std::vector<InventoryChange> changes = watch_.Look(*session_);
    if (!changes.empty()) {
        changed_ = true;
        machine_.Refresh();
        machine_.Complete(changes);
    }
    if (writes > 0) {
        if (writesSeen_ != writesAtEvent_) {
            deviceEvents_.clear();
        }
        const std::size_t bytes = report_.Bytes();
        log_.Write({.event = "written",
                    .text = "written: " + bytesText(bytes) +
                            (writes > 1 ? ", " + std::to_string(writes) + " times" : ""),
                    .bytes = bytes,
                    .writes = writes,
                    .changes = std::move(changes)});
    } else if (!changes.empty()) {
        log_.Write({.event = "changed",
                    .text = "changed: the record is another one",
                    .changes = std::move(changes)});
    }
}

void CRunningModule::ShowNotEntered() {
    if (watch_.Inventory() == nullptr) {
        return;
    }
    machine_.Refresh();
    for (const std::string& line : machine_.NotEntered(*watch_.Inventory())) {
        log_.Write({.event = "not entered", .text = "not entered: " + line});
    }
}

std::optional<CRunningModule::TimePoint> CRunningModule::QuietAt() const {
    if (!settling_) {
        return std::nullopt;
    }
    return std::max(deliveredAt_, host_.LastRequest()) + quietTime;
}

void CRunningModule::SettleIfQuiet(TimePoint now) {
    if (!settling_ || now < *QuietAt()) {
        return;
    }
    const EventReport event = *std::exchange(settling_, std::nullopt);
    if (report_.Writes() == writesAtEvent_ && report_.Failures() == failuresAtEvent_) {
        log_.Write(
            {.event = "unchanged",
             .text = "unchanged: the event \"" + textOf(event.event) + "\" changed nothing"});
    }
    if (event.event != HostEvent::addressChanged) {
        ShowNotEntered();
    }
}

}  // namespace em_pni
