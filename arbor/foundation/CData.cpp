#include "arbor/foundation/CData.h"

#include "arbor/foundation/internal/Unicode.h"
#include "arbor/foundation/internal/XmlOutput.h"

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

// The character-data writer: the buffered output with item-sized steps and runs copied straight
// into the buffer. Unlike a bare XmlOutput it hands what it holds to the stream when it goes.
class Writer : public Plinth::XmlOutput {
public:
    using XmlOutput::XmlOutput;
    ~Writer() { flush(); }

    // Room for the longest single item: an escape ("&quot;") or a 4-byte sequence.
    static constexpr std::size_t longestItem = 8;

    void reserveItem()
    {
        if (used + longestItem > sizeof(buffer)) flush();
    }

    void putEscape(const char* text, std::size_t bytes)
    {
        std::memcpy(buffer + used, text, bytes);
        used += bytes;
    }

    void putByte(unsigned value) { buffer[used++] = static_cast<char>(value); }

    // Writes one character as UTF-8.
    void putScalar(char32_t c) { used += Plinth::writeUtf8(c, buffer + used); }

    // Copies the units of `text` from `i` on that are ASCII and need no escape, as far as the
    // buffer allows; returns the index of the first unit not copied.
    std::size_t copyAsciiRun(const char16_t* text, std::size_t i, const EscapeTable& table)
    {
        while (used < sizeof(buffer)) {
            const char16_t c = text[i];
            if (c == 0 || c >= 0x80 || table.escapes[c]) break;
            buffer[used++] = static_cast<char>(c);
            ++i;
        }
        return i;
    }
};

// Writes the character at `i` (above U+007F), both units of a surrogate pair; returns the index
// of the next unit. The terminator never ends a pair, so the read needs no length.
std::size_t putNonAscii(Writer& out, const char16_t* text, std::size_t i)
{
    char32_t c = Plinth::readUtf16(text, i, std::size_t(-1));
    if (c == 0xFFFE || c == 0xFFFF) c = Plinth::replacementCharacter;
    out.putScalar(c);
    return i;
}

std::ostream& putUtf16(std::ostream& os, const char16_t* text, const EscapeTable& table)
{
    if (!text) return os;
    Writer out(os);
    std::size_t i = 0;
    for (;;) {
        i = out.copyAsciiRun(text, i, table);
        out.reserveItem();
        const char16_t c = text[i];
        if (c == 0) break;
        if (c >= 0x80) {
            i = putNonAscii(out, text, i);
            continue;
        }
        if (table.escapes[c])
            out.putEscape(table.escapes[c], table.lengths[c]);
        else
            out.putByte(c); // the run stopped only because the buffer was full
        ++i;
    }
    return os;
}

} // namespace

std::ostream& Plinth::putCData(std::ostream& os, const char16_t* text)
{
    return putUtf16(os, text, textEscapes);
}

std::ostream& Plinth::putAttributeData(std::ostream& os, const char16_t* text)
{
    return putUtf16(os, text, attributeEscapes);
}

std::ostream& Plinth::putAttributeData(std::ostream& os, const char* bytes)
{
    XmlOutput out(os);
    out.putAttributeData(bytes);
    out.flush();
    return os;
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
