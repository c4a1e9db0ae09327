#include "tests/support/Host.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <system_error>
#include <tuple>

namespace {

namespace fs = std::filesystem;

// A BasicDocument, the kind whose prolog and epilog are written too.
class XmlWriterTest : public ::testing::Test {
protected:
    Plinth::Ref<Arbor::BasicDocument> doc { new Arbor::BasicDocument };

    void TearDown() override { doc->tearDown(); }

    Arbor::Element* add(Arbor::Node* parent, const char* name, const char* space = nullptr)
    {
        auto* element = static_cast<Arbor::Element*>(parent->appendChild(doc->createElement(name)));
        if (space) Arbor::setAttributeUtf8(element, "xml:space", space);
        return element;
    }
};

using PrologTest = XmlWriterTest;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string contents(const std::string& path)
{
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A host element whose attribute writer fails half-way through a save.
class FailingElement final : public Arbor::BasicElement {
public:
    using BasicElement::BasicElement;
    std::ostream& putAttributesXml(std::ostream&) override
    {
        throw std::runtime_error("attributes unavailable");
    }
};

} // namespace

TEST_F(XmlWriterTest, OptionsAndIndentation)
{
    doc->prolog()->appendChild(doc->createComment(u"c"));
    Arbor::Element* a = add(doc.get(), "a");
    Arbor::setAttributeUtf8(a, "id", "1");
    Arbor::Element* list = add(a, "list");
    add(list, "item");
    list->appendChild(doc->createProcessingInstruction("p", nullptr));
    Arbor::Element* mixed = add(a, "p");
    mixed->appendChild(doc->createTextNode(u"some "));
    Arbor::Element* bold = add(mixed, "b");
    add(add(bold, "i"), "x");
    Arbor::Element* pre = add(a, "pre", "preserve");
    Arbor::Element* inner = add(add(pre, "k"), "k2", "default");
    Arbor::Element* m = add(inner, "m");
    add(m, "o");
    add(inner, "n");
    doc->epilog()->appendChild(doc->createComment(u"e"));
    // The other way round, outside the content: a preserve nearer than a default.
    Plinth::Ref<Arbor::Element> outer(doc->createElement("d"));
    Arbor::setAttributeUtf8(outer.get(), "xml:space", "default");
    Arbor::Element* w = add(add(outer.get(), "v", "preserve"), "w");
    add(w, "z");

    const Arbor::XmlWriteOptions tab { true, true, "\t" };
    const std::tuple<Arbor::XmlWriteOptions, Arbor::Node*, std::string> cases[] = {
        { {}, doc.get(), xml(doc.get()) }, // the defaults: what putXml writes, unindented
        { { false, false, "  " }, doc.get(),
            "<!--c-->\n<a id=\"1\">\n  <list>\n    <item></item>\n    <?p?>\n  </list>\n"
            "  <p>some <b><i><x></x></i></b></p>\n"
            "  <pre xml:space=\"preserve\"><k><k2 xml:space=\"default\">\n        <m>\n"
            "          <o></o>\n        </m>\n        <n></n>\n      </k2></k></pre>\n</a>\n"
            "<!--e-->\n" },
        // A node on its own follows the rules in force where it stands.
        { tab, list, "<list>\n\t<item/>\n\t<?p?>\n</list>" },
        { tab, bold, "<b><i><x/></i></b>" },
        { tab, pre->firstChild(),
            "<k><k2 xml:space=\"default\">\n\t\t<m>\n\t\t\t<o/>\n\t\t</m>\n\t\t<n/>\n\t</k2></k>" },
        { tab, m, "<m>\n\t<o/>\n</m>" }, // the nearest xml:space above holds
        { tab, w, "<w><z/></w>" },
    };
    for (const auto& [options, node, expected] : cases) {
        SCOPED_TRACE(expected);
        std::ostringstream os;
        Arbor::XmlWriter(options).write(os, node);
        EXPECT_EQ(os.str(), expected);
    }
    EXPECT_THROW(Arbor::XmlWriter({ true, false, " x" }), std::invalid_argument);
}

TEST_F(XmlWriterTest, SaveReplacesTheFileOnlyWhenComplete)
{
    char pattern[] = "/tmp/arbor-writer-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string directory = pattern;
    const std::string path = directory + "/doc.xml";
    const auto entries = [&] {
        return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
    };
    Arbor::Element* a = add(doc.get(), "a");
    a->appendChild(doc->createTextNode(u"saved"));
    const Arbor::XmlWriter writer;
    writer.save(doc.get(), path);
    EXPECT_EQ(contents(path), xml(doc.get()));
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    a->appendChild(doc->createTextNode(u" again"));
    writer.save(doc.get(), path);
    const std::string saved = contents(path);
    EXPECT_EQ(saved, xml(doc.get()));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640)) << "the replaced file keeps them";

    // Output that fails half-way: the exception passes, the old file stays, nothing is left over.
    a->appendChild(new FailingElement(doc.get(), "bad"));
    EXPECT_THROW(writer.save(doc.get(), path), std::runtime_error);
    EXPECT_EQ(contents(path), saved);
    EXPECT_EQ(entries(), 1);

    // Failing system calls: a system_error with their code, and again no trace.
    a->removeChild(a->lastChild());
    fs::create_directory(directory + "/dir");
    for (const auto& [target, code] : { std::pair<std::string, int> { directory + "/dir", EISDIR },
             { directory + "/missing/doc.xml", ENOENT } }) {
        try {
            writer.save(doc.get(), target);
            ADD_FAILURE() << target << " saved";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), code) << target;
        }
        EXPECT_EQ(entries(), 2);
        EXPECT_EQ(contents(path), saved);
    }
    // A write the system refuses half-way (past the file size limit) is an error too.
    rlimit limit {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit before = limit;
    limit.rlim_cur = 16;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_THROW(writer.save(doc.get(), path), std::system_error);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(contents(path), saved);
    EXPECT_EQ(entries(), 2);
    fs::remove_all(directory);
}

// Only comments, processing instructions and (in the prolog) one document type are taken; a
// refusal changes nothing, and accepted changes have nothing to undo.
TEST_F(PrologTest, WrittenInTheirPlacesOutsideTheChildList)
{
    EXPECT_EQ(xml(doc.get()), declaration + "\n") << "as a plain document without them";
    EXPECT_EQ(doc->documentElement(), nullptr);
    Arbor::DocumentMisc* prolog = doc->prolog();
    Arbor::DocumentMisc* epilog = doc->epilog();
    prolog->appendChild(doc->createProcessingInstruction("s", u"href=\"s.css\""));
    Arbor::Node* type = prolog->appendChild(doc->createDocumentType("html", "", "h.dtd"));
    prolog->appendChild(doc->createComment(u" head "));
    Arbor::Node* html = doc->appendChild(doc->createElement("html"));
    epilog->appendChild(doc->createComment(u"end"));
    epilog->appendChild(doc->createProcessingInstruction("done", nullptr));

    EXPECT_EQ(doc->documentElement(), html);
    EXPECT_EQ(doc->items(), 1u);
    EXPECT_EQ(doc->doctype(), type);
    EXPECT_FALSE(type->isDocumentChild());
    const std::string before = xml(doc.get());
    EXPECT_EQ(before,
        declaration + "<?s href=\"s.css\"?>\n<!DOCTYPE html SYSTEM \"h.dtd\">\n<!-- head -->\n"
            + "<html></html>\n<!--end-->\n<?done?>\n");

    Plinth::Ref<Arbor::DocumentFragment> mixed(doc->createDocumentFragment());
    mixed->appendChild(doc->createComment(u"ok"));
    mixed->appendChild(doc->createElement("no"));
    for (const auto& [into, node] :
        { std::pair<Arbor::DocumentMisc*, Arbor::Node*> { prolog, doc->createElement("e") },
            { prolog, doc->createTextNode(u"t") }, { prolog, doc->createDocumentType("b") },
            { epilog, doc->createDocumentType("b") }, { epilog, doc->createTextNode(u"\n") },
            { epilog, mixed.get() } }) {
        Plinth::Ref<Arbor::Node> held(node);
        expectDomError(3, [&, misc = into] { misc->appendChild(held.get()); });
        EXPECT_EQ(held->parentNode(), nullptr);
        EXPECT_EQ(xml(doc.get()), before);
    }
    EXPECT_EQ(mixed->items(), 2u) << "a fragment with one wrong node is refused as a whole";
    // The document type may be replaced by another one.
    prolog->replaceChild(doc->createDocumentType("b"), type);
    EXPECT_EQ(doc->doctype()->nodeName(), Arbor::Token("b"));
    EXPECT_EQ(prolog->items(), 3u);
    // ...but a second one may not come in the place of another node, here the one before it.
    Arbor::Node* front = prolog->insertBefore(doc->createComment(u"f"), doc->doctype());
    Plinth::Ref<Arbor::Node> second(doc->createDocumentType("c"));
    expectDomError(3, [&] { prolog->replaceChild(second.get(), front); });
    EXPECT_EQ(prolog->items(), 4u);

    doc->clearUndoStack();
    static_cast<Arbor::Comment*>(prolog->lastChild())->setData(u"h");
    prolog->removeChild(front);
    EXPECT_FALSE(doc->canUndo());
    EXPECT_EQ(prolog->items(), 3u);
}

TEST_F(PrologTest, DocumentTypeForms)
{
    // Name, public id, system id, subset and what is written (null: INVALID_CHARACTER_ERR).
    const char* const cases[][5] = {
        { "a", "", "", "", "<!DOCTYPE a>" },
        { "a", "", "it\"s", "", "<!DOCTYPE a SYSTEM 'it\"s'>" },
        { "a", "", "", "<!ENTITY e \"x\">", "<!DOCTYPE a [<!ENTITY e \"x\">]>" },
        { "a:b", "p 'id'", "s", "\n", "<!DOCTYPE a:b PUBLIC \"p 'id'\" \"s\" [\n]>" },
        { "a", "zZ9", "s", "", "<!DOCTYPE a PUBLIC \"zZ9\" \"s\">" },
        { "1a", "", "", "", nullptr },
        { "a", "p", "", "", nullptr },
        { "a", "bad\"", "s", "", nullptr },
        { "a", "", "'\"", "", nullptr },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0] + std::string(" ") + c[1] + " " + c[2]);
        const auto make = [&] { return doc->createDocumentType(c[0], c[1], c[2], c[3]); };
        if (!c[4]) {
            expectDomError(5, [&] { delete make(); });
            continue;
        }
        Plinth::Ref<Arbor::DocumentType> type(make());
        Plinth::Ref<Arbor::Node> copy(type->cloneNode(false));
        EXPECT_EQ(xml(type.get()), c[4]);
        EXPECT_EQ(xml(copy.get()), c[4]);
    }
}
