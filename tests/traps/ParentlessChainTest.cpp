// Parentless sibling chains (split parentless text, removed runs): inserting a node of such a chain
// cuts it out of the chain first, a direct replaceChildren refuses anything but a chain head, and
// a node whose predecessor died comes out as a clean chain head.

#include "tests/support/Host.h"
#include "tests/support/Links.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using ParentlessChainTest = HostTest;

namespace {

using Arbor::Node;

// Splits a parentless text "abcd" into the chain 'a' 'b' 'c' 'd' (splitting the head and a node
// in the middle of the chain) and returns its nodes.
std::vector<Node*> splitIntoChain(Arbor::Text* text)
{
    text->splitText(2)->splitText(1);
    text->splitText(1);
    std::vector<Node*> nodes;
    for (Node* node = text; node; node = node->next)
        nodes.push_back(node);
    return nodes;
}

enum class Op { InsertBefore, Append, Replace };

} // namespace

// The head of a parentless chain dies while the node after it is held elsewhere: the survivor has
// no dangling `previous`, can be read and moves into a tree like any chain head.
TEST_F(ParentlessChainTest, SurvivorOfADestroyedPredecessor)
{
    struct Case {
        const char* name;
        int survivorIndex;
        bool intoDocument;
        const char* survivorChain;
    };
    const Case cases[] = {
        { "second of two, into the document", 1, true, "'bcd'" },
        { "second of four, into a detached element", 1, false, "'b' 'c' 'd'" },
        { "third of four, into the document", 2, true, "'c' 'd'" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Plinth::Ref<Node> head(document().makeText(u"abcd"));
        std::vector<Node*> nodes;
        if (c.survivorIndex == 1 && c.intoDocument)
            nodes = { head.get(), head->asText()->splitText(1) };
        else
            nodes = splitIntoChain(head->asText());
        Plinth::Ref<Node> survivor(nodes[c.survivorIndex]);
        if (c.survivorIndex == 2) {
            // Cut the chain after the first node so the survivor's predecessor is the head.
            Plinth::Ref<Node> second(nodes[1]);
            head.reset();
            head = second;
        }

        head.reset();
        EXPECT_EQ(survivor->previousSibling(), nullptr);
        EXPECT_EQ(survivor->parentNode(), nullptr);
        EXPECT_EQ(siblings(survivor.get()), c.survivorChain);
        Held held { { survivor.get(), 1 } };
        EXPECT_LINKS_SOUND({ survivor.get() }, &held);

        Plinth::Ref<Node> target(
            c.intoDocument ? static_cast<Node*>(root()) : document().makeElement("target"));
        target->appendChild(survivor.get());
        EXPECT_EQ(survivor->parentNode(), target.get());
        EXPECT_EQ(target->lastChild(), survivor.get());
        EXPECT_EQ(survivor->nextSibling(), nullptr) << "only the one node moves";
        EXPECT_EQ(label(survivor.get()), label(nodes[c.survivorIndex]));
        EXPECT_LINKS_SOUND({ target.get(), survivor.get() });
        if (c.intoDocument) root()->removeChild(survivor.get());
    }
}
