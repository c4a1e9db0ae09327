#include "arbor/tree/BasicElement.h"

#include "arbor/foundation/CData.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/foundation/internal/XmlOutput.h"
#include "arbor/tree/internal/NodePool.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <ostream>

namespace {

using Entry = std::pair<Arbor::Token, Arbor::Variant>;

// Up to this many places a linear scan over the interned name pointers beats hashing; larger
// blocks carry a hash index.
constexpr std::uint32_t indexFrom = 16;

// The value class of a removed attribute's place: nothing to release, copy or compare.
Arbor::VariantClass removedPlace = { nullptr, nullptr, nullptr, nullptr };

bool isRemoved(const Entry& entry) { return entry.second.variantClass() == &removedPlace; }

template <class T> void appendNumber(std::string& out, T value)
{
    char digits[64];
    std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

void appendBytes(std::string& out, const char* bytes)
{
    if (bytes) out += bytes;
}

// The typed subclasses add no field, so a variant of their class is read through them.
template <class Typed> const Typed* as(const Arbor::Variant& value)
{
    return static_cast<const Typed*>(value.dynamicCast(Typed::runtimeClass()));
}

// The characters of a value that is written as the bytes it holds (narrow strings and tokens),
// else null (also for a null string, which writes nothing either way).
const char* valueBytes(const Arbor::Variant& value)
{
    if (const auto* v = as<Arbor::StringVariant>(value)) return v->val();
    if (const auto* v = as<Arbor::TokenVariant>(value)) return v->val().name;
    return nullptr;
}

std::uint32_t hashName(const char* name)
{
    const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(name));
    return static_cast<std::uint32_t>(((bits >> 3) * 0x9E3779B97F4A7C15ULL) >> 32);
}

} // namespace

// The attribute block: a header, then the places in order (attributes and removed names' places),
// then, from `indexFrom` places of capacity on, a hash table of twice the capacity whose slots
// hold a place's position plus one (0: free). Places are only ever appended, so the table only
// ever gains entries.
struct Arbor::BasicElement::Store {
    /// Places in use.
    std::uint32_t used;
    /// Removed names' places among them.
    std::uint32_t removed;

    /// Capacity of a block holding `count` places: 2, then powers of two.
    static std::uint32_t capacityFor(std::uint32_t count)
    {
        return count <= 2 ? 2 : std::uint32_t(1) << (32 - __builtin_clz(count - 1));
    }
    std::uint32_t capacity() const { return capacityFor(used); }
    Entry* entries() { return reinterpret_cast<Entry*>(this + 1); }
    std::uint32_t* table(std::uint32_t capacity)
    {
        return reinterpret_cast<std::uint32_t*>(entries() + capacity);
    }

    /// An empty block with room for `capacity` places.
    static Store* make(std::uint32_t capacity)
    {
        std::size_t bytes = sizeof(Store) + capacity * sizeof(Entry);
        if (capacity >= indexFrom) bytes += 2 * capacity * sizeof(std::uint32_t);
        auto* store = static_cast<Store*>(::operator new(bytes));
        store->used = 0;
        store->removed = 0;
        if (capacity >= indexFrom)
            std::memset(store->table(capacity), 0, 2 * capacity * sizeof(std::uint32_t));
        return store;
    }

    static void destroy(Store* store)
    {
        Entry* entries = store->entries();
        for (std::uint32_t i = 0; i < store->used; ++i)
            entries[i].~Entry();
        ::operator delete(store);
    }

    /// Records the place at `position` in the hash table of a block of `capacity`.
    void enter(std::uint32_t capacity, std::uint32_t position)
    {
        const std::uint32_t mask = 2 * capacity - 1;
        std::uint32_t* slots = table(capacity);
        std::uint32_t at = hashName(entries()[position].first.name) & mask;
        while (slots[at])
            at = (at + 1) & mask;
        slots[at] = position + 1;
    }

    /// The place of `name`, removed or not; null if the name never came.
    Entry* place(const char* name)
    {
        Entry* all = entries();
        const std::uint32_t capacity = this->capacity();
        if (capacity < indexFrom) {
            for (std::uint32_t i = 0; i < used; ++i) {
                if (all[i].first.name == name) return all + i;
            }
            return nullptr;
        }
        const std::uint32_t mask = 2 * capacity - 1;
        const std::uint32_t* slots = table(capacity);
        for (std::uint32_t at = hashName(name) & mask; slots[at]; at = (at + 1) & mask) {
            if (all[slots[at] - 1].first.name == name) return all + slots[at] - 1;
        }
        return nullptr;
    }
};

namespace {

// The attributes item by item through the stream's own operators (which honour a field width).
std::ostream& putAttributesItemwise(std::ostream& os, const Entry* entries, std::uint32_t count)
{
    std::string text;
    for (const Entry* attribute = entries; attribute != entries + count; ++attribute) {
        if (isRemoved(*attribute)) continue;
        os << ' ' << attribute->first.name << "=\"";
        text.clear();
        Arbor::BasicElement::appendValueText(text, attribute->second);
        Plinth::putAttributeData(os, text.c_str());
        os << '"';
    }
    return os;
}

} // namespace

Arbor::BasicElement::BasicElement(Document* document, Token tag)
    : Element(document)
    , tag(tag)
{
}

Arbor::BasicElement::~BasicElement()
{
    if (store) Store::destroy(store);
}

Arbor::Node* Arbor::BasicElement::cloneNode(bool deep)
{
    // The copy has count 0 and belongs to the caller; until it is handed out, a failure while
    // copying the children deletes it together with the copies made so far. It keeps the
    // attributes in their order, without the places of removed names.
    std::unique_ptr<BasicElement> copy(new BasicElement(document, tag));
    if (store) {
        const Entry* entries = store->entries();
        for (std::uint32_t i = 0; i < store->used; ++i) {
            if (!isRemoved(entries[i])) copy->setAttributeRaw(entries[i].first, entries[i].second);
        }
    }
    if (deep) cloneChildren(copy.get());
    return copy.release();
}

Arbor::Token Arbor::BasicElement::tagName() { return tag; }

Arbor::Variant Arbor::BasicElement::getAttribute(Token name)
{
    const Entry* at = find(name);
    return at ? at->second : Variant();
}

bool Arbor::BasicElement::hasAttribute(Token name) { return find(name) != nullptr; }

void Arbor::BasicElement::setAttributeRaw(Token name, const Variant& value)
{
    if (!store) store = Store::make(Store::capacityFor(1));
    if (Entry* at = store->place(name.name)) {
        const bool wasRemoved = isRemoved(*at);
        at->second = value; // copies first: a failed copy keeps the old value (or the place)
        if (wasRemoved) --store->removed;
        return;
    }
    // A new name goes at the end; a full block moves to one twice its size first.
    std::uint32_t capacity = store->capacity();
    if (store->used == capacity) {
        if (capacity >= std::uint32_t(1) << 30) throw std::bad_alloc();
        capacity *= 2;
        Store* grown = Store::make(capacity);
        Entry* from = store->entries();
        Entry* to = grown->entries();
        try {
            for (; grown->used < store->used; ++grown->used)
                new (to + grown->used) Entry(from[grown->used]);
        } catch (...) {
            Store::destroy(grown);
            throw;
        }
        grown->removed = store->removed;
        if (capacity >= indexFrom) {
            for (std::uint32_t i = 0; i < grown->used; ++i)
                grown->enter(capacity, i);
        }
        Store::destroy(store);
        store = grown;
    }
    new (store->entries() + store->used) Entry(name, value);
    if (capacity >= indexFrom) store->enter(capacity, store->used);
    ++store->used;
}

void Arbor::BasicElement::removeAttributeRaw(Token name)
{
    Entry* at = find(name);
    if (!at) return;
    // The name keeps its place, marked removed, so that setting it again puts it back there.
    at->second = Variant(&removedPlace);
    ++store->removed;
}

unsigned long Arbor::BasicElement::attributeCount() const
{
    return store ? store->used - store->removed : 0;
}

const std::pair<Arbor::Token, Arbor::Variant>& Arbor::BasicElement::attributeAt(
    unsigned long index) const
{
    const Entry* entries = store->entries();
    if (store->removed == 0) return entries[index];
    for (const Entry* entry = entries;; ++entry) {
        if (!isRemoved(*entry) && index-- == 0) return *entry;
    }
}

std::ostream& Arbor::BasicElement::putAttributesXml(std::ostream& os)
{
    if (attributeCount() == 0) return os;
    // A field width pads the first item written with `<<`: keep exactly that behaviour.
    if (os.width() != 0) return putAttributesItemwise(os, store->entries(), store->used);
    // The whole list is composed in one buffer and handed to the stream in one write.
    Plinth::XmlOutput out(os);
    putAttributes(out);
    out.flush();
    return os;
}

void Arbor::BasicElement::putAttributes(Plinth::XmlOutput& out) const
{
    if (!store) return;
    std::string text;
    const Entry* entries = store->entries();
    for (const Entry* attribute = entries; attribute != entries + store->used; ++attribute) {
        if (const char* bytes = valueBytes(attribute->second)) __builtin_prefetch(bytes);
    }
    for (const Entry* attribute = entries; attribute != entries + store->used; ++attribute) {
        if (isRemoved(*attribute)) continue;
        const char* name = attribute->first.name;
        out.put(' ');
        if (!name) {
            // As streaming a null name does: what came before is written, then the stream fails.
            out.fail();
            return;
        }
        out.putString(name);
        out.put("=\"", 2);
        if (const char* bytes = valueBytes(attribute->second)) {
            out.putAttributeData(bytes);
        } else {
            text.clear();
            appendValueText(text, attribute->second);
            out.putAttributeData(text.c_str());
        }
        out.put('"');
    }
}

void Arbor::BasicElement::appendValueText(std::string& out, const Variant& value)
{
    if (const auto* v = as<BoolVariant>(value))
        out += v->val() ? "true" : "false";
    else if (const auto* v = as<LongVariant>(value))
        appendNumber(out, v->val());
    else if (const auto* v = as<FloatVariant>(value))
        appendNumber(out, v->val());
    else if (const auto* v = as<DoubleVariant>(value))
        appendNumber(out, v->val());
    else if (const auto* v = as<StringVariant>(value))
        appendBytes(out, v->val());
    else if (const auto* v = as<UStringVariant>(value))
        out += Arbor::utf8FromUtf16(v->val());
    else if (const auto* v = as<FixedStringVariant>(value))
        appendBytes(out, v->val().c_str());
    else if (const auto* v = as<FixedUStringVariant>(value))
        out += Arbor::utf8FromUtf16(v->val().c_str());
    else if (const auto* v = as<TokenVariant>(value))
        appendBytes(out, v->val().name);
}

std::pair<Arbor::Token, Arbor::Variant>* Arbor::BasicElement::find(Token name) const
{
    if (!store) return nullptr;
    Entry* at = store->place(name.name);
    return at && !isRemoved(*at) ? at : nullptr;
}

ARBOR_NODE_ALLOCATION_DEFINE(Arbor::BasicElement)
