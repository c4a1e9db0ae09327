#ifndef ARBOR_FOUNDATION_INTERNAL_UNICODE_H
#define ARBOR_FOUNDATION_INTERNAL_UNICODE_H

// Internal: not installed. The library's one place for UTF-16 surrogates and UTF-8 sequences.

#include <cstddef>

namespace Plinth {

/// U+FFFD, which stands in for every unit or sequence that is not a well-formed character.
constexpr char32_t replacementCharacter = 0xFFFD;

/// True for a unit that leads a surrogate pair (U+D800 to U+DBFF).
inline bool isLeadSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

/// True for a unit that ends a surrogate pair (U+DC00 to U+DFFF).
inline bool isTrailSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The character at `units[i]`, moving `i` past it: a surrogate pair gives one character above
/// U+FFFF, an unpaired surrogate gives U+FFFD. `size` is the number of units; a NUL-terminated
/// string may pass any larger value, since its terminator never ends a pair.
inline char32_t readUtf16(const char16_t* units, std::size_t& i, std::size_t size)
{
    const char16_t unit = units[i++];
    if (unit < 0xD800 || unit > 0xDFFF) return unit;
    if (isLeadSurrogate(unit) && i < size && isTrailSurrogate(units[i])) {
        const char16_t trail = units[i++];
        return 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(trail) - 0xDC00);
    }
    return replacementCharacter;
}

/// Writes the character `c` (at most U+10FFFF, no surrogate) in UTF-16 to `out`, which has room
/// for 2 units; returns the number of units written.
inline std::size_t writeUtf16(char32_t c, char16_t* out)
{
    if (c < 0x10000) {
        out[0] = static_cast<char16_t>(c);
        return 1;
    }
    c -= 0x10000;
    out[0] = static_cast<char16_t>(0xD800 + (c >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    return 2;
}

/// Writes the character `c` (at most U+10FFFF, no surrogate) in UTF-8 to `out`, which has room
/// for 4 bytes; returns the number of bytes written.
inline std::size_t writeUtf8(char32_t c, char* out)
{
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (c >> 18));
    out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

/// Decodes the UTF-8 character at `p` and moves `p` past it. A maximal ill-formed subpart (a
/// stray continuation byte, a sequence cut short, an overlong form, an encoded surrogate, a value
/// above U+10FFFF or a byte that never starts a sequence) gives U+FFFD and leaves `p` at the first
/// byte that cannot continue it, so that byte starts the next character.
inline char32_t readUtf8(const unsigned char*& p, const unsigned char* end)
{
    const unsigned char lead = *p++;
    if (lead < 0x80) return lead;
    int following;
    char32_t c;
    // The allowed range of the second byte excludes overlong forms (E0, F0), surrogates (ED) and
    // values above U+10FFFF (F4).
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
        return replacementCharacter;
    }
    for (; following > 0; --following) {
        if (p == end || *p < low || *p > high) return replacementCharacter;
        c = (c << 6) | (*p++ & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return c;
}

} // namespace Plinth

#endif
