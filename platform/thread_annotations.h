// Names of clang's thread-safety attributes; empty for other compilers.
#pragma once

#if defined(__clang__)
#define PNI_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define PNI_THREAD_ATTRIBUTE(x)
#endif

#define PNI_CAPABILITY(name) PNI_THREAD_ATTRIBUTE(capability(name))
#define PNI_SCOPED_CAPABILITY PNI_THREAD_ATTRIBUTE(scoped_lockable)
#define PNI_GUARDED_BY(lock) PNI_THREAD_ATTRIBUTE(guarded_by(lock))
#define PNI_ACQUIRE(...) PNI_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define PNI_ACQUIRE_SHARED(...) PNI_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define PNI_RELEASE(...) PNI_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define PNI_RELEASE_SHARED(...) PNI_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define PNI_REQUIRES(...) PNI_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define PNI_UNCHECKED PNI_THREAD_ATTRIBUTE(no_thread_safety_analysis)
