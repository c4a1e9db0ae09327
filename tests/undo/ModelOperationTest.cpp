#include "tests/support/Host.h"

#include <climits>
#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using ModelOperationTest = HostTest;

// Links `nodes` into a parentless chain headed by the first one, each next link counted: the form
// in which child operations take and keep runs of nodes.
Arbor::Node* chain(std::initializer_list<Arbor::Node*> nodes)
{
    Arbor::Node* previous = nullptr;
    for (Arbor::Node* node : nodes) {
        if (previous) {
            Plinth::assignCounted(previous->next, node);
            node->previous = previous;
        }
        previous = node;
    }
    return *nodes.begin();
}

// The data an operation keeps; "null" for none.
std::string dataText(const char16_t* data) { return data ? ascii(data) : "null"; }

void expectFields(const Arbor::ReplaceChildrenOperation& op, Arbor::Node* first,
    unsigned long count, Arbor::Node* replacement)
{
    EXPECT_EQ(nameOf(op.first), nameOf(first));
    EXPECT_EQ(op.first, first);
    EXPECT_EQ(op.count, count);
    EXPECT_EQ(op.replacement, replacement);
}

TEST_F(ModelOperationTest, AppendedChainAndItsInverse)
{
    TestElement* p = appendElement(root(), "p");
    TestElement* x = document().makeElement("x");
    TestElement* y = document().makeElement("y");
    TestElement* z = document().makeElement("z");
    auto op = std::make_unique<Arbor::ReplaceChildrenOperation>(
        &document(), p, nullptr, 5, chain({ x, y, z }));
    EXPECT_EQ(op->count, 0u) << "no run without a first child";
    const Lines appended { "BeforeReplaceChildren(p,child=null,new=x,count=0)",
        "AfterReplaceChildren(p)" };
    events.clear();

    op->execute();
    expectFields(*op, x, 3, nullptr);
    EXPECT_EQ(xml(p), "<p><x></x><y></y><z></z></p>");
    EXPECT_EQ(events.take(), appended);
    for (TestElement* node : { x, y, z })
        EXPECT_EQ(node->parentChanges, 1);

    op->undo();
    expectFields(*op, nullptr, 0, x);
    EXPECT_EQ(xml(p), "<p></p>");
    EXPECT_EQ(events.take(),
        (Lines { "BeforeReplaceChildren(p,child=x,new=null,count=3)", "AfterReplaceChildren(p)" }));
    EXPECT_EQ(x->parentNode(), nullptr);
    EXPECT_EQ(x->nextSibling(), y) << "the removed run stays linked";
    EXPECT_EQ(z->previousSibling(), y);
    for (TestElement* node : { x, y, z })
        EXPECT_EQ(node->parentChanges, 1) << "not told when removed";

    op->redo();
    expectFields(*op, x, 3, nullptr);
    EXPECT_EQ(xml(p), "<p><x></x><y></y><z></z></p>");
    EXPECT_EQ(events.take(), appended);
    for (TestElement* node : { x, y, z })
        EXPECT_EQ(node->parentChanges, 2);
}

TEST_F(ModelOperationTest, RemovedChildComesBackBeforeItsFormerSibling)
{
    struct Case {
        const char* name;
        int removed;
        const char* removeLine;
        const char* restoreLine;
    };
    const Case cases[] = {
        { "middle child", 1, "BeforeReplaceChildren(p,child=b,new=null,count=1)",
            "BeforeReplaceChildren(p,child=c,new=b,count=0)" },
        { "last child", 2, "BeforeReplaceChildren(p,child=c,new=null,count=1)",
            "BeforeReplaceChildren(p,child=null,new=c,count=0)" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestElement* p = appendElement(root(), "p");
        TestElement* kids[]
            = { appendElement(p, "a"), appendElement(p, "b"), appendElement(p, "c") };
        TestElement* gone = kids[c.removed];
        Arbor::Node* after = gone->nextSibling();
        const std::string full = xml(p);
        auto op
            = std::make_unique<Arbor::ReplaceChildrenOperation>(&document(), p, gone, 1, nullptr);
        events.clear();

        op->execute();
        expectFields(*op, after, 0, gone);
        EXPECT_EQ(gone->parentNode(), nullptr);
        EXPECT_EQ(gone->parentChanges, 1);
        EXPECT_EQ(events.take(), (Lines { c.removeLine, "AfterReplaceChildren(p)" }));

        op->undo();
        expectFields(*op, gone, 1, nullptr);
        EXPECT_EQ(xml(p), full);
        EXPECT_EQ(gone->parentChanges, 2);
        EXPECT_EQ(events.take(), (Lines { c.restoreLine, "AfterReplaceChildren(p)" }));

        op->redo();
        expectFields(*op, after, 0, gone);
        EXPECT_EQ(events.take(), (Lines { c.removeLine, "AfterReplaceChildren(p)" }));
    }
}

TEST_F(ModelOperationTest, RunIsClampedAtConstruction)
{
    TestElement* a = appendElement(root(), "a");
    TestElement* b = appendElement(root(), "b");
    appendElement(root(), "c");
    struct Case {
        const char* name;
        Arbor::Node* first;
        unsigned long count;
        unsigned long clamped;
    };
    const Case cases[] = {
        { "past the end", b, 5, 2 },
        { "largest count", a, ULONG_MAX, 3 },
        { "exact", a, 2, 2 },
        { "zero", a, 0, 0 },
        { "no first child", nullptr, 3, 0 },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Arbor::ReplaceChildrenOperation op(&document(), root(), c.first, c.count, nullptr);
        EXPECT_EQ(op.count, c.clamped);
    }
}

TEST_F(ModelOperationTest, TextOperationSavesWhatItReplaced)
{
    struct Case {
        const char* name;
        const char16_t* initial;
        unsigned long offset, count;
        const char16_t* data;
        const char* changed;
        unsigned long countAfter;
        const char* dataAfter;
        const char* doLine;
        const char* undoLine;
        const char* redoLine;
    };
    // Redoing a clamped deletion deletes the units that were really there.
    const Case cases[] = {
        { "insertion", u"abc", 2, 0, u"xyz", "abxyzc", 3, "null",
            "BeforeReplaceText(t,2,0,\"xyz\")", "BeforeReplaceText(t,2,3,null)",
            "BeforeReplaceText(t,2,0,\"xyz\")" },
        { "deletion past the end", u"abcde", 1, 5, nullptr, "a", 0, "bcde",
            "BeforeReplaceText(t,1,5,null)", "BeforeReplaceText(t,1,0,\"bcde\")",
            "BeforeReplaceText(t,1,4,null)" },
        { "replacement", u"abcdef", 1, 2, u"XYZ", "aXYZdef", 3, "bc",
            "BeforeReplaceText(t,1,2,\"XYZ\")", "BeforeReplaceText(t,1,3,\"bc\")",
            "BeforeReplaceText(t,1,2,\"XYZ\")" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestText* t = appendText(root(), c.initial);
        const std::string initial = xml(t);
        auto op = std::make_unique<Arbor::ReplaceTextOperation>(
            &document(), t, c.offset, c.count, c.data);
        events.clear();

        op->execute();
        EXPECT_EQ(xml(t), c.changed);
        EXPECT_EQ(op->count, c.countAfter);
        EXPECT_EQ(dataText(op->data), c.dataAfter);
        EXPECT_EQ(events.take(), (Lines { c.doLine, "AfterReplaceText(t)" }));

        op->undo();
        EXPECT_EQ(xml(t), initial);
        EXPECT_EQ(op->offset, c.offset);
        EXPECT_EQ(dataText(op->data), dataText(c.data));
        EXPECT_EQ(events.take(), (Lines { c.undoLine, "AfterReplaceText(t)" }));

        op->redo();
        EXPECT_EQ(xml(t), c.changed);
        EXPECT_EQ(dataText(op->data), c.dataAfter);
        EXPECT_EQ(events.take(), (Lines { c.redoLine, "AfterReplaceText(t)" }));
    }
}

TEST_F(ModelOperationTest, TextOperationPastTheEndThrowsBeforeAnyEvent)
{
    TestText* t = appendText(root(), u"abc");
    Arbor::ReplaceTextOperation op(&document(), t, 4, 0, u"x");
    events.clear();
    expectDomError(Arbor::DomException::INDEX_SIZE_ERR, [&] { op.execute(); });
    EXPECT_EQ(xml(t), "abc");
    EXPECT_TRUE(events.lines().empty());
}

TEST_F(ModelOperationTest, AttributeOperationsAndTheirInverses)
{
    struct Case {
        const char* name;
        bool had;
        bool remove;
        const char* changed;
        const char* restored;
        Lines doLines;
        Lines undoLines;
        const char* valueAfterDo;
    };
    const Lines setB { "BeforeSetAttribute(e,k=B)", "AfterSetAttribute(e,k)" };
    const Lines setA { "BeforeSetAttribute(e,k=A)", "AfterSetAttribute(e,k)" };
    const Lines removeK { "BeforeRemoveAttribute(e,k)", "AfterRemoveAttribute(e,k)" };
    const Case cases[] = {
        { "set a new attribute", false, false, "<e k=\"B\"></e>", "<e></e>", setB, removeK, "B" },
        { "overwrite", true, false, "<e k=\"B\"></e>", "<e k=\"A\"></e>", setB, setA, "A" },
        { "remove", true, true, "<e></e>", "<e k=\"A\"></e>", removeK, setA, nullptr },
        { "remove an absent attribute", false, true, "<e></e>", "<e></e>", {}, {}, nullptr },
    };
    const Arbor::Token k("k");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestElement* e = appendElement(root(), "e");
        if (c.had) e->setAttribute(k, Arbor::UStringVariant(u"A"));
        std::unique_ptr<Arbor::AttributeOperation> op;
        if (c.remove)
            op = std::make_unique<Arbor::RemoveAttributeOperation>(&document(), e, k);
        else
            op = std::make_unique<Arbor::SetAttributeOperation>(
                &document(), e, k, Arbor::UStringVariant(u"B"));
        EXPECT_EQ(op->hadAttribute, c.had);
        auto* set = dynamic_cast<Arbor::SetAttributeOperation*>(op.get());
        events.clear();
        hookLog().clear();

        for (int round = 0; round < 2; ++round) {
            SCOPED_TRACE(round == 0 ? "execute, undo" : "redo, undo");
            round == 0 ? op->execute() : op->redo();
            EXPECT_EQ(xml(e), c.changed);
            EXPECT_EQ(events.take(), c.doLines);
            EXPECT_EQ(hookLog().size(), c.doLines.size()) << "one hook call per event";
            if (set) {
                EXPECT_EQ(valueText(set->value), c.valueAfterDo);
            }
            hookLog().clear();

            op->undo();
            EXPECT_EQ(xml(e), c.restored);
            EXPECT_EQ(events.take(), c.undoLines);
            EXPECT_EQ(hookLog().size(), c.undoLines.size());
            if (set) {
                EXPECT_EQ(valueText(set->value), "B");
            }
            hookLog().clear();
        }
        EXPECT_EQ(op->hadAttribute, c.had) << "never changes";
    }
}

// An element that logs the references taken on it and every question put to its attribute store,
// so the order in which an operation reads the store and holds the element shows.
class StoreLogElement final : public Arbor::BasicElement {
public:
    Lines* log = nullptr;
    bool throwOnHas = false;

    StoreLogElement(Arbor::Document* document, Arbor::Token tag)
        : BasicElement(document, tag)
    {
    }

    void ref() const override
    {
        if (log) log->push_back("ref");
        BasicElement::ref();
    }
    bool hasAttribute(Arbor::Token name) override
    {
        if (log) log->push_back(std::string("has(") + name.name + ")");
        if (throwOnHas) throw std::runtime_error("store");
        return BasicElement::hasAttribute(name);
    }
    Arbor::Variant getAttribute(Arbor::Token name) override
    {
        if (log) log->push_back(std::string("get(") + name.name + ")");
        return BasicElement::getAttribute(name);
    }
};

// Building an attribute operation first holds the element, then asks whether it has the
// attribute; a removal asks again before it reads the value it keeps for undo.
TEST_F(ModelOperationTest, OperationsHoldTheElementBeforeAskingTheStore)
{
    auto* element = new StoreLogElement(&document(), Arbor::Token("e", true));
    root()->appendChild(element);
    const Arbor::Token name("a", true);
    element->setAttribute(name, Arbor::StringVariant("v"));

    struct Case {
        const char* what;
        bool remove;
        Lines expected;
    };
    const Case cases[] = {
        { "remove", true, { "ref", "has(a)", "has(a)", "get(a)" } },
        { "set", false, { "ref", "has(a)" } },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Lines log;
        element->log = &log;
        if (c.remove) {
            Arbor::RemoveAttributeOperation op(&document(), element, name);
            EXPECT_TRUE(op.hadAttribute);
        } else {
            Arbor::SetAttributeOperation op(&document(), element, name, Arbor::StringVariant("w"));
            EXPECT_TRUE(op.hadAttribute);
        }
        element->log = nullptr;
        EXPECT_EQ(log, c.expected);
    }
}

// A store that throws while the operation is being built leaves the element's count as it was.
TEST_F(ModelOperationTest, StoreFailureWhileBuildingKeepsTheCount)
{
    auto* element = new StoreLogElement(&document(), Arbor::Token("e", true));
    root()->appendChild(element);
    const Arbor::Token name("a", true);
    const unsigned long count = element->refCount;
    element->throwOnHas = true;
    EXPECT_THROW(Arbor::RemoveAttributeOperation(&document(), element, name), std::runtime_error);
    EXPECT_THROW(
        Arbor::SetAttributeOperation(&document(), element, name, Arbor::StringVariant("w")),
        std::runtime_error);
    element->throwOnHas = false;
    EXPECT_EQ(element->refCount, count);
    EXPECT_EQ(element->parent, root());
}

} // namespace
