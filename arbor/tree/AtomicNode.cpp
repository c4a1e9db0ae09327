#include "arbor/tree/AtomicNode.h"

#include "arbor/tree/DomException.h"

Arbor::AtomicNode::AtomicNode(Document* document)
    : Node(document)
{
}

Arbor::AtomicNode::~AtomicNode() = default;

Arbor::Node* Arbor::AtomicNode::firstChild() { return nullptr; }

Arbor::Node* Arbor::AtomicNode::lastChild() { return nullptr; }

bool Arbor::AtomicNode::mayReplaceChildren(Node*, unsigned long, Node*) { return false; }

void Arbor::AtomicNode::replaceChildrenRaw(Node*, unsigned long, Node*)
{
    throw DomException(DomException::HIERARCHY_REQUEST_ERR);
}
