#include "tests/support/Host.h"

#include <string>
#include <vector>

namespace {

// Writes the attribute events into the hook log, so hooks and events show in one order, with
// whether the element holds the attribute when the observer hears of it.
class OrderLog : public Arbor::IDocObserver {
public:
    void onEvent(Arbor::DomEvent& event) override
    {
        using namespace Arbor;
        if (event.type != tok_BeforeSetAttribute && event.type != tok_AfterSetAttribute
            && event.type != tok_BeforeRemoveAttribute && event.type != tok_AfterRemoveAttribute)
            return;
        auto& e = static_cast<DomAttributeEvent&>(event);
        const bool has = e.target->asElement()->hasAttribute(e.name);
        hookLog().push_back(
            std::string("event ") + e.type.name + (has ? " (present)" : " (absent)"));
    }
};

const Arbor::Token n("n");

} // namespace

class ElementAttributeTest : public HostTest {
protected:
    OrderLog order;

    void TearDown() override
    {
        document().removeObserver(&order);
        HostTest::TearDown();
    }
};

// Sets and removals on an element of the document and on a detached one: the checks in order,
// and a detached element is written at once with no hook, even one that passes notices on.
TEST_F(ElementAttributeTest, ChecksInOrder)
{
    enum Op { Set, Remove };
    struct Case {
        const char* name;
        Op op;
        bool present, readOnly, refuseSet, refuseRemove;
        long code; // 0: done (or silently nothing)
        bool presentAfter;
    };
    const Case cases[] = {
        { "set: read-only before refusal", Set, false, true, true, true, 7, false },
        { "set: refused", Set, false, false, true, false, 3, false },
        { "set overwrites", Set, true, false, false, true, 0, true },
        { "remove absent: silent even read-only", Remove, false, true, true, true, 0, false },
        { "remove: read-only before refusal", Remove, true, true, true, true, 7, true },
        { "remove: refused", Remove, true, false, false, true, 3, true },
        { "remove", Remove, true, false, true, false, 0, false },
    };
    Plinth::Ref<TestElement> detached(document().makeElement("d"));
    detached->passNotices = true;
    appendElement(detached.get(), "below")->passNotices = true;
    TestElement* inDocument = appendElement(root(), "e");
    for (TestElement* e : { inDocument, detached.get() }) {
        for (const Case& test : cases) {
            SCOPED_TRACE(
                std::string(test.name) + (e == inDocument ? " (document)" : " (detached)"));
            e->removeAttributeRaw(n);
            if (test.present) e->setAttributeRaw(n, Arbor::LongVariant(1));
            e->readOnlyNode = test.readOnly;
            e->refuseSet = test.refuseSet;
            e->refuseRemove = test.refuseRemove;
            events.clear();
            const Snapshot before = snapshot();
            auto change = [&] {
                if (test.op == Set)
                    e->setAttribute(n, Arbor::LongVariant(2));
                else
                    e->removeAttribute(n);
            };
            if (test.code) {
                expectDomError(test.code, change);
                EXPECT_EQ(snapshot(), before);
            } else if (e == inDocument && (test.present || test.op == Set)) {
                expectUndoRedoRestores(change);
            } else {
                change();
                EXPECT_TRUE(events.lines().empty());
            }
            EXPECT_EQ(e->hasAttribute(n), test.presentAfter);
            if (test.op == Set && !test.code) {
                EXPECT_EQ(e->getAttribute(n), Arbor::LongVariant(2));
            }
            if (e == detached.get()) {
                EXPECT_TRUE(hookLog().empty());
            }
            hookLog().clear();
        }
    }
}

TEST_F(ElementAttributeTest, HooksAndEventsInOrder)
{
    document().addObserver(&order);
    TestElement* e = appendElement(root(), "e");
    appendElement(e, "child")->passNotices = true; // not reached: e does not pass notices on

    e->setAttribute(n, Arbor::LongVariant(1));
    e->removeAttribute(n);
    EXPECT_EQ(hookLog(),
        (std::vector<std::string> {
            "beforeSetAttribute(e,e,n)",
            "event BeforeSetAttribute (absent)",
            "afterSetAttribute(e,e,n)",
            "event AfterSetAttribute (present)",
            "beforeRemoveAttribute(e,e,n)",
            "event BeforeRemoveAttribute (present)",
            "afterRemoveAttribute(e,e,n)",
            "event AfterRemoveAttribute (absent)",
        }));
}

// Notices travel down the element tree as far as the hooks pass them, and never into what is not
// an element (here a fragment node put in directly, with an element inside).
TEST_F(ElementAttributeTest, NoticesReachTheElementsBelow)
{
    root()->passNotices = true; // above the changed element: not told
    TestElement* a = appendElement(root(), "a");
    appendText(a, u"t");
    TestElement* b = appendElement(a, "b");
    TestElement* c = appendElement(b, "c");
    TestElement* d = appendElement(c, "d");
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    TestElement* x = appendElement(fragment.get(), "x");
    a->replaceChildren(nullptr, 0, fragment.get());
    TestElement* e = appendElement(a, "e");
    for (TestElement* passing : { a, b, d, e, x })
        passing->passNotices = true;

    a->setAttribute(n, Arbor::BoolVariant(true));
    a->removeAttribute(n);
    std::vector<std::string> expected;
    for (const char* hook : { "beforeSetAttribute", "afterSetAttribute", "beforeRemoveAttribute",
             "afterRemoveAttribute" })
        for (const char* told : { "a", "b", "c", "e" })
            expected.push_back(std::string(hook) + "(" + told + ",a,n)");
    EXPECT_EQ(hookLog(), expected);
}
