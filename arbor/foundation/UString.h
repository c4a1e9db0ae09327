#ifndef ARBOR_FOUNDATION_U_STRING_H
#define ARBOR_FOUNDATION_U_STRING_H

#include "arbor/foundation/Export.h"

#include <cstdlib>
#include <iosfwd>

/// Functions on NUL-terminated UTF-16 strings. Lengths count UTF-16 code units. Strings these
/// functions allocate come from `malloc` and are released with `free`.
namespace Plinth {

/// Number of units before the terminating 0. `s` must not be null.
ARBOR_API unsigned long ustrlen(const char16_t* s);

/// Copies `src` with its terminator to `dst`; the areas must not overlap.
ARBOR_API void ustrcpy(char16_t* dst, const char16_t* src);

/// Copies the first `n` units of `src` to `dst`; writes no terminator.
ARBOR_API void ustrncpy(char16_t* dst, const char16_t* src, unsigned long n);

/// A new `malloc`-allocated copy of `s` with its terminator, or null when memory is exhausted.
ARBOR_API char16_t* ustrdup(const char16_t* s);

/// Orders two strings by their code units (as unsigned 16-bit values): negative, zero or
/// positive; zero exactly when both hold the same units.
ARBOR_API int ustrcmp(const char16_t* a, const char16_t* b);

/// Deleter for buffers allocated with `malloc`, for `std::unique_ptr`.
struct FreeDeleter {
    /// Frees `p` with `free`.
    void operator()(void* p) const { std::free(p); }
};

} // namespace Plinth

#endif
