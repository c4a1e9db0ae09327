#ifndef ARBOR_TESTS_ALLOCFAIL_FAILING_ALLOCATOR_H
#define ARBOR_TESTS_ALLOCFAIL_FAILING_ALLOCATOR_H

// A counting allocator that replaces the global operator new (and, outside sanitizer builds,
// malloc, calloc, realloc and free) and can be told to fail the k-th allocation.

namespace AllocFail {

/// Counts allocations from now on and fails the `k`-th (1-based); 0 counts without failing.
void arm(unsigned long k);
/// Stops counting; returns whether the armed failure happened.
bool disarm();
/// Whether malloc-family allocations are counted too (not under a sanitizer, which owns malloc,
/// whether it came from the project's option or from the compiler flags).
bool countsMalloc();
/// What is not replaced, and why ("" when everything is).
const char* skipped();
/// Makes the next malloc of exactly `size` bytes (a multiple of 16) return a block that ends where
/// a page the process may not read begins, behind a C-library block header that claims a block of
/// 1 MiB: only a reader that trusts this allocator's blocks to be the C library's goes past it.
/// The block is never given back. Only where malloc is replaced (`countsMalloc()`).
void guardNextMalloc(unsigned long size);

} // namespace AllocFail

#endif
