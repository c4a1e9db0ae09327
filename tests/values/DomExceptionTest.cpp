#include "arbor/tree/DomException.h"

#include <gtest/gtest.h>

#include <string>

TEST(DomExceptionTest, NamesItsCodeAndIsAStdException)
{
    struct Case {
        bool range;
        long code;
        const char* name;
    };
    const Case cases[] = {
        { false, 0, "<<invalid>>" },
        { false, 1, "INDEX_SIZE_ERR" },
        { false, 3, "HIERARCHY_REQUEST_ERR" },
        { false, 7, "NO_MODIFICATION_ALLOWED_ERR" },
        { false, 8, "NOT_FOUND_ERR" },
        { false, 11, "INVALID_STATE_ERR" },
        { false, 15, "INVALID_ACCESS_ERR" },
        { false, 16, "<<invalid>>" },
        { false, -2147483648L, "<<invalid>>" },
        { true, 0, "<<invalid>>" },
        { true, 1, "BAD_BOUNDARYPOINTS_ERR" },
        { true, 2, "INVALID_NODE_TYPE_ERR" },
        { true, 3, "<<invalid>>" },
    };
    const std::string standard = std::exception().what();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.range ? "range " : "") + std::to_string(c.code));
        const Arbor::DomException dom(c.code);
        const Arbor::RangeException range(c.code);
        const std::exception& e = c.range ? static_cast<const std::exception&>(range) : dom;
        EXPECT_STREQ(c.range ? range.causeName() : dom.causeName(), c.name);
        EXPECT_EQ(e.what(), standard);
    }
}
