#include "tests/support/Host.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// An observer that writes "name:Type" into a shared log and runs `action` on each event it gets.
class Probe final : public Arbor::IDocObserver {
public:
    Probe(Lines& log, const char* name)
        : log(log)
        , name(name)
    {
    }
    std::function<void(Arbor::DomEvent&)> action;

    void unObserve(Arbor::Token type) override
    {
        log.push_back(name + ":unObserve(" + (type.name ? type.name : "all") + ")");
    }
    void onEvent(Arbor::DomEvent& event) override
    {
        log.push_back(name + ":" + event.type.name);
        if (action) action(event);
    }

private:
    Lines& log;
    std::string name;
};

class ObserverTest : public HostTest {
protected:
    Lines log;
    Probe a { log, "A" }, b { log, "B" }, c { log, "C" }, d { log, "D" };
    TestText* t = nullptr;

    void SetUp() override
    {
        HostTest::SetUp();
        t = appendText(root(), u"abc");
        events.clear();
    }
    /// One text edit: a before- and an after-event.
    void edit() { t->appendData(u"x"); }
};

// A typed registration hears its type only, one without a type every event; each registration
// is a delivery of its own. A removal ends the registration it names (without a type: all of the
// observer's), each with its unObserve call.
TEST_F(ObserverTest, RegistrationsAndRemovals)
{
    document().addObserver(&a, Arbor::tok_BeforeReplaceText);
    document().addObserver(&a, Arbor::tok_AfterReplaceText);
    document().addObserver(&b);
    document().addObserver(&b);
    document().removeObserver(&a, Arbor::tok_BeforeReplaceChildren);
    document().removeObserver(&a, Arbor::Token());
    document().removeObserver(&c);
    document().removeObserver(nullptr);
    EXPECT_TRUE(log.empty()) << "no registration matched";
    appendElement(root(), "p");
    Plinth::Ref<Arbor::Range> selected(document().createRange(true));
    selected->setEnd(t, 1);
    edit();
    EXPECT_EQ(log,
        (Lines { "B:BeforeReplaceChildren", "B:BeforeReplaceChildren", "B:AfterReplaceChildren",
            "B:AfterReplaceChildren", "B:BeforeSelectionChange", "B:BeforeSelectionChange",
            "B:AfterSelectionChange", "B:AfterSelectionChange", "A:BeforeReplaceText",
            "B:BeforeReplaceText", "B:BeforeReplaceText", "A:AfterReplaceText",
            "B:AfterReplaceText", "B:AfterReplaceText" }));

    log.clear();
    document().removeObserver(&a, Arbor::tok_BeforeReplaceText);
    document().removeObserver(&b, Arbor::Token());
    edit();
    document().removeObserver(&a);
    document().removeObserver(&b);
    edit();
    EXPECT_EQ(log,
        (Lines { "A:unObserve(BeforeReplaceText)", "B:unObserve(all)", "B:BeforeReplaceText",
            "A:AfterReplaceText", "B:AfterReplaceText", "A:unObserve(AfterReplaceText)",
            "B:unObserve(all)" }));
}

// Removals and registrations made from inside a delivery take effect at once: a removed observer
// hears nothing more, a new one is reached in the same delivery when it lands behind the current.
TEST_F(ObserverTest, RegistrationChangesDuringDeliveryTakeEffectAtOnce)
{
    const Arbor::Token text = Arbor::tok_BeforeReplaceText;
    const auto both = [&] {
        document().addObserver(&a);
        document().addObserver(&b);
    };
    const auto typed = [&](bool hole) {
        document().addObserver(&a, text);
        if (hole) document().addObserver(&d);
        document().addObserver(&b, text);
        if (hole) document().removeObserver(&d);
    };
    // The registrations, A's reaction to its first event, and what is heard.
    const std::tuple<std::function<void()>, std::function<void()>, Lines> cases[] = {
        { both, [&] { document().removeObserver(&a); }, // A removes itself
            { "A:BeforeReplaceText", "A:unObserve(all)", "B:BeforeReplaceText",
                "B:AfterReplaceText" } },
        { both, [&] { document().removeObserver(&b); }, // A removes B further on
            { "A:BeforeReplaceText", "B:unObserve(all)", "A:AfterReplaceText" } },
        { [&] { typed(false); }, [&] { document().addObserver(&c, text); }, // A appends C
            { "A:BeforeReplaceText", "B:BeforeReplaceText", "C:BeforeReplaceText" } },
        { [&] { typed(true); }, [&] { document().addObserver(&c, text); }, // into a hole
            { "A:BeforeReplaceText", "C:BeforeReplaceText", "B:BeforeReplaceText" } },
    };
    for (const auto& test : cases) {
        const auto& [setUp, react, expected] = test;
        SCOPED_TRACE(expected.back());
        setUp();
        a.action = [&](Arbor::DomEvent&) {
            a.action = nullptr;
            std::get<1>(test)();
        };
        log.clear();
        edit();
        EXPECT_EQ(log, expected);
        for (Probe* probe : { &a, &b, &c, &d })
            document().removeObserver(probe);
        log.clear();
    }
}

// A change made from inside a delivery is delivered in full, from the front of the list, before
// the outer delivery goes on; it is recorded first, in the same task.
TEST_F(ObserverTest, ChangeFromAnObserverNestsItsDelivery)
{
    TestText* other = appendText(root(), u"123");
    document().addObserver(&a, Arbor::tok_AfterReplaceText);
    document().addObserver(&b);
    a.action = [&](Arbor::DomEvent& event) {
        if (event.target == t) other->appendData(u"4");
    };
    const std::string before = xml(&document());
    document().newUndoTask();
    log.clear();
    edit();
    EXPECT_EQ(log,
        (Lines { "B:BeforeReplaceText", "A:AfterReplaceText", "B:BeforeReplaceText",
            "A:AfterReplaceText", "B:AfterReplaceText", "B:AfterReplaceText" }));
    EXPECT_EQ(xml(root()), "<root>abcx1234</root>");
    a.action = nullptr;
    document().undo();
    EXPECT_EQ(xml(&document()), before);
}

// A before-event observer that throws stops the change before anything moves; the document goes
// on working and holds nothing of the failed change.
TEST_F(ObserverTest, ThrowingObserverLeavesTheTreeUnchanged)
{
    const std::pair<Arbor::Token, std::function<void()>> cases[] = {
        { Arbor::tok_BeforeReplaceChildren,
            [this] { root()->appendChild(document().makeElement("p")); } },
        { Arbor::tok_BeforeReplaceText, [this] { edit(); } },
        { Arbor::tok_BeforeSetAttribute,
            [this] { root()->setAttribute("k", Arbor::LongVariant(1)); } },
    };
    for (const auto& [refused, change] : cases) {
        SCOPED_TRACE(refused.name);
        document().addObserver(&a, refused);
        a.action = [](Arbor::DomEvent&) { throw std::runtime_error("refused"); };
        document().newUndoTask();
        const std::string before = xml(&document());
        const auto recorded = document().undoStack.operations.size();
        EXPECT_THROW(change(), std::runtime_error);
        EXPECT_EQ(xml(&document()), before);
        EXPECT_EQ(document().undoStack.operations.size(), recorded) << "the failed change is kept";
        EXPECT_EQ(document().operationDepth, 0u);

        a.action = nullptr;
        expectUndoRedoRestores(change);
        document().removeObserver(&a);
        document().clearUndoStack();
    }
}

} // namespace
