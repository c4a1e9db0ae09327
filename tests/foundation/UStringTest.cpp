#include "arbor/foundation/UString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Strings that end exactly where their allocation ends, at every start alignment: measuring them
// must read nothing past the terminator (the memory checkers report any such read).
TEST(UStringTest, MeasuresStringsThatFillTheirAllocation)
{
    for (unsigned long skip = 0; skip < 8; ++skip) {
        for (unsigned long units = 0; units <= 200; ++units) {
            // `skip` units before the string move its start off the allocator's alignment.
            auto* block
                = static_cast<char16_t*>(std::malloc((skip + units + 1) * sizeof(char16_t)));
            ASSERT_NE(block, nullptr);
            char16_t* text = block + skip;
            for (unsigned long i = 0; i < skip + units; ++i)
                block[i] = static_cast<char16_t>(i % 3 == 0 ? 0xFFFF : u'a' + i % 26);
            text[units] = 0;
            EXPECT_EQ(Plinth::ustrlen(text), units) << "skip " << skip;
            char16_t* copy = Plinth::ustrdup(text);
            ASSERT_NE(copy, nullptr);
            EXPECT_EQ(Plinth::ustrcmp(copy, text), 0);
            std::free(copy);
            std::free(block);
        }
    }
}

TEST(UStringTest, CopiesStopWhereTheyShould)
{
    char16_t buffer[] = u"########";
    Plinth::ustrcpy(buffer, u"hey");
    EXPECT_EQ(std::u16string(buffer, 5), std::u16string(u"hey\0#", 5));
    Plinth::ustrncpy(buffer, u"hello", 4);
    EXPECT_EQ(std::u16string(buffer, 5), u"hell#"); // no terminator written
}

TEST(UStringTest, CompareOrdersByUnsignedUnits)
{
    const struct {
        const char16_t* a;
        const char16_t* b;
        int sign;
    } cases[] = { { u"abc", u"abc", 0 }, { u"", u"", 0 }, { u"ab", u"abc", -1 }, { u"", u"a", -1 },
        { u"abd", u"abcz", 1 }, { u"A", u"a", -1 }, { u"\xFFFF", u"a", 1 },
        { u"\xD800", u"\xE000", -1 } };
    for (const auto& c : cases) {
        const int forward = Plinth::ustrcmp(c.a, c.b);
        const int backward = Plinth::ustrcmp(c.b, c.a);
        EXPECT_EQ((forward > 0) - (forward < 0), c.sign) << &c - cases;
        EXPECT_EQ((backward > 0) - (backward < 0), -c.sign) << &c - cases;
    }
}
