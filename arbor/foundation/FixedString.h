#ifndef ARBOR_FOUNDATION_FIXED_STRING_H
#define ARBOR_FOUNDATION_FIXED_STRING_H

#include "arbor/foundation/Export.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace Plinth {

/// Drops one holder from a shared block that starts with a signed 64-bit holder count and frees
/// it (with `free`) when none is left.
ARBOR_API void releaseSharedBlock(void* block);

/// Shared, immutable string: a handle of one pointer to a `malloc`-allocated block that starts
/// with a signed 64-bit holder count and holds the NUL-terminated characters right after it.
/// Copying a handle adds a holder; releasing drops one and frees the block at 0 or less.
template <class T> class FixedStringBase {
public:
    /// Layout of the shared block.
    struct Block {
        /// Number of handles sharing the block.
        long holders;
        /// The characters and their terminator.
        T text[1];
    };

    /// The shared block, or null when the handle holds no string.
    Block* rep = nullptr;

    FixedStringBase() = default;

    /// Makes a new block holding a copy of `text` (null makes a null handle). Throws
    /// `std::bad_alloc` when the block cannot be allocated.
    explicit FixedStringBase(const T* text)
    {
        if (!text) return;
        std::size_t length = 0;
        while (text[length])
            ++length;
        void* memory = std::malloc(sizeof(long) + (length + 1) * sizeof(T));
        if (!memory) throw std::bad_alloc();
        rep = static_cast<Block*>(memory);
        rep->holders = 1;
        std::memcpy(rep->text, text, (length + 1) * sizeof(T));
    }

    /// Shares the block of `other`: one more holder.
    FixedStringBase(const FixedStringBase& other)
        : rep(other.rep)
    {
        if (rep) ++rep->holders;
    }

    /// Shares the block of `other` and drops this handle's old block.
    FixedStringBase& operator=(const FixedStringBase& other)
    {
        Block* old = rep;
        rep = other.rep;
        if (rep) ++rep->holders;
        drop(old);
        return *this;
    }

    ~FixedStringBase() { drop(rep); }

    /// The characters, or null.
    const T* c_str() const { return rep ? rep->text : nullptr; }

    /// Drops one holder from `block` and frees it when none is left.
    static void drop(Block* block)
    {
        if (block) releaseSharedBlock(block);
    }
};

} // namespace Plinth

#endif
