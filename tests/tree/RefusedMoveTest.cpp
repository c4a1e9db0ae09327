// An insertion that is bound to fail is refused before the new node leaves its old place or a
// fragment is emptied: nothing is detached, released, recorded or announced.

#include "tests/support/Host.h"

#include <functional>
#include <string>

using RefusedMoveTest = HostTest;

namespace {

using Arbor::Node;

// The XML of every tree the case touches, the events, the undo state and the live objects.
struct World {
    Snapshot document;
    std::string detached;
    std::string fragment;
    long live;
};

} // namespace

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
    const auto world = [&] {
        return World { snapshot(), xml(d.get()), children(f.get()) + xml(g), liveHostObjects() };
    };

    struct Case {
        const char* name;
        std::function<void()> call;
        long code;
        std::function<void()> setup = nullptr; // switches a hook, undone after the case
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
        { "reference node not a child", [&] { d->insertBefore(a, e); }, 8 },
        { "fragment before a node that is no child", [&] { d->insertBefore(f.get(), c); }, 8 },
        { "node of another document", [&] { d->appendChild(p); }, 4 },
        { "other document before read-only", [&] { d->appendChild(p); }, 4,
            [&] { d->readOnlyNode = true; } },
        { "old parent read-only first", [&] { y->appendChild(x); }, 7,
            [&] { d->readOnlyNode = true; } },
        { "old parent refuses first", [&] { c->appendChild(b); }, 3,
            [&] { a->refuseChildren = true; } },
        { "read-only before the cycle", [&] { y->appendChild(x); }, 7,
            [&] { y->readOnlyNode = true; } },
        { "read-only before the fragment cycle", [&] { h->appendChild(f.get()); }, 7,
            [&] { h->readOnlyNode = true; } },
    };
    for (const Case& t : cases) {
        SCOPED_TRACE(t.name);
        if (t.setup) t.setup();
        events.clear();
        const World before = world();
        expectDomError(t.code, t.call);
        const World after = world();
        EXPECT_EQ(xml(o.get()), "<o><p></p></o>");
        EXPECT_EQ(after.document, before.document);
        EXPECT_EQ(after.detached, before.detached);
        EXPECT_EQ(after.fragment, before.fragment);
        EXPECT_EQ(after.live, before.live);
        for (TestElement* node : { a, b, d.get(), y, h })
            node->readOnlyNode = node->refuseChildren = false;
    }
    // The refusals that follow the move still come after it: the moved node stays removed.
    e->readOnlyNode = true;
    expectDomError(7, [&] { e->appendChild(c); });
    EXPECT_EQ(xml(b), "<b></b>");
    e->readOnlyNode = false;
    document().undo();
    EXPECT_EQ(xml(b), "<b><c></c></b>");
}
