#ifndef ARBOR_TREE_DOCUMENT_TYPE_H
#define ARBOR_TREE_DOCUMENT_TYPE_H

#include "arbor/tree/AtomicNode.h"
#include "arbor/tree/NodeAllocation.h"

#include <string>
#include <string_view>

namespace Arbor {

/// The document type declaration: an atomic node named by the root element's name, with a public
/// identifier, a system identifier and the internal subset as written, all UTF-8 (empty: absent).
/// Made by `Document::createDocumentType` and kept in a `BasicDocument`'s prolog, where it is
/// written in its place among the prolog's comments and processing instructions. It is read-only
/// after creation: to change it, put a new one in its place.
///
/// Written as `<!DOCTYPE name`, then ` PUBLIC "public" "system"` or ` SYSTEM "system"`, then
/// ` [subset]` when there is an internal subset, then `>`. The system identifier is quoted with
/// `'` when it holds `"`. The internal subset is written exactly as given; nothing checks its
/// declarations. Only the prolog of a `BasicDocument` refuses a second document type; element
/// classes take whatever their `mayReplaceChildren` lets in, and a declaration linked into
/// content is written where it stands.
class ARBOR_API DocumentType : public AtomicNode {
public:
    ARBOR_NODE_ALLOCATION

    /// The name.
    Token name;
    /// The public identifier, empty when absent.
    std::string publicIdText;
    /// The system identifier, empty when absent.
    std::string systemIdText;
    /// The internal subset without its brackets, empty when absent.
    std::string internalSubsetText;

    /// A declaration of `document`. Throws INVALID_CHARACTER_ERR, before anything is made, for a
    /// name that is not an XML name, a public identifier with a character outside the public-id
    /// characters, a system identifier holding both quote characters, and a public identifier
    /// without a system identifier (XML has no form for it).
    DocumentType(Document* document, Token name, std::string_view publicId,
        std::string_view systemId, std::string_view internalSubset);
    ~DocumentType() override;

    /// A new declaration with the same values.
    Node* cloneNode(bool deep) override;
    /// DOCUMENT_TYPE_NODE (10).
    int nodeType() override;
    /// The name.
    Token nodeName() override;
    /// 0.
    unsigned long items() override;
    /// The declaration as the class notes say.
    std::ostream& putXml(std::ostream& os) override;

    /// The public identifier (empty when absent).
    const std::string& publicId() const { return publicIdText; }
    /// The system identifier (empty when absent).
    const std::string& systemId() const { return systemIdText; }
    /// The internal subset as written, without its brackets (empty when absent).
    const std::string& internalSubset() const { return internalSubsetText; }
};

} // namespace Arbor

#endif
