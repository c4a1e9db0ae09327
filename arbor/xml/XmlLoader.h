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
///   between two tags, comments or processing instructions, however the parser delivers it,
///   becomes one text node;
/// - comments and processing instructions are kept where they stand: in content as nodes, before
///   and after the document element in the document's prolog and epilog (`XmlLoadOptions` can
///   skip them, and then the text on either side of one joins into one text node). The document
///   type declaration is kept with its name, identifiers and internal subset as written. The XML
///   declaration is not kept: output writes its own.
/// - Entities declared in the internal subset are expanded; no external entity, external subset
///   or other file is ever read, and references to entities declared only outside are dropped.
///   Entity expansion that amplifies the input more than a hundredfold (after the first 8 MiB of
///   output) is refused as an attack.
///
/// Encodings: UTF-8 and UTF-16 (with or without a byte order mark), UTF-32 and EBCDIC (told by
/// their first bytes) and every encoding the C library's iconv converts, named in the XML
/// declaration in any case and by its usual aliases. An encoding nobody converts is an
/// `XmlParseError` naming it. Lines and columns in errors and source positions refer to the input
/// as written, counting characters (not bytes) from 1.
///
/// The load runs as one batch on the new document: it fires no event and leaves no undo history
/// (`canUndo()` is false). The caller holds the only reference to the result; a document that
/// later gets ranges is torn down (`tearDown()`) before that reference is dropped, as every
/// document is.
///
/// Malformed input throws `XmlParseError` with the parser's message and position; then nothing
/// the load allocated is left. Running out of memory throws `std::bad_alloc`, with the same
/// promise. The time of a load grows linearly with the size of the input, whatever its shape.
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

/// What a load keeps, records and accepts.
struct XmlLoadOptions {
    /// The nesting depth a load accepts by default.
    static constexpr unsigned long defaultMaxDepth = 2048;

    /// Keep comments as nodes (in content) and in the prolog and epilog.
    bool keepComments = true;
    /// Keep processing instructions as nodes (in content) and in the prolog and epilog.
    bool keepProcessingInstructions = true;
    /// Record where each element, text node, comment and processing instruction starts, for
    /// `sourcePosition`.
    bool recordPositions = false;
    /// Elements nested deeper than this (the document element is at depth 1) are refused with an
    /// `XmlParseError`, so that the library's recursive operations (cloning, output) never run out
    /// of stack on a loaded tree. The default stays far below the depth at which a thread with
    /// the usual 8 MiB stack runs out.
    unsigned long maxDepth = defaultMaxDepth;
};

/// Loads the XML document held in `bytes` bytes from `data`. Throws `XmlParseError` for
/// malformed input.
ARBOR_API Plinth::Ref<BasicDocument> loadXml(
    const char* data, std::size_t bytes, const XmlLoadOptions& options = XmlLoadOptions());

/// Loads the XML document read from `in` to its end. Throws `XmlParseError` for malformed input
/// and `std::ios_base::failure` when reading fails.
ARBOR_API Plinth::Ref<BasicDocument> loadXml(
    std::istream& in, const XmlLoadOptions& options = XmlLoadOptions());

/// Loads the XML file at `path`. Throws `std::system_error` when the file cannot be opened or
/// read, then as `loadXml(const char*, std::size_t)`.
ARBOR_API Plinth::Ref<BasicDocument> loadXmlFile(
    const std::string& path, const XmlLoadOptions& options = XmlLoadOptions());

/// Where a loaded node starts in its input.
struct XmlSourcePosition {
    /// The line, counting from 1; 0 when the position is unknown.
    unsigned long line = 0;
    /// The column, counting characters from 1; 0 when the position is unknown.
    unsigned long column = 0;
};

/// Where `node` starts in the input it was loaded from: the `<` of an element, comment or
/// processing instruction, the first character of a text node (or the markup that produced it:
/// a reference, a CDATA section). Known for the nodes a load with `recordPositions` made, for as
/// long as they live; a node made or cloned later, or any node of another document, has none
/// (line and column 0). Edits keep positions: a text node keeps its start when its data changes.
ARBOR_API XmlSourcePosition sourcePosition(const Node* node);

} // namespace Arbor

#endif
