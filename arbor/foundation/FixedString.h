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

/// A shared, immutable string block: a `malloc`-allocated signed 64-bit holder count followed by
/// the NUL-terminated characters. The fixed-string handles and the string variants share this
/// one implementation.
template <class T> struct SharedBlock {
    /// Number of holders sharing the block.
    long holders;
    /// The characters and their terminator.
    T text[1];

    /// A new block holding a copy of the `length` characters of `text` and a terminator, with one
    /// holder. It takes `length` characters plus 16 bytes. Throws `std::bad_alloc` when the
    /// block cannot be allocated.
    static SharedBlock* make(const T* text, std::size_t length)
    {
        void* memory = std::malloc(length * sizeof(T) + 16);
        if (!memory) throw std::bad_alloc();
        auto* block = static_cast<SharedBlock*>(memory);
        block->holders = 1;
        std::memcpy(block->text, text, (length + 1) * sizeof(T));
        return block;
    }

    /// Adds a holder to `block` (if not null) and returns it.
    static SharedBlock* share(SharedBlock* block)
    {
        if (block) ++block->holders;
        return block;
    }

    /// Drops one holder from `block` (if not null) and frees it when none is left.
    static void release(SharedBlock* block)
    {
        if (block) releaseSharedBlock(block);
    }
};

/// Shared, immutable string: a handle of one pointer to a `SharedBlock`. Copying a handle adds a
/// holder; releasing drops one and frees the block at 0 or less.
template <class T> class FixedStringBase {
public:
    /// Layout of the shared block.
    using Block = SharedBlock<T>;

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
        rep = Block::make(text, length);
    }

    /// Shares the block of `other`: one more holder.
    FixedStringBase(const FixedStringBase& other)
        : rep(Block::share(other.rep))
    {
    }

    /// Shares the block of `other` and drops this handle's old block.
    FixedStringBase& operator=(const FixedStringBase& other)
    {
        Block* old = rep;
        rep = Block::share(other.rep);
        Block::release(old);
        return *this;
    }

    ~FixedStringBase() { Block::release(rep); }

    /// The characters, or null.
    const T* c_str() const { return rep ? rep->text : nullptr; }
};

} // namespace Plinth

#endif
