#include "tests/support/Host.h"

#include <cstdlib>
#include <functional>
#include <string>

using TextTest = HostTest;

TEST_F(TextTest, EmptyTextHasNoBuffer)
{
    Plinth::Ref<TestText> fromEmpty(document().makeText(u""));
    Plinth::Ref<Arbor::Text> fromNull(document().createTextNode(nullptr));
    EXPECT_EQ(fromEmpty->data(), nullptr);
    EXPECT_EQ(fromNull->data(), nullptr);
    EXPECT_EQ(fromNull->items(), 0u);
    expectDomError(1, [&] { std::free(fromNull->substringData(1, 0)); });
    const char16_t source[] = u"ab";
    fromEmpty->appendData(source);
    EXPECT_EQ(ascii(fromEmpty->data()), "ab");
    EXPECT_NE(fromEmpty->data(), source) << "the node keeps its own copy";
    expectDomError(1, [&] { fromEmpty->replaceDataRaw(3, 0, u"x"); });
}

// The offset is checked first, then read-only, then the node's own refusal, all before any change.
TEST_F(TextTest, RefusalOrder)
{
    TestText* t = appendText(root(), u"abc");
    expectRefusals(t,
        {
            { "offset before read-only", "re", [&] { t->replaceData(4, 0, u"x"); }, 1 },
            { "read-only before refusal", "re", [&] { t->replaceData(0, 1, u"x"); }, 7 },
            { "refusal", "e", [&] { t->deleteData(0, 1); }, 3 },
            { "split: offset before read-only", "r", [&] { t->splitText(4); }, 1 },
            { "split: read-only", "r", [&] { t->splitText(1); }, 7 },
        });
}

TEST_F(TextTest, SplitWithAParentThatRefuses)
{
    // The edit refused after the insertion: the new node stays, the text keeps everything.
    TestText* t = appendText(root(), u"abcdef");
    t->refuseEdit = true;
    expectDomError(3, [&] { t->splitText(3); });
    // Only the tree holds it (the teardown's checker counts it).
    EXPECT_EQ(children(root()), "'abcdef' 'def'");
    events.clear();

    // The insertion refused: nothing changes and the new node is released.
    Plinth::Ref<TestElement> parent(document().makeElement("p"));
    TestText* u = appendText(parent.get(), u"abcdef");
    appendElement(parent.get(), "k");
    parent->refuseChildren = true;
    expectDomError(3, [&] { u->splitText(3); });
    EXPECT_EQ(children(parent.get()), "'abcdef' k");

    // A detached parent: the new node goes right after the text.
    parent->refuseChildren = false;
    u->splitText(2);
    EXPECT_EQ(children(parent.get()), "'ab' 'cdef' k");
    EXPECT_TRUE(events.lines().empty());
}

// Every edit that leaves text behind gives the node a new buffer (allocated before the old one is
// freed), whatever the sizes: growing, shrinking, the same size, and replacing nothing by nothing;
// both on a detached node (the raw edit) and in the content (the recorded edit).
TEST_F(TextTest, EveryEditGivesTheTextANewBuffer)
{
    const struct {
        unsigned long offset, count;
        const char16_t* data;
        const char* expected;
    } cases[] = { { 1, 0, nullptr, "hello" }, { 5, 0, u"!", "hello!" }, { 1, 2, u"XY", "hXYlo" },
        { 1, 3, nullptr, "ho" }, { 0, 1, u"J", "Jello" } };
    for (const auto& c : cases) {
        Plinth::Ref<TestText> detached(document().makeText(u"hello"));
        for (Arbor::Text* text : { static_cast<Arbor::Text*>(detached.get()),
                 static_cast<Arbor::Text*>(appendText(root(), u"hello")) }) {
            SCOPED_TRACE(std::string(c.expected) + (text->parentNode() ? " in the content" : ""));
            const char16_t* before = text->data();
            text->replaceData(c.offset, c.count, c.data);
            EXPECT_EQ(ascii(text->data()), c.expected);
            EXPECT_NE(text->data(), before);
        }
    }
}

// A split at either end is allowed and leaves an empty node, with no buffer, on that side.
TEST_F(TextTest, SplitAtEitherEnd)
{
    TestText* t = appendText(root(), u"abc");
    Arbor::Text* end = t->splitText(3);
    EXPECT_EQ(end->data(), nullptr);
    Arbor::Text* start = t->splitText(0);
    EXPECT_EQ(children(root()), "'' 'abc' ''");
    EXPECT_EQ(t->data(), nullptr);
    EXPECT_EQ(ascii(start->data()), "abc");
    expectDomError(1, [&] { t->splitText(1); });
}

// Lengths are counted in whole units at every size around the blocks the count reads at once,
// in texts and comments alike, made new and edited: units with a zero byte ('A' and U+0100),
// side by side so that two zero bytes meet across them, are not the terminator.
TEST_F(TextTest, LengthsAtEverySize)
{
    for (unsigned long units = 1; units <= 300; ++units) {
        std::u16string data(units, u'A');
        for (unsigned long i = 1; i < units; i += 2)
            data[i] = u'\u0100';
        SCOPED_TRACE(units);
        Plinth::Ref<TestText> text(document().makeText(data.c_str()));
        EXPECT_EQ(text->length(), units);
        text->insertData(units / 2, u"xy");
        EXPECT_EQ(text->length(), units + 2);
        Plinth::Ref<Arbor::Comment> comment(document().createComment(data.c_str()));
        EXPECT_EQ(comment->length(), units);
    }
}
