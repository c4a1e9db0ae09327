#ifndef ARBOR_FOUNDATION_REF_COUNTED_H
#define ARBOR_FOUNDATION_REF_COUNTED_H

#include "arbor/foundation/Export.h"

namespace Plinth {

/// Interface of an object whose lifetime is governed by references.
class ARBOR_API IResource {
public:
    virtual ~IResource() = default;
    /// Adds one reference.
    virtual void ref() const = 0;
    /// Drops one reference; the object destroys itself when none is left.
    virtual void unref() const = 0;
};

/// Intrusive, non-atomic reference counting.
///
/// A count of 0 and a count of 1 both mean a single holder: `unref()` destroys the object when
/// it finds the count at 0 or brings it to 0. While the object is being destroyed its count
/// holds `destroying`, a value that no sequence of `ref()`/`unref()` pairs made by code the
/// destructor reaches can bring back to 0, so such pairs can never destroy the object a
/// second time.
template <class Base> class ARBOR_API RefCounted : public Base {
public:
    /// Count stored while the destructor runs.
    static constexpr unsigned long destroying = 1UL << 62;

    /// Number of references held on the object; 0 when constructed.
    mutable unsigned long refCount = 0;

    /// Adds one reference.
    void ref() const override { ++refCount; }

    /// Drops one reference; destroys the object when the count was 0 or reaches 0.
    void unref() const override
    {
        // Written as "decrement or destroy" on two separate branches: the shorter form
        // "if (count == 0 || --count == 0) { count = destroying; ... }" lets g++ 12 -O2 drop the
        // decrement when this call is inlined into an exception cleanup (it treats the
        // sentinel store on the other branch as overwriting it), which leaks the object.
        if (refCount > 1) {
            --refCount;
            return;
        }
        refCount = destroying;
        delete this;
    }

    /// True while the object's destructor runs.
    bool isBeingDestroyed() const { return refCount >= destroying; }

protected:
    RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    /// Puts the object into the destroying state; a destructor that can reach code taking and
    /// dropping references on this object calls it first (objects destroyed by `unref()` are in
    /// that state already).
    void beginDestruction() const { refCount = destroying; }
};

} // namespace Plinth

#endif
