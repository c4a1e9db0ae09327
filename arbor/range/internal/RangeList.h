#ifndef ARBOR_RANGE_INTERNAL_RANGE_LIST_H
#define ARBOR_RANGE_INTERNAL_RANGE_LIST_H

// Internal: not exported and not part of the umbrella header.

#include "arbor/document/IDocObserver.h"
#include "arbor/tree/InnerNode.h"

namespace Arbor {

class Range;

/// The node that holds a document's ranges as its children, in creation order, and observes the
/// document on their behalf, forwarding each call to every range.
class ARBOR_INTERNAL RangeList : public InnerNode, public IDocObserver {
public:
    explicit RangeList(Document* document);
    /// Detaches every range silently, then releases them.
    ~RangeList() override;

    Node* cloneNode(bool deep) override;
    int nodeType() override;
    Token nodeName() override;
    std::ostream& putXml(std::ostream& os) override;

    void unObserve(Token type) override;
    void beforeBatchChanges() override;
    void afterBatchChanges() override;
    void onEvent(DomEvent& event) override;

    /// Appends a range.
    void add(Range* range);
    /// Releases the ranges that nobody but the list holds.
    void purgeRanges();

private:
    template <class Call> void forEachRange(Call call);
    template <class Follow> void followEach(Follow follow);
    void followChildren(DomEvent& event);
    void followText(DomEvent& event);
};

} // namespace Arbor

#endif
