#include "arbor/values/Token.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

// Every test interns names with its own prefix: the table is shared by the whole process.

TEST(TokenTest, EqualNamesShareOneEntryWhateverTheFlags)
{
    struct Case {
        const char* name;
        const char* text;
        bool firstCopy;
        bool secondCopy;
    };
    const Case cases[] = {
        { "copy then copy", "flags:cc", true, true },
        { "copy then adopt", "flags:ca", true, false },
        { "adopt then copy", "flags:ac", false, true },
        { "adopt then adopt", "flags:aa", false, false },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string again = c.text;
        const Arbor::Token first(c.text, c.firstCopy);
        const Arbor::Token second(again.c_str(), c.secondCopy);
        EXPECT_EQ(first, second);
        EXPECT_STREQ(first, c.text);
        // The first interning decides: adopting keeps the caller's pointer, copying never does.
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
    EXPECT_NE(lower, Arbor::Token("CASE:NAME"));
    EXPECT_NE(lower, Arbor::Token("case:Name"));
    EXPECT_TRUE(Arbor::Token::find("case:nam").isNull());
    EXPECT_TRUE(Arbor::Token::find("case:name2").isNull());
    EXPECT_TRUE(Arbor::Token::find("find:unknown").isNull());
    EXPECT_TRUE(Arbor::Token::find("find:unknown").isNull());
    EXPECT_TRUE(Arbor::Token::find(nullptr).isNull());

    const Arbor::Token empty("");
    EXPECT_FALSE(empty.isNull());
    EXPECT_STREQ(empty.name, "");
    EXPECT_EQ(Arbor::Token::find(""), empty);
    EXPECT_TRUE(Arbor::Token(nullptr).isNull());
    EXPECT_NE(Arbor::Token(), empty);
}

TEST(TokenTest, LibraryNamesAreInternedAtLoad)
{
    struct Case {
        const Arbor::Token& token;
        const char* name;
    };
    const Case cases[] = {
        { Arbor::tok_BeforeReplaceChildren, "BeforeReplaceChildren" },
        { Arbor::tok_AfterReplaceChildren, "AfterReplaceChildren" },
        { Arbor::tok_BeforeReplaceText, "BeforeReplaceText" },
        { Arbor::tok_AfterReplaceText, "AfterReplaceText" },
        { Arbor::tok_BeforeSetAttribute, "BeforeSetAttribute" },
        { Arbor::tok_AfterSetAttribute, "AfterSetAttribute" },
        { Arbor::tok_BeforeRemoveAttribute, "BeforeRemoveAttribute" },
        { Arbor::tok_AfterRemoveAttribute, "AfterRemoveAttribute" },
        { Arbor::tok_BeforeSelectionChange, "BeforeSelectionChange" },
        { Arbor::tok_AfterSelectionChange, "AfterSelectionChange" },
        { Arbor::tok_BeforeDeselect, "BeforeDeselect" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_STREQ(c.token.name, c.name);
        EXPECT_EQ(Arbor::Token::find(c.name), c.token);
        EXPECT_EQ(Arbor::Token(std::string(c.name).c_str()), c.token);
    }
    for (const char* name : { "#document", "#rangelist", "#document-fragment", "#range" }) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Arbor::Token::find(name).isNull());
    }
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
    const Arbor::Token found = Arbor::Token::find("create:copied");
    EXPECT_NE(found.name, copied.c_str());
    EXPECT_EQ(Arbor::Token::find("create:adopted").name, adopted);
}

// Hundreds of new names force the entry array to grow; tokens are pointers to the strings, so
// they must not move when it does, and lookups must still find every name.
TEST(TokenTest, GrowingTableKeepsEarlierTokens)
{
    std::vector<std::string> names;
    for (int i = 0; i < 700; ++i)
        names.push_back("grow:" + std::to_string((i * 7919) % 700));
    std::vector<Arbor::Token> tokens;
    for (const std::string& name : names)
        tokens.emplace_back(name.c_str());
    const Arbor::Token before = Arbor::tok_BeforeReplaceText;

    for (std::size_t i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_STREQ(tokens[i].name, names[i].c_str());
        EXPECT_EQ(Arbor::Token::find(names[i].c_str()), tokens[i]);
        EXPECT_EQ(Arbor::Token(names[i].c_str(), false), tokens[i]);
    }
    EXPECT_EQ(Arbor::Token::find("BeforeReplaceText"), before);
    EXPECT_EQ(before.name, Arbor::tok_BeforeReplaceText.name);
}

TEST(TokenTest, ThreadsInterningTogetherAgree)
{
    constexpr int threadCount = 8;
    constexpr int nameCount = 300;
    std::vector<std::string> names;
    for (int i = 0; i < nameCount; ++i)
        names.push_back("threads:" + std::to_string(i));

    std::vector<std::vector<const char*>> seen(threadCount, std::vector<const char*>(nameCount));
    std::atomic<int> ready { 0 };
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            ++ready;
            while (ready < threadCount)
                std::this_thread::yield();
            // Each thread walks the names from its own starting point and mixes the three ways
            // of interning.
            for (int k = 0; k < nameCount; ++k) {
                const int i = (k + t * 37) % nameCount;
                const std::string name = names[i];
                if (t % 3 == 0) {
                    const char* list[] = { name.c_str(), nullptr };
                    Arbor::Token::create(list, true);
                    seen[t][i] = Arbor::Token::find(name.c_str()).name;
                } else {
                    seen[t][i] = Arbor::Token(name.c_str(), true).name;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    for (int i = 0; i < nameCount; ++i) {
        SCOPED_TRACE(names[i]);
        ASSERT_NE(seen[0][i], nullptr);
        EXPECT_STREQ(seen[0][i], names[i].c_str());
        for (int t = 1; t < threadCount; ++t)
            EXPECT_EQ(seen[t][i], seen[0][i]);
    }
}
