// Strings that end exactly where their allocation ends, at every start alignment: measuring them
// must read nothing past the terminator (the memory checkers report any such read).

#include "arbor/foundation/UString.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(UStringBoundsTest, MeasuresStringsThatFillTheirAllocation)
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
