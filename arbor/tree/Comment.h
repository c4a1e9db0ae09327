#ifndef ARBOR_TREE_COMMENT_H
#define ARBOR_TREE_COMMENT_H

#include "arbor/tree/DataNode.h"

namespace Arbor {

/// A comment: an atomic node whose data is written as `<!--data-->`. Made by
/// `Document::createComment`. Data holding "--" or ending in "-" cannot be written as a comment
/// and is refused (INVALID_CHARACTER_ERR), at creation and by every edit, as are the characters
/// `DataNode::acceptsData` refuses.
class ARBOR_API Comment : public DataNode {
public:
    /// A comment of `document` holding a copy of `data`; throws INVALID_CHARACTER_ERR for data
    /// that cannot be written back.
    Comment(Document* document, const char16_t* data);
    ~Comment() override;

    /// A new comment with a copy of the data; `deep` makes no difference.
    Node* cloneNode(bool deep) override;
    /// COMMENT_NODE (8).
    int nodeType() override;
    /// The token "#comment".
    Token nodeName() override;
    /// `<!--`, the data in UTF-8, `-->`.
    std::ostream& putXml(std::ostream& os) override;
    /// XML characters, no "--", no "-" at the end.
    bool acceptsData(const char16_t* data, unsigned long length) const override;
};

} // namespace Arbor

#endif
