// The error that ends a command of pni-host.
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace em_pni {

// The text is for the user. The program prints it and returns exitUnusable.
class CHostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// "<what>: <the system's text for this errno>".
inline std::string systemErrorText(const std::string& what, int error) {
    return what + ": " + std::generic_category().message(error);
}

}  // namespace em_pni
