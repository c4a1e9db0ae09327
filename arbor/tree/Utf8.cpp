#include "arbor/tree/Utf8.h"

#include "arbor/document/Document.h"
#include "arbor/tree/BasicElement.h"
#include "arbor/tree/Text.h"
#include "arbor/values/Variant.h"

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Decodes the character at `p` and moves `p` past it. An ill-formed sequence gives U+FFFD and
// leaves `p` at the first byte that cannot continue it, so that byte starts the next character.
// The allowed range of the second byte excludes overlong forms (E0, F0), surrogates (ED) and
// values above U+10FFFF (F4).
char32_t decodeUtf8(const unsigned char*& p, const unsigned char* end)
{
    const unsigned char lead = *p++;
    if (lead < 0x80) return lead;
    int following;
    char32_t c;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
        c = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        c = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        c = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return replacement;
    }
    for (; following > 0; --following) {
        if (p == end || *p < low || *p > high) return replacement;
        c = (c << 6) | (*p++ & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return c;
}

void appendUtf16(std::u16string& out, char32_t c)
{
    if (c < 0x10000) {
        out.push_back(static_cast<char16_t>(c));
        return;
    }
    c -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
}

void appendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

// `bytes` with every ill-formed subpart replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    while (p != end)
        appendUtf8(out, decodeUtf8(p, end));
    return out;
}

} // namespace

std::u16string Arbor::utf16FromUtf8(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    while (p != end) {
        if (*p < 0x80)
            out.push_back(*p++);
        else
            appendUtf16(out, decodeUtf8(p, end));
    }
    return out;
}

std::string Arbor::utf8FromUtf16(const char16_t* text)
{
    return text ? utf8FromUtf16(std::u16string_view(text)) : std::string();
}

std::string Arbor::utf8FromUtf16(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            appendUtf8(out, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (text[i + 1] - 0xDC00));
            ++i;
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            appendUtf8(out, replacement);
        } else {
            appendUtf8(out, unit);
        }
    }
    return out;
}

Arbor::Text* Arbor::createTextNodeUtf8(Document* document, std::string_view bytes)
{
    return document->createTextNode(utf16FromUtf8(bytes).c_str());
}

std::string Arbor::textUtf8(const Text* text) { return utf8FromUtf16(text->data()); }

void Arbor::setAttributeUtf8(Element* element, Token name, std::string_view bytes)
{
    element->setAttribute(name, StringVariant(repairedUtf8(bytes).c_str()));
}

std::string Arbor::getAttributeUtf8(Element* element, Token name)
{
    std::string out;
    BasicElement::appendValueText(out, element->getAttribute(name));
    return out;
}
