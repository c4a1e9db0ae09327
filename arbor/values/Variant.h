#ifndef ARBOR_VALUES_VARIANT_H
#define ARBOR_VALUES_VARIANT_H

#include "arbor/foundation/Export.h"
#include "arbor/foundation/FixedString.h"
#include "arbor/values/Token.h"

namespace Arbor {

/// Run-time class of a variant: how its two payload words are destroyed, copied, compared and
/// ordered. A null operation means the plain bit-wise behaviour. Each operation receives the
/// address of a payload (two 64-bit words).
struct VariantClass {
    /// Releases what the payload owns.
    void (*destroy)(void* payload);
    /// Makes `destination` (both words zero on entry) a copy of `source`.
    void (*copy)(void* destination, const void* source);
    /// Equality of two payloads of this class.
    bool (*equal)(const void* a, const void* b);
    /// Strict order of two payloads of this class.
    bool (*less)(const void* a, const void* b);
};

/// A typed value of three words: a class descriptor and two payload words. The typed subclasses
/// add no field; they construct and read the payload. Values of different classes are never
/// equal; plain values compare and order by their bits.
class ARBOR_API Variant {
public:
    /// The descriptor of the empty variant.
    static VariantClass* runtimeClass();

    /// The empty variant.
    Variant();
    /// The given class with a zero payload.
    explicit Variant(VariantClass* cls);
    /// The given class and the two words read bit for bit from `words`; the caller hands over
    /// whatever they own.
    Variant(VariantClass* cls, void* words);
    /// Shares or copies the payload as the class says.
    Variant(const Variant& other);
    /// Copies `other` first, then releases the old payload: a failed copy leaves this variant
    /// untouched. The class changes to `other`'s.
    Variant& operator=(const Variant& other);
    ~Variant();

    /// True for the same class and equal payloads (as the class compares them).
    bool operator==(const Variant& other) const;
    /// The negation of `==`.
    bool operator!=(const Variant& other) const { return !(*this == other); }
    /// Classes differ: by descriptor address; else the class's order, or the words as unsigned.
    bool operator<(const Variant& other) const;

    /// This variant if its class is exactly `cls`, else null.
    Variant* dynamicCast(const VariantClass* cls) { return vclass == cls ? this : nullptr; }
    /// This variant if its class is exactly `cls`, else null.
    const Variant* dynamicCast(const VariantClass* cls) const
    {
        return vclass == cls ? this : nullptr;
    }

    /// The class descriptor; never null.
    VariantClass* variantClass() const { return vclass; }

protected:
    /// The class descriptor; never null.
    VariantClass* vclass;
    /// The value, laid out as the class defines.
    unsigned long payload[2];
};

static_assert(sizeof(Variant) == 3 * sizeof(void*), "a variant is three words");

/// A boolean in the first byte of the first word.
class ARBOR_API BoolVariant : public Variant {
public:
    /// The descriptor of BoolVariant values.
    static VariantClass* runtimeClass();
    /// A variant holding `value`.
    explicit BoolVariant(bool value);
    /// Copies `other`.
    BoolVariant(const BoolVariant& other) = default;
    /// Copies `other`.
    BoolVariant& operator=(const BoolVariant& other) = default;
    /// The value.
    bool val() const;
};

/// A signed 64-bit integer in the first word.
class ARBOR_API LongVariant : public Variant {
public:
    /// The descriptor of LongVariant values.
    static VariantClass* runtimeClass();
    /// A variant holding `value`.
    explicit LongVariant(long value);
    /// Copies `other`.
    LongVariant(const LongVariant& other) = default;
    /// Copies `other`.
    LongVariant& operator=(const LongVariant& other) = default;
    /// The value.
    long val() const;
};

/// An IEEE single in the first four bytes of the first word.
class ARBOR_API FloatVariant : public Variant {
public:
    /// The descriptor of FloatVariant values.
    static VariantClass* runtimeClass();
    /// A variant holding `value`.
    explicit FloatVariant(float value);
    /// Copies `other`.
    FloatVariant(const FloatVariant& other) = default;
    /// Copies `other`.
    FloatVariant& operator=(const FloatVariant& other) = default;
    /// The value.
    float val() const;
};

/// An IEEE double in the first word.
class ARBOR_API DoubleVariant : public Variant {
public:
    /// The descriptor of DoubleVariant values.
    static VariantClass* runtimeClass();
    /// A variant holding `value`.
    explicit DoubleVariant(double value);
    /// Copies `other`.
    DoubleVariant(const DoubleVariant& other) = default;
    /// Copies `other`.
    DoubleVariant& operator=(const DoubleVariant& other) = default;
    /// The value.
    double val() const;
};

/// A narrow string in a shared block (count, then the characters); copies share the block.
class ARBOR_API StringVariant : public Variant {
public:
    /// The descriptor of StringVariant values.
    static VariantClass* runtimeClass();
    /// Copies `value` into a new block (count 1); null makes a null string. Throws
    /// `std::bad_alloc` when the block cannot be allocated.
    explicit StringVariant(const char* value);
    /// Shares the value of `other`.
    StringVariant(const StringVariant& other);
    /// Shares the value of `other` and releases the old one.
    StringVariant& operator=(const StringVariant& other);
    /// The characters, or null.
    const char* val() const;
};

/// A UTF-16 string in a shared block; copies share the block.
class ARBOR_API UStringVariant : public Variant {
public:
    /// The descriptor of UStringVariant values.
    static VariantClass* runtimeClass();
    /// Copies `value` into a new block (count 1); null makes a null string. Throws
    /// `std::bad_alloc` when the block cannot be allocated.
    explicit UStringVariant(const char16_t* value);
    /// Shares the value of `other`.
    UStringVariant(const UStringVariant& other);
    /// Shares the value of `other` and releases the old one.
    UStringVariant& operator=(const UStringVariant& other);
    /// The characters, or null.
    const char16_t* val() const;
};

/// A `Plinth::FixedStringBase<char>` handle in the first word.
class ARBOR_API FixedStringVariant : public Variant {
public:
    /// The descriptor of FixedStringVariant values.
    static VariantClass* runtimeClass();
    /// A variant sharing the block of `value`.
    explicit FixedStringVariant(const Plinth::FixedStringBase<char>& value);
    /// Shares the value of `other`.
    FixedStringVariant(const FixedStringVariant& other);
    /// Shares the value of `other` and releases the old one.
    FixedStringVariant& operator=(const FixedStringVariant& other);
    /// A new handle to the block (one more holder), or a null handle.
    Plinth::FixedStringBase<char> val() const;
};

/// A `Plinth::FixedStringBase<char16_t>` handle in the first word.
class ARBOR_API FixedUStringVariant : public Variant {
public:
    /// The descriptor of FixedUStringVariant values.
    static VariantClass* runtimeClass();
    /// A variant sharing the block of `value`.
    explicit FixedUStringVariant(const Plinth::FixedStringBase<char16_t>& value);
    /// Shares the value of `other`.
    FixedUStringVariant(const FixedUStringVariant& other);
    /// Shares the value of `other` and releases the old one.
    FixedUStringVariant& operator=(const FixedUStringVariant& other);
    /// A new handle to the block (one more holder), or a null handle.
    Plinth::FixedStringBase<char16_t> val() const;
};

/// A token (its interned pointer) in the first word; ordered by address.
class ARBOR_API TokenVariant : public Variant {
public:
    /// The descriptor of TokenVariant values.
    static VariantClass* runtimeClass();
    /// A variant holding `value`.
    explicit TokenVariant(const Token& value);
    /// Copies `other`.
    TokenVariant(const TokenVariant& other) = default;
    /// Copies `other`.
    TokenVariant& operator=(const TokenVariant& other) = default;
    /// The value.
    Token val() const;
};

} // namespace Arbor

#endif
