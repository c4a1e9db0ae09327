#ifndef ARBOR_FOUNDATION_INTERNAL_ASSERT_H
#define ARBOR_FOUNDATION_INTERNAL_ASSERT_H

#include <cstdio>
#include <cstdlib>

/// Checks one of the library's own invariants (never host input) in debug builds.
#ifdef NDEBUG
#define ARBOR_ASSERT(condition, message) ((void)0)
#else
#define ARBOR_ASSERT(condition, message)                                                           \
    ((condition) ? (void)0                                                                         \
                 : (std::fprintf(stderr, "%s:%d: assertion failed: %s (%s)\n", __FILE__, __LINE__, \
                        #condition, message),                                                      \
                     std::abort()))
#endif

#endif
