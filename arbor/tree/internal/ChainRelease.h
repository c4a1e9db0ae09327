#ifndef ARBOR_TREE_INTERNAL_CHAIN_RELEASE_H
#define ARBOR_TREE_INTERNAL_CHAIN_RELEASE_H

// Internal: not exported and not part of the umbrella header.

namespace Arbor {

class Node;

/// Takes over a counted reference on `head` and releases the sibling chain it heads, front to
/// back: every node that nobody else holds is destroyed, the first one held elsewhere survives
/// with the rest of the chain behind it, without a `previous`. `children` says that the chain
/// is the child list of a dying node: its `parent` links are cleared (also those of the
/// survivors). The destructions never nest deeper than a constant, however long the chain or
/// deep the subtrees: a chain reached while another release runs waits for that one to finish.
void releaseChain(Node* head, bool children);

} // namespace Arbor

#endif
