#include "tests/support/Host.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using AttributeStoreCallsTest = HostTest;

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
TEST_F(AttributeStoreCallsTest, OperationsHoldTheElementBeforeAskingTheStore)
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
TEST_F(AttributeStoreCallsTest, StoreFailureWhileBuildingKeepsTheCount)
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
