#include "arbor/values/Variant.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>

static_assert(sizeof(Arbor::BoolVariant) == sizeof(Arbor::Variant)
        && sizeof(Arbor::StringVariant) == sizeof(Arbor::Variant)
        && sizeof(Arbor::FixedUStringVariant) == sizeof(Arbor::Variant)
        && sizeof(Arbor::TokenVariant) == sizeof(Arbor::Variant),
    "subclasses add no field");

namespace {

// Holder count of a shared string block: a signed 64-bit count right before the characters.
template <class Char> long holders(const Char* text)
{
    long count;
    std::memcpy(&count, reinterpret_cast<const char*>(text) - sizeof(long), sizeof(count));
    return count;
}

template <class Char> long holders(const Plinth::FixedStringBase<Char>& handle)
{
    return handle.rep->holders;
}

Arbor::Variant fromWords(Arbor::VariantClass* cls, unsigned long first, unsigned long second = 0)
{
    unsigned long words[2] = { first, second };
    return Arbor::Variant(cls, words);
}

template <class T> unsigned long bitsOf(T value)
{
    unsigned long bits = 0;
    std::memcpy(&bits, &value, sizeof(value));
    return bits;
}

bool classLess(Arbor::VariantClass* a, Arbor::VariantClass* b)
{
    return std::less<const void*>()(a, b);
}

} // namespace

TEST(VariantTest, PlainPayloadLayout)
{
    struct Case {
        const char* name;
        Arbor::Variant typed;
        Arbor::Variant words;
    };
    const Case cases[] = {
        { "bool in the first byte", Arbor::BoolVariant(true),
            fromWords(Arbor::BoolVariant::runtimeClass(), 1) },
        { "false is all zero", Arbor::BoolVariant(false),
            fromWords(Arbor::BoolVariant::runtimeClass(), 0) },
        { "long in the first word", Arbor::LongVariant(-5),
            fromWords(Arbor::LongVariant::runtimeClass(), static_cast<unsigned long>(-5L)) },
        { "float in the first four bytes", Arbor::FloatVariant(-1.5f),
            fromWords(Arbor::FloatVariant::runtimeClass(), bitsOf(-1.5f)) },
        { "double in the first word", Arbor::DoubleVariant(0.1),
            fromWords(Arbor::DoubleVariant::runtimeClass(), bitsOf(0.1)) },
        { "token pointer in the first word", Arbor::TokenVariant(Arbor::tok_BeforeDeselect),
            fromWords(Arbor::TokenVariant::runtimeClass(),
                reinterpret_cast<unsigned long>(Arbor::tok_BeforeDeselect.name)) },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(c.typed == c.words);
        EXPECT_FALSE(c.typed < c.words || c.words < c.typed);
    }
}

TEST(VariantTest, EqualityAndOrder)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Arbor::Token first("variant:first");
    const Arbor::Token second("variant:second");
    const Plinth::FixedStringBase<char> handle("fixed");
    const Plinth::FixedStringBase<char16_t> uhandle(u"fixed");
    using Arbor::StringVariant;
    using Arbor::UStringVariant;
    using Fixed = Arbor::FixedStringVariant;

    struct Case {
        const char* name;
        Arbor::Variant a;
        Arbor::Variant b;
        bool equal;
        bool less; // a < b
    };
    const Case cases[] = {
        { "empty and false differ by class", Arbor::Variant(), Arbor::BoolVariant(false), false,
            classLess(Arbor::Variant::runtimeClass(), Arbor::BoolVariant::runtimeClass()) },
        { "long 1 and double 1", Arbor::LongVariant(1), Arbor::DoubleVariant(1.0), false,
            classLess(Arbor::LongVariant::runtimeClass(), Arbor::DoubleVariant::runtimeClass()) },
        { "long order is unsigned", Arbor::LongVariant(-1), Arbor::LongVariant(1), false, false },
        { "positive and negative zero", Arbor::DoubleVariant(0.0), Arbor::DoubleVariant(-0.0),
            false, true },
        { "same NaN bits", Arbor::DoubleVariant(nan), Arbor::DoubleVariant(nan), true, false },
        { "float bits order", Arbor::FloatVariant(1.0f), Arbor::FloatVariant(2.0f), false, true },
        { "second word decides", fromWords(Arbor::LongVariant::runtimeClass(), 1, 2),
            fromWords(Arbor::LongVariant::runtimeClass(), 1, 3), false, true },
        { "strings with equal text", StringVariant("abc"), StringVariant("abc"), true, false },
        { "strings by text", StringVariant("abc"), StringVariant("abd"), false, true },
        { "string prefix", StringVariant("ab"), StringVariant("abc"), false, true },
        { "null strings", StringVariant(nullptr), StringVariant(nullptr), true, false },
        { "null before empty", StringVariant(nullptr), StringVariant(""), false, true },
        { "narrow bytes unsigned", StringVariant("a"), StringVariant("\xC3\xA9"), false, true },
        { "UTF-16 equal", UStringVariant(u"\U0001F600"), UStringVariant(u"\U0001F600"), true,
            false },
        { "UTF-16 units unsigned", UStringVariant(u"z"), UStringVariant(u"\xFFFF"), false, true },
        { "UTF-16 null before empty", UStringVariant(nullptr), UStringVariant(u""), false, true },
        { "narrow and UTF-16 differ by class", StringVariant("x"), UStringVariant(u"x"), false,
            classLess(StringVariant::runtimeClass(), UStringVariant::runtimeClass()) },
        { "fixed blocks with equal text", Fixed(handle),
            Fixed(Plinth::FixedStringBase<char>("fixed")), true, false },
        { "fixed by text", Fixed(handle), Fixed(Plinth::FixedStringBase<char>("other")), false,
            true },
        { "fixed null before text", Fixed({}), Fixed(handle), false, true },
        { "fixed null handles", Fixed({}), Fixed({}), true, false },
        { "fixed UTF-16", Arbor::FixedUStringVariant(uhandle),
            Arbor::FixedUStringVariant(Plinth::FixedStringBase<char16_t>(u"fixed")), true, false },
        { "tokens by identity", Arbor::TokenVariant(first),
            Arbor::TokenVariant(Arbor::Token("variant:first")), true, false },
        { "tokens by address", Arbor::TokenVariant(first), Arbor::TokenVariant(second), false,
            std::less<const char*>()(first.name, second.name) },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b == c.a, c.equal);
        EXPECT_EQ(c.a != c.b, !c.equal);
        EXPECT_EQ(c.a < c.b, c.less);
        // A strict order: never both ways, and one way whenever the values differ.
        EXPECT_FALSE(c.a < c.b && c.b < c.a);
        EXPECT_EQ(c.a < c.b || c.b < c.a, !c.equal);
        EXPECT_FALSE(c.a < c.a);
        EXPECT_TRUE(c.a == c.a);
    }
}

TEST(VariantTest, DynamicCastMatchesOnlyTheOwnClass)
{
    Arbor::LongVariant number(7);
    Arbor::Variant& plain = number;
    EXPECT_EQ(plain.dynamicCast(Arbor::LongVariant::runtimeClass()), &plain);
    EXPECT_EQ(plain.dynamicCast(Arbor::DoubleVariant::runtimeClass()), nullptr);
    EXPECT_EQ(plain.dynamicCast(Arbor::Variant::runtimeClass()), nullptr);
    const Arbor::Variant empty;
    EXPECT_EQ(empty.dynamicCast(Arbor::Variant::runtimeClass()), &empty);
    EXPECT_EQ(empty.variantClass(), Arbor::Variant::runtimeClass());
}

// Copies share one block; assignment (also to another class) shares the new payload before it
// lets the old one go.
TEST(VariantTest, CopiesShareOneBlockAndLetItGo)
{
    Arbor::StringVariant a("alpha");
    const char* alpha = a.val();
    {
        Arbor::StringVariant b(a);
        Arbor::Variant plain(a);
        EXPECT_EQ(b.val(), alpha);
        EXPECT_EQ(holders(alpha), 3);
        b = static_cast<const Arbor::StringVariant&>(b);
        plain = Arbor::TokenVariant(Arbor::tok_AfterReplaceText);
        EXPECT_EQ(holders(alpha), 2);
        EXPECT_EQ(plain.variantClass(), Arbor::TokenVariant::runtimeClass());
        EXPECT_TRUE(plain == Arbor::TokenVariant(Arbor::tok_AfterReplaceText));
        Arbor::StringVariant c("gamma");
        b = c;
        EXPECT_EQ(holders(alpha), 1);
        EXPECT_EQ(holders(c.val()), 2);
        plain = a;
        EXPECT_EQ(holders(alpha), 2);
    }
    EXPECT_EQ(holders(alpha), 1);
    EXPECT_STREQ(a.val(), "alpha");
    EXPECT_EQ(Arbor::StringVariant(nullptr).val(), nullptr);

    Arbor::UStringVariant u(u"\U0001F600 smile");
    Arbor::UStringVariant v(u);
    EXPECT_EQ(v.val(), u.val());
    EXPECT_EQ(holders(u.val()), 2);
    v = Arbor::UStringVariant(nullptr);
    EXPECT_EQ(v.val(), nullptr);
    EXPECT_EQ(holders(u.val()), 1);
    EXPECT_EQ(std::u16string(u.val()), u"\U0001F600 smile");
}

TEST(VariantTest, FixedStringVariantsCountHolders)
{
    Plinth::FixedStringBase<char> handle("fixed text");
    {
        Arbor::FixedStringVariant a(handle);
        Arbor::FixedStringVariant b(a);
        {
            const Plinth::FixedStringBase<char> read = a.val();
            EXPECT_EQ(read.rep, handle.rep);
            EXPECT_EQ(holders(handle), 4);
        }
        a = b;
        a = static_cast<const Arbor::FixedStringVariant&>(a);
        EXPECT_EQ(holders(handle), 3);
        EXPECT_STREQ(b.val().c_str(), "fixed text");
        Arbor::FixedStringVariant empty { Plinth::FixedStringBase<char>() };
        EXPECT_EQ(empty.val().rep, nullptr);
        a = empty;
        EXPECT_EQ(holders(handle), 2);
    }
    EXPECT_EQ(holders(handle), 1);

    Plinth::FixedStringBase<char16_t> wide(u"wide");
    {
        Arbor::FixedUStringVariant w(wide);
        Arbor::Variant copy(w);
        EXPECT_EQ(holders(wide), 3);
        EXPECT_EQ(std::u16string(w.val().c_str()), u"wide");
    }
    EXPECT_EQ(holders(wide), 1);

    // The handles themselves.
    Plinth::FixedStringBase<char> same(handle);
    same = static_cast<const Plinth::FixedStringBase<char>&>(same);
    EXPECT_EQ(same.rep, handle.rep);
    EXPECT_EQ(holders(handle), 2);
    const Plinth::FixedStringBase<char> none;
    Plinth::FixedStringBase<char> copy(none);
    EXPECT_EQ(copy.rep, nullptr);
    copy = same;
    same = none;
    EXPECT_EQ(holders(handle), 2);
    copy = none;
    EXPECT_EQ(copy.rep, nullptr);
    EXPECT_EQ(holders(handle), 1);
    EXPECT_EQ(Plinth::FixedStringBase<char>(nullptr).rep, nullptr);
}
