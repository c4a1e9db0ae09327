#ifndef ARBOR_FOUNDATION_INTERNAL_XML_OUTPUT_H
#define ARBOR_FOUNDATION_INTERNAL_XML_OUTPUT_H

// Internal: not exported and not part of the umbrella header.

#include <cstddef>
#include <cstring>
#include <ostream>

namespace Plinth {

/// Collects XML output in a buffer on the stack and hands it to a stream in large writes, so that
/// a run of small items costs one stream operation instead of one each. The bytes reach the stream
/// on `flush()`, when the buffer fills up and when the writer goes (also when an exception ends
/// its scope, so the stream receives everything written before the exception, in order).
class XmlOutput {
public:
    /// A writer for `os`.
    explicit XmlOutput(std::ostream& os)
        : os(os)
    {
    }
    XmlOutput(const XmlOutput&) = delete;
    XmlOutput& operator=(const XmlOutput&) = delete;
    /// Hands what is left to the stream; a stream that throws here is left in its bad state.
    ~XmlOutput()
    {
        if (used == 0) return;
        try {
            os.write(buffer, static_cast<std::streamsize>(used));
        } catch (...) {
            // The stream has set its bad state; an exception cannot leave a destructor.
        }
    }

    /// Appends `count` bytes as they are.
    void put(const char* bytes, std::size_t count)
    {
        if (used + count > sizeof buffer) {
            flush();
            if (count > sizeof buffer) {
                os.write(bytes, static_cast<std::streamsize>(count));
                return;
            }
        }
        std::memcpy(buffer + used, bytes, count);
        used += count;
    }
    /// Appends one byte.
    void put(char c)
    {
        if (used == sizeof buffer) flush();
        buffer[used++] = c;
    }
    /// Appends the characters of the NUL-terminated `text` as they are (names are short: a byte
    /// loop beats measuring and copying).
    void putString(const char* text)
    {
        std::size_t at = used;
        for (;;) {
            while (at < sizeof buffer && *text)
                buffer[at++] = *text++;
            used = at;
            if (!*text) return;
            flush();
            at = 0;
        }
    }
    /// Appends `bytes` escaped as the narrow `putAttributeData` writes them; null appends nothing.
    void putAttributeData(const char* bytes);
    /// Appends UTF-16 `text` as `putCData` writes it; null appends nothing.
    void putCharacterData(const char16_t* text) { putUtf16(text, false); }
    /// Appends UTF-16 `text` as `putAttributeData` writes it; null appends nothing.
    void putAttributeData(const char16_t* text) { putUtf16(text, true); }
    /// Hands the collected bytes to the stream.
    void flush()
    {
        if (used) os.write(buffer, static_cast<std::streamsize>(used));
        used = 0;
    }
    /// Hands the collected bytes to the stream, then sets its bad state, as streaming a null
    /// narrow string does.
    void fail()
    {
        flush();
        os.setstate(std::ios::badbit);
    }
    /// The stream that receives the output.
    std::ostream& stream() const { return os; }

protected:
    /// The stream that receives the output.
    std::ostream& os;
    /// Bytes collected in `buffer` and not yet handed on.
    std::size_t used = 0;
    /// The collected bytes.
    char buffer[4096];

private:
    void putUtf16(const char16_t* text, bool attribute);
};

} // namespace Plinth

#endif
