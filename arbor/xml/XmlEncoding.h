#ifndef ARBOR_XML_XML_ENCODING_H
#define ARBOR_XML_XML_ENCODING_H

// Encodings beyond the four the parser knows itself, through the C library's iconv (internal to
// arbor_xml).
//
// Two roads keep error positions on the input as written:
// - An encoding in which every ASCII character is its own single byte, and whose other characters
//   are one byte or a fixed number of bytes told by the first byte (the ISO-8859 and windows
//   families, KOI8, the DOS and Mac code pages, Shift_JIS, EUC-JP, EUC-KR, GB2312, Big5, TIS-620),
//   goes to the parser as a byte table: the parser reads the bytes as written and counts lines and
//   columns in them.
// - Any other encoding (stateful ones, GB18030, UTF-7, EBCDIC, UTF-32) is converted to UTF-8 as a
//   whole before parsing. The conversion maps each character to one character, so the lines and
//   the columns (counted in characters) the parser reports in the UTF-8 text are those of the
//   input.

#include <cstddef>
#include <expat.h>
#include <string>

namespace Arbor {
namespace XmlEncoding {

    /// The name iconv knows for `name`: a few aliases common in web pages that the C library lacks
    /// are mapped, everything else is returned as it is (iconv ignores case itself).
    std::string iconvName(const std::string& name);

    /// What the parser's handler for unknown encodings learnt: the name the declaration gave, and
    /// whether iconv converts it only as a whole (then the handler refuses it, and the loader
    /// converts the input and parses again). A refused name without `convertWhole` is one nobody
    /// converts.
    struct Request {
        /// The encoding's name as the declaration gives it.
        std::string name;
        /// Whether iconv converts it only as a whole input.
        bool convertWhole = false;
        /// The handler ran out of memory (the parser then reports the encoding as unknown).
        bool outOfMemory = false;
    };

    /// The parser's handler for encodings it does not know; `data` points at a `Request`.
    int XMLCALL unknownEncodingHandler(void* data, const XML_Char* name, XML_Encoding* info);

    /// When the first bytes show an encoding that is not ASCII-compatible and that the parser does
    /// not detect itself (UTF-32, EBCDIC), the name of that encoding as the declaration names it
    /// (or as the bytes show it, without a declaration); otherwise empty.
    std::string sniffForeign(const char* data, std::size_t bytes);

    /// A conversion of the whole input to UTF-8. On an invalid or cut-off sequence, `failed` is set
    /// and `text` holds the converted part before it.
    struct Converted {
        /// The UTF-8 text converted so far.
        std::string text;
        /// Whether the conversion stopped at an invalid or cut-off sequence.
        bool failed = false;
    };

    /// Converts `bytes` bytes at `data` from `encoding` to UTF-8, dropping a byte order mark.
    Converted toUtf8(const std::string& encoding, const char* data, std::size_t bytes);

} // namespace XmlEncoding
} // namespace Arbor

#endif
