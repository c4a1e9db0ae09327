#include "tests/support/Host.h"

#include <algorithm>
#include <string>

using ConvenienceTest = HostTest;

TEST(Utf8Test, DecodingRepairsEachIllFormedSubpart)
{
    const struct {
        const char* name;
        std::string bytes;
        std::u16string expected;
    } cases[] = {
        { "one to four bytes", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
            u"a\u00e9\u20ac\U0001F600" },
        { "highest code point", "\xF4\x8F\xBF\xBF", u"\U0010FFFF" },
        { "embedded NUL is kept", std::string("a\0b", 3), std::u16string(u"a\0b", 3) },
        { "stray continuation byte", std::string("a\x80") + 'b', u"a\uFFFDb" },
        { "sequence cut short by ASCII", "\xE2\x82x", u"\uFFFDx" },
        { "sequence cut short by the end", "a\xF0\x9F\x98", u"a\uFFFD" },
        { "sequence cut short by a lead byte", "\xE2\xC3\xA9", u"\uFFFD\u00e9" },
        { "overlong two-byte form", "\xC0\xAF", u"\uFFFD\uFFFD" },
        { "overlong three-byte form", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD" },
        { "encoded surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD" },
        { "above U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD" },
        { "byte that never starts a sequence", std::string("\xFF") + 'a', u"\uFFFDa" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Arbor::utf16FromUtf8(c.bytes), c.expected);
    }
}

TEST(Utf8Test, EncodingReplacesUnpairedSurrogates)
{
    const struct {
        const char* name;
        std::u16string text;
        std::string expected;
    } cases[] = {
        { "pair", u"\U0001F600", "\xF0\x9F\x98\x80" },
        { "BMP forms at the edges of their lengths", u"\u007f\u0080\u07ff\u0800\uffff",
            "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF" },
        { "high surrogate at the end", u"a\xD83D", "a\xEF\xBF\xBD" },
        { "high surrogate before a letter", std::u16string(u"\xD83D") + u'a',
            std::string("\xEF\xBF\xBD") + 'a' },
        { "low surrogate alone", u"\xDE00", "\xEF\xBF\xBD" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Arbor::utf8FromUtf16(std::u16string_view(c.text)), c.expected);
        EXPECT_EQ(Arbor::utf8FromUtf16(c.text.c_str()), c.expected);
    }
    EXPECT_EQ(Arbor::utf8FromUtf16(static_cast<const char16_t*>(nullptr)), "");
}

// Text from and to UTF-8; attributes set as checked, undoable strings and read as text.
TEST_F(ConvenienceTest, Utf8TextAndAttributes)
{
    Plinth::Ref<Arbor::Text> text(Arbor::createTextNodeUtf8(&document(), "caf\xC3\xA9 \xE9"));
    EXPECT_EQ(text->ownerDocument(), &document());
    EXPECT_EQ(std::u16string(text->data()), u"caf\u00e9 \uFFFD");
    EXPECT_EQ(Arbor::textUtf8(text.get()), "caf\xC3\xA9 \xEF\xBF\xBD");

    Plinth::Ref<Arbor::Text> empty(Arbor::createTextNodeUtf8(&document(), ""));
    EXPECT_EQ(empty->data(), nullptr);
    EXPECT_EQ(Arbor::textUtf8(empty.get()), "");

    expectUndoRedoRestores([&] { Arbor::setAttributeUtf8(root(), "title", "na\xC3\xAFve \xFF"); });
    EXPECT_EQ(events.lines().front(), "BeforeSetAttribute(root,title=na\xC3\xAFve \xEF\xBF\xBD)");
    EXPECT_NE(
        root()->getAttribute("title").dynamicCast(Arbor::StringVariant::runtimeClass()), nullptr);

    root()->refuseSet = true;
    expectDomError(Arbor::DomException::HIERARCHY_REQUEST_ERR,
        [&] { Arbor::setAttributeUtf8(root(), "title", "x"); });
    EXPECT_EQ(Arbor::getAttributeUtf8(root(), "title"), "na\xC3\xAFve \xEF\xBF\xBD");
    root()->setAttributeRaw("u", Arbor::UStringVariant(u"\U0001F600"));
    root()->setAttributeRaw("l", Arbor::LongVariant(-42));
    EXPECT_EQ(Arbor::getAttributeUtf8(root(), "u"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(Arbor::getAttributeUtf8(root(), "l"), "-42");
    EXPECT_EQ(Arbor::getAttributeUtf8(root(), "absent"), "");
}

TEST_F(ConvenienceTest, ChildrenLoopVisitsEachChildInOrder)
{
    appendElement(root(), "a");
    appendText(root(), u"x");
    appendElement(root(), "b");
    std::string seen;
    for (Arbor::Node* child : Arbor::children(root()))
        seen += nameOf(child);
    EXPECT_EQ(seen, "atb");

    const Arbor::Children all = Arbor::children(root());
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](Arbor::Node* n) { return n->asText(); }), 1);
    Arbor::Node* empty = root()->firstChild();
    EXPECT_EQ(Arbor::children(empty).begin(), Arbor::children(empty).end());
    EXPECT_EQ(Arbor::children(nullptr).begin(), Arbor::ChildIterator());
}
