#include "host/events/host_event.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace em_pni {

namespace {

struct EventFacts {
    std::string_view word;
    std::string_view text;
    std::optional<krcp::Opcode> opcode;  // no value = a notification
    std::optional<std::int64_t> action;  // the member "DA"
};

// In the order of HostEvent.
constexpr std::array<EventFacts, 5> allFacts{{
    {"added", "device added", krcp::deviceDataChanged, 0},
    {"changed", "device changed", krcp::deviceDataChanged, 1},
    {"removed", "device removed", krcp::deviceDataChanged, 2},
    {"address", "IP address changed", krcp::ipAddressChanged, std::nullopt},
    {"shutdown", "shutdown announced", std::nullopt, std::nullopt},
}};

const EventFacts& factsOf(HostEvent event) noexcept {
    return allFacts[static_cast<std::size_t>(event)];
}

}  // namespace

std::vector<std::string> hostEventWords() {
    std::vector<std::string> words;
    words.reserve(allFacts.size());
    for (const EventFacts& facts : allFacts) {
        words.emplace_back(facts.word);
    }
    return words;
}

std::optional<HostEvent> hostEventOf(std::string_view word) noexcept {
    const auto found = std::find_if(allFacts.begin(), allFacts.end(),
                                    [&](const EventFacts& facts) { return facts.word == word; });
    if (found == allFacts.end()) {
        return std::nullopt;
    }
    return static_cast<HostEvent>(found - allFacts.begin());
}

std::string_view wordOf(HostEvent event) noexcept {
    return factsOf(event).word;
}

std::string textOf(HostEvent event) {
    return std::string(factsOf(event).text);
}

std::unique_ptr<CKrcpMessage> messageOf(HostEvent event) {
    const EventFacts& facts = factsOf(event);
    if (!facts.opcode) {
        return nullptr;
    }
    auto message = std::make_unique<CKrcpMessage>(krcp::makeRequest(*facts.opcode, 0, 0, 0));
    if (facts.action) {
        krcp::setMember(*message, "DA", krcp::number(*facts.action));
    }
    krcp::setStatus(*message, krcp::EVENT_MESSAGE);
    return message;
}

}  // namespace em_pni
