#ifndef ARBOR_FOUNDATION_REF_H
#define ARBOR_FOUNDATION_REF_H

#include <utility>

namespace Plinth {

/// Holds one reference on a counted object for as long as it lives.
///
/// Copying takes another reference, moving steals it, `adopt` takes over a reference that is
/// already counted and `release` hands it on. Counting goes through the virtual `ref()` and
/// `unref()` of the object.
template <class T> class Ref {
public:
    Ref() = default;
    /// Takes a reference on `object` (if not null).
    explicit Ref(T* object)
        : object(object)
    {
        if (object) object->ref();
    }
    /// Takes another reference on the object of `other`.
    Ref(const Ref& other)
        : Ref(other.object)
    {
    }
    /// Takes over the reference of `other`, which is left empty.
    Ref(Ref&& other) noexcept
        : object(std::exchange(other.object, nullptr))
    {
    }
    ~Ref() { reset(); }

    /// Holds the object of `other` and drops the reference held before.
    Ref& operator=(Ref other) noexcept
    {
        std::swap(object, other.object);
        return *this;
    }

    /// Takes over a reference that the caller already counted.
    static Ref adopt(T* object)
    {
        Ref result;
        result.object = object;
        return result;
    }

    /// The object; null when empty.
    T* get() const { return object; }
    /// The object, for member access.
    T* operator->() const { return object; }
    /// The object; the holder must not be empty.
    T& operator*() const { return *object; }
    /// True when the holder is not empty.
    explicit operator bool() const { return object != nullptr; }

    /// Hands the reference on to the caller (for a counted link) and empties this holder.
    T* release() { return std::exchange(object, nullptr); }

    /// Drops the reference, if any.
    void reset()
    {
        if (T* old = std::exchange(object, nullptr)) old->unref();
    }

private:
    T* object = nullptr;
};

/// Points a counted link at `value`: takes a reference on the new value first, stores it, then
/// drops the reference on the old one, so relinking a node to itself is harmless.
template <class T, class U> void assignCounted(T*& link, U* value)
{
    if (value) value->ref();
    T* old = link;
    link = value;
    if (old) old->unref();
}

/// Clears a counted link and then drops its reference, so no destructor reached from the
/// release sees the dying link.
template <class T> void releaseCounted(T*& link)
{
    T* old = link;
    link = nullptr;
    if (old) old->unref();
}

} // namespace Plinth

#endif
