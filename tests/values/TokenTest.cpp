#include "arbor/values/Token.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// Every test interns names with its own prefix: the table is shared by the whole process.

// The first interning of a name decides: adopting keeps the caller's pointer, copying never does.
TEST(TokenTest, EqualNamesShareOneEntryWhateverTheFlags)
{
    const struct {
        const char* text;
        bool firstCopy;
        bool secondCopy;
    } cases[] = { { "flags:cc", true, true }, { "flags:ca", true, false },
        { "flags:ac", false, true }, { "flags:aa", false, false } };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const std::string again = c.text;
        const Arbor::Token first(c.text, c.firstCopy);
        const Arbor::Token second(again.c_str(), c.secondCopy);
        EXPECT_EQ(first, second);
        EXPECT_STREQ(first, c.text);
        EXPECT_EQ(first.name == c.text, !c.firstCopy);
        EXPECT_NE(second.name, again.c_str());
    }
}

// Names are compared by their characters (case included), interned by copy, and `find` never
// adds; the empty name is a name, only null is the null token.
TEST(TokenTest, IdentityAndFind)
{
    char buffer[] = "copy:buffer";
    const Arbor::Token token(buffer);
    std::memset(buffer, 'X', sizeof(buffer) - 1);
    EXPECT_STREQ(token.name, "copy:buffer");
    EXPECT_EQ(Arbor::Token::find("copy:buffer"), token);
    EXPECT_TRUE(Arbor::Token::find(buffer).isNull());

    const Arbor::Token lower("case:name");
    const Arbor::Token upper("CASE:NAME");
    EXPECT_NE(lower, upper);
    // Tokens order by identity, strictly: a token is not before itself, of two one comes first.
    EXPECT_FALSE(lower < lower);
    EXPECT_NE(lower < upper, upper < lower);
    for (const char* absent : { "case:nam", "case:name2", "find:unknown", "find:unknown" })
        EXPECT_TRUE(Arbor::Token::find(absent).isNull()) << absent;
    EXPECT_TRUE(Arbor::Token::find(nullptr).isNull());

    const Arbor::Token empty("");
    EXPECT_STREQ(empty.name, "");
    EXPECT_EQ(Arbor::Token::find(""), empty);
    EXPECT_TRUE(Arbor::Token(nullptr).isNull());
    EXPECT_NE(Arbor::Token(), empty);
}

TEST(TokenTest, LibraryNamesAreInternedAtLoad)
{
    using namespace Arbor;
    const std::pair<const Token&, const char*> cases[] = {
        { tok_BeforeReplaceChildren, "BeforeReplaceChildren" },
        { tok_AfterReplaceChildren, "AfterReplaceChildren" },
        { tok_BeforeReplaceText, "BeforeReplaceText" },
        { tok_AfterReplaceText, "AfterReplaceText" },
        { tok_BeforeSetAttribute, "BeforeSetAttribute" },
        { tok_AfterSetAttribute, "AfterSetAttribute" },
        { tok_BeforeRemoveAttribute, "BeforeRemoveAttribute" },
        { tok_AfterRemoveAttribute, "AfterRemoveAttribute" },
        { tok_BeforeSelectionChange, "BeforeSelectionChange" },
        { tok_AfterSelectionChange, "AfterSelectionChange" },
        { tok_BeforeDeselect, "BeforeDeselect" },
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(c.first.name, c.second);
        EXPECT_EQ(Token(std::string(c.second).c_str()), c.first) << c.second;
    }
    for (const char* name : { "#document", "#rangelist", "#document-fragment", "#range" })
        EXPECT_FALSE(Token::find(name).isNull()) << name;
}

TEST(TokenTest, CreateInternsUpToTheFirstNull)
{
    Arbor::Token::create(nullptr, true);
    const char* leadingNull[] = { nullptr, "create:hidden" };
    Arbor::Token::create(leadingNull, true);
    EXPECT_TRUE(Arbor::Token::find("create:hidden").isNull());

    static const char adopted[] = "create:adopted";
    const Arbor::Token existing("create:existing");
    const char* adoptNames[] = { adopted, "create:existing", nullptr, "create:after" };
    Arbor::Token::create(adoptNames, false);
    EXPECT_EQ(Arbor::Token::find("create:adopted").name, adopted);
    EXPECT_EQ(Arbor::Token::find("create:existing"), existing);
    EXPECT_TRUE(Arbor::Token::find("create:after").isNull());

    std::string copied = "create:copied";
    const char* copyNames[] = { copied.c_str(), adopted, nullptr };
    Arbor::Token::create(copyNames, true);
    EXPECT_NE(Arbor::Token::find("create:copied").name, copied.c_str());
    EXPECT_EQ(Arbor::Token::find("create:adopted").name, adopted);
}

// Threads intern hundreds of new names together, out of order, so the entry array grows under
// them: every thread must get the same entry for a name, and entries must not move.
TEST(TokenTest, ThreadsGrowingTheTableAgree)
{
    constexpr int threadCount = 6;
    constexpr int nameCount = 700;
    std::vector<std::string> names;
    for (int i = 0; i < nameCount; ++i)
        names.push_back("grow:" + std::to_string(i * 7919 % nameCount));
    const Arbor::Token before = Arbor::Token::find("BeforeReplaceText");
    std::vector<std::vector<const char*>> seen(threadCount, std::vector<const char*>(nameCount));
    std::atomic<int> ready { 0 };
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            for (++ready; ready < threadCount;)
                std::this_thread::yield();
            // Each thread starts at its own name and mixes the ways of interning.
            for (int k = 0; k < nameCount; ++k) {
                const char* list[] = { names[(k + t * 37) % nameCount].c_str(), nullptr };
                if (t % 3 == 0) Arbor::Token::create(list, true);
                seen[t][(k + t * 37) % nameCount]
                    = t % 3 ? Arbor::Token(list[0], true).name : Arbor::Token::find(list[0]).name;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int i = 0; i < nameCount; ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_STREQ(seen[0][i], names[i].c_str());
        EXPECT_EQ(Arbor::Token::find(names[i].c_str()).name, seen[0][i]);
        for (int t = 1; t < threadCount; ++t)
            EXPECT_EQ(seen[t][i], seen[0][i]);
    }
    EXPECT_EQ(Arbor::Token::find("BeforeReplaceText"), before);
}
