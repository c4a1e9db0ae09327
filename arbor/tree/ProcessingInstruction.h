#ifndef ARBOR_TREE_PROCESSING_INSTRUCTION_H
#define ARBOR_TREE_PROCESSING_INSTRUCTION_H

#include "arbor/tree/DataNode.h"

namespace Arbor {

/// A processing instruction: an atomic node named by its target and written as
/// `<?target data?>` (`<?target?>` when the data is empty). Made by
/// `Document::createProcessingInstruction`. The target is fixed at creation; it must be an XML
/// name other than "xml" in any mix of cases. The data must not hold "?>" and must not begin
/// with white space (a reader drops the white space after the target), besides the characters
/// `DataNode::acceptsData` refuses. Refusals throw INVALID_CHARACTER_ERR before anything changes.
class ARBOR_API ProcessingInstruction : public DataNode {
public:
    /// The target.
    Token targetToken;

    /// A processing instruction of `document` for `target` holding a copy of `data`; throws
    /// INVALID_CHARACTER_ERR for a target or data that cannot be written back.
    ProcessingInstruction(Document* document, Token target, const char16_t* data);
    ~ProcessingInstruction() override;

    /// A new processing instruction with the same target and a copy of the data.
    Node* cloneNode(bool deep) override;
    /// PROCESSING_INSTRUCTION_NODE (7).
    int nodeType() override;
    /// The target.
    Token nodeName() override;
    /// `<?`, the target, a space and the data in UTF-8 when there is data, `?>`.
    std::ostream& putXml(std::ostream& os) override;
    /// XML characters, no "?>", no leading white space.
    bool acceptsData(const char16_t* data, unsigned long length) const override;

    /// The target.
    Token target() const { return targetToken; }

    /// Whether `target` can be the target of a processing instruction: an XML name that is not
    /// "xml" in any mix of cases.
    static bool isTarget(Token target);
};

} // namespace Arbor

#endif
