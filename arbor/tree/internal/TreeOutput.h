#ifndef ARBOR_TREE_INTERNAL_TREE_OUTPUT_H
#define ARBOR_TREE_INTERNAL_TREE_OUTPUT_H

// Internal: not exported and not part of the umbrella header.

#include "arbor/foundation/internal/XmlOutput.h"
#include "arbor/values/Token.h"

namespace Arbor {

class Element;
class Node;

/// The XML output of one `putXml` call: every node whose output the library itself implements is
/// written into one buffer, which goes to the stream in large writes.
///
/// A node's class may replace the library's output (`putXml`, `putAttributesXml`), and that code
/// writes to the stream itself: before calling it the writer hands the stream everything it
/// holds, so the bytes keep their order. The writer tells the library's own implementations from
/// others by the function the object's class has in the virtual slot, read from its virtual table
/// (the x86-64 C++ ABI's layout); any class it does not recognise takes the stream path, which is
/// always correct, only slower.
///
/// A node class of the library with its own `putXml` joins the buffered path in two steps: its
/// `putXml(os)` makes a writer, writes through it and flushes it (as `Element::putXml` does), and
/// `putNode` learns its implementation (a case in TreeOutput.cpp next to the element's and the
/// text's) so that a parent's writer writes it in the same buffer.
class TreeOutput : public Plinth::XmlOutput {
public:
    using XmlOutput::XmlOutput;

    /// Writes `node` as its `putXml` does.
    void putNode(Node* node);
    /// Writes `element` as `Element::putXml` does: start tag, attributes, children, end tag.
    void putElement(Element* element);
    /// Writes the attributes of `element` as its `putAttributesXml` does.
    void putAttributes(Element* element);
    /// Writes the string of `name`; a token without a string writes nothing and fails the
    /// stream, as streaming a null narrow string does.
    void putName(Token name)
    {
        if (!name.name) return fail();
        putString(name.name);
    }
};

} // namespace Arbor

#endif
