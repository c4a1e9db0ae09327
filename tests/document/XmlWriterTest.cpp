#include "tests/support/Host.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

class XmlWriterTest : public ::testing::Test {
protected:
    Plinth::Ref<Arbor::BasicDocument> doc { new Arbor::BasicDocument };
    std::string directory;

    void SetUp() override
    {
        char pattern[] = "/tmp/arbor-writer-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        directory = pattern;
    }
    void TearDown() override
    {
        doc->tearDown();
        ::chmod(directory.c_str(), 0700);
        for (const std::string& name : entries())
            ::unlink((directory + "/" + name).c_str());
        ::rmdir((directory + "/dir").c_str());
        ::rmdir(directory.c_str());
    }

    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        if (DIR* dir = ::opendir(directory.c_str())) {
            while (dirent* entry = ::readdir(dir))
                if (entry->d_name[0] != '.' || entry->d_name[1] > '.')
                    names.push_back(entry->d_name);
            ::closedir(dir);
        }
        return names;
    }

    Arbor::Element* element(Arbor::Node* parent, const char* name)
    {
        return static_cast<Arbor::Element*>(parent->appendChild(doc->createElement(name)));
    }
    void text(Arbor::Node* parent, const char16_t* data)
    {
        parent->appendChild(doc->createTextNode(data));
    }

    std::string written(const Arbor::XmlWriteOptions& options, Arbor::Node* node = nullptr)
    {
        std::ostringstream os;
        Arbor::XmlWriter(options).write(os, node ? node : doc.get());
        return os.str();
    }
};

std::string contents(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
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
    Arbor::Element* a = element(doc.get(), "a");
    Arbor::setAttributeUtf8(a, "id", "1");
    Arbor::Element* list = element(a, "list");
    element(list, "item");
    list->appendChild(doc->createProcessingInstruction("p", nullptr));
    Arbor::Element* mixed = element(a, "p");
    text(mixed, u"some ");
    Arbor::Element* bold = element(mixed, "b");
    element(element(bold, "i"), "x");
    Arbor::Element* pre = element(a, "pre");
    Arbor::setAttributeUtf8(pre, "xml:space", "preserve");
    Arbor::Element* inner = element(element(pre, "k"), "k2");
    Arbor::setAttributeUtf8(inner, "xml:space", "default");
    element(inner, "m");
    element(inner, "n");
    doc->epilog()->appendChild(doc->createComment(u"e"));

    EXPECT_EQ(written({}), xml(doc.get())) << "default options write what putXml writes";
    struct Case {
        bool declaration;
        bool empty;
        const char* indent;
        const char* expected;
    };
    const Case cases[] = {
        { false, true, "",
            "<!--c-->\n<a id=\"1\"><list><item/><?p?></list><p>some <b><i><x/></i></b></p>"
            "<pre xml:space=\"preserve\"><k><k2 xml:space=\"default\"><m/><n/></k2></k></pre>"
            "</a>\n<!--e-->\n" },
        { false, false, "  ",
            "<!--c-->\n<a id=\"1\">\n  <list>\n    <item></item>\n    <?p?>\n  </list>\n"
            "  <p>some <b><i><x></x></i></b></p>\n"
            "  <pre xml:space=\"preserve\"><k><k2 xml:space=\"default\">\n        <m></m>\n"
            "        <n></n>\n      </k2></k></pre>\n</a>\n<!--e-->\n" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.indent);
        EXPECT_EQ(written({ c.declaration, c.empty, c.indent }), c.expected);
    }
    // A node on its own follows the rules in force where it stands.
    EXPECT_EQ(written({ true, true, "\t" }, list), "<list>\n\t<item/>\n\t<?p?>\n</list>");
    EXPECT_EQ(written({ true, true, "\t" }, bold), "<b><i><x/></i></b>");
    EXPECT_EQ(written({ true, true, "\t" }, inner->firstChild()), "<m/>");
    EXPECT_EQ(written({ true, true, "\t" }, pre->firstChild()),
        "<k><k2 xml:space=\"default\">\n\t\t<m/>\n\t\t<n/>\n\t</k2></k>");
    EXPECT_THROW(Arbor::XmlWriter({ true, false, " x" }), std::invalid_argument);
}

TEST_F(XmlWriterTest, SaveReplacesTheFileOnlyWhenComplete)
{
    Arbor::Element* a = element(doc.get(), "a");
    text(a, u"saved");
    const std::string path = directory + "/doc.xml";
    const Arbor::XmlWriter writer;
    writer.save(doc.get(), path);
    EXPECT_EQ(contents(path), xml(doc.get()));
    ::chmod(path.c_str(), 0640);
    text(a, u" again");
    writer.save(doc.get(), path);
    EXPECT_EQ(contents(path), xml(doc.get()));
    struct stat info;
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u) << "the replaced file keeps its permissions";
    const std::string saved = contents(path);

    // Output that fails half-way: the exception passes, the old file stays, nothing is left over.
    a->appendChild(new FailingElement(doc.get(), "bad"));
    EXPECT_THROW(writer.save(doc.get(), path), std::runtime_error);
    EXPECT_EQ(contents(path), saved);
    EXPECT_EQ(entries(), std::vector<std::string> { "doc.xml" });

    // Failing system calls: a system_error with their code, and again no trace.
    a->removeChild(a->lastChild());
    ASSERT_EQ(::mkdir((directory + "/dir").c_str(), 0700), 0);
    ::close(::open((directory + "/dir/x").c_str(), O_CREAT | O_WRONLY, 0600));
    try {
        writer.save(doc.get(), directory + "/dir");
        ADD_FAILURE() << "a directory cannot be replaced by a file";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EISDIR);
    }
    ::unlink((directory + "/dir/x").c_str());
    EXPECT_EQ(entries().size(), 2u);
    try {
        writer.save(doc.get(), directory + "/missing/doc.xml");
        ADD_FAILURE() << "no directory to write into";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
    }
    if (::geteuid() != 0) {
        ::chmod(directory.c_str(), 0500);
        EXPECT_THROW(writer.save(doc.get(), path), std::system_error);
        EXPECT_EQ(contents(path), saved);
    }
}
