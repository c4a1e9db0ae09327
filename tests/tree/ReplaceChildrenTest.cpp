#include "arbor/range/internal/RangeList.h"
#include "tests/support/Host.h"

#include <climits>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using ReplaceChildrenTest = HostTest;

using Arbor::Node;

// Requests that break several rules at once report the first rule in the fixed order, and
// nothing changes, inside the document (snapshot: XML, events, undo) and outside it.
TEST_F(ReplaceChildrenTest, FirstFailingCheckWins)
{
    Plinth::Ref<TestElement> detached(document().makeElement("d"));
    Plinth::Ref<TestElement> loose(document().makeElement("loose"));
    Plinth::Ref<TestElement> foreign(otherDocument().makeElement("foreign"));
    Plinth::Ref<Arbor::Range> range(document().createRange(false));
    Plinth::Ref<TestText> head(document().makeText(u"abcd"));
    Node* middle = head->splitText(2);
    TestElement* q = appendElement(root(), "q");
    TestElement* q1 = appendElement(q, "q1");

    for (TestElement* ancestor : { root(), detached.get() }) {
        SCOPED_TRACE(ancestor == root() ? "in the document" : "detached");
        TestElement* p = appendElement(ancestor, "p");
        TestElement* c1 = appendElement(p, "c1");
        TestElement* c2 = appendElement(p, "c2");
        auto rc = [p](Node* first, unsigned long count, Node* newChild) {
            return [=] { p->replaceChildren(first, count, newChild); };
        };
        expectRefusals(p,
            {
                { "foreign first before other document", "rc", rc(q1, 0, foreign.get()), 8 },
                { "other document before read-only", "rc", rc(c1, 0, foreign.get()), 4 },
                { "other document node itself", "", rc(nullptr, 0, &otherDocument()), 4 },
                { "read-only before refusal", "rc", rc(nullptr, 0, loose.get()), 7 },
                { "refusal", "c", rc(nullptr, 0, loose.get()), 3 },
                { "removal with null first", "rc", rc(nullptr, 2, nullptr), 0 },
                { "removal of zero from a non-child", "rc", rc(q1, 0, nullptr), 0 },
                { "removal of a non-child before read-only", "rc", rc(q1, 1, nullptr), 8 },
                { "removal, read-only", "rc", rc(c1, 1, nullptr), 7 },
                { "removal refused", "c", rc(c1, 1, nullptr), 3 },
                { "read-only before not a chain head", "r", rc(nullptr, 0, q1), 7 },
                { "new child with another parent", "", rc(nullptr, 0, q1), 3 },
                { "own child again", "", rc(c1, 0, c2), 3 },
                { "middle of a parentless chain", "", rc(nullptr, 0, middle), 3 },
                { "read-only before document as child", "r", rc(nullptr, 0, &document()), 7 },
                { "document as child", "", rc(nullptr, 0, &document()), 3 },
                { "range as child", "", rc(nullptr, 0, range.get()), 3 },
                { "range list as child", "", rc(nullptr, 0, document().rangeList), 3 },
                { "null to insertBefore", "", [&] { p->insertBefore(nullptr, c1); }, 3 },
                { "null to appendChild", "", [&] { p->appendChild(nullptr); }, 3 },
                { "null to replaceChild", "", [&] { p->replaceChild(nullptr, c1); }, 3 },
                { "removeChild of a non-child", "", [&] { p->removeChild(q1); }, 8 },
                { "removeChild of null", "rc", [&] { EXPECT_EQ(p->removeChild(nullptr), nullptr); },
                    0 },
            },
            [&] { return xml(detached.get()) + siblings(head.get()) + nameOf(loose->parent); });
    }
    // A text takes no children, whichever way they come.
    TestText* t = appendText(root(), u"t");
    expectRefusals(t,
        {
            { "appendChild", "", [&] { t->appendChild(loose.get()); }, 3 },
            { "insertBefore", "", [&] { t->insertBefore(loose.get(), nullptr); }, 3 },
            { "replaceChildren", "", [&] { t->replaceChildren(nullptr, 0, loose.get()); }, 3 },
            { "replaceChildrenRaw", "", [&] { t->replaceChildrenRaw(nullptr, 0, loose.get()); },
                3 },
            { "read-only", "r", [&] { t->appendChild(loose.get()); }, 7 },
            { "other document first", "r", [&] { t->appendChild(foreign.get()); }, 4 },
            { "removeChild of a stranger", "r", [&] { t->removeChild(loose.get()); }, 8 },
        },
        [&] { return nameOf(loose->parent); });
}

// An insertion that is bound to fail is refused before the new node leaves its old place or a
// fragment is emptied: nothing is detached, released, recorded or announced.
TEST_F(ReplaceChildrenTest, RefusedMovesChangeNothing)
{
    // root: a(b(c)) e; detached d(x(y)); fragment f holding g(h); o(p) of another document.
    TestElement* a = appendElement(root(), "a");
    TestElement* b = appendElement(a, "b");
    TestElement* c = appendElement(b, "c");
    TestElement* e = appendElement(root(), "e");
    Plinth::Ref<TestElement> d(document().makeElement("d"));
    TestElement* x = appendElement(d.get(), "x");
    TestElement* y = appendElement(x, "y");
    Plinth::Ref<Arbor::DocumentFragment> f(document().createDocumentFragment());
    TestElement* g = appendElement(f.get(), "g");
    TestElement* h = appendElement(g, "h");
    Plinth::Ref<TestElement> o(otherDocument().makeElement("o"));
    TestElement* p = appendElement(o.get(), "p");
    document().newUndoTask();
    const auto world = [&] {
        return xml(d.get()) + children(f.get()) + xml(g) + xml(o.get())
            + std::to_string(liveHostObjects());
    };
    expectRefusals(d.get(),
        {
            { "document element into its grandchild", "", [&] { c->appendChild(root()); }, 3 },
            { "document element into itself", "", [&] { root()->appendChild(root()); }, 3 },
            { "content node into its child", "", [&] { b->insertBefore(a, nullptr); }, 3 },
            { "content node in place of its child", "", [&] { a->replaceChild(a, b); }, 3 },
            { "held only by its parent, into its child", "", [&] { y->appendChild(x); }, 3 },
            { "detached root into its grandchild", "", [&] { y->appendChild(d.get()); }, 3 },
            { "detached root into itself", "", [&] { d->replaceChildren(nullptr, 0, d.get()); },
                3 },
            { "fragment into its grandchild", "", [&] { h->appendChild(f.get()); }, 3 },
            { "fragment child into itself", "", [&] { g->appendChild(g); }, 3 },
            { "reference node not a child", "", [&] { d->insertBefore(a, e); }, 8 },
            { "fragment before a non-child", "", [&] { d->insertBefore(f.get(), c); }, 8 },
            { "node of another document", "", [&] { d->appendChild(p); }, 4 },
            { "other document before read-only", "r", [&] { d->appendChild(p); }, 4 },
            { "old parent read-only first", "r", [&] { y->appendChild(x); }, 7 },
        },
        world);
    expectRefusals(
        a, { { "old parent refuses first", "c", [&] { c->appendChild(b); }, 3 } }, world);
    expectRefusals(
        y, { { "read-only before the cycle", "r", [&] { y->appendChild(x); }, 7 } }, world);
    expectRefusals(h,
        { { "read-only before the fragment cycle", "r", [&] { h->appendChild(f.get()); }, 7 } },
        world);
    // The refusals that follow the move still come after it: the moved node stays removed.
    e->readOnlyNode = true;
    expectDomError(7, [&] { e->appendChild(c); });
    EXPECT_EQ(xml(b), "<b></b>");
    e->readOnlyNode = false;
    document().undo();
    EXPECT_EQ(xml(b), "<b><c></c></b>");
}

TEST_F(ReplaceChildrenTest, ConvenienceOperations)
{
    TestElement* p = appendElement(root(), "p");
    TestElement* c = appendElement(p, "c");

    TestElement* n = document().makeElement("n");
    EXPECT_EQ(p->insertBefore(n, nullptr), n) << "a null reference appends";
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    TestElement* a = appendElement(fragment.get(), "a");
    appendElement(fragment.get(), "b");
    EXPECT_EQ(p->insertBefore(fragment.get(), n), a) << "a fragment gives its former first child";
    EXPECT_EQ(children(p), "c a b n");
    EXPECT_EQ(children(fragment.get()), "");
    // The emptied fragment is reusable; an empty one inserts nothing.
    TestElement* f = appendElement(fragment.get(), "f");
    EXPECT_EQ(p->appendChild(fragment.get()), f);
    const Snapshot before = snapshot();
    EXPECT_EQ(p->appendChild(fragment.get()), nullptr);
    EXPECT_EQ(p->insertBefore(fragment.get(), c), nullptr);
    EXPECT_EQ(snapshot(), before);

    // replaceChild with an empty fragment removes the old child.
    Plinth::Ref<TestElement> held(c);
    EXPECT_EQ(p->replaceChild(fragment.get(), c), c);
    TestElement* r = document().makeElement("r");
    EXPECT_EQ(p->replaceChild(r, a), a);
    EXPECT_EQ(children(p), "r b n f");

    // x before x: x is removed first, then x is no longer there to insert before.
    Plinth::Ref<TestElement> x(n);
    document().clearUndoStack();
    expectDomError(8, [&] { p->insertBefore(x.get(), x.get()); });
    EXPECT_EQ(children(p), "r b f");
    EXPECT_TRUE(document().canUndo()) << "the removal is an undoable change of its own";
    p->appendChild(x.get());
    expectDomError(8, [&] { p->replaceChild(x.get(), x.get()); });
    EXPECT_EQ(children(p), "r b f");
}

TEST_F(ReplaceChildrenTest, FailedInsertionAfterUnpackOrRemoval)
{
    TestElement* p = appendElement(root(), "p");

    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    appendElement(fragment.get(), "a");
    appendElement(fragment.get(), "b");
    Plinth::Ref<Arbor::DocumentFragment> foreign(otherDocument().createDocumentFragment());
    foreign->appendChild(otherDocument().makeElement("o"));

    // A refused fragment gets its children back, in order.
    p->readOnlyNode = true;
    expectDomError(7, [&] { p->appendChild(fragment.get()); });
    p->readOnlyNode = false;
    p->refuseChildren = true;
    expectDomError(3, [&] { p->appendChild(fragment.get()); });
    EXPECT_EQ(children(fragment.get()), "a b");
    expectDomError(4, [&] { p->appendChild(foreign.get()); });
    EXPECT_EQ(children(foreign.get()), "o");

    // A node moved out of its old parent stays removed; outside the document nothing holds it then.
    Plinth::Ref<TestElement> d(document().makeElement("d"));
    appendElement(d.get(), "x");
    const long live = liveHostObjects();
    expectDomError(3, [&] { p->appendChild(d->firstChild()); });
    EXPECT_EQ(children(d.get()), "");
    EXPECT_EQ(liveHostObjects(), live - 1);
}

// A parentless chain n -> p, held by n alone: moving n into p cuts p loose, and p must last until
// the call is done with it and its child o, then go (o stays only where n links it).
TEST_F(ReplaceChildrenTest, ChainHeadMovedIntoTheNodeItHolds)
{
    const std::pair<std::function<void(Node*, Node*, Node*)>, long> cases[] = {
        { [](Node* p, Node* n, Node* o) { p->replaceChild(n, o); }, -1 },
        { [](Node* p, Node* n, Node* o) { p->insertBefore(n, o); }, 0 },
    };
    for (const auto& [call, change] : cases) {
        Plinth::Ref<TestElement> d(document().makeElement("d"));
        Plinth::Ref<Node> n(appendElement(d.get(), "n"));
        TestElement* p = appendElement(d.get(), "p");
        const long live = liveHostObjects();
        d->replaceChildren(n.get(), 2, nullptr);
        call(p, n.get(), appendElement(p, "o"));
        EXPECT_EQ(liveHostObjects(), live + change) << "p is released, n held";
        EXPECT_EQ(n->refCount, 1u);
    }
}

// The raw replacement through replaceChildren on a detached parent: every shape of run and chain.
TEST_F(ReplaceChildrenTest, RawShapes)
{
    const struct {
        const char* name;
        int first; // index of a child, -1 null
        unsigned long count;
        bool chain;
        // The children afterwards and the removed run, still a chain when held.
        const char *after, *removed;
    } cases[] = {
        { "append", -1, 0, true, "a b c d 'x' 'y'", "" },
        { "append ignores count", -1, 5, true, "a b c d 'x' 'y'", "" },
        { "insert before first", 0, 0, true, "'x' 'y' a b c d", "" },
        { "insert in the middle", 2, 0, true, "a b 'x' 'y' c d", "" },
        { "replace the first two", 0, 2, true, "'x' 'y' c d", "a b" },
        { "replace one in the middle", 1, 1, true, "a 'x' 'y' c d", "b" },
        { "replace past the end", 2, 10, true, "a b 'x' 'y'", "c d" },
        { "replace everything", 0, ULONG_MAX, true, "'x' 'y'", "a b c d" },
        { "remove the first", 0, 1, false, "b c d", "a" },
        { "remove from the middle", 1, 2, false, "a d", "b c" },
        { "remove the last", 3, 1, false, "a b c", "d" },
        { "remove past the end", 1, 100, false, "a", "b c d" },
        { "remove everything", 0, ULONG_MAX, false, "", "a b c d" },
        { "remove nothing", 1, 0, false, "a b c d", "" },
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Plinth::Ref<TestElement> parent(document().makeElement("p"));
        std::vector<Plinth::Ref<Node>> kids;
        for (const char* name : { "a", "b", "c", "d" })
            kids.emplace_back(appendElement(parent.get(), name));
        Plinth::Ref<Node> x(document().makeText(u"xy"));
        x->asText()->splitText(1);
        Node* first = test.first < 0 ? nullptr : kids[test.first].get();

        parent->replaceChildren(first, test.count, test.chain ? x.get() : nullptr);
        EXPECT_EQ(children(parent.get()), test.after);
        if (*test.removed) {
            EXPECT_EQ(siblings(first), test.removed);
        }
        EXPECT_TRUE(events.lines().empty()) << "no event outside the document";
        EXPECT_EQ(static_cast<TestElement*>(kids[0].get())->parentChanges, 0)
            << "the raw change calls no hook";
    }
}
