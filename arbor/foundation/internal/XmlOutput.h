#ifndef ARBOR_FOUNDATION_INTERNAL_XML_OUTPUT_H
#define ARBOR_FOUNDATION_INTERNAL_XML_OUTPUT_H

// Internal: not exported and not part of the umbrella header.

#include <cstddef>
#include <cstring>
#include <ostream>

namespace Plinth {

/// Collects XML output in a buffer on the stack and hands it to a stream in large writes, so that
/// a run of small items costs one stream operation instead of one each. Nothing reaches the
/// stream before `flush()` (or the buffer filling up); a writer left by an exception drops what
/// it still holds.
class XmlOutput {
public:
    /// A writer for `os`.
    explicit XmlOutput(std::ostream& os)
        : os(os)
    {
    }
    XmlOutput(const XmlOutput&) = delete;
    XmlOutput& operator=(const XmlOutput&) = delete;

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
    /// Appends `bytes` escaped as the narrow `putAttributeData` writes them; null appends nothing.
    void putAttributeData(const char* bytes);
    /// Hands the collected bytes to the stream.
    void flush()
    {
        if (used) os.write(buffer, static_cast<std::streamsize>(used));
        used = 0;
    }

protected:
    /// The stream that receives the output.
    std::ostream& os;
    /// Bytes collected in `buffer` and not yet handed on.
    std::size_t used = 0;
    /// The collected bytes.
    char buffer[4096];
};

} // namespace Plinth

#endif
