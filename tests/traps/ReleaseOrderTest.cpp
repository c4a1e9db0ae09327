// Every order in which a host may let go of a document, its root element and the ranges it holds,
// with and without tearDown() first, with and without an open batch: nothing may be destroyed
// twice, read after it is freed or leaked.

#include "tests/support/Host.h"
#include "tests/support/Links.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Arbor::Node;
using Arbor::Range;

enum Item { Doc, Root, Selected, OnText, OnElement };
const char* const itemNames[] = { "document", "root", "selected", "onText", "onElement" };

Node* held(Node* node)
{
    node->ref();
    return node;
}

// What the test holds, one reference each: the document, its root element and three ranges, in
// <root><a>hello</a><b><c/></b>tail</root>, with <gone>bye<x/></gone> appended and removed (kept
// by the undo history) and an unheld range either in the text or on the document node.
struct Scene {
    std::vector<Node*> items;

    explicit Scene(bool unheldOnDocument)
    {
        auto* doc = static_cast<TestDocument*>(held(new TestDocument));
        TestElement* root = appendElement(doc, "root");
        TestText* hello = appendText(appendElement(root, "a"), u"hello");
        TestElement* b = appendElement(root, "b");
        appendElement(b, "c");
        TestText* tail = appendText(root, u"tail");
        TestElement* gone = appendElement(root, "gone");
        appendText(gone, u"bye");
        appendElement(gone, "x");
        root->removeChild(gone);
        items = { doc, held(root), held(newRange(doc, true, hello, 1, tail, 2)),
            held(newRange(doc, false, hello, 1, hello, 4)),
            held(newRange(doc, false, b, 0, b, 1)) };
        if (unheldOnDocument)
            doc->createRange(false); // stays at (document, 0)
        else
            newRange(doc, false, tail, 0, tail, 3);
    }
    TestDocument* doc() const { return static_cast<TestDocument*>(items[Doc]); }
};

// The held ranges still alive must be detached and outside every list.
void expectRangesDetached(const Scene& scene, const std::vector<bool>& released)
{
    for (int i = Selected; i <= OnElement; ++i) {
        if (released[i]) continue;
        const auto* range = static_cast<const Range*>(scene.items[i]);
        EXPECT_TRUE(range->isDetached()) << itemNames[i];
        EXPECT_FALSE(range->isSelected()) << itemNames[i];
        EXPECT_EQ(range->parentNode(), nullptr) << itemNames[i];
        EXPECT_EQ(range->startContainer, nullptr) << itemNames[i];
        EXPECT_EQ(range->endContainer, nullptr) << itemNames[i];
    }
}

void runOrder(const std::vector<Item>& order, bool batch, bool tearDownFirst, bool unheldOnDocument)
{
    const long baseline = liveHostObjects();
    Scene scene(unheldOnDocument);
    if (batch) scene.doc()->beginBatchChanges();
    // Parked ranges (batch) or a range on the document node hold the document while its range
    // list holds them: then only tearDown() ends it.
    const bool keepsItselfAlive = !tearDownFirst && (batch || unheldOnDocument);
    if (tearDownFirst) {
        scene.doc()->tearDown();
        expectRangesDetached(scene, std::vector<bool>(5, false));
    }
    const long aliveBeforeReleases = liveHostObjects();

    std::vector<bool> released(5, false);
    bool documentGone = false;
    for (Item item : order) {
        released[item] = true;
        scene.items[item]->unref();
        documentGone = documentGone || (item == Doc && !keepsItselfAlive);
        if (documentGone) {
            expectRangesDetached(scene, released);
            if (!released[Root]) {
                EXPECT_EQ(scene.items[Root]->parentNode(), nullptr);
                EXPECT_LINKS_SOUND({ scene.items[Root] });
                EXPECT_EQ(scene.items[Root]->items(), 3u);
            }
        }
    }

    if (keepsItselfAlive) {
        EXPECT_EQ(liveHostObjects(), aliveBeforeReleases) << "the document should still be alive";
        // Nobody holds the document any more; tearDown() must release it and everything else.
        scene.doc()->tearDown();
    }
    EXPECT_EQ(liveHostObjects(), baseline) << "host objects leaked";
}

} // namespace

TEST(ReleaseOrderTest, EveryPermutationWithAndWithoutTearDownAndBatch)
{
    for (int variant = 0; variant < 8; ++variant) {
        const bool batch = variant & 1, tearDownFirst = variant & 2, unheldOnDocument = variant & 4;
        std::vector<Item> order = { Doc, Root, Selected, OnText, OnElement };
        int runs = 0;
        do {
            std::string names;
            for (Item item : order)
                names += std::string(",") + itemNames[item];
            SCOPED_TRACE(std::string(batch ? "batch " : "") + (tearDownFirst ? "tearDown " : "")
                + (unheldOnDocument ? "unheld-on-document " : "") + names);
            runOrder(order, batch, tearDownFirst, unheldOnDocument);
            ++runs;
            if (HasFailure()) return;
        } while (std::next_permutation(order.begin(), order.end()));
        EXPECT_EQ(runs, 120);
    }
}

// Held nodes outlive the document: each comes out with no parent, its subtree intact, readable,
// and is released afterwards, in either order.
TEST(ReleaseOrderTest, NodesOutliveTheirDocument)
{
    struct Case {
        const char* name;
        bool holdText;
        bool holdElement;
        bool textFirst;
    };
    const Case cases[] = {
        { "text alone", true, false, true },
        { "element subtree alone", false, true, true },
        { "both, text released first", true, true, true },
        { "both, element released first", true, true, false },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const long baseline = liveHostObjects();
        // <root><e><f/>inner</e>mid<g/></root>
        Plinth::Ref<TestDocument> doc(new TestDocument);
        TestElement* root = appendElement(doc.get(), "root");
        TestElement* e = appendElement(root, "e");
        appendElement(e, "f");
        appendText(e, u"inner");
        TestText* mid = appendText(root, u"mid");
        appendElement(root, "g");
        Plinth::Ref<Node> text(c.holdText ? mid : nullptr);
        Plinth::Ref<Node> element(c.holdElement ? e : nullptr);

        doc.reset();
        if (element) {
            EXPECT_EQ(element->parentNode(), nullptr);
            EXPECT_EQ(xml(element.get()), "<e><f></f>inner</e>");
            EXPECT_LINKS_SOUND({ element.get() });
        }
        if (text) {
            // The first surviving sibling loses its dangling `previous` and keeps <g/> after it.
            EXPECT_EQ(text->parentNode(), nullptr);
            EXPECT_EQ(text->previousSibling(), element ? element.get() : nullptr);
            EXPECT_EQ(siblings(text.get()), "'mid' g");
            EXPECT_LINKS_SOUND({ text.get() });
        }
        if (c.textFirst) text.reset();
        element.reset();
        text.reset();
        EXPECT_EQ(liveHostObjects(), baseline);
    }
}

TEST(ReleaseOrderTest, DocumentDestroyedWhileABatchIsOpen)
{
    const long baseline = liveHostObjects();
    auto* doc = new TestDocument;
    doc->ref();
    TestElement* root = appendElement(doc, "root");
    TestElement* a = appendElement(root, "a");
    appendText(root, u"text");
    root->removeChild(a);
    auto* range = static_cast<Range*>(held(newRange(doc, false, root, 0, root, 1)));
    range->detach(); // a detached range does not park on the document
    doc->beginBatchChanges();
    doc->beginBatchChanges();
    appendElement(root, "late");

    doc->unref();
    EXPECT_EQ(liveHostObjects(), baseline);
    EXPECT_EQ(range->parentNode(), nullptr);
    range->unref();
}
