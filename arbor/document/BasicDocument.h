#ifndef ARBOR_DOCUMENT_BASIC_DOCUMENT_H
#define ARBOR_DOCUMENT_BASIC_DOCUMENT_H

#include "arbor/document/Document.h"

namespace Arbor {

class DocumentMisc;
class DocumentType;

/// A ready-made document whose `createElement` makes a `BasicElement`, so a host can build, edit,
/// undo and write a document without a subclass of its own.
///
/// Besides its child list (the document element) it keeps a prolog and an epilog: the comments
/// and processing instructions before and after the element, and the document type declaration
/// in the prolog (see `DocumentMisc`). `putXml` writes them in their places.
class ARBOR_API BasicDocument : public Document {
public:
    BasicDocument();
    ~BasicDocument() override;

    /// The declaration line, each prolog item on a line of its own, the document element (if
    /// any), each epilog item on a line of its own, and a final line feed. Without prolog and
    /// epilog items this is exactly `Document::putXml`.
    std::ostream& putXml(std::ostream& os) override;

    /// A new `BasicElement` named `tagName`, count 0, unlinked.
    Element* createElement(Token tagName) override;
    /// `createElement(Token(tagName))`.
    Element* createElement(const char* tagName);

    /// The items before the document element; never null.
    DocumentMisc* prolog() const { return prologItems; }
    /// The items after the document element; never null.
    DocumentMisc* epilog() const { return epilogItems; }
    /// The document type declaration in the prolog, or null.
    DocumentType* doctype() const;

private:
    DocumentMisc* prologItems;
    DocumentMisc* epilogItems;
};

} // namespace Arbor

#endif
