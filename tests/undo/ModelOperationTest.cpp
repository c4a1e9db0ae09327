#include "tests/support/Host.h"

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using ModelOperationTest = HostTest;

// A chain run appended: the parent's new children are told once per insertion (also on redo) but
// not on removal, and the run taken out by undo stays linked as a chain.
TEST_F(ModelOperationTest, AppendedChainAndItsInverse)
{
    TestElement* p = appendElement(root(), "p");
    TestElement* x = document().makeElement("x");
    TestElement* y = document().makeElement("y");
    TestElement* z = document().makeElement("z");
    // The chain x y z, each next link counted, as child operations take runs of nodes.
    Plinth::assignCounted(x->next, y);
    y->previous = x;
    Plinth::assignCounted(y->next, z);
    z->previous = y;
    Arbor::ReplaceChildrenOperation op(&document(), p, nullptr, 5, x);
    EXPECT_EQ(op.count, 0u) << "no run without a first child";
    op.execute();
    op.undo();
    EXPECT_EQ(xml(p), "<p></p>");
    EXPECT_EQ(siblings(x), "x y z") << "the removed run stays linked";
    EXPECT_EQ(x->parentChanges, 1) << "not told when removed";
    op.redo();
    EXPECT_EQ(xml(p), "<p><x></x><y></y><z></z></p>");
    for (TestElement* node : { x, y, z })
        EXPECT_EQ(node->parentChanges, 2);
    // Only the inserted nodes are told, not the child they are put before.
    Arbor::ReplaceChildrenOperation before(&document(), p, x, 0, document().makeElement("w"));
    before.execute();
    EXPECT_EQ(xml(p), "<p><w></w><x></x><y></y><z></z></p>");
    EXPECT_EQ(x->parentChanges, 2);
}

// Redoing a clamped deletion deletes the units that were really there.
TEST_F(ModelOperationTest, DeletionPastTheEndRedoesWhatWasThere)
{
    TestText* t = appendText(root(), u"abcde");
    Arbor::ReplaceTextOperation op(&document(), t, 1, 5, nullptr);
    events.clear();
    op.execute();
    op.undo();
    EXPECT_EQ(xml(t), "abcde");
    op.redo();
    EXPECT_EQ(xml(t), "a");
    EXPECT_EQ(events.take(),
        (Lines { "BeforeReplaceText(t,1,5,null)", "AfterReplaceText(t)",
            "BeforeReplaceText(t,1,0,\"bcde\")", "AfterReplaceText(t)",
            "BeforeReplaceText(t,1,4,null)", "AfterReplaceText(t)" }));
}

TEST_F(ModelOperationTest, TextOperationPastTheEndThrowsBeforeAnyEvent)
{
    TestText* t = appendText(root(), u"abc");
    Arbor::Comment* c = document().createComment(u"abc");
    root()->appendChild(c);
    Arbor::ReplaceTextOperation op(&document(), t, 4, 0, u"x");
    Arbor::ReplaceDataOperation dataOp(&document(), c, 4, 0, u"x");
    const Snapshot before = snapshot();
    expectDomError(Arbor::DomException::INDEX_SIZE_ERR, [&] { op.execute(); });
    expectDomError(Arbor::DomException::INDEX_SIZE_ERR, [&] { dataOp.execute(); });
    EXPECT_EQ(snapshot(), before);
}

// Removing an absent attribute does nothing, both ways, and calls no hook.
TEST_F(ModelOperationTest, RemovingAnAbsentAttributeDoesNothing)
{
    TestElement* e = appendElement(root(), "e");
    Arbor::RemoveAttributeOperation op(&document(), e, Arbor::Token("k"));
    EXPECT_FALSE(op.hadAttribute);
    events.clear();
    hookLog().clear();
    op.execute();
    op.undo();
    op.redo();
    EXPECT_EQ(xml(e), "<e></e>");
    EXPECT_TRUE(events.lines().empty());
    EXPECT_TRUE(hookLog().empty());
}

// An element that logs the references taken on it and every question put to its attribute store,
// so the order in which an operation reads the store and holds the element shows.
class StoreLogElement final : public Arbor::BasicElement {
public:
    Lines* log = nullptr;
    bool throwOnHas = false;

    using BasicElement::BasicElement;
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
// attribute; a removal asks again before it reads the value it keeps for undo. A store that
// throws meanwhile leaves the element's count as it was (the teardown's checker counts it).
TEST_F(ModelOperationTest, OperationsHoldTheElementBeforeAskingTheStore)
{
    auto* element = new StoreLogElement(&document(), Arbor::Token("e", true));
    root()->appendChild(element);
    const Arbor::Token name("a", true);
    element->setAttribute(name, Arbor::StringVariant("v"));
    Lines log;
    element->log = &log;
    EXPECT_TRUE(Arbor::RemoveAttributeOperation(&document(), element, name).hadAttribute);
    EXPECT_EQ(log, (Lines { "ref", "has(a)", "has(a)", "get(a)" }));
    log.clear();
    EXPECT_TRUE(Arbor::SetAttributeOperation(&document(), element, name, Arbor::StringVariant("w"))
                    .hadAttribute);
    EXPECT_EQ(log, (Lines { "ref", "has(a)" }));
    element->log = nullptr;

    element->throwOnHas = true;
    EXPECT_THROW(Arbor::RemoveAttributeOperation(&document(), element, name), std::runtime_error);
    EXPECT_THROW(
        Arbor::SetAttributeOperation(&document(), element, name, Arbor::StringVariant("w")),
        std::runtime_error);
    element->throwOnHas = false;
}

} // namespace
