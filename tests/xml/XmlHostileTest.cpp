#include "arbor/xml/XmlLoader.h"
#include "tests/support/Host.h"
#include "tests/xml/LiveAllocations.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>

namespace {

std::string nested(unsigned long depth)
{
    std::string open, close;
    for (unsigned long i = 0; i < depth; ++i)
        open += "<n>", close += "</n>";
    return open + "x" + close;
}

// The message of the `XmlParseError` that loading `data` throws (empty when it loads), checking
// that the second of two failed loads leaves no block allocated (the first interns names).
std::string refusal(const std::string& data, const Arbor::XmlLoadOptions& options = {})
{
    std::string message;
    for (int run = 0; run < 2; ++run) {
        const long before = liveAllocations();
        try {
            Arbor::loadXml(data.data(), data.size(), options);
        } catch (const Arbor::XmlParseError& e) {
            message = e.what();
        }
        if (run == 1) {
            EXPECT_EQ(liveAllocations(), before) << data.substr(0, 80);
        }
    }
    return message;
}

} // namespace

TEST(XmlHostileTest, MalformedFormsAreRefusedWithTheirPlace)
{
    struct Case {
        const char* input;
        const char* what;
    };
    const Case cases[] = {
        { "", "line 1, column 1: no element found" },
        { "<a><!-- open </a>", "line 1, column 4: unclosed token" },
        { "<a><!-- a -- b --></a>", "line 1, column 13: not well-formed (invalid token)" },
        { "<a><?xml bad?></a>",
            "line 1, column 4: XML or text declaration not at start of entity" },
        { "<a x='1' x='2'/>", "line 1, column 10: duplicate attribute" },
        { "<a x='<'/>", "line 1, column 7: not well-formed (invalid token)" },
        { "<a><![CDATA[open</a>", "line 1, column 21: unclosed CDATA section" },
        { "<a>&#0;</a>", "line 1, column 4: reference to invalid character number" },
        { "text<a/>", "line 1, column 5: not well-formed (invalid token)" },
        { "<a/><!DOCTYPE a>", "line 1, column 5: junk after document element" },
        { "<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>",
            "line 1, column 36: recursive entity reference" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(refusal(c.input), c.what);
    }
}

TEST(XmlHostileTest, NestingIsLimited)
{
    const unsigned long limit = Arbor::XmlLoadOptions::defaultMaxDepth;
    EXPECT_EQ(refusal(nested(limit + 1)),
        "line 1, column " + std::to_string(3 * limit + 1) + ": elements nested deeper than "
            + std::to_string(limit));
    Arbor::XmlLoadOptions shallow;
    shallow.maxDepth = 3;
    EXPECT_NE(refusal(nested(4), shallow), "");
    EXPECT_EQ(refusal(nested(3), shallow), "");

    // A tree at the limit can be cloned and written: the recursive operations have stack enough.
    const std::string deepest = nested(limit);
    Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXml(deepest.data(), deepest.size());
    Plinth::Ref<Arbor::Node> copy(document->documentElement()->cloneNode(true));
    std::ostringstream out;
    copy->putXml(out);
    EXPECT_EQ(out.str(), deepest);
}

TEST(XmlHostileTest, EntityExpansionBombsAreRefused)
{
    std::string bomb = "<!DOCTYPE b [<!ENTITY l0 'laugh laugh laugh laugh'>";
    for (int i = 1; i <= 9; ++i) {
        bomb += "<!ENTITY l" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j)
            bomb += "&l" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    bomb += "]><b>&l9;</b>";
    EXPECT_NE(refusal(bomb).find("amplification"), std::string::npos);
}

TEST(XmlHostileTest, NothingOutsideTheInputIsRead)
{
    // An external entity is not expanded and an external subset is not read: were /etc/hostname
    // read, the first would fail to parse as a document.
    const char* inputs[] = {
        "<!DOCTYPE t [<!ENTITY e SYSTEM '/etc/hostname'>]><t>a&e;b</t>",
        "<!DOCTYPE t SYSTEM '/etc/hostname'><t>ab</t>",
        "<!DOCTYPE t [<!ENTITY % p SYSTEM '/etc/hostname'> %p;]><t>ab</t>",
    };
    for (const char* input : inputs) {
        SCOPED_TRACE(input);
        Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXml(input, std::strlen(input));
        EXPECT_EQ(Arbor::textUtf8(document->documentElement()->firstChild()->asText()), "ab");
    }
}
