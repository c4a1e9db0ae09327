#include "tests/support/Host.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

const Arbor::Token n("n");

} // namespace

using ElementAttributeTest = HostTest;

// Sets and removals on an element of the document and on a detached one: the checks in order,
// and a detached element is written at once with no hook, even one that passes notices on.
TEST_F(ElementAttributeTest, ChecksInOrder)
{
    Plinth::Ref<TestElement> detached(document().makeElement("d"));
    detached->passNotices = true;
    appendElement(detached.get(), "below")->passNotices = true;
    TestElement* inDocument = appendElement(root(), "e");
    for (TestElement* e : { inDocument, detached.get() }) {
        SCOPED_TRACE(e == inDocument ? "document" : "detached");
        auto set = [e] { e->setAttribute(n, Arbor::LongVariant(2)); };
        auto remove = [e] { e->removeAttribute(n); };
        auto state
            = [e] { return valueText(e->getAttribute(n)) + (e->hasAttribute(n) ? "+" : "-"); };
        events.clear();
        expectRefusals(e,
            {
                { "set: read-only before refusal", "rsm", set, 7 },
                { "set: refused", "s", set, 3 },
                { "remove absent: silent even read-only", "rsm", remove, 0 },
            },
            state);
        e->setAttributeRaw(n, Arbor::LongVariant(1));
        expectRefusals(e,
            {
                { "remove: read-only before refusal", "rsm", remove, 7 },
                { "remove: refused", "m", remove, 3 },
            },
            state);
        // Each check asks only its own hook.
        setSwitches(e, "m");
        set();
        setSwitches(e, "s");
        remove();
        EXPECT_FALSE(e->hasAttribute(n));
        if (e == detached.get()) {
            EXPECT_TRUE(hookLog().empty());
            EXPECT_TRUE(events.lines().empty());
        }
        setSwitches(e, "");
        hookLog().clear();
    }
}

// Notices travel down the element tree as far as the hooks pass them, and never into what is not
// an element (here a fragment node put in directly, with an element inside), always before the
// observers hear of the change; the observers see whether the element holds the attribute then.
TEST_F(ElementAttributeTest, HooksAndEventsInOrder)
{
    root()->passNotices = true; // above the changed element: not told
    TestElement* a = appendElement(root(), "a");
    appendText(a, u"t");
    TestElement* b = appendElement(a, "b");
    TestElement* c = appendElement(b, "c");
    TestElement* d = appendElement(c, "d"); // not told: c does not pass notices on
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    TestElement* x = appendElement(fragment.get(), "x");
    a->replaceChildren(nullptr, 0, fragment.get());
    TestElement* e = appendElement(a, "e");
    // A library element keeps the notice to itself: z below it is not told.
    auto* plain = new Arbor::BasicElement(&document(), Arbor::Token("plain"));
    e->appendChild(plain);
    appendElement(plain, "z")->passNotices = true;
    for (TestElement* passing : { a, b, d, e, x })
        passing->passNotices = true;
    CallbackObserver order;
    order.react = [](Arbor::DomEvent& event) {
        auto& attribute = static_cast<Arbor::DomAttributeEvent&>(event);
        const bool has = attribute.target->asElement()->hasAttribute(attribute.name);
        hookLog().push_back(std::string(event.type.name) + (has ? " (present)" : " (absent)"));
    };
    document().addObserver(&order);
    a->setAttribute(n, Arbor::BoolVariant(true));
    a->removeAttribute(n);
    document().removeObserver(&order);

    std::vector<std::string> expected;
    for (const char* event : { "BeforeSetAttribute (absent)", "AfterSetAttribute (present)",
             "BeforeRemoveAttribute (present)", "AfterRemoveAttribute (absent)" }) {
        const std::string hook
            = char(event[0] + 'a' - 'A') + std::string(event + 1, std::strchr(event, ' '));
        for (const char* told : { "a", "b", "c", "e" })
            expected.push_back(hook + "(" + told + ",a,n)");
        expected.push_back(event);
    }
    EXPECT_EQ(hookLog(), expected);
}
