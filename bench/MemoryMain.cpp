// Bytes per element and per text node, for Arbor and each peer library compiled in.
//
// Every heap allocation of the process is counted: `malloc` and its relatives are replaced here
// (shared libraries, libxml2 and pugixml included, resolve to these definitions), and the global
// `operator new`/`operator delete` (Arbor's nodes, Xerces-C++'s heap blocks) go through them.
// The live bytes are measured as the allocator's usable sizes, so rounding inside the allocator
// counts but its per-block header does not.
//
// For each library: a root gets N empty elements (bytes per element); another root gets N
// elements alternating with N 11-unit text nodes, and the element figure is subtracted (bytes
// per text node). Memory kept in arenas (pugixml's pages, Xerces-C++'s document heap) is counted
// as it is reserved, so those figures include the unused tail of the last block, which is small
// next to N nodes.

#include "arbor/arbor.h"
#include "bench/BenchSupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ARBOR_BENCH_HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef ARBOR_BENCH_HAVE_XERCES
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#endif
#ifdef ARBOR_BENCH_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif

#include "bench/CountingAllocator.h"

namespace {

using namespace ArborBench;

constexpr unsigned long nodeCount = 100000;

/// Live bytes and allocations since `start()`.
struct Meter {
    long bytes = 0;
    long allocations = 0;
    void start()
    {
        bytes = liveBytes;
        allocations = allocationCount;
    }
    Meter since() const { return { liveBytes - bytes, allocationCount - allocations }; }
};

struct Row {
    const char* library;
    Meter elements;
    Meter pairs;
};

void print(const Row& row)
{
    const double n = static_cast<double>(nodeCount);
    std::printf("| %-8s | %8.1f | %6.2f | %8.1f | %6.2f |\n", row.library,
        static_cast<double>(row.elements.bytes) / n,
        static_cast<double>(row.elements.allocations) / n,
        static_cast<double>(row.pairs.bytes - row.elements.bytes) / n,
        static_cast<double>(row.pairs.allocations - row.elements.allocations) / n);
}

Meter arbor(bool withText)
{
    const Arbor::Token tag("e");
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Plinth::Ref<Arbor::Node> root(document->createElement(Arbor::Token("root")));
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        root->appendChild(document->createElement(tag));
        if (withText) root->appendChild(document->createTextNode(textWide));
    }
    const Meter used = meter.since();
    root.reset();
    document->tearDown();
    return used;
}

/// W4's item: an element with two string attributes and a text child.
Meter arborItems()
{
    const Arbor::Token tag("e"), id("id"), kind("kind");
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Plinth::Ref<Arbor::Node> root(document->createElement(Arbor::Token("root")));
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        Arbor::Element* element = document->createElement(tag);
        root->appendChild(element);
        element->setAttribute(id, Arbor::StringVariant(std::to_string(i).c_str()));
        element->setAttribute(kind, Arbor::StringVariant(w4Kind));
        element->appendChild(document->createTextNode(w4TextWide));
    }
    const Meter used = meter.since();
    root.reset();
    document->tearDown();
    return used;
}

/// Runs `measure` in a child process and returns its figures. The library's node pools keep the
/// slots of freed nodes for reuse, so a second measurement in the same process would find slots
/// the first one left and count too little; a fresh process starts with empty pools.
Meter fresh(Meter (*measure)(bool), bool withText)
{
    int channel[2];
    if (pipe(channel) != 0) return measure(withText);
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        const Meter used = measure(withText);
        const ssize_t written = write(channel[1], &used, sizeof used);
        _exit(written == static_cast<ssize_t>(sizeof used) ? 0 : 1);
    }
    close(channel[1]);
    Meter used;
    const bool read = child > 0 && ::read(channel[0], &used, sizeof used) == sizeof used;
    close(channel[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    return read ? used : measure(withText);
}

Meter arborItemsOf(bool) { return arborItems(); }

#ifdef ARBOR_BENCH_HAVE_PUGIXML
Meter pugixmlItems()
{
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("root");
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        pugi::xml_node element = root.append_child("e");
        element.append_attribute("id").set_value(std::to_string(i).c_str());
        element.append_attribute("kind").set_value(w4Kind);
        element.append_child(pugi::node_pcdata).set_value(w4Text);
    }
    return meter.since();
}

Meter pugixml(bool withText)
{
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("root");
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        root.append_child("e");
        if (withText) root.append_child(pugi::node_pcdata).set_value(textNarrow);
    }
    return meter.since();
}
#endif

#ifdef ARBOR_BENCH_HAVE_XERCES
Meter xerces(bool withText)
{
    using namespace xercesc;
    DOMDocument* doc = DOMImplementationRegistry::getDOMImplementation(u"Core")->createDocument();
    DOMElement* root = doc->createElement(u"root");
    doc->appendChild(root);
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        root->appendChild(doc->createElement(u"e"));
        if (withText) root->appendChild(doc->createTextNode(textWide));
    }
    const Meter used = meter.since();
    doc->release();
    return used;
}
#endif

#ifdef ARBOR_BENCH_HAVE_LIBXML2
Meter libxml2(bool withText)
{
    const auto* name = reinterpret_cast<const xmlChar*>("e");
    const auto* text = reinterpret_cast<const xmlChar*>(textNarrow);
    xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
    xmlNodePtr root
        = xmlNewDocNode(doc, nullptr, reinterpret_cast<const xmlChar*>("root"), nullptr);
    xmlDocSetRootElement(doc, root);
    Meter meter;
    meter.start();
    for (unsigned long i = 0; i < nodeCount; ++i) {
        xmlAddChild(root, xmlNewDocNode(doc, nullptr, name, nullptr));
        if (withText) xmlAddChild(root, xmlNewDocText(doc, text));
    }
    const Meter used = meter.since();
    xmlFreeDoc(doc);
    return used;
}
#endif

} // namespace

int main()
{
    // The replacement must reach allocations made inside shared libraries.
    Meter probe;
    probe.start();
    char16_t* copy = Plinth::ustrdup(u"probe");
    const bool seen = probe.since().allocations == 1;
    std::free(copy);
    if (!seen) {
        std::fprintf(stderr, "allocations in shared libraries are not counted\n");
        return 1;
    }

#ifdef ARBOR_BENCH_HAVE_XERCES
    xercesc::XMLPlatformUtils::Initialize();
#endif
#ifdef ARBOR_BENCH_HAVE_LIBXML2
    xmlInitParser();
#endif

    std::printf("Heap use per node, %lu nodes of each kind; text nodes hold %lu characters.\n\n",
        nodeCount, textUnits);
    std::printf("| library  | bytes/element | allocations/element | bytes/text node | "
                "allocations/text node |\n");
    std::printf("|----------|---------:|-------:|---------:|-------:|\n");
    print({ "Arbor", fresh(arbor, false), fresh(arbor, true) });
#ifdef ARBOR_BENCH_HAVE_PUGIXML
    print({ "pugixml", pugixml(false), pugixml(true) });
#endif
#ifdef ARBOR_BENCH_HAVE_XERCES
    print({ "Xerces", xerces(false), xerces(true) });
#endif
#ifdef ARBOR_BENCH_HAVE_LIBXML2
    print({ "libxml2", libxml2(false), libxml2(true) });
#endif
    const Meter items = fresh(arborItemsOf, false);
    std::printf("\nW4 item (element, two attributes, text): Arbor (BasicElement) %.1f bytes, "
                "%.2f allocations",
        static_cast<double>(items.bytes) / nodeCount,
        static_cast<double>(items.allocations) / nodeCount);
#ifdef ARBOR_BENCH_HAVE_PUGIXML
    std::printf("; pugixml %.1f bytes", static_cast<double>(pugixmlItems().bytes) / nodeCount);
#endif
    std::printf("\n");
    std::printf("\nsizeof: Arbor::BasicElement %zu, Arbor::Text %zu\n", sizeof(Arbor::BasicElement),
        sizeof(Arbor::Text));

#ifdef ARBOR_BENCH_HAVE_XERCES
    xercesc::XMLPlatformUtils::Terminate();
#endif
    return 0;
}
