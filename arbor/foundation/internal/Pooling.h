#ifndef ARBOR_FOUNDATION_INTERNAL_POOLING_H
#define ARBOR_FOUNDATION_INTERNAL_POOLING_H

// Internal: what the library's memory pools share. Not exported and not part of the umbrella
// header.

#include <cstddef>

#if defined(__has_include)
#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#define ARBOR_HAVE_VALGRIND_H 1
#endif
#endif

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)                            \
    || __has_feature(memory_sanitizer)
#define ARBOR_POOLING_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ARBOR_POOLING_SANITIZED 1
#endif

namespace Plinth {

/// Whether the library's pools serve memory in this process. Off in sanitizer builds and under
/// Valgrind, which then see every object as an allocation of its own, so a use after free or a
/// leak stays visible to them. Decided once per process.
inline bool poolingEnabled()
{
#if defined(ARBOR_POOLING_SANITIZED)
    return false;
#elif defined(ARBOR_HAVE_VALGRIND_H)
    static const bool on = RUNNING_ON_VALGRIND == 0;
    return on;
#else
    return true;
#endif
}

} // namespace Plinth

#endif
