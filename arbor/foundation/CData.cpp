#include "arbor/foundation/CData.h"

#include "arbor/foundation/internal/Unicode.h"
#include "arbor/foundation/internal/XmlOutput.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace {

using Plinth::EscapeTable;

// UTF-8 of U+FFFD, written for every character XML cannot carry.
constexpr char replacement[] = "\xEF\xBF\xBD";

// Room for the longest single item: an escape ("&quot;") or a 4-byte sequence.
constexpr std::size_t longestItem = 8;

} // namespace

// How each ASCII character is written: a length of 0 for "as it is", else the text that replaces
// it, padded to 8 bytes so that writing one is a single fixed-size copy. Controls XML cannot carry
// become the replacement character.
struct Plinth::EscapeTable {
    char escapes[128][8];
    unsigned char lengths[128];

    constexpr explicit EscapeTable(bool attribute)
        : escapes {}
        , lengths {}
    {
        for (unsigned c = 0; c < 0x20; ++c)
            set(c, replacement);
        if (attribute) {
            set('\t', "&#9;");
            set('\n', "&#10;");
            set('"', "&quot;");
        } else {
            lengths[static_cast<unsigned char>('\t')] = 0;
            lengths[static_cast<unsigned char>('\n')] = 0;
        }
        set('\r', "&#13;");
        set('&', "&amp;");
        set('<', "&lt;");
        set('>', "&gt;");
    }

    constexpr void set(unsigned c, const char* text)
    {
        unsigned char length = 0;
        for (; text[length]; ++length)
            escapes[c][length] = text[length];
        lengths[c] = length;
    }

    // Writes the character `c` at `out` as XML that reads back as it and returns the end: ASCII
    // through the table; a lone surrogate, U+FFFE and U+FFFF, which XML cannot carry, as the
    // replacement character; anything else as its UTF-8. The one escape of every writer.
    char* put(char* out, char32_t c) const
    {
        if (c < 0x80) {
            if (!lengths[c]) {
                *out = static_cast<char>(c);
                return out + 1;
            }
            std::memcpy(out, escapes[c], longestItem);
            return out + lengths[c];
        }
        if ((c >= 0xD800 && c <= 0xDFFF) || c == 0xFFFE || c == 0xFFFF) {
            std::memcpy(out, replacement, sizeof replacement - 1);
            return out + sizeof replacement - 1;
        }
        return out + Plinth::writeUtf8(c, out);
    }
};

namespace {

constexpr EscapeTable textEscapes(false);
constexpr EscapeTable attributeEscapes(true);

// The character at `text`, moved past it: a surrogate pair is one character, a lone surrogate
// U+FFFD.
char32_t readCharacter(const char16_t*& text)
{
    std::size_t i = 0;
    const char32_t c = Plinth::readUtf16(text, i, SIZE_MAX); // the terminator never ends a pair
    text += i;
    return c;
}

// The character at `bytes`, moved past it: an ill-formed sequence is U+FFFD. A sequence has at
// most 4 bytes, and the terminator cannot continue one.
char32_t readCharacter(const char*& bytes)
{
    auto* p = reinterpret_cast<const unsigned char*>(bytes);
    const char32_t c = Plinth::readUtf8(p, p + 4);
    bytes = reinterpret_cast<const char*>(p);
    return c;
}

} // namespace

std::ostream& Plinth::putCData(std::ostream& os, const char16_t* text)
{
    if (!text) return os;
    XmlOutput out(os);
    out.putCharacterData(text);
    out.flush();
    return os;
}

std::ostream& Plinth::putAttributeData(std::ostream& os, const char16_t* text)
{
    if (!text) return os;
    XmlOutput out(os);
    out.putAttributeData(text);
    out.flush();
    return os;
}

std::ostream& Plinth::putAttributeData(std::ostream& os, const char* bytes)
{
    if (!bytes) return os;
    XmlOutput out(os);
    out.putAttributeData(bytes);
    out.flush();
    return os;
}

void Plinth::XmlOutput::putUtf16(const char16_t* text, bool attribute)
{
    putEscaped(text, attribute ? attributeEscapes : textEscapes);
}

void Plinth::XmlOutput::putAttributeData(const char* bytes) { putEscaped(bytes, attributeEscapes); }

// Keeps the fill level in a local: stores into the buffer could otherwise alias it and force a
// reload per byte.
template <class Unit> void Plinth::XmlOutput::putEscaped(const Unit* text, const EscapeTable& table)
{
    if (!text) return;
    std::size_t at = used;
    for (;;) {
        // The run of ASCII characters that need no escape, as far as the buffer allows.
        while (at < sizeof buffer) {
            const auto c = static_cast<std::make_unsigned_t<Unit>>(*text);
            if (c == 0 || c >= 0x80 || table.lengths[c]) break;
            buffer[at++] = static_cast<char>(c);
            ++text;
        }
        if (at + longestItem > sizeof buffer) {
            used = at;
            flush();
            at = 0;
        }
        if (*text == 0) break;
        at = static_cast<std::size_t>(table.put(buffer + at, readCharacter(text)) - buffer);
    }
    used = at;
}
