#include "tests/support/Host.h"

using ConformanceTreeTest = HostTest;

// Every edit that leaves text behind gives the node a new buffer (allocated before the old one is
// freed), whatever the sizes: growing, shrinking, the same size, and replacing nothing by nothing;
// both on a detached node (the raw edit) and in the content (the recorded edit).
TEST_F(ConformanceTreeTest, EveryEditGivesTheTextANewBuffer)
{
    struct Case {
        unsigned long offset;
        unsigned long count;
        const char16_t* data;
        const char* expected;
    };
    const Case cases[] = {
        { 1, 0, nullptr, "hello" },
        { 5, 0, u"!", "hello!" },
        { 1, 2, u"XY", "hXYlo" },
        { 1, 3, nullptr, "ho" },
        { 0, 1, u"J", "Jello" },
    };
    for (const Case& c : cases) {
        Plinth::Ref<TestText> detached(document().makeText(u"hello"));
        TestText* inContent = appendText(root(), u"hello");
        for (Arbor::Text* text :
            { static_cast<Arbor::Text*>(detached.get()), static_cast<Arbor::Text*>(inContent) }) {
            SCOPED_TRACE(std::string(c.expected) + (text->parentNode() ? " in the content" : ""));
            const char16_t* before = text->data();
            text->replaceData(c.offset, c.count, c.data);
            EXPECT_EQ(ascii(text->data()), c.expected);
            EXPECT_NE(text->data(), before);
        }
    }
}
