// An insertion that is bound to fail is refused before the new node leaves its old place or a
// fragment is emptied: nothing is detached, released, recorded or announced.

#include "tests/support/Host.h"

#include <functional>
#include <string>
#include <tuple>

using RefusedMoveTest = HostTest;

TEST_F(RefusedMoveTest, RefusedMovesChangeNothing)
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
    // Every tree the cases touch, the events, the undo state and the live objects.
    const auto world = [&] {
        return std::make_tuple(
            snapshot(), xml(d.get()), children(f.get()) + xml(g), xml(o.get()), liveHostObjects());
    };

    struct Case {
        const char* name;
        std::function<void()> call;
        long code;
        TestElement* readOnly = nullptr; // switched to read-only for the case
        TestElement* refusing = nullptr; // switched to refuse child changes for the case
    };
    const Case cases[] = {
        { "document element into its grandchild", [&] { c->appendChild(root()); }, 3 },
        { "document element into itself", [&] { root()->appendChild(root()); }, 3 },
        { "content node into its child", [&] { b->insertBefore(a, nullptr); }, 3 },
        { "content node in place of its child", [&] { a->replaceChild(a, b); }, 3 },
        { "node held only by its parent into its child", [&] { y->appendChild(x); }, 3 },
        { "detached root into its grandchild", [&] { y->appendChild(d.get()); }, 3 },
        { "fragment into its grandchild", [&] { h->appendChild(f.get()); }, 3 },
        { "fragment child into itself", [&] { g->appendChild(g); }, 3 },
        { "detached root in place of nothing in itself",
            [&] { d->replaceChildren(nullptr, 0, d.get()); }, 3 },
        { "reference node not a child", [&] { d->insertBefore(a, e); }, 8 },
        { "fragment before a node that is no child", [&] { d->insertBefore(f.get(), c); }, 8 },
        { "node of another document", [&] { d->appendChild(p); }, 4 },
        { "other document before read-only", [&] { d->appendChild(p); }, 4, d.get() },
        { "old parent read-only first", [&] { y->appendChild(x); }, 7, d.get() },
        { "old parent refuses first", [&] { c->appendChild(b); }, 3, nullptr, a },
        { "read-only before the cycle", [&] { y->appendChild(x); }, 7, y },
        { "read-only before the fragment cycle", [&] { h->appendChild(f.get()); }, 7, h },
    };
    for (const Case& t : cases) {
        SCOPED_TRACE(t.name);
        if (t.readOnly) t.readOnly->readOnlyNode = true;
        if (t.refusing) t.refusing->refuseChildren = true;
        events.clear();
        const auto before = world();
        expectDomError(t.code, t.call);
        EXPECT_EQ(world(), before);
        if (t.readOnly) t.readOnly->readOnlyNode = false;
        if (t.refusing) t.refusing->refuseChildren = false;
    }
    // The refusals that follow the move still come after it: the moved node stays removed.
    e->readOnlyNode = true;
    expectDomError(7, [&] { e->appendChild(c); });
    EXPECT_EQ(xml(b), "<b></b>");
    e->readOnlyNode = false;
    document().undo();
    EXPECT_EQ(xml(b), "<b><c></c></b>");
}
