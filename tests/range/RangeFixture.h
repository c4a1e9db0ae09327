#ifndef ARBOR_TESTS_RANGE_RANGE_FIXTURE_H
#define ARBOR_TESTS_RANGE_RANGE_FIXTURE_H

// What the range suites share on top of the host: a parent "p" under the document element with
// children "c0".."c5" (`makeChildren` adds another such parent).

#include "tests/support/Host.h"

#include <string>
#include <vector>

class RangeTest : public HostTest {
protected:
    TestElement* p = nullptr;
    std::vector<TestElement*> c;

    void SetUp() override
    {
        HostTest::SetUp();
        makeChildren(6);
        events.clear();
    }

    /// Appends "p" to the document element and gives it `count` element children c0, c1, ...
    void makeChildren(int count)
    {
        p = appendElement(root(), "p");
        for (int i = 0; i < count; ++i)
            c.push_back(appendElement(p, ("c" + std::to_string(i)).c_str()));
    }

    /// A new selected range from (sc, so) to (ec, eo) that the caller holds; no event is left in
    /// the log.
    Plinth::Ref<Arbor::Range> selectedRange(
        Arbor::Node* sc, unsigned long so, Arbor::Node* ec, unsigned long eo)
    {
        Plinth::Ref<Arbor::Range> made(newRange(&document(), true, sc, so, ec, eo));
        events.clear();
        return made;
    }

    /// A fragment with the children "x" and "y": inserting it inserts a chain of two nodes.
    Plinth::Ref<Arbor::DocumentFragment> fragmentXY()
    {
        Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
        fragment->appendChild(document().makeElement("x"));
        fragment->appendChild(document().makeElement("y"));
        return fragment;
    }
};

#endif
