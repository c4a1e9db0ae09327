// A node kept by the undo history that the host reuses outside the document's content: undo and
// redo refuse with INVALID_STATE_ERR instead of linking it into two places, and the document goes
// on working.

#include "tests/support/Host.h"
#include "tests/support/Links.h"

#include <gtest/gtest.h>

#include <string>

using ReusedUndoNodeTest = HostTest;

namespace {

using Arbor::Node;

enum class Change { Removal, Insertion, Replacement, FragmentInsertion };
const char* const changeNames[] = { "removal", "insertion", "replacement", "fragment insertion" };

} // namespace

TEST_F(ReusedUndoNodeTest, UndoAndRedoRefuseANodeReusedOutsideTheContent)
{
    struct Case {
        Change change;
        bool redo; // reuse the node that redo would insert (after an undo) instead
    };
    const Case cases[] = {
        { Change::Removal, false },
        { Change::Replacement, false },
        { Change::FragmentInsertion, false },
        { Change::Insertion, true },
        { Change::Replacement, true },
        { Change::FragmentInsertion, true },
    };
    for (const Case& c : cases) {
        for (bool intoFragment : { false, true }) {
            SCOPED_TRACE(std::string(c.redo ? "redo after " : "undo of ")
                + changeNames[static_cast<int>(c.change)]
                + (intoFragment ? ", reused in a fragment" : ", reused in a detached element"));
            TestElement* a = appendElement(root(), "a");
            appendElement(root(), "b");
            Plinth::Ref<Node> oldChild(a);
            Plinth::Ref<Node> newChild(document().makeElement("n"));
            Plinth::Ref<Node> fragment(document().createDocumentFragment());
            fragment->appendChild(newChild.get());
            appendElement(fragment.get(), "f");
            document().clearUndoStack();
            document().newUndoTask();

            if (c.change == Change::Removal) root()->removeChild(a);
            if (c.change == Change::Insertion) root()->appendChild(newChild.get());
            if (c.change == Change::Replacement) root()->replaceChild(newChild.get(), a);
            if (c.change == Change::FragmentInsertion) root()->replaceChild(fragment.get(), a);
            if (c.redo) document().undo();
            Node* reused = c.redo ? newChild.get() : oldChild.get();
            ASSERT_EQ(reused->parentNode(), nullptr) << "the history keeps it outside the tree";

            Plinth::Ref<Node> holder(intoFragment
                    ? static_cast<Node*>(document().createDocumentFragment())
                    : document().makeElement("d"));
            holder->appendChild(reused);
            const std::string holderXml = xml(holder.get());
            events.clear();
            const Snapshot before = snapshot();

            expectDomError(Arbor::DomException::INVALID_STATE_ERR,
                [&] { c.redo ? document().redo() : document().undo(); });
            EXPECT_EQ(xml(&document()), before.xml) << "the tree changed";
            EXPECT_TRUE(events.lines().empty()) << "a refused replay announced a change";
            EXPECT_EQ(reused->parentNode(), holder.get());
            EXPECT_EQ(xml(holder.get()), holderXml);
            EXPECT_FALSE(document().canUndo());
            EXPECT_FALSE(document().canRedo());
            EXPECT_EQ(document().operationDepth, 0u);
            EXPECT_LINKS_SOUND({ root(), holder.get(), reused, oldChild.get() });

            // The document goes on working: new changes are recorded and undone.
            expectUndoRedoRestores([&] {
                appendElement(root(), "later");
                root()->removeChild(root()->firstChild());
            });
            EXPECT_LINKS_SOUND({ root() });

            while (root()->firstChild())
                root()->removeChild(root()->firstChild());
            document().clearUndoStack();
            if (HasFailure()) return;
        }
    }
}

// Reusing a node behind the head of a kept run (the run is cut, its head still a chain head) is
// refused as well: replaying the shortened run would restore a different tree.
TEST_F(ReusedUndoNodeTest, ReusedTailOfAKeptRunIsRefused)
{
    for (bool redo : { false, true }) {
        SCOPED_TRACE(redo ? "redo of a fragment insertion" : "undo of a run removal");
        appendElement(root(), "a");
        Plinth::Ref<Node> tail(appendElement(root(), "b"));
        Plinth::Ref<Node> fragment(document().createDocumentFragment());
        appendElement(fragment.get(), "n");
        Plinth::Ref<Node> fragmentTail(appendElement(fragment.get(), "f"));
        document().clearUndoStack();
        document().newUndoTask();
        if (redo) {
            root()->appendChild(fragment.get());
            document().undo();
            tail = fragmentTail;
        } else {
            root()->replaceChildren(root()->firstChild(), 2, nullptr);
        }
        ASSERT_NE(tail->previousSibling(), nullptr) << "the tail is still linked into the run";
        Plinth::Ref<Node> holder(document().makeElement("d"));
        holder->appendChild(tail.get());
        events.clear();
        const Snapshot before = snapshot();

        expectDomError(Arbor::DomException::INVALID_STATE_ERR,
            [&] { redo ? document().redo() : document().undo(); });
        EXPECT_EQ(xml(&document()), before.xml);
        EXPECT_TRUE(events.lines().empty());
        EXPECT_EQ(tail->parentNode(), holder.get());
        EXPECT_LINKS_SOUND({ root(), holder.get() });
        while (root()->firstChild())
            root()->removeChild(root()->firstChild());
    }
}

// A reuse that puts the node back where the history left it (parentless) is not a refusal: the
// host took it out again before the replay.
TEST_F(ReusedUndoNodeTest, NodeReturnedBeforeTheReplayIsRestored)
{
    TestElement* a = appendElement(root(), "a");
    Plinth::Ref<Node> held(a);
    document().clearUndoStack();
    document().newUndoTask();
    root()->removeChild(a);
    Plinth::Ref<Node> holder(document().makeElement("d"));
    holder->appendChild(a);
    holder->removeChild(a);

    document().undo();
    EXPECT_EQ(xml(root()), "<root><a></a></root>");
    EXPECT_EQ(xml(holder.get()), "<d></d>");
    EXPECT_LINKS_SOUND({ holder.get() });
}

// The history does not hold the child in front of which it inserted. When that child is destroyed
// outside the content (its parent was taken out, recorded, and the child removed there, not
// recorded), undoing the insertion after the parent came back must not read it: the replay is
// refused and the tree is left as it is.
TEST_F(ReusedUndoNodeTest, InsertionPointDestroyedOutsideTheContent)
{
    TestElement* p = appendElement(root(), "p");
    TestElement* b = appendElement(p, "b");
    document().clearUndoStack();
    document().newUndoTask();
    p->insertBefore(document().makeElement("x"), b);
    document().newUndoTask();
    root()->removeChild(p); // the history keeps p
    p->removeChild(b); // unrecorded: b is destroyed here
    p->removeChild(p->firstChild());

    document().undo(); // p comes back
    EXPECT_EQ(xml(root()), "<root><p></p></root>");
    events.clear();
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_TRUE(events.lines().empty());
    EXPECT_EQ(xml(root()), "<root><p></p></root>");
}
