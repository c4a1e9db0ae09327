#include "arbor/values/Variant.h"

#include "arbor/foundation/UString.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

namespace {

// The first payload word as a pointer and back. Payload words are integers, so pointers travel
// through them by value conversion, not by reinterpreting the storage.
template <class T> T* firstPointer(const void* payload)
{
    return reinterpret_cast<T*>(static_cast<const unsigned long*>(payload)[0]);
}

void setFirstPointer(void* payload, const void* pointer)
{
    static_cast<unsigned long*>(payload)[0] = reinterpret_cast<unsigned long>(pointer);
}

void copyPayload(
    const Arbor::VariantClass* cls, unsigned long* destination, const unsigned long* source)
{
    if (cls->copy) {
        destination[0] = 0;
        destination[1] = 0;
        cls->copy(destination, source);
        return;
    }
    destination[0] = source[0];
    destination[1] = source[1];
}

// All four string variants keep a shared block (the one the fixed-string handles use) in the
// first payload word.
template <class Char> struct BlockString {
    using Block = Plinth::SharedBlock<Char>;

    // The characters of the block in `payload`, or null.
    static const Char* chars(const void* payload)
    {
        Block* block = firstPointer<Block>(payload);
        return block ? block->text : nullptr;
    }

    static void store(void* payload, Block* block)
    {
        setFirstPointer(payload, Block::share(block));
    }

    static void share(void* destination, const void* source)
    {
        store(destination, firstPointer<Block>(source));
    }

    static void release(void* payload)
    {
        Block::release(firstPointer<Block>(payload));
        setFirstPointer(payload, nullptr);
    }

    // A new handle on the block in `payload`.
    static Plinth::FixedStringBase<Char> handle(const void* payload)
    {
        Plinth::FixedStringBase<Char> result;
        result.rep = Block::share(firstPointer<Block>(payload));
        return result;
    }
};

int compareChars(const char* a, const char* b) { return std::strcmp(a, b); }
int compareChars(const char16_t* a, const char16_t* b) { return Plinth::ustrcmp(a, b); }

// Equality and order of string payloads; `Storage` reads the characters of a payload. Two
// payloads with the same block have the same characters pointer.
template <class Storage> bool stringEqual(const void* a, const void* b)
{
    if (a == b) return true;
    const auto* x = Storage::chars(a);
    const auto* y = Storage::chars(b);
    if (x == y) return true;
    if (!x || !y) return false;
    return compareChars(x, y) == 0;
}

template <class Storage> bool stringLess(const void* a, const void* b)
{
    if (a == b) return false;
    const auto* x = Storage::chars(a);
    const auto* y = Storage::chars(b);
    if (x == y || !y) return false;
    if (!x) return true;
    return compareChars(x, y) < 0;
}

template <class Storage> Arbor::VariantClass stringClass()
{
    return { Storage::release, Storage::share, stringEqual<Storage>, stringLess<Storage> };
}

void tokenCopy(void* destination, const void* source)
{
    static_cast<unsigned long*>(destination)[0] = static_cast<const unsigned long*>(source)[0];
}

bool tokenEqual(const void* a, const void* b)
{
    return static_cast<const unsigned long*>(a)[0] == static_cast<const unsigned long*>(b)[0];
}

bool tokenLess(const void* a, const void* b)
{
    return static_cast<const unsigned long*>(a)[0] < static_cast<const unsigned long*>(b)[0];
}

void tokenDestroy(void*) { }

} // namespace

Arbor::VariantClass* Arbor::Variant::runtimeClass()
{
    static VariantClass cls = { nullptr, nullptr, nullptr, nullptr };
    return &cls;
}

Arbor::Variant::Variant()
    : Variant(runtimeClass())
{
}

Arbor::Variant::Variant(VariantClass* cls)
    : vclass(cls)
    , payload { 0, 0 }
{
}

Arbor::Variant::Variant(VariantClass* cls, void* words)
    : vclass(cls)
{
    std::memcpy(payload, words, sizeof(payload));
}

Arbor::Variant::Variant(const Variant& other)
    : vclass(other.vclass)
{
    copyPayload(vclass, payload, other.payload);
}

Arbor::Variant& Arbor::Variant::operator=(const Variant& other)
{
    if (this == &other) return *this;
    unsigned long copied[2];
    copyPayload(other.vclass, copied, other.payload);
    if (vclass->destroy) vclass->destroy(payload);
    vclass = other.vclass;
    payload[0] = copied[0];
    payload[1] = copied[1];
    return *this;
}

Arbor::Variant::~Variant()
{
    if (vclass->destroy) vclass->destroy(payload);
}

bool Arbor::Variant::operator==(const Variant& other) const
{
    if (vclass != other.vclass) return false;
    if (vclass->equal) return vclass->equal(payload, other.payload);
    return payload[0] == other.payload[0] && payload[1] == other.payload[1];
}

bool Arbor::Variant::operator<(const Variant& other) const
{
    if (vclass != other.vclass) return std::less<const VariantClass*>()(vclass, other.vclass);
    if (vclass->less) return vclass->less(payload, other.payload);
    if (payload[0] != other.payload[0]) return payload[0] < other.payload[0];
    return payload[1] < other.payload[1];
}

// Plain values: the value sits at the start of the zeroed first word.

Arbor::VariantClass* Arbor::BoolVariant::runtimeClass()
{
    static VariantClass cls = { nullptr, nullptr, nullptr, nullptr };
    return &cls;
}

Arbor::BoolVariant::BoolVariant(bool value)
    : Variant(runtimeClass())
{
    const unsigned char byte = value ? 1 : 0;
    std::memcpy(payload, &byte, sizeof(byte));
}

bool Arbor::BoolVariant::val() const
{
    unsigned char byte;
    std::memcpy(&byte, payload, sizeof(byte));
    return byte != 0;
}

Arbor::VariantClass* Arbor::LongVariant::runtimeClass()
{
    static VariantClass cls = { nullptr, nullptr, nullptr, nullptr };
    return &cls;
}

Arbor::LongVariant::LongVariant(long value)
    : Variant(runtimeClass())
{
    payload[0] = static_cast<unsigned long>(value);
}

long Arbor::LongVariant::val() const { return static_cast<long>(payload[0]); }

Arbor::VariantClass* Arbor::FloatVariant::runtimeClass()
{
    static VariantClass cls = { nullptr, nullptr, nullptr, nullptr };
    return &cls;
}

Arbor::FloatVariant::FloatVariant(float value)
    : Variant(runtimeClass())
{
    std::memcpy(payload, &value, sizeof(value));
}

float Arbor::FloatVariant::val() const
{
    float value;
    std::memcpy(&value, payload, sizeof(value));
    return value;
}

Arbor::VariantClass* Arbor::DoubleVariant::runtimeClass()
{
    static VariantClass cls = { nullptr, nullptr, nullptr, nullptr };
    return &cls;
}

Arbor::DoubleVariant::DoubleVariant(double value)
    : Variant(runtimeClass())
{
    std::memcpy(payload, &value, sizeof(value));
}

double Arbor::DoubleVariant::val() const
{
    double value;
    std::memcpy(&value, payload, sizeof(value));
    return value;
}

// Strings in shared blocks.

Arbor::VariantClass* Arbor::StringVariant::runtimeClass()
{
    static VariantClass cls = stringClass<BlockString<char>>();
    return &cls;
}

Arbor::StringVariant::StringVariant(const char* value)
    : Variant(runtimeClass())
{
    if (value) setFirstPointer(payload, Plinth::SharedBlock<char>::make(value, std::strlen(value)));
}

Arbor::StringVariant::StringVariant(const StringVariant& other)
    : Variant(other)
{
}

Arbor::StringVariant& Arbor::StringVariant::operator=(const StringVariant& other)
{
    Variant::operator=(other);
    return *this;
}

const char* Arbor::StringVariant::val() const { return BlockString<char>::chars(payload); }

Arbor::VariantClass* Arbor::UStringVariant::runtimeClass()
{
    static VariantClass cls = stringClass<BlockString<char16_t>>();
    return &cls;
}

Arbor::UStringVariant::UStringVariant(const char16_t* value)
    : Variant(runtimeClass())
{
    if (value)
        setFirstPointer(
            payload, Plinth::SharedBlock<char16_t>::make(value, Plinth::ustrlen(value)));
}

Arbor::UStringVariant::UStringVariant(const UStringVariant& other)
    : Variant(other)
{
}

Arbor::UStringVariant& Arbor::UStringVariant::operator=(const UStringVariant& other)
{
    Variant::operator=(other);
    return *this;
}

const char16_t* Arbor::UStringVariant::val() const { return BlockString<char16_t>::chars(payload); }

// Fixed-string handles.

Arbor::VariantClass* Arbor::FixedStringVariant::runtimeClass()
{
    static VariantClass cls = stringClass<BlockString<char>>();
    return &cls;
}

Arbor::FixedStringVariant::FixedStringVariant(const Plinth::FixedStringBase<char>& value)
    : Variant(runtimeClass())
{
    BlockString<char>::store(payload, value.rep);
}

Arbor::FixedStringVariant::FixedStringVariant(const FixedStringVariant& other)
    : Variant(other)
{
}

// Variant's assignment shares the source's block before it releases the old one, so assigning
// between two variants on one block never frees it.
Arbor::FixedStringVariant& Arbor::FixedStringVariant::operator=(const FixedStringVariant& other)
{
    Variant::operator=(other);
    return *this;
}

Plinth::FixedStringBase<char> Arbor::FixedStringVariant::val() const
{
    return BlockString<char>::handle(payload);
}

Arbor::VariantClass* Arbor::FixedUStringVariant::runtimeClass()
{
    static VariantClass cls = stringClass<BlockString<char16_t>>();
    return &cls;
}

Arbor::FixedUStringVariant::FixedUStringVariant(const Plinth::FixedStringBase<char16_t>& value)
    : Variant(runtimeClass())
{
    BlockString<char16_t>::store(payload, value.rep);
}

Arbor::FixedUStringVariant::FixedUStringVariant(const FixedUStringVariant& other)
    : Variant(other)
{
}

Arbor::FixedUStringVariant& Arbor::FixedUStringVariant::operator=(const FixedUStringVariant& other)
{
    Variant::operator=(other);
    return *this;
}

Plinth::FixedStringBase<char16_t> Arbor::FixedUStringVariant::val() const
{
    return BlockString<char16_t>::handle(payload);
}

// Tokens: the interned pointer, compared by identity and ordered by address.

Arbor::VariantClass* Arbor::TokenVariant::runtimeClass()
{
    static VariantClass cls = { tokenDestroy, tokenCopy, tokenEqual, tokenLess };
    return &cls;
}

Arbor::TokenVariant::TokenVariant(const Token& value)
    : Variant(runtimeClass())
{
    setFirstPointer(payload, value.name);
}

Arbor::Token Arbor::TokenVariant::val() const
{
    Token token;
    token.name = firstPointer<const char>(payload);
    return token;
}
