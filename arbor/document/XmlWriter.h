#ifndef ARBOR_DOCUMENT_XML_WRITER_H
#define ARBOR_DOCUMENT_XML_WRITER_H

#include "arbor/foundation/Export.h"

#include <iosfwd>
#include <string>

namespace Arbor {

class Element;
class Node;

/// What `XmlWriter` writes.
struct XmlWriteOptions {
    /// Write the XML declaration line first (documents only).
    bool declaration = true;
    /// Write an element without children as `<a/>` instead of `<a></a>`.
    bool emptyElements = false;
    /// One level of indentation (spaces and tabs only); empty writes the compact form. Elements
    /// whose children are only elements, comments and processing instructions get each child on
    /// a line of its own; an element holding any text (mixed content, or white space already in
    /// the document) is written exactly as it is, with everything below it, and so is everything
    /// under `xml:space="preserve"` until an `xml:space="default"`.
    std::string indent;
};

/// Writes nodes as XML with options, beside `Node::putXml`, whose compact format stays as it is.
/// With the default options the output of a document is byte for byte that of its `putXml`.
///
/// Elements are walked by the writer: their names come from `nodeName()`, their attributes from
/// `putAttributesXml` (so host elements write their own attributes), their children are written
/// by the writer. Text is written as `putXml` writes it; comments, processing instructions and the
/// document type are written by their own `putXml`. A `BasicDocument` is written with its prolog
/// and epilog in their places.
class ARBOR_API XmlWriter {
public:
    /// A writer with `options`; throws `std::invalid_argument` for an indentation that is not
    /// made of spaces and tabs.
    explicit XmlWriter(XmlWriteOptions options = XmlWriteOptions());

    /// The options.
    const XmlWriteOptions& options() const { return settings; }

    /// Writes `node` (a document, an element or any other node) to `os`; returns `os`. Stream
    /// errors stay in the stream's state.
    std::ostream& write(std::ostream& os, Node* node) const;

    /// Writes `node` to the file `path`, replacing it only once the whole output has been written
    /// and flushed to disk: the output goes to a new temporary file in the same directory, which
    /// then takes the place of `path` by a rename (a file that already exists keeps its
    /// permission bits). On any failure the temporary file is removed, `path` is left as it was,
    /// and `std::system_error` is thrown with the failing call's error code (exceptions from the
    /// nodes themselves pass on unchanged, after the same clean-up).
    void save(Node* node, const std::string& path) const;

private:
    XmlWriteOptions settings;
};

} // namespace Arbor

#endif
