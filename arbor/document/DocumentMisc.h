#ifndef ARBOR_DOCUMENT_DOCUMENT_MISC_H
#define ARBOR_DOCUMENT_DOCUMENT_MISC_H

#include "arbor/tree/InnerNode.h"

namespace Arbor {

/// The comments and processing instructions of a `BasicDocument` before its document element (the
/// prolog, which may also hold one `DocumentType`) or after it (the epilog). They are kept here,
/// outside the document's child list, so that `documentElement()` stays the element.
///
/// Hosts read and change the items with the ordinary node operations (`firstChild()`,
/// `appendChild`, `insertBefore`, `removeChild`, ...). Any other kind of node, and a second
/// document type, is refused with HIERARCHY_REQUEST_ERR by `mayReplaceChildren`. The items are
/// not part of the document's content: their changes, and edits of their data, apply at once with
/// no event and no undo record, as for any node outside the content.
class ARBOR_API DocumentMisc : public InnerNode {
public:
    /// The prolog (`epilog` false) or the epilog of `document`.
    DocumentMisc(Document* document, bool epilog);
    ~DocumentMisc() override;

    /// Null: the items are copied one by one.
    Node* cloneNode(bool deep) override;
    /// DOCUMENT_MISC_NODE (1002).
    int nodeType() override;
    /// "#prolog" or "#epilog".
    Token nodeName() override;
    /// Each item on a line of its own: a prolog writes every item followed by a line feed, an
    /// epilog every item preceded by one.
    std::ostream& putXml(std::ostream& os) override;
    /// True when every node of the chain is a comment or a processing instruction, or (in a
    /// prolog) a document type and no other one stays.
    bool mayReplaceChildren(Node* first, unsigned long count, Node* newChild) override;

    /// Whether this is the epilog.
    bool isEpilog() const { return epilogItems; }
    /// The document type among the items, or null.
    class DocumentType* documentType();

private:
    bool epilogItems;
};

} // namespace Arbor

#endif
