#ifndef ARBOR_DOCUMENT_DOCUMENT_H
#define ARBOR_DOCUMENT_DOCUMENT_H

#include "arbor/tree/InnerNode.h"
#include "arbor/undo/UndoStack.h"
#include "arbor/values/Token.h"

#include <list>
#include <string_view>

namespace Arbor {

class DocumentFragment;
class DomEvent;
class Element;
class Functor;
class IDocObserver;
class ModelOperation;
class Range;
class RangeList;
class Text;
class Comment;
class ProcessingInstruction;
class DocumentType;
struct NodeWatchList;
class InsertionAnchors;

/// One registration of an observer.
struct ObserverEntry {
    /// The event type observed; null: every type.
    Token token;
    /// The observer; null once the entry is vacated.
    IDocObserver* observer;
};

/// The root of a tree and the hub of its per-document state: factories, the undo history, the
/// observers, posted functions, batches and the range list that holds the document's ranges.
/// Abstract: the host derives its document class and supplies `createElement`.
///
/// Life. A document is live until `tearDown()`, which opens a batch that is never closed, drops
/// posted functions unrun, deselects and detaches every range, vacates every observer entry and
/// releases the range list. The destructor calls it again (a second call is harmless), so a host
/// may call it first or not at all; the destructor runs the library's own `tearDown`, not a host
/// override, so a host that extends `tearDown` calls it before the last release.
///
/// Release orders. Every order of releasing the document, its nodes, its ranges and its history
/// is safe: references that `tearDown` takes and drops while the document is being destroyed
/// cannot destroy it a second time, and the children it releases that are held elsewhere survive
/// with `parent` cleared. One thing keeps a live document alive on its own: a range that holds the
/// document as a container (every range starts at (document, 0), and ranges park there during a
/// batch) while the range list holds that range. A host that drops its last reference to such a
/// document must call `tearDown()` first; that releases everything. A host must not drop the last
/// reference to a document from inside one of its callbacks (observers, hooks, posted functions)
/// while a change is running.
///
/// Hold a counted reference on a document (`ref()`, or a `Plinth::Ref`) for as long as you use it.
/// A document nobody counted (count 0, or one that is not on the heap) must not have ranges:
/// ranges count their containers, and the release that brings such a count back to 0 destroys
/// the document.
class ARBOR_API Document : public InnerNode {
public:
    /// The undo and redo history.
    UndoStack undoStack;
    /// Observer registrations in registration order; entries are only vacated, never unlinked.
    std::list<ObserverEntry> observers;
    /// Functions waiting for the running operation to finish; owned.
    std::list<Functor*> postedFunctions;
    /// The range list; counted; null once torn down.
    RangeList* rangeList = nullptr;
    /// Number of open batches.
    unsigned long batchDepth = 0;
    /// The undo limit saved while a batch is open.
    unsigned long savedMaxUndoTasks = 0;
    /// Number of running `doModelOperation`, `undo` and `redo` calls.
    unsigned long operationDepth = 0;

    /// An empty document with its range list registered as its first observer (twice).
    Document();
    ~Document() override;

    /// Null: a document is never copied.
    Node* cloneNode(bool deep) override;
    /// DOCUMENT_NODE.
    int nodeType() override;
    /// The token "#document".
    Token nodeName() override;
    /// The declaration line, the document element, a line feed.
    std::ostream& putXml(std::ostream& os) override;

    // Appended operations, in slot order.
    /// Null: a document has no value.
    virtual const char16_t* nodeValue();
    /// Does nothing.
    virtual void setNodeValue(const char16_t* value);
    /// False: a document has no attributes.
    virtual bool hasAttributes();
    /// The host's element factory (the library never calls it): a new element named `tagName`,
    /// count 0, unlinked.
    virtual Element* createElement(Token tagName) = 0;
    /// Registers `observer` for every event type (null does nothing); takes the earliest vacated
    /// entry. Throws `std::bad_alloc` when an entry must be appended and cannot be.
    virtual void addObserver(IDocObserver* observer);
    /// Registers `observer` for events of type `token`.
    virtual void addObserver(IDocObserver* observer, Token token);
    /// Ends every registration of `observer`, calling its `unObserve` once per entry.
    virtual void removeObserver(IDocObserver* observer);
    /// Ends the first registration of `observer` for `token`, calling its `unObserve`.
    virtual void removeObserver(IDocObserver* observer, Token token);
    /// Opens a batch: no events are delivered and the undo history is discarded until the
    /// outermost batch closes; observers hear `beforeBatchChanges()` at the outermost begin.
    virtual void beginBatchChanges();
    /// Closes a batch; an unmatched call is ignored.
    virtual void endBatchChanges();
    /// Runs `functor` now, or after the running operation when one runs; takes ownership (null
    /// does nothing).
    virtual void postFunction(Functor* functor);
    /// Ends the document's life as a live document (see the class notes).
    virtual void tearDown();
    /// Delivers `event` to the matching observers in list order, unless a batch is open; stops as
    /// soon as the event is canceled.
    virtual void fireEvent(DomEvent& event);

    /// The first child, whatever its kind; null when there is none.
    Node* documentElement();
    /// A new unlinked text node of this document with a copy of `data`; count 0.
    Text* createTextNode(const char16_t* data);
    /// A new empty unlinked fragment of this document; count 0.
    DocumentFragment* createDocumentFragment();
    /// A new unlinked comment of this document with a copy of `data`; count 0. Throws
    /// INVALID_CHARACTER_ERR for data a comment cannot hold (see `Comment`).
    Comment* createComment(const char16_t* data);
    /// A new unlinked processing instruction of this document for `target` with a copy of `data`;
    /// count 0. Throws INVALID_CHARACTER_ERR for a target or data it cannot hold (see
    /// `ProcessingInstruction`).
    ProcessingInstruction* createProcessingInstruction(Token target, const char16_t* data);
    /// A new unlinked document type declaration of this document (UTF-8 values, empty: absent);
    /// count 0. Throws INVALID_CHARACTER_ERR for values it cannot write (see `DocumentType`).
    DocumentType* createDocumentType(Token name, std::string_view publicId = {},
        std::string_view systemId = {}, std::string_view internalSubset = {});

    /// Runs the queued functions, in order, when no operation is running.
    void executePostedFunctions();

    /// Executes `op` and records it; the document owns it from the call on (null does nothing).
    /// When `execute()` throws, the operation is deleted and the exception passes on.
    void doModelOperation(ModelOperation* op);
    /// Undoes the last applied task and then runs posted functions. An operation that finds its
    /// nodes moved elsewhere by the host (a removed node reused in a detached element or a
    /// fragment) throws INVALID_STATE_ERR; the history is then discarded (see `UndoStack`).
    void undo();
    /// Redoes the first undone task; fails as `undo()` does.
    void redo();
    /// True when a task can be undone.
    bool canUndo() const { return undoStack.canUndo(); }
    /// True when an undone task can be redone.
    bool canRedo() const { return undoStack.canRedo(); }
    /// The most tasks the history keeps (0: nothing is recorded).
    unsigned long maxUndoTasks() const { return undoStack.maxTasks(); }
    /// Discards the whole history and sets the task limit.
    void maxUndoTasks(unsigned long n);
    /// Discards the whole history; keeps the task limit.
    void clearUndoStack();
    /// The next recorded change opens a new task.
    void newUndoTask();

    /// A new range at (document, 0), selected as asked, held only by the range list (and by
    /// itself when selected): `ref()` it to keep it past the next change. Null once torn down.
    Range* createRange(bool selected);
    /// The first selected, attached range; null if none.
    Range* firstSelectedRange();
    /// The next selected, attached range after `range`. Throws NOT_FOUND_ERR for null and
    /// WRONG_DOCUMENT_ERR for a range of another document.
    Range* nextSelectedRange(Range* range);
    /// Deselects every selected range in list order.
    void deselectRanges();

    /// A release that would destroy the document while one of its own operations runs only marks
    /// it for destruction when that operation returns.
    void unref() const override;

private:
    friend class DocumentPin;
    friend struct NodeWatchList;
    friend class InsertionAnchors;
    /// Depth of running operations that keep the document alive.
    mutable unsigned long pinDepth = 0;
    /// Whether the document was counted by anyone when the outermost pin was taken.
    mutable bool heldWhenPinned = false;
    /// Whether its count reached 0 while pinned.
    mutable bool releasedWhilePinned = false;
    // Side tables that hear of node destruction (NodeWatch.h); null while there are none.
    NodeWatchList* nodeWatchers = nullptr;
    // Replay anchors (InsertionAnchors.h): changes of children that no operation recorded, the
    // depth of recorded ones running, the executed child operations alive and their death log.
    unsigned long long unrecordedChildChanges = 0;
    unsigned long recordedChildChangeDepth = 0;
    unsigned long anchoredOperations = 0;
    InsertionAnchors* insertionAnchors = nullptr;

    void notifyBatch(bool begin);
};

} // namespace Arbor

#endif
