// The stream buffer of standard output and standard error.
#pragma once

#include <streambuf>
#include <string>

namespace em_pni {

// Writes to a descriptor at each flush. Two things make a flush fail, and all later ones: a reader
// that has gone, and a full pipe while a blocked SIGINT, SIGTERM, SIGHUP or SIGPIPE is pending. So
// such a signal can end a program that cannot write. When the reader has gone, the process gets a
// SIGPIPE that any of its threads can take.
class CDescriptorBuffer final : public std::streambuf {
  public:
    explicit CDescriptorBuffer(int descriptor) noexcept : descriptor_(descriptor) {}

  protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        waiting_.append(text, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            waiting_.push_back(traits_type::to_char_type(character));
        }
        return traits_type::not_eof(character);
    }
    int sync() override;

  private:
    const int descriptor_;
    std::string waiting_;  // not yet written
};

}  // namespace em_pni
