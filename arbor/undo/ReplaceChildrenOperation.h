#ifndef ARBOR_UNDO_REPLACE_CHILDREN_OPERATION_H
#define ARBOR_UNDO_REPLACE_CHILDREN_OPERATION_H

#include "arbor/undo/ModelOperation.h"

namespace Arbor {

class Node;

/// Replaces a run of children of one parent by a chain of nodes, as a self-inverse swap: each
/// execution keeps the removed run (alive through one reference on its head) where the inserted
/// chain was, so executing again reverts the change.
///
/// Nodes reused elsewhere. Before it fires anything, an execution checks that its nodes are still
/// where it left them: the run's nodes are children of `parent`, `first` (when set) is a child of
/// `parent`, and `replacement` heads a parentless chain, as long as the run it replaced, that does
/// not hold `parent` or one of its ancestors. If a host has meanwhile moved one of them (say, a
/// removed node inserted into a detached element or a fragment), the execution throws
/// INVALID_STATE_ERR and changes nothing. The first execution skips the check: the caller has
/// just validated the same request, and no host code runs in between.
///
/// `first` is not counted, so a replay looks it up among the children of `parent` by address
/// before reading it, and makes sure that it is still the node the operation stored: a stored
/// `first` can only die after a change of children that no operation records, and the document
/// notes those changes and the deaths that follow them, so a new node that the allocator places
/// at the same address is never taken for it (the replay refuses with INVALID_STATE_ERR, as for
/// a moved node). A run of two or more nodes is taken from `first` onwards, so a replay of one
/// also refuses when the children of `parent` changed without a record since the operation last
/// ran (even where the change left the run itself alone): the nodes after `first` need not be the
/// ones it recorded.
class ARBOR_API ReplaceChildrenOperation : public ModelOperation {
public:
    /// The node whose children are replaced; counted.
    Node* parent;
    /// First child of the run, or the insertion point when `count` is 0 (null: the end).
    Node* first;
    /// Number of children in the run.
    unsigned long count;
    /// Head of the chain that takes the run's place (null: a removal); counted.
    Node* replacement;

    /// Clamps `count` to the children present from `first` on (0 for a null `first`).
    ReplaceChildrenOperation(
        Document* document, Node* parent, Node* first, unsigned long count, Node* replacement);
    /// Releases `replacement`, then `parent`.
    ~ReplaceChildrenOperation() override;

    void execute() override;
    /// `execute()`: the fields describe the inverse change.
    void undo() override;

private:
    /// Number of nodes in the chain headed by `replacement` when the last execution stored it
    /// (only replays read it).
    unsigned long replacementLength;
    /// False until the first execution has run; replays check their nodes first.
    bool executed = false;
    /// Whether the document's death log watches for this operation (InsertionAnchors). An
    /// operation executed while the history keeps nothing is deleted at once and needs no log;
    /// should it be kept after all, a replay trusts `first` only while a log that began before
    /// its stamp answers for it, or while the document's count of unrecorded changes has not
    /// moved.
    bool anchored = false;
    /// The document's count of unrecorded child changes when `first` was stored (InsertionAnchors).
    unsigned long long stamp = 0;

    void checkPlacement();
};

} // namespace Arbor

#endif
