// A bar on standard error while a controller is read or written. Only on a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace em_pni {

class CProgressBar {
  public:
    // `action` is a word such as "reading".
    explicit CProgressBar(std::string action);
    // Removes the bar.
    ~CProgressBar();
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;

    void Show(std::size_t done, std::size_t total);

  private:
    const std::string action_;
    const bool isTerminal_;
    std::string shown_;
};

}  // namespace em_pni
