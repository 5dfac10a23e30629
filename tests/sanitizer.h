// Whether a sanitizer is built in: it is slower, and has memory, threads and descriptors of its
// own.
#pragma once

namespace em_pni::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

}  // namespace em_pni::test
