// Writes an input with an image of about 60 KiB for each target with records into FOLDER/TARGET.
#include <cstdio>

#include "tests/record_builder.h"

using namespace em_pni::test;

namespace {

// Cards of two ports: Ethernet with IP addresses and Fibre Channel.
Bytes largeImage() {
    constexpr unsigned cards = 240;
    std::vector<Bytes> modules;
    for (unsigned card = 1; card <= cards; ++card) {
        const Bytes ethernet = nicAddresses(byteOf(card), Bytes(4 + 16, byteOf(card)), 0x11);
        const Bytes fibre = Bytes(60, byteOf(card));
        modules.push_back(module(card % 64, card == cards, 3,
                                 {port(0, false, {function(0, true, 0, ethernet)}),
                                  port(1, true, {function(0, true, 1, fibre)})}));
    }
    return recordImage(12, modules);
}

void write(const std::string& folder, const std::string& target, const Bytes& start) {
    const Bytes input = joined({start, largeImage()});
    std::filesystem::create_directories(folder + "/" + target);
    std::ofstream(folder + "/" + target + "/large", std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()),
               static_cast<std::streamsize>(input.size()));
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: pni_large_seeds FOLDER\n", stderr);
        return 2;
    }
    const std::string folder = arguments[1];
    Bytes script(64);
    for (std::size_t i = 0; i < script.size(); ++i) {
        script[i] = byteOf(i * 11);
    }
    script[0] = 63;  // its length
    write(folder, "record", {});
    write(folder, "edits", script);
    write(folder, "query",
          textBytes(
              R"({"F":{"ModuleFilter":{"TechnologyType":"Eth"},"ResultFilter":["ActiveWWPN"]}})" +
              std::string(1, '\0')));
    return 0;
}
