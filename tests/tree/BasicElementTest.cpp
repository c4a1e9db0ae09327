#include "tests/support/Host.h"

#include <algorithm>
#include <climits>
#include <map>

using BasicElementTest = HostTest;

// A fixed pseudo-random run of sets, overwrites and removals over twenty names keeps the element
// around the size where lookups switch between the scan and the index, in both directions. A name
// keeps the place it first came at, also across removals; an absent name reads as empty.
TEST_F(BasicElementTest, StoreKeepsInsertionOrderAcrossIndexThreshold)
{
    Plinth::Ref<TestElement> e(document().makeElement("e"));
    std::vector<Arbor::Token> names, firstSeen;
    for (int i = 0; i < 20; ++i)
        names.emplace_back(("a" + std::to_string(i)).c_str());
    std::map<const char*, long> model;
    unsigned long seed = 7, largest = 0;
    for (long step = 0; step < 600; ++step) {
        seed = seed * 6364136223846793005UL + 1442695040888963407UL;
        const Arbor::Token name = names[(seed >> 33) % names.size()];
        if ((seed >> 60) % 3 == 0) {
            e->removeAttributeRaw(name);
            model.erase(name.name);
        } else {
            e->setAttributeRaw(name, Arbor::LongVariant(step));
            model[name.name] = step;
            if (std::find(firstSeen.begin(), firstSeen.end(), name) == firstSeen.end())
                firstSeen.push_back(name);
        }
        largest = std::max<unsigned long>(largest, model.size());
        std::string expected, actual;
        for (Arbor::Token n : firstSeen)
            if (model.count(n.name))
                expected += std::string(n.name) + "=" + std::to_string(model[n.name]) + " ";
        for (unsigned long i = 0; i < e->attributeCount(); ++i)
            actual += std::string(e->attributeAt(i).first.name) + "="
                + valueText(e->attributeAt(i).second) + " ";
        for (Arbor::Token n : names) {
            expected += model.count(n.name) ? "|" + std::to_string(model[n.name]) : "|-";
            actual += e->hasAttribute(n)                 ? "|" + valueText(e->getAttribute(n))
                : e->getAttribute(n) == Arbor::Variant() ? "|-"
                                                         : "|absent but not empty";
        }
        ASSERT_EQ(actual, expected) << "after step " << step;
    }
    EXPECT_GT(largest, 12u) << "the run never went well past the index threshold";
    Plinth::Ref<Arbor::Node> copy(e->cloneNode(false));
    EXPECT_EQ(xml(copy.get()), xml(e.get())) << "a copy keeps the attributes in their order";
}

TEST(BasicElementValueText, EveryVariantClass)
{
    const struct {
        const char* name;
        Arbor::Variant value;
        std::string text;
    } cases[] = {
        { "empty variant", Arbor::Variant(), "" },
        { "true", Arbor::BoolVariant(true), "true" },
        { "long", Arbor::LongVariant(-42), "-42" },
        { "smallest long", Arbor::LongVariant(LONG_MIN), "-9223372036854775808" },
        { "float", Arbor::FloatVariant(0.1f), "0.1" },
        { "double third", Arbor::DoubleVariant(1.0 / 3), "0.3333333333333333" },
        { "large double", Arbor::DoubleVariant(1e300), "1e+300" },
        { "negative zero", Arbor::DoubleVariant(-0.0), "-0" },
        { "string", Arbor::StringVariant(u8"caf\u00E9"), u8"caf\u00E9" },
        { "null string", Arbor::StringVariant(nullptr), "" },
        { "UTF-16 string", Arbor::UStringVariant(u"\u00E9\u20AC\U0001F600!"),
            u8"\u00E9\u20AC\U0001F600!" },
        // "a", a high surrogate, "b", a low surrogate, "c", a high surrogate at the end.
        { "unpaired surrogates", Arbor::UStringVariant(u"a\xD800\x62\xDC00\x63\xD83D"),
            u8"a\uFFFDb\uFFFDc\uFFFD" },
        { "null UTF-16 string", Arbor::UStringVariant(nullptr), "" },
        { "fixed string", Arbor::FixedStringVariant(Plinth::FixedStringBase<char>("fixed")),
            "fixed" },
        { "fixed UTF-16 string",
            Arbor::FixedUStringVariant(Plinth::FixedStringBase<char16_t>(u"\u00FCber")),
            u8"\u00FCber" },
        { "token", Arbor::TokenVariant(Arbor::Token("tok")), "tok" },
        { "null token", Arbor::TokenVariant(Arbor::Token()), "" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string text = "prefix:";
        Arbor::BasicElement::appendValueText(text, c.value);
        EXPECT_EQ(text, "prefix:" + c.text);
    }
}
