#include "arbor/tree/DomException.h"

#include <gtest/gtest.h>

#include <string>

TEST(DomExceptionTest, NamesItsCode)
{
    struct Case {
        long code;
        const char* name;
    };
    const Case cases[] = {
        { 0, "<<invalid>>" },
        { 1, "INDEX_SIZE_ERR" },
        { 3, "HIERARCHY_REQUEST_ERR" },
        { 7, "NO_MODIFICATION_ALLOWED_ERR" },
        { 8, "NOT_FOUND_ERR" },
        { 11, "INVALID_STATE_ERR" },
        { 15, "INVALID_ACCESS_ERR" },
        { 16, "<<invalid>>" },
        { -1, "<<invalid>>" },
        { -2147483648L, "<<invalid>>" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        const Arbor::DomException e(c.code);
        EXPECT_EQ(e.code, c.code);
        EXPECT_STREQ(e.causeName(), c.name);
    }
}

TEST(DomExceptionTest, RangeExceptionNamesItsCode)
{
    struct Case {
        long code;
        const char* name;
    };
    const Case cases[] = {
        { 0, "<<invalid>>" },
        { 1, "BAD_BOUNDARYPOINTS_ERR" },
        { 2, "INVALID_NODE_TYPE_ERR" },
        { 3, "<<invalid>>" },
        { -1, "<<invalid>>" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_STREQ(Arbor::RangeException(c.code).causeName(), c.name);
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
