#include "arbor/tree/DocumentFragment.h"

#include "arbor/tree/NodePool.h"
#include "arbor/values/NodeNames.h"

#include <ostream>

Arbor::DocumentFragment::DocumentFragment(Document* document)
    : InnerNode(document)
{
}

Arbor::DocumentFragment::~DocumentFragment() = default;

Arbor::Node* Arbor::DocumentFragment::cloneNode(bool deep)
{
    DocumentFragment* copy = new DocumentFragment(document);
    if (!deep) return copy;
    try {
        cloneChildren(copy);
    } catch (...) {
        copy->unref(); // never handed out: count 0, so this destroys it with the copies made
        throw;
    }
    return copy;
}

int Arbor::DocumentFragment::nodeType() { return DOCUMENT_FRAGMENT_NODE; }

Arbor::Token Arbor::DocumentFragment::nodeName() { return tok_documentFragment; }

Arbor::DocumentFragment* Arbor::DocumentFragment::asFragment() { return this; }

std::ostream& Arbor::DocumentFragment::putXml(std::ostream& os) { return os; }

const char16_t* Arbor::DocumentFragment::nodeValue() { return nullptr; }

void Arbor::DocumentFragment::setNodeValue(const char16_t*) { }

bool Arbor::DocumentFragment::hasAttributes() { return false; }

ARBOR_NODE_ALLOCATION_DEFINE(Arbor::DocumentFragment)
