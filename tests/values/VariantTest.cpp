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

// Plain values are compared by their payload words (so the typed constructors must put the value
// where the raw words say), strings by their text, tokens by identity, different classes by class.
TEST(VariantTest, EqualityAndOrder)
{
    using namespace Arbor;
    using Fixed = FixedStringVariant;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Token first("variant:first");
    const Token second("variant:second");
    const Plinth::FixedStringBase<char> handle("fixed");
    struct Case {
        const char* name;
        Variant a;
        Variant b;
        bool equal;
        bool less; // a < b
    };
    const Case cases[] = {
        { "bool in the first byte", BoolVariant(true), fromWords(BoolVariant::runtimeClass(), 1),
            true, false },
        { "false is all zero", BoolVariant(false), fromWords(BoolVariant::runtimeClass(), 0), true,
            false },
        { "long in the first word", LongVariant(-5),
            fromWords(LongVariant::runtimeClass(), static_cast<unsigned long>(-5L)), true, false },
        { "float in the first four bytes", FloatVariant(-1.5f),
            fromWords(FloatVariant::runtimeClass(), bitsOf(-1.5f)), true, false },
        { "double in the first word", DoubleVariant(0.1),
            fromWords(DoubleVariant::runtimeClass(), bitsOf(0.1)), true, false },
        { "token pointer in the first word", TokenVariant(tok_BeforeDeselect),
            fromWords(TokenVariant::runtimeClass(),
                reinterpret_cast<unsigned long>(tok_BeforeDeselect.name)),
            true, false },
        { "empty and false differ by class", Variant(), BoolVariant(false), false,
            classLess(Variant::runtimeClass(), BoolVariant::runtimeClass()) },
        { "long 1 and double 1", LongVariant(1), DoubleVariant(1.0), false,
            classLess(LongVariant::runtimeClass(), DoubleVariant::runtimeClass()) },
        { "long order is unsigned", LongVariant(-1), LongVariant(1), false, false },
        { "positive and negative zero", DoubleVariant(0.0), DoubleVariant(-0.0), false, true },
        { "same NaN bits", DoubleVariant(nan), DoubleVariant(nan), true, false },
        { "float bits order", FloatVariant(1.0f), FloatVariant(2.0f), false, true },
        { "second word decides", fromWords(LongVariant::runtimeClass(), 1, 2),
            fromWords(LongVariant::runtimeClass(), 1, 3), false, true },
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
        { "fixed UTF-16", FixedUStringVariant(Plinth::FixedStringBase<char16_t>(u"fixed")),
            FixedUStringVariant(Plinth::FixedStringBase<char16_t>(u"fixed")), true, false },
        { "tokens by identity", TokenVariant(first), TokenVariant(Token("variant:first")), true,
            false },
        { "tokens by address", TokenVariant(first), TokenVariant(second), false,
            std::less<const char*>()(first.name, second.name) },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b == c.a, c.equal);
        EXPECT_EQ(c.a != c.b, !c.equal);
        EXPECT_EQ(c.a < c.b, c.less);
        EXPECT_EQ(c.b < c.a, !c.equal && !c.less);
        EXPECT_FALSE(c.a < c.a);
        EXPECT_TRUE(c.a == c.a);
    }
}

// Copies share the string; assignment (also to another class, and to itself) keeps the new value.
TEST(VariantTest, CopiesAndAssignment)
{
    Arbor::StringVariant a("alpha");
    Arbor::StringVariant b(a);
    EXPECT_EQ(b.val(), a.val());
    b = static_cast<const Arbor::StringVariant&>(b);
    EXPECT_STREQ(b.val(), "alpha");
    Arbor::Variant plain(a);
    plain = Arbor::TokenVariant(Arbor::tok_AfterReplaceText);
    EXPECT_EQ(plain.variantClass(), Arbor::TokenVariant::runtimeClass());
    EXPECT_TRUE(plain == Arbor::TokenVariant(Arbor::tok_AfterReplaceText));
    EXPECT_EQ(plain.dynamicCast(Arbor::TokenVariant::runtimeClass()), &plain);
    EXPECT_EQ(static_cast<const Arbor::Variant&>(plain).dynamicCast(Arbor::Variant::runtimeClass()),
        nullptr);
    EXPECT_EQ(Arbor::StringVariant(nullptr).val(), nullptr);

    Arbor::UStringVariant u(u"\U0001F600 smile");
    EXPECT_EQ(Arbor::UStringVariant(u).val(), u.val());
    EXPECT_EQ(std::u16string(u.val()), u"\U0001F600 smile");
    Plinth::FixedStringBase<char> handle("fixed text");
    Arbor::FixedStringVariant f(handle);
    EXPECT_EQ(f.val().rep, handle.rep);
    EXPECT_STREQ(Arbor::FixedStringVariant(f).val().c_str(), "fixed text");
    EXPECT_EQ(Arbor::FixedStringVariant({}).val().rep, nullptr);
}
