// The records to measure and their sizes.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>

#include "bench/table.h"
#include "tests/record_builder.h"

namespace em_pni::bench {

using test::Bytes;

inline void recordSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("modules")->Arg(3)->Arg(60)->Arg(255);
}

inline std::uint8_t moduleCount(const benchmark::State& state) {
    return static_cast<std::uint8_t>(state.range(0));
}

// The MAC address, permanent and active, of a function in recordOf.
inline Bytes macOf(std::uint8_t module, std::uint8_t port) {
    return {0x02, 0x00, 0x00, 0x00, module, port};
}

// Each module is a network card with two ports, one function per port and one IPv4 address per
// function. A module has 232 bytes, so 255 modules almost reach the limit of the 16-bit length.
inline Bytes recordOf(std::uint8_t modules) {
    std::vector<Bytes> areas;
    for (std::uint8_t m = 0; m < modules; ++m) {
        std::vector<Bytes> ports;
        for (std::uint8_t p = 0; p < 2; ++p) {
            Bytes addresses = test::nicAddresses(0, {192, 0, 2, m}, 0x01);
            test::put(addresses, 0, macOf(m, p));
            test::put(addresses, 6, macOf(m, p));
            ports.push_back(test::port(p, p == 1, {test::function(0, true, 0, addresses)}));
        }
        areas.push_back(test::module(m % 64, m + 1 == modules, 3, ports));
    }
    return test::recordImage(12, areas);
}

}  // namespace em_pni::bench
