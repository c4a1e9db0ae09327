#include "arbor/foundation/CData.h"

#include "arbor/foundation/XmlOutput.h"

#include <cstring>

namespace {

// UTF-8 of U+FFFD, written for every code unit XML cannot carry.
constexpr char replacement[] = "\xEF\xBF\xBD";

// How each ASCII unit is written: null for "as it is", else the text that replaces it. Controls
// XML cannot carry become the replacement character.
struct EscapeTable {
    const char* escapes[128];
    // The length of each escape, so that writing one needs no strlen.
    unsigned char lengths[128];

    constexpr explicit EscapeTable(bool attribute)
        : escapes {}
        , lengths {}
    {
        for (unsigned c = 0; c < 0x20; ++c)
            escapes[c] = replacement;
        set('\t', attribute ? "&#9;" : nullptr);
        set('\n', attribute ? "&#10;" : nullptr);
        set('\r', "&#13;");
        set('&', "&amp;");
        set('<', "&lt;");
        set('>', "&gt;");
        set('"', attribute ? "&quot;" : nullptr);
        for (unsigned c = 0; c < 128; ++c) {
            for (const char* text = escapes[c]; text && *text; ++text)
                ++lengths[c];
        }
    }

    constexpr void set(char c, const char* text) { escapes[static_cast<unsigned char>(c)] = text; }
};

constexpr EscapeTable textEscapes(false);
constexpr EscapeTable attributeEscapes(true);

// Room for the longest single item: an escape ("&quot;") or a 4-byte sequence.
constexpr std::size_t longestItem = 8;

// Writes one scalar value at or above U+0080 as UTF-8 at `out`; returns the end.
char* putScalar(char* out, char32_t c)
{
    if (c < 0x800) {
        *out++ = static_cast<char>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (c >> 12));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (c >> 18));
        *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
    return out;
}

bool isLeadSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isTrailSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Writes the unit at `text[i]` (above U+007F), with its trail if it leads a pair, at `out`;
// advances `i` past it and returns the end.
char* putNonAscii(char* out, const char16_t* text, std::size_t& i)
{
    const char16_t c = text[i];
    if (isLeadSurrogate(c) && isTrailSurrogate(text[i + 1])) {
        i += 2;
        return putScalar(
            out, 0x10000 + ((char32_t(c) - 0xD800) << 10) + (char32_t(text[i - 1]) - 0xDC00));
    }
    ++i;
    if (isLeadSurrogate(c) || isTrailSurrogate(c) || c == 0xFFFE || c == 0xFFFF) {
        std::memcpy(out, replacement, sizeof replacement - 1);
        return out + sizeof replacement - 1;
    }
    return putScalar(out, c);
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
    if (!text) return;
    const EscapeTable& table = attribute ? attributeEscapes : textEscapes;
    std::size_t i = 0;
    for (;;) {
        // The run of units that are ASCII and need no escape, as far as the buffer allows.
        while (used < sizeof buffer) {
            const char16_t c = text[i];
            if (c == 0 || c >= 0x80 || table.escapes[c]) break;
            buffer[used++] = static_cast<char>(c);
            ++i;
        }
        if (used + longestItem > sizeof buffer) flush();
        const char16_t c = text[i];
        if (c == 0) break;
        if (c >= 0x80) {
            used = static_cast<std::size_t>(putNonAscii(buffer + used, text, i) - buffer);
            continue;
        }
        if (table.escapes[c]) {
            std::memcpy(buffer + used, table.escapes[c], table.lengths[c]);
            used += table.lengths[c];
        } else {
            buffer[used++]
                = static_cast<char>(c); // the run stopped only because the buffer was full
        }
        ++i;
    }
}

void Plinth::XmlOutput::putAttributeData(const char* bytes)
{
    if (!bytes) return;
    // Runs of bytes that need no escape are copied with one append each.
    const char* run = bytes;
    for (const char* at = bytes;; ++at) {
        const unsigned char c = static_cast<unsigned char>(*at);
        if (c != 0 && (c >= 0x80 || !attributeEscapes.escapes[c])) continue;
        put(run, static_cast<std::size_t>(at - run));
        if (c == 0) return;
        put(attributeEscapes.escapes[c], attributeEscapes.lengths[c]);
        run = at + 1;
    }
}
