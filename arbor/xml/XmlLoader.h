#ifndef ARBOR_XML_XML_LOADER_H
#define ARBOR_XML_XML_LOADER_H

#include "arbor/document/BasicDocument.h"
#include "arbor/foundation/Export.h"
#include "arbor/foundation/Ref.h"

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>

/// \file
/// Loading XML into a `BasicDocument` (library `arbor_xml`, CMake target `Arbor::xml`).
///
/// The loaders parse the whole input and return a new live document holding its tree:
/// - every element becomes a `BasicElement` named by its qualified name as written (no namespace
///   processing: a prefix stays part of the name), with its attributes in document order as
///   `StringVariant` values in UTF-8, entity and character references expanded;
/// - character data becomes `Text` in UTF-16, with references expanded and line ends normalised
///   as XML requires. CDATA sections are read as character data, and all the character data
///   between two tags, however the parser delivers it, becomes one text node;
/// - comments, processing instructions, the XML declaration and the document type declaration
///   are skipped, so the text on either side of a skipped comment or processing instruction
///   joins into one text node. Entities declared in the internal subset are expanded; the
///   external subset is never read, and references to entities declared only there are dropped.
///
/// The input may be in UTF-8, UTF-16 (with a byte order mark), ISO-8859-1 or US-ASCII as its
/// declaration says. The load runs as one batch on the new document: it fires no event and
/// leaves no undo history (`canUndo()` is false). The caller holds the only reference to the
/// result; a document that later gets ranges is torn down (`tearDown()`) before that reference
/// is dropped, as every document is.
///
/// Malformed input throws `XmlParseError` with the parser's message and position; then nothing
/// the load allocated is left. Running out of memory throws `std::bad_alloc`, with the same
/// promise.
namespace Arbor {

/// Input that is not well-formed XML. `what()` reads "line 4, column 12: mismatched tag": the
/// position the parser stopped at, then its message.
class ARBOR_API XmlParseError : public std::runtime_error {
public:
    /// The line of the error, counting from 1.
    unsigned long line;
    /// The column of the error, counting characters from 1.
    unsigned long column;

    /// An error at `line` and `column` with the parser's `message`.
    XmlParseError(unsigned long line, unsigned long column, const std::string& message);
    ~XmlParseError() override;

    /// The parser's message alone, without the position ("mismatched tag").
    const char* message() const;
};

/// Loads the XML document held in `bytes` bytes from `data`. Throws `XmlParseError` for
/// malformed input.
ARBOR_API Plinth::Ref<BasicDocument> loadXml(const char* data, std::size_t bytes);

/// Loads the XML document read from `in` to its end. Throws `XmlParseError` for malformed input
/// and `std::ios_base::failure` when reading fails.
ARBOR_API Plinth::Ref<BasicDocument> loadXml(std::istream& in);

/// Loads the XML file at `path`. Throws `std::system_error` when the file cannot be opened,
/// then as `loadXml(std::istream&)`.
ARBOR_API Plinth::Ref<BasicDocument> loadXmlFile(const std::string& path);

} // namespace Arbor

#endif
