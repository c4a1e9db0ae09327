#include "arbor/foundation/CData.h"

#include "arbor/foundation/internal/Unicode.h"
#include "arbor/foundation/internal/XmlOutput.h"

#include <cstring>

namespace {

using Plinth::isLeadSurrogate;
using Plinth::isTrailSurrogate;

// UTF-8 of U+FFFD, written for every code unit XML cannot carry.
constexpr char replacement[] = "\xEF\xBF\xBD";

// How each ASCII unit is written: a length of 0 for "as it is", else the text that replaces it,
// padded to 8 bytes so that writing one is a single fixed-size copy. Controls XML cannot carry
// become the replacement character.
struct EscapeTable {
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
};

constexpr EscapeTable textEscapes(false);
constexpr EscapeTable attributeEscapes(true);

// Room for the longest single item: an escape ("&quot;") or a 4-byte sequence.
constexpr std::size_t longestItem = 8;

// Writes the unit at `text[i]` (above U+007F), with its trail if it leads a pair, at `out`;
// advances `i` past it and returns the end.
char* putNonAscii(char* out, const char16_t* text, std::size_t& i)
{
    const char16_t c = text[i];
    if (isLeadSurrogate(c) && isTrailSurrogate(text[i + 1])) {
        i += 2;
        return out
            + Plinth::writeUtf8(
                0x10000 + ((char32_t(c) - 0xD800) << 10) + (char32_t(text[i - 1]) - 0xDC00), out);
    }
    ++i;
    if (isLeadSurrogate(c) || isTrailSurrogate(c) || c == 0xFFFE || c == 0xFFFF) {
        std::memcpy(out, replacement, sizeof replacement - 1);
        return out + sizeof replacement - 1;
    }
    return out + Plinth::writeUtf8(c, out);
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

// Both writers keep the fill level in a local: stores into the buffer could otherwise alias it and
// force a reload per byte.

void Plinth::XmlOutput::putUtf16(const char16_t* text, bool attribute)
{
    if (!text) return;
    const EscapeTable& table = attribute ? attributeEscapes : textEscapes;
    std::size_t at = used;
    for (;;) {
        // The run of units that are ASCII and need no escape, as far as the buffer allows.
        while (at < sizeof buffer) {
            const char16_t c = *text;
            if (c == 0 || c >= 0x80 || table.lengths[c]) break;
            buffer[at++] = static_cast<char>(c);
            ++text;
        }
        if (at + longestItem > sizeof buffer) {
            used = at;
            flush();
            at = 0;
        }
        const char16_t c = *text;
        if (c == 0) break;
        if (c >= 0x80) {
            std::size_t i = 0;
            at = static_cast<std::size_t>(putNonAscii(buffer + at, text, i) - buffer);
            text += i;
            continue;
        }
        if (table.lengths[c]) {
            std::memcpy(buffer + at, table.escapes[c], longestItem);
            at += table.lengths[c];
        } else {
            buffer[at++] = static_cast<char>(c); // the run stopped because the buffer was full
        }
        ++text;
    }
    used = at;
}

void Plinth::XmlOutput::putAttributeData(const char* bytes)
{
    if (!bytes) return;
    const EscapeTable& table = attributeEscapes;
    std::size_t at = used;
    for (;;) {
        // The run of bytes that need no escape, as far as the buffer allows.
        while (at < sizeof buffer) {
            const unsigned char c = static_cast<unsigned char>(*bytes);
            if (c == 0 || (c < 0x80 && table.lengths[c])) break;
            buffer[at++] = static_cast<char>(c);
            ++bytes;
        }
        if (at + longestItem > sizeof buffer) {
            used = at;
            flush();
            at = 0;
        }
        const unsigned char c = static_cast<unsigned char>(*bytes);
        if (c == 0) break;
        if (c < 0x80 && table.lengths[c]) {
            std::memcpy(buffer + at, table.escapes[c], longestItem);
            at += table.lengths[c];
        } else {
            buffer[at++] = static_cast<char>(c); // the run stopped because the buffer was full
        }
        ++bytes;
    }
    used = at;
}
