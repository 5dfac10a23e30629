// The trace of a test, in a directory of its own.
#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "platform/trace_client.h"
#include "tests/temp_directory.h"

namespace em_pni::test {

class CTraceCapture {
  public:
    explicit CTraceCapture(int level, std::map<std::string, std::string> more = {}) {
        Variables() = std::move(more);
        Variables()["QL_LOG_DEBUG_LEVEL"] = std::to_string(level);
        Variables()["QL_LOG_FILE_DIR"] = directory_.Path();
        client_ = std::make_unique<CDebugClient>(directory_.File("config"), "EM_PNI", &Lookup);
    }

    [[nodiscard]] std::string Log() const { return contentOf(directory_.File("log.EM_PNI")); }
    // The log behind the header.
    [[nodiscard]] std::string Lines() const {
        const std::string log = Log();
        const std::string end = "### End of initialization. ###\n";
        return log.substr(log.find(end) + end.size());
    }
    [[nodiscard]] bool Has(const std::string& text) const {
        return Lines().find(text) != std::string::npos;
    }
    // How often the text stands in the log.
    [[nodiscard]] int Count(const std::string& text) const {
        const std::string lines = Lines();
        int count = 0;
        for (std::size_t at = 0; (at = lines.find(text, at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    }
    void End() { client_.reset(); }

  private:
    static std::map<std::string, std::string>& Variables() {
        static std::map<std::string, std::string> variables;
        return variables;
    }
    static const char* Lookup(const char* name) {
        const auto found = Variables().find(name);
        return found != Variables().end() ? found->second.c_str() : nullptr;
    }

    CTempDirectory directory_;
    std::unique_ptr<CDebugClient> client_;
};

}  // namespace em_pni::test
