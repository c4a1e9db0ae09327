#include "arbor/tree/BasicElement.h"

#include "arbor/foundation/CData.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/foundation/internal/XmlOutput.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <ostream>

namespace {

// Up to this many attributes a linear scan over the interned name pointers beats hashing; above
// it the index holds the position of every attribute.
constexpr unsigned long indexThreshold = 8;

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

// The attributes item by item through the stream's own operators (which honour a field width).
std::ostream& putAttributesItemwise(
    std::ostream& os, const std::vector<std::pair<Arbor::Token, Arbor::Variant>>& attributes)
{
    std::string text;
    for (const auto& attribute : attributes) {
        os << ' ' << attribute.first.name << "=\"";
        text.clear();
        Arbor::BasicElement::appendValueText(text, attribute.second);
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

Arbor::BasicElement::~BasicElement() = default;

Arbor::Node* Arbor::BasicElement::cloneNode(bool deep)
{
    // The copy has count 0 and belongs to the caller; until it is handed out, a failure while
    // copying the children deletes it together with the copies made so far.
    std::unique_ptr<BasicElement> copy(new BasicElement(document, tag));
    copy->attributes = attributes;
    copy->places = places;
    copy->nextPlace = nextPlace;
    copy->index = index;
    if (deep) cloneChildren(copy.get());
    return copy.release();
}

Arbor::Token Arbor::BasicElement::tagName() { return tag; }

Arbor::Variant Arbor::BasicElement::getAttribute(Token name)
{
    long at = find(name);
    return at < 0 ? Variant() : attributes[at].second;
}

bool Arbor::BasicElement::hasAttribute(Token name) { return find(name) >= 0; }

void Arbor::BasicElement::setAttributeRaw(Token name, const Variant& value)
{
    long at = find(name);
    if (at >= 0) {
        attributes[at].second = value; // copies first: a failed copy keeps the old value
        return;
    }
    const auto former = formerPlaces.find(name.name);
    const unsigned long place = former != formerPlaces.end() ? former->second : nextPlace;
    const long position = std::lower_bound(places.begin(), places.end(), place) - places.begin();
    attributes.emplace(attributes.begin() + position, name, value);
    // Keep the store, the places and the index in step: if one cannot grow, the new attribute
    // is taken back out.
    try {
        places.insert(places.begin() + position, place);
        if (attributes.size() > indexThreshold) rebuildIndex();
    } catch (...) {
        attributes.erase(attributes.begin() + position);
        if (places.size() > attributes.size()) places.erase(places.begin() + position);
        throw;
    }
    if (former != formerPlaces.end())
        formerPlaces.erase(former);
    else
        ++nextPlace;
}

void Arbor::BasicElement::removeAttributeRaw(Token name)
{
    long at = find(name);
    if (at < 0) return;
    formerPlaces[name.name] = places[at];
    attributes.erase(attributes.begin() + at);
    places.erase(places.begin() + at);
    if (attributes.size() <= indexThreshold) {
        index.clear();
        return;
    }
    index.erase(name.name);
    for (auto& entry : index) {
        if (entry.second > static_cast<unsigned long>(at)) --entry.second;
    }
}

std::ostream& Arbor::BasicElement::putAttributesXml(std::ostream& os)
{
    if (attributes.empty()) return os;
    // A field width pads the first item written with `<<`: keep exactly that behaviour.
    if (os.width() != 0) return putAttributesItemwise(os, attributes);
    // The whole list is composed in one buffer and handed to the stream in one write.
    Plinth::XmlOutput out(os);
    std::string text;
    for (const auto& attribute : attributes) {
        const char* name = attribute.first.name;
        out.put(' ');
        if (!name) {
            // As streaming a null name does: what came before is written, then the stream fails.
            out.flush();
            os.setstate(std::ios::badbit);
            return os;
        }
        out.put(name, std::strlen(name));
        out.put("=\"", 2);
        if (const char* bytes = valueBytes(attribute.second)) {
            out.putAttributeData(bytes);
        } else {
            text.clear();
            appendValueText(text, attribute.second);
            out.putAttributeData(text.c_str());
        }
        out.put('"');
    }
    out.flush();
    return os;
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

long Arbor::BasicElement::find(Token name) const
{
    if (attributes.size() > indexThreshold) {
        auto found = index.find(name.name);
        return found == index.end() ? -1 : static_cast<long>(found->second);
    }
    for (unsigned long i = 0; i < attributes.size(); ++i) {
        if (attributes[i].first.name == name.name) return static_cast<long>(i);
    }
    return -1;
}

void Arbor::BasicElement::rebuildIndex()
{
    // Built aside and swapped in, so a failed allocation leaves the old index whole.
    std::unordered_map<const char*, unsigned long> built;
    built.reserve(attributes.size());
    for (unsigned long i = 0; i < attributes.size(); ++i)
        built.emplace(attributes[i].first.name, i);
    index.swap(built);
}
