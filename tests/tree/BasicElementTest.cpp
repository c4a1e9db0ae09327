#include "tests/support/Host.h"

#include <algorithm>
#include <climits>
#include <map>
#include <string>
#include <vector>

using BasicElementTest = HostTest;

namespace {

using Arbor::Token;

using Model = std::vector<std::pair<Token, long>>;

// The attributes in store order, then the answer of every lookup: "a3=7 a1=2 | a0:- a1:2 ...".
std::string storeState(Arbor::BasicElement& e, const std::vector<Token>& names)
{
    std::string state;
    for (unsigned long i = 0; i < e.attributeCount(); ++i)
        state += std::string(e.attributeAt(i).first.name) + "=" + valueText(e.attributeAt(i).second)
            + " ";
    state += "|";
    for (Token name : names) {
        Arbor::Variant value = e.getAttribute(name);
        bool present = e.hasAttribute(name);
        state += " " + std::string(name.name) + ":" + (present ? valueText(value) : "-");
        if (!present && value != Arbor::Variant()) state += "(absent but not empty)";
    }
    return state;
}

std::string modelState(const Model& model, const std::vector<Token>& names)
{
    std::string state;
    for (const auto& entry : model)
        state += std::string(entry.first.name) + "=" + std::to_string(entry.second) + " ";
    state += "|";
    for (Token name : names) {
        auto found = std::find_if(
            model.begin(), model.end(), [&](const auto& entry) { return entry.first == name; });
        state += " " + std::string(name.name) + ":"
            + (found == model.end() ? "-" : std::to_string(found->second));
    }
    return state;
}

} // namespace

// A fixed pseudo-random run of sets, overwrites and removals over twenty names keeps the element
// around the size where lookups switch between the scan and the index, in both directions.
TEST_F(BasicElementTest, StoreKeepsInsertionOrderAcrossIndexThreshold)
{
    Plinth::Ref<TestElement> e(document().makeElement("e"));
    std::vector<Token> names;
    for (int i = 0; i < 20; ++i)
        names.emplace_back(("a" + std::to_string(i)).c_str());
    Model model;
    // Mirrors the store's rule: a name keeps the place it first came at, also across removals.
    std::vector<unsigned long> places;
    std::map<const char*, unsigned long> formerPlaces;
    unsigned long nextPlace = 0;
    unsigned long seed = 7;
    unsigned long largest = 0;
    for (long step = 0; step < 600; ++step) {
        seed = seed * 6364136223846793005UL + 1442695040888963407UL;
        Token name = names[(seed >> 33) % names.size()];
        auto found = std::find_if(
            model.begin(), model.end(), [&](const auto& entry) { return entry.first == name; });
        if ((seed >> 60) % 3 == 0) {
            e->removeAttributeRaw(name);
            if (found != model.end()) {
                formerPlaces[name.name] = places[found - model.begin()];
                places.erase(places.begin() + (found - model.begin()));
                model.erase(found);
            }
        } else {
            e->setAttributeRaw(name, Arbor::LongVariant(step));
            if (found != model.end()) {
                found->second = step;
            } else {
                auto former = formerPlaces.find(name.name);
                const unsigned long place
                    = former != formerPlaces.end() ? former->second : nextPlace++;
                if (former != formerPlaces.end()) formerPlaces.erase(former);
                const long at
                    = std::lower_bound(places.begin(), places.end(), place) - places.begin();
                places.insert(places.begin() + at, place);
                model.insert(model.begin() + at, { name, step });
            }
        }
        largest = std::max<unsigned long>(largest, model.size());
        ASSERT_EQ(storeState(*e, names), modelState(model, names)) << "after step " << step;
    }
    EXPECT_GT(largest, 12u) << "the run never went well past the index threshold";
}

TEST(BasicElementValueText, EveryVariantClass)
{
    struct Case {
        const char* name;
        Arbor::Variant value;
        std::string text;
    };
    const Case cases[] = {
        { "empty variant", Arbor::Variant(), "" },
        { "true", Arbor::BoolVariant(true), "true" },
        { "false", Arbor::BoolVariant(false), "false" },
        { "long", Arbor::LongVariant(-42), "-42" },
        { "smallest long", Arbor::LongVariant(LONG_MIN), "-9223372036854775808" },
        { "float", Arbor::FloatVariant(0.1f), "0.1" },
        { "double", Arbor::DoubleVariant(0.1), "0.1" },
        { "double third", Arbor::DoubleVariant(1.0 / 3), "0.3333333333333333" },
        { "large double", Arbor::DoubleVariant(1e300), "1e+300" },
        { "negative zero", Arbor::DoubleVariant(-0.0), "-0" },
        { "string", Arbor::StringVariant(u8"caf\u00E9"), u8"caf\u00E9" },
        { "null string", Arbor::StringVariant(nullptr), "" },
        { "UTF-16 string", Arbor::UStringVariant(u"\u00E9\u20AC\U0001F600!"),
            u8"\u00E9\u20AC\U0001F600!" },
        { "unpaired surrogates",
            Arbor::UStringVariant(u"a\xD800"
                                  u"b\xDC00"
                                  u"c\xD83D"),
            u8"a\uFFFDb\uFFFDc\uFFFD" },
        { "null UTF-16 string", Arbor::UStringVariant(nullptr), "" },
        { "fixed string", Arbor::FixedStringVariant(Plinth::FixedStringBase<char>("fixed")),
            "fixed" },
        { "null fixed string", Arbor::FixedStringVariant(Plinth::FixedStringBase<char>()), "" },
        { "fixed UTF-16 string",
            Arbor::FixedUStringVariant(Plinth::FixedStringBase<char16_t>(u"\u00FCber")),
            u8"\u00FCber" },
        { "token", Arbor::TokenVariant(Token("tok")), "tok" },
        { "null token", Arbor::TokenVariant(Token()), "" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string text = "prefix:";
        Arbor::BasicElement::appendValueText(text, c.value);
        EXPECT_EQ(text, "prefix:" + c.text);
    }
}
