#include "arbor/tree/DomException.h"

#include <gtest/gtest.h>

#include <string>

TEST(DomExceptionTest, NamesItsCode)
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
        { false, -1, "<<invalid>>" },
        { false, -2147483648L, "<<invalid>>" },
        { true, 0, "<<invalid>>" },
        { true, 1, "BAD_BOUNDARYPOINTS_ERR" },
        { true, 2, "INVALID_NODE_TYPE_ERR" },
        { true, 3, "<<invalid>>" },
        { true, -1, "<<invalid>>" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.range ? "range " : "") + std::to_string(c.code));
        EXPECT_STREQ(c.range ? Arbor::RangeException(c.code).causeName()
                             : Arbor::DomException(c.code).causeName(),
            c.name);
    }
}

TEST(DomExceptionTest, CaughtAsStdExceptionWithStandardText)
{
    const std::string standard = std::exception().what();
    try {
        throw Arbor::DomException(Arbor::DomException::NOT_FOUND_ERR);
    } catch (const std::exception& e) {
        EXPECT_EQ(e.what(), standard);
        const auto* dom = dynamic_cast<const Arbor::DomException*>(&e);
        ASSERT_NE(dom, nullptr);
        EXPECT_EQ(dom->code, 8);
    }
    try {
        throw Arbor::RangeException(Arbor::RangeException::BAD_BOUNDARYPOINTS_ERR);
    } catch (const std::exception& e) {
        EXPECT_EQ(e.what(), standard);
        EXPECT_NE(dynamic_cast<const Arbor::RangeException*>(&e), nullptr);
    }
}
