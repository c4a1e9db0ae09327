#ifndef ARBOR_TREE_NODE_H
#define ARBOR_TREE_NODE_H

#include "arbor/foundation/Export.h"
#include "arbor/foundation/RefCounted.h"
#include "arbor/values/Token.h"

#include <iosfwd>

namespace Arbor {

class Document;
class DocumentFragment;
class Element;
class Text;

/// Node type codes returned by `Node::nodeType()`.
enum NodeTypeCode : int {
    ELEMENT_NODE = 1,
    TEXT_NODE = 3,
    PROCESSING_INSTRUCTION_NODE = 7,
    COMMENT_NODE = 8,
    DOCUMENT_NODE = 9,
    DOCUMENT_TYPE_NODE = 10,
    DOCUMENT_FRAGMENT_NODE = 11,
    RANGE_NODE = 1000,
    RANGE_LIST_NODE = 1001,
    DOCUMENT_MISC_NODE = 1002,
};

/// Base of every object in a document tree: elements, text, fragments, the document, ranges and
/// the document's range list.
///
/// Ownership. Nodes are reference counted (`ref()`/`unref()`, count 0 when made). In the tree only
/// an inner node's `first` link and every node's `next` link hold a reference, so a parent owns
/// its children through one chain; `parent`, `previous`, `last` and `document` are plain back
/// links. A node fresh from a factory belongs to whoever links it first; a caller that keeps a
/// node beyond the next change holds its own reference.
///
/// Release orders. Every order of releasing a document, its nodes, its ranges and the nodes kept
/// by its undo history is safe: no object is destroyed twice and no link is left pointing at freed
/// memory. A destroyed node clears the `parent` of each child that outlives it (because something
/// else holds it) and the `previous` of the first sibling that outlives it; the survivors form a
/// parentless chain. A node that outlives its owner document may only be released (and read through
/// its own links and data); every other operation on it reads the destroyed document and must not
/// be called. A host must not drop the last reference to a node from inside a callback that the
/// node's own change is running (an observer, a hook or a posted function of that change).
///
/// Destruction walks long sibling chains and deep subtrees iteratively, so neither a very long
/// child list nor a very deep tree exhausts the stack.
class ARBOR_API Node : public Plinth::RefCounted<Plinth::IResource> {
public:
    /// Owner document, fixed at construction; not counted. A document's own is itself.
    Document* document;
    /// Parent node or null; not counted.
    Node* parent = nullptr;
    /// Next sibling or null; counted.
    Node* next = nullptr;
    /// Previous sibling or null; not counted.
    Node* previous = nullptr;
    /// Scratch mark of `commonAncestorContainer`; clear between calls.
    unsigned short mark : 1;
    /// Reserved for subclasses (ranges keep their state bits here); 0 when made.
    unsigned short flags : 15;

    /// A node of `document` with no links and count 0.
    explicit Node(Document* document);
    ~Node() override;

    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // Node interface, in slot order.
    /// The first child, or null.
    virtual Node* firstChild() = 0;
    /// The last child, or null.
    virtual Node* lastChild() = 0;
    /// A new copy with count 0 and no links; the caller owns it. Null for uncopyable nodes.
    virtual Node* cloneNode(bool deep) = 0;
    /// The node type code (`NodeTypeCode`).
    virtual int nodeType() = 0;
    /// The node's name: the tag of an element, "#text", "#document" and so on.
    virtual Token nodeName() = 0;
    /// Children for inner nodes, UTF-16 units for text, 0 for ranges.
    virtual unsigned long items() = 0;
    /// This node as an element, or null when it is none.
    virtual Element* asElement();
    /// This node as a text node, or null when it is none.
    virtual Text* asText();
    /// This node as a fragment, or null when it is none.
    virtual DocumentFragment* asFragment();
    /// Hook run on each inserted node after a change of a document's content links it in.
    virtual void afterParentChanged();
    /// Writes the node as XML and returns `os`.
    virtual std::ostream& putXml(std::ostream& os) = 0;
    /// Hook: a read-only node refuses every change (NO_MODIFICATION_ALLOWED_ERR).
    virtual bool readOnly() const;
    /// Hook: whether this node accepts replacing `count` children from `first` by the chain
    /// headed by `newChild`.
    virtual bool mayReplaceChildren(Node* first, unsigned long count, Node* newChild) = 0;
    /// Relinks children without any check, hook, event or undo record.
    virtual void replaceChildrenRaw(Node* first, unsigned long count, Node* newChild) = 0;

    /// The owner document.
    Document* ownerDocument() const { return document; }
    /// The parent, or null.
    Node* parentNode() const { return parent; }
    /// The next sibling, or null.
    Node* nextSibling() const { return next; }
    /// The previous sibling, or null.
    Node* previousSibling() const { return previous; }

    /// Index of this node among its parent's children. A node without a parent answers 0.
    unsigned long parentOffset();

    /// Number of nodes from `node` along `next` (the node included); 0 for null.
    static unsigned long countFollowing(Node* node);

    /// Nearest node that is `a` or an ancestor of `a` and also `b` or an ancestor of `b`; null
    /// when there is none or either is null (unless both are the same pointer).
    static Node* commonAncestorContainer(Node* a, Node* b);

    /// True for the owner document's first child and every node below it.
    bool isDocumentChild();

    /// First child whose name is `name`; null if none.
    Node* findChild(Token name);
    /// Child at `index` counting from 0; null if there are not that many.
    Node* findChild(unsigned long index);

    /// Replaces `count` children from `first` by the chain headed by `newChild`: an insertion
    /// before `first` when `count` is 0, an append when `first` is null, a removal when
    /// `newChild` is null. Checks, in order: with a new child, `first` not a child (NOT_FOUND_ERR),
    /// then `newChild` of another document (WRONG_DOCUMENT_ERR); without one, a null `first` or a
    /// zero `count` does nothing, else `first` not a child (NOT_FOUND_ERR); then `readOnly()`
    /// (NO_MODIFICATION_ALLOWED_ERR), `mayReplaceChildren` (HIERARCHY_REQUEST_ERR). Beyond those,
    /// HIERARCHY_REQUEST_ERR refuses a `newChild` that is not the head of a chain (it has a parent
    /// or a previous sibling), a document or range node, and a chain that holds this node or one
    /// of its ancestors. Nothing changes when it throws. In a document's content the change is an
    /// undoable model operation with events; elsewhere it is applied at once, silently.
    void replaceChildren(Node* first, unsigned long count, Node* newChild);

    /// Inserts `newChild` before `refChild` (appends for a null `refChild`) and returns
    /// `newChild`; a fragment's children are moved instead and its former first child returned.
    /// A node with a parent is removed from it first (a removal of its own in a document); a node
    /// in a parentless sibling chain is cut out of the chain first (the nodes it held through its
    /// `next` link are released unless held elsewhere). Only this one node is inserted. A null
    /// `newChild` throws HIERARCHY_REQUEST_ERR before anything changes; other errors as
    /// `replaceChildren`. If the insertion then fails, a fragment gets its children back, and a
    /// node removed from its old parent stays removed (and is released if nothing holds it). The
    /// caller gets no reference.
    Node* insertBefore(Node* newChild, Node* refChild);
    /// `insertBefore(newChild, null)`.
    Node* appendChild(Node* newChild);
    /// Replaces `oldChild` by `newChild` (prepared as `insertBefore` does) and returns `oldChild`.
    /// The caller gets no reference: outside a document the old child is destroyed unless the
    /// caller holds one.
    Node* replaceChild(Node* newChild, Node* oldChild);
    /// Removes `oldChild` and returns it; null does nothing and returns null. Throws NOT_FOUND_ERR
    /// when it is not a child. The caller gets no reference.
    Node* removeChild(Node* oldChild);

protected:
    /// Releases the `next` chain of this node without recursing over the siblings.
    void releaseFollowing();

public:
    /// True when the parentless chain headed by `chain` holds this node or one of its ancestors,
    /// so linking it below this node would close a cycle.
    bool closesCycle(Node* chain);

private:
    Node* insertPrepared(Node* newChild, Node* first, unsigned long count);
    Node* insertFragment(DocumentFragment* fragment, Node* first, unsigned long count);
};

} // namespace Arbor

#endif
