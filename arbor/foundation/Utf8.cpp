#include "arbor/foundation/Utf8.h"

#include "arbor/document/Document.h"
#include "arbor/foundation/internal/Unicode.h"
#include "arbor/tree/BasicElement.h"
#include "arbor/tree/Text.h"
#include "arbor/values/Variant.h"

namespace {

void appendUtf16(std::u16string& out, char32_t c)
{
    char16_t units[2];
    out.append(units, Plinth::writeUtf16(c, units));
}

void appendUtf8(std::string& out, char32_t c)
{
    char bytes[4];
    out.append(bytes, Plinth::writeUtf8(c, bytes));
}

// `bytes` with every ill-formed subpart replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    while (p != end)
        appendUtf8(out, Plinth::readUtf8(p, end));
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
            appendUtf16(out, Plinth::readUtf8(p, end));
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
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] < 0x80)
            out.push_back(static_cast<char>(text[i++]));
        else
            appendUtf8(out, Plinth::readUtf16(text.data(), i, text.size()));
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
