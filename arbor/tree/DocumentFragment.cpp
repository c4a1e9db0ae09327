#include "arbor/tree/DocumentFragment.h"

#include "arbor/values/internal/NodeNames.h"

#include <memory>
#include <ostream>

Arbor::DocumentFragment::DocumentFragment(Document* document)
    : InnerNode(document)
{
}

Arbor::DocumentFragment::~DocumentFragment() = default;

Arbor::Node* Arbor::DocumentFragment::cloneNode(bool deep)
{
    // Never handed out before it is complete: a failure while copying the children deletes it
    // together with the copies made so far.
    std::unique_ptr<DocumentFragment> copy(new DocumentFragment(document));
    if (deep) cloneChildren(copy.get());
    return copy.release();
}

int Arbor::DocumentFragment::nodeType() { return DOCUMENT_FRAGMENT_NODE; }

Arbor::Token Arbor::DocumentFragment::nodeName() { return tok_documentFragment; }

Arbor::DocumentFragment* Arbor::DocumentFragment::asFragment() { return this; }

std::ostream& Arbor::DocumentFragment::putXml(std::ostream& os) { return os; }

const char16_t* Arbor::DocumentFragment::nodeValue() { return nullptr; }

void Arbor::DocumentFragment::setNodeValue(const char16_t*) { }

bool Arbor::DocumentFragment::hasAttributes() { return false; }
