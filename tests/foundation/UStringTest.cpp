#include "arbor/foundation/UString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

TEST(UStringTest, LengthCountsCodeUnits)
{
    EXPECT_EQ(Plinth::ustrlen(u""), 0u);
    EXPECT_EQ(Plinth::ustrlen(u"abc"), 3u);
    EXPECT_EQ(Plinth::ustrlen(u"a\U0001F600b"), 4u); // a surrogate pair is two units
}

TEST(UStringTest, CopiesStopWhereTheyShould)
{
    char16_t buffer[8];
    std::fill(std::begin(buffer), std::end(buffer), u'#');
    Plinth::ustrcpy(buffer, u"hey");
    EXPECT_EQ(std::u16string(buffer, 5), std::u16string(u"hey\0#", 5));

    std::fill(std::begin(buffer), std::end(buffer), u'#');
    Plinth::ustrncpy(buffer, u"hello", 3);
    EXPECT_EQ(std::u16string(buffer, 4), u"hel#"); // no terminator written
}

TEST(UStringTest, DuplicateIsAnIndependentMallocCopy)
{
    char16_t source[] = u"x\xD800y";
    std::unique_ptr<char16_t, Plinth::FreeDeleter> copy(Plinth::ustrdup(source));
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy.get(), source);
    source[0] = u'z';
    EXPECT_EQ(std::u16string(copy.get()), u"x\xD800y");

    std::unique_ptr<char16_t, Plinth::FreeDeleter> empty(Plinth::ustrdup(u""));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty.get()[0], 0);
}

TEST(UStringTest, CompareOrdersByUnsignedUnits)
{
    struct Case {
        const char* name;
        const char16_t* a;
        const char16_t* b;
        int sign;
    };
    const Case cases[] = {
        { "equal", u"abc", u"abc", 0 },
        { "both empty", u"", u"", 0 },
        { "prefix first", u"ab", u"abc", -1 },
        { "empty first", u"", u"a", -1 },
        { "first difference decides", u"abd", u"abcz", 1 },
        { "case differs", u"A", u"a", -1 },
        { "units above 0x7FFF are large", u"\xFFFF", u"a", 1 },
        { "surrogates below private use", u"\xD800", u"\xE000", -1 },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const int forward = Plinth::ustrcmp(c.a, c.b);
        const int backward = Plinth::ustrcmp(c.b, c.a);
        EXPECT_EQ((forward > 0) - (forward < 0), c.sign);
        EXPECT_EQ((backward > 0) - (backward < 0), -c.sign);
    }
}
