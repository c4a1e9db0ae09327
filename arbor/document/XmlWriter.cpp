#include "arbor/document/XmlWriter.h"

#include "arbor/document/BasicDocument.h"
#include "arbor/document/DocumentMisc.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/tree/Element.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

using Arbor::Node;

const char declarationLine[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Whether indentation may go between the children of a node: only between elements, comments and
// processing instructions, never next to text, whose white space belongs to the content.
bool onlyMarkup(Node* parent)
{
    for (Node* child = parent->firstChild(); child; child = child->next) {
        const int type = child->nodeType();
        if (type != Arbor::ELEMENT_NODE && type != Arbor::COMMENT_NODE
            && type != Arbor::PROCESSING_INSTRUCTION_NODE)
            return false;
    }
    return true;
}

class Walk {
public:
    Walk(const Arbor::XmlWriteOptions& options, std::ostream& os)
        : options(options)
        , os(os)
    {
    }

    // A node written on its own takes the white-space rules in force where it stands: no
    // indentation below mixed content, and the nearest xml:space above it.
    void start(Node* node)
    {
        bool indenting = true;
        bool spaceKnown = false;
        for (Node* above = node->parentNode(); above; above = above->parentNode()) {
            if (!onlyMarkup(above)) indenting = false;
            Arbor::Element* element = above->asElement();
            if (!spaceKnown && element && element->hasAttribute(spaceName())) {
                const std::string value = Arbor::getAttributeUtf8(element, spaceName());
                spaceKnown = value == "preserve" || value == "default";
                preserve = value == "preserve";
            }
        }
        this->node(node, 0, indenting);
    }

private:
    const Arbor::XmlWriteOptions& options;
    std::ostream& os;
    bool preserve = false;

    static Arbor::Token spaceName()
    {
        static const Arbor::Token space("xml:space", false);
        return space;
    }

    // `indenting`: white space may be added between the children (no mixed content above, no
    // xml:space="preserve" in force).
    void node(Node* node, unsigned long depth, bool indenting)
    {
        if (Arbor::Element* element = node->asElement())
            this->element(element, depth, indenting);
        else if (node->nodeType() == Arbor::DOCUMENT_NODE)
            document(static_cast<Arbor::Document*>(node));
        else if (node->asFragment())
            for (Node* child = node->firstChild(); child; child = child->next)
                this->node(child, depth, indenting);
        else
            node->putXml(os);
    }

    void newLine(unsigned long depth)
    {
        os.put('\n');
        for (unsigned long i = 0; i < depth; ++i)
            os << options.indent;
    }

    void document(Arbor::Document* document)
    {
        if (options.declaration) os.write(declarationLine, sizeof declarationLine - 1);
        auto* basic = dynamic_cast<Arbor::BasicDocument*>(document);
        if (basic)
            for (Node* item = basic->prolog()->firstChild(); item; item = item->next) {
                item->putXml(os);
                os.put('\n');
            }
        if (Node* element = document->firstChild()) node(element, 0, true);
        if (basic)
            for (Node* item = basic->epilog()->firstChild(); item; item = item->next) {
                os.put('\n');
                item->putXml(os);
            }
        os.put('\n');
    }

    void element(Arbor::Element* element, unsigned long depth, bool indenting)
    {
        const Arbor::Token space = spaceName();
        const char* name = element->nodeName();
        os << '<' << name;
        element->putAttributesXml(os);
        Node* child = element->firstChild();
        if (!child) {
            if (options.emptyElements)
                os << "/>";
            else
                os << "></" << name << '>';
            return;
        }
        os << '>';

        const bool outerPreserve = preserve;
        if (element->hasAttribute(space)) {
            const std::string value = Arbor::getAttributeUtf8(element, space);
            if (value == "preserve")
                preserve = true;
            else if (value == "default")
                preserve = false;
        }
        const bool mixed = !onlyMarkup(element);
        const bool indent = indenting && !mixed && !preserve && !options.indent.empty();
        for (; child; child = child->next) {
            if (indent) newLine(depth + 1);
            node(child, depth + 1, indenting && !mixed);
        }
        if (indent) newLine(depth);
        preserve = outerPreserve;
        os << "</" << name << '>';
    }
};

// An output stream buffer on a file descriptor that remembers the first write error.
class FileBuffer : public std::streambuf {
public:
    explicit FileBuffer(int fd)
        : fd(fd)
    {
        setp(space, space + sizeof space);
    }
    int error = 0;

protected:
    int_type overflow(int_type c) override
    {
        if (!drain()) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override { return drain() ? 0 : -1; }

private:
    int fd;
    char space[65536];

    bool drain()
    {
        const char* from = pbase();
        const char* to = pptr();
        while (from < to && error == 0) {
            const ssize_t written = ::write(fd, from, static_cast<std::size_t>(to - from));
            if (written < 0) {
                if (errno != EINTR) error = errno;
            } else {
                from += written;
            }
        }
        setp(space, space + sizeof space);
        return error == 0;
    }
};

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error(error ? error : EIO, std::generic_category(), what);
}

} // namespace

Arbor::XmlWriter::XmlWriter(XmlWriteOptions options)
    : settings(std::move(options))
{
    if (settings.indent.find_first_not_of(" \t") != std::string::npos)
        throw std::invalid_argument("XmlWriter: indentation must be spaces and tabs");
}

std::ostream& Arbor::XmlWriter::write(std::ostream& os, Node* node) const
{
    Walk(settings, os).start(node);
    return os;
}

void Arbor::XmlWriter::save(Node* node, const std::string& path) const
{
    const std::string::size_type slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    if (base.empty()) fail(EISDIR, "cannot save to " + path);

    // A fresh file beside the target, so that the rename stays within one file system.
    static std::atomic<unsigned long> serial { 0 };
    std::string temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0; ++attempt) {
        temporary = (slash == std::string::npos ? std::string() : directory) + "." + base + "."
            + std::to_string(::getpid()) + "." + std::to_string(serial++) + ".tmp";
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        const int error = fd < 0 ? errno : 0;
        if (fd < 0 && (error != EEXIST || attempt == 100))
            fail(error, "cannot create a temporary file beside " + path);
    }

    int error = 0;
    std::string step;
    try {
        struct stat existing;
        if (::stat(path.c_str(), &existing) == 0 && ::fchmod(fd, existing.st_mode & 07777) != 0) {
            error = errno;
            step = "cannot copy the permissions of ";
        }
        if (!error) {
            FileBuffer buffer(fd);
            std::ostream os(&buffer);
            write(os, node);
            os.flush();
            if (buffer.error || !os) {
                error = buffer.error ? buffer.error : EIO;
                step = "cannot write ";
            }
        }
    } catch (...) {
        ::close(fd);
        ::unlink(temporary.c_str());
        throw;
    }
    if (!error && ::fsync(fd) != 0) {
        error = errno;
        step = "cannot flush ";
    }
    if (::close(fd) != 0 && !error) {
        error = errno;
        step = "cannot close the output for ";
    }
    if (!error && ::rename(temporary.c_str(), path.c_str()) != 0) {
        error = errno;
        step = "cannot replace ";
    }
    if (error) {
        ::unlink(temporary.c_str());
        fail(error, step + path);
    }
    // Make the rename itself durable; the new file is in place whether or not this succeeds.
    const int dir = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
}
