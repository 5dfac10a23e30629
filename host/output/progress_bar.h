// A bar on standard error while a controller is read or written. Only on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace em_pni {

class CProgressBar {
  public:
    CProgressBar();
    // Removes the bar.
    ~CProgressBar();
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;

    // `action` is a word such as "reading". Removes the bar when all is done: the next line of
    // output must not follow it.
    void Show(std::string_view action, std::size_t done, std::size_t total);

  private:
    void Remove();

    const bool isTerminal_;
    std::string shown_;
};

}  // namespace em_pni
