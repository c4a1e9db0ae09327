// Load throughput and the memory of the loaded tree: Arbor's loader next to libxml2
// (`xmlReadMemory`), pugixml (`load_buffer` keeping comments, processing instructions and the
// document type) and Expat with empty handlers, the floor of a loader built on Expat.
//
// Inputs: generated documents of the shapes real files have (markup-heavy, text-heavy,
// attribute-heavy, deep, one large mixed document), each with a doctype, comments and processing
// instructions, and the XML files installed on the machine (those libxml2 loads, up to a size
// cap) loaded one after another.
//
// Times: each library loads each input `REPS` times (default 15) in turns, and the median is
// kept; the tree is freed outside the timed part. Built with ARBOR_LOAD_BENCH_MEMORY, the same
// program replaces malloc to count live bytes and prints the memory of each loaded tree instead.
//
// Usage: arbor_bench_load [--quick] [--files=DIR:DIR...]. --quick runs small inputs once (CI's
// smoke test).

#include "arbor/xml/XmlLoader.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <expat.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <malloc.h>
#include <pugixml.hpp>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifdef ARBOR_LOAD_BENCH_MEMORY
#include "bench/CountingAllocator.h"
#endif

namespace {

// A small deterministic generator (splitmix64).
struct Random {
    unsigned long long state = 0x5eed1234abcdULL;
    unsigned long long next()
    {
        unsigned long long z = (state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    unsigned long below(unsigned long bound) { return (unsigned long)(next() % bound); }
};

const char* const words[] = { "tree", "node", "value", "the", "of", "document", "list", "item",
    "and", "text", "markup", "a", "loader", "with", "range", "caf\xc3\xa9", "edit", "to" };

std::string sentence(Random& random, unsigned long count)
{
    std::string out;
    for (unsigned long i = 0; i < count; ++i) {
        if (i) out += ' ';
        out += words[random.below(std::size(words))];
    }
    if (random.below(8) == 0) out += " &amp; more";
    return out;
}

std::string prolog()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- generated -->\n"
           "<!DOCTYPE doc [\n<!ENTITY co \"company\">\n]>\n<?style kind=\"plain\"?>\n";
}

// Many small elements with short text, some comments and processing instructions: XHTML-like
// and configuration files.
std::string markupHeavy(unsigned long items)
{
    Random random;
    std::string out = prolog() + "<doc>\n";
    for (unsigned long i = 0; i < items; ++i) {
        out += "  <section id=\"s" + std::to_string(i) + "\">\n    <title>" + sentence(random, 3)
            + "</title>\n";
        for (int j = 0; j < 4; ++j)
            out += "    <p><b>" + sentence(random, 2) + "</b> " + sentence(random, 4) + " <i>"
                + sentence(random, 1) + "</i></p>\n";
        if (i % 10 == 0) out += "    <!-- note " + std::to_string(i) + " -->\n";
        if (i % 25 == 0) out += "    <?page break?>\n";
        out += "  </section>\n";
    }
    return out + "</doc>\n";
}

// Long paragraphs: books, documentation.
std::string textHeavy(unsigned long items)
{
    Random random;
    std::string out = prolog() + "<book>\n";
    for (unsigned long i = 0; i < items; ++i)
        out += "<para>" + sentence(random, 120) + " &co; " + sentence(random, 60) + "</para>\n";
    return out + "</book>\n";
}

// Elements carrying most of their data in attributes: the MIME database, icon themes, SVG.
std::string attributeHeavy(unsigned long items)
{
    Random random;
    std::string out = prolog() + "<records>\n";
    for (unsigned long i = 0; i < items; ++i) {
        out += "  <record id=\"r" + std::to_string(i) + "\" type=\"" + words[random.below(8)]
            + "\" x=\"" + std::to_string(random.below(1000)) + "\" y=\""
            + std::to_string(random.below(1000)) + "\" label=\"" + sentence(random, 3)
            + "\" ref=\"#r" + std::to_string(random.below(items)) + "\" enabled=\"true\"/>\n";
    }
    return out + "</records>\n";
}

// Nesting 200 deep, repeated.
std::string deep(unsigned long items)
{
    Random random;
    std::string out = prolog() + "<root>";
    for (unsigned long i = 0; i < items; ++i) {
        for (int d = 0; d < 200; ++d)
            out += "<n d=\"" + std::to_string(d) + "\">" + words[random.below(8)];
        for (int d = 0; d < 200; ++d)
            out += "</n>";
        out += '\n';
    }
    return out + "</root>\n";
}

struct Input {
    std::string name;
    std::vector<std::string> documents;
    std::size_t bytes() const
    {
        std::size_t total = 0;
        for (const std::string& d : documents)
            total += d.size();
        return total;
    }
};

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void collect(const std::string& dir, std::vector<std::string>& paths, int level)
{
    if (level > 12) return;
    DIR* d = opendir(dir.c_str());
    if (!d) return;
    while (dirent* entry = readdir(d)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = dir + "/" + name;
        struct stat info;
        if (lstat(path.c_str(), &info) != 0) continue;
        if (S_ISDIR(info.st_mode))
            collect(path, paths, level + 1);
        else if (S_ISREG(info.st_mode) && info.st_size < (2 << 20) && name.size() > 4
            && name.compare(name.size() - 4, 4, ".xml") == 0)
            paths.push_back(path);
    }
    closedir(d);
}

bool libxml2Loads(const std::string& data)
{
    xmlDocPtr doc = xmlReadMemory(data.data(), int(data.size()), nullptr, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) return false;
    xmlFreeDoc(doc);
    return true;
}

// The machine's XML files that libxml2 loads, in a fixed order.
Input machineFiles(const std::vector<std::string>& roots)
{
    std::vector<std::string> paths;
    for (const std::string& root : roots)
        collect(root, paths, 0);
    std::sort(paths.begin(), paths.end());
    Input input { "machine files", {} };
    for (const std::string& path : paths) {
        std::string data = readFile(path);
        if (libxml2Loads(data)) input.documents.push_back(std::move(data));
    }
    return input;
}

// One library's load and release of one document.
struct Library {
    const char* name;
    std::function<void*(const std::string&)> load;
    std::function<void(void*)> release;
};

void silent(void*, const char*, ...) { }

void XMLCALL noStart(void*, const XML_Char*, const XML_Char**) { }
void XMLCALL noEnd(void*, const XML_Char*) { }
void XMLCALL noText(void*, const XML_Char*, int) { }
void XMLCALL noComment(void*, const XML_Char*) { }
void XMLCALL noPi(void*, const XML_Char*, const XML_Char*) { }

std::vector<Library> libraries()
{
    return {
        { "Arbor",
            [](const std::string& d) -> void* {
                try {
                    return Arbor::loadXml(d.data(), d.size()).release();
                } catch (const Arbor::XmlParseError&) {
                    return nullptr;
                }
            },
            [](void* doc) {
                if (doc) static_cast<Arbor::BasicDocument*>(doc)->unref();
            } },
        { "libxml2",
            [](const std::string& d) -> void* {
                return xmlReadMemory(
                    d.data(), int(d.size()), nullptr, nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
            },
            [](void* doc) { xmlFreeDoc(static_cast<xmlDocPtr>(doc)); } },
        { "pugixml",
            [](const std::string& d) -> void* {
                auto* doc = new pugi::xml_document;
                doc->load_buffer(d.data(), d.size(),
                    pugi::parse_default | pugi::parse_comments | pugi::parse_pi
                        | pugi::parse_doctype);
                return doc;
            },
            [](void* doc) { delete static_cast<pugi::xml_document*>(doc); } },
        { "Expat (empty handlers)",
            [](const std::string& d) -> void* {
                XML_Parser parser = XML_ParserCreate(nullptr);
                XML_SetElementHandler(parser, noStart, noEnd);
                XML_SetCharacterDataHandler(parser, noText);
                XML_SetCommentHandler(parser, noComment);
                XML_SetProcessingInstructionHandler(parser, noPi);
                XML_Parse(parser, d.data(), int(d.size()), 1);
                XML_ParserFree(parser);
                return nullptr;
            },
            [](void*) {} },
    };
}

#ifndef ARBOR_LOAD_BENCH_MEMORY
double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string formatTime(double seconds)
{
    char text[32];
    if (seconds < 1e-3)
        std::snprintf(text, sizeof text, "%.1f µs", seconds * 1e6);
    else if (seconds < 1)
        std::snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    else
        std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

// Median seconds per load of the whole input, the libraries taking turns in each repetition.
std::vector<double> timeAll(const Input& input, const std::vector<Library>& libs, int reps)
{
    std::vector<std::vector<double>> samples(libs.size());
    std::vector<void*> handles(input.documents.size());
    for (int r = 0; r < reps; ++r) {
        for (std::size_t l = 0; l < libs.size(); ++l) {
            const auto start = std::chrono::steady_clock::now();
            for (std::size_t i = 0; i < input.documents.size(); ++i)
                handles[i] = libs[l].load(input.documents[i]);
            const auto stop = std::chrono::steady_clock::now();
            for (void* handle : handles)
                libs[l].release(handle);
            // The next library must not pay for merging the blocks this one freed.
            malloc_trim(0);
            samples[l].push_back(std::chrono::duration<double>(stop - start).count());
        }
    }
    std::vector<double> result;
    for (auto& s : samples)
        result.push_back(median(s));
    return result;
}
#endif

} // namespace

int main(int argc, char** argv)
{
    bool quick = false;
    std::vector<std::string> roots = { "/usr/share", "/usr/lib", "/etc" };
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0) quick = true;
        if (std::strncmp(argv[i], "--files=", 8) == 0) {
            roots.clear();
            std::string list = argv[i] + 8;
            for (std::size_t at = 0; at <= list.size();) {
                const std::size_t colon = std::min(list.find(':', at), list.size());
                if (colon > at) roots.push_back(list.substr(at, colon - at));
                at = colon + 1;
            }
        }
    }
    const char* repsText = std::getenv("REPS");
    const int reps = quick ? 1 : repsText ? std::max(1, std::atoi(repsText)) : 15;
    (void)reps;
    const unsigned long scale = quick ? 1 : 100;

    std::vector<Input> inputs = {
        { "markup-heavy", { markupHeavy(20 * scale) } },
        { "text-heavy", { textHeavy(20 * scale) } },
        { "attribute-heavy", { attributeHeavy(100 * scale) } },
        { "deep (200 levels)", { deep(scale) } },
        { "large (markup-heavy)", { markupHeavy(quick ? 20 : 40000) } },
    };
    if (!quick) {
        Input files = machineFiles(roots);
        if (files.documents.empty())
            std::printf("(no XML files found on this machine)\n\n");
        else
            inputs.push_back(std::move(files));
    }
    std::vector<Library> libs = libraries();
    xmlSetGenericErrorFunc(nullptr, silent);
    // ONLY=<name> times one library alone (for profiling).
    if (const char* only = std::getenv("ONLY")) {
        libs.erase(std::remove_if(libs.begin(), libs.end(),
                       [&](const Library& l) { return std::strcmp(l.name, only) != 0; }),
            libs.end());
        libs.resize(4, libs.front());
    }

#ifndef ARBOR_LOAD_BENCH_MEMORY
    // The memory count measures each tree in a fresh process and needs no load before it (the
    // node pools would keep that load's slots).
    // Every library must load every input, or the comparison means nothing.
    for (const Input& input : inputs) {
        for (const std::string& d : input.documents) {
            void* doc = libs[0].load(d);
            if (!doc && input.name != "machine files") {
                std::fprintf(stderr, "Arbor failed to load %s\n", input.name.c_str());
                return 1;
            }
            libs[0].release(doc);
        }
    }
#endif

#ifdef ARBOR_LOAD_BENCH_MEMORY
    std::printf("| Input | MiB | Arbor | libxml2 | pugixml | Arbor/libxml2 | Arbor/pugixml |\n");
    std::printf("|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Input& input : inputs) {
        long bytes[3] = {};
        for (int l = 0; l < 3; ++l) {
            // Each tree is measured in a fresh process: Arbor's node pools keep the slots of
            // freed nodes for reuse, so a load after an earlier one would count too little.
            int channel[2];
            if (pipe(channel) != 0) return 1;
            const pid_t child = fork();
            if (child == 0) {
                close(channel[0]);
                std::vector<void*> handles;
                const long before = liveBytes;
                for (const std::string& d : input.documents)
                    handles.push_back(libs[std::size_t(l)].load(d));
                const long used = liveBytes - before;
                _exit(write(channel[1], &used, sizeof used) == sizeof used ? 0 : 1);
            }
            close(channel[1]);
            if (child < 0 || read(channel[0], &bytes[l], sizeof bytes[l]) != sizeof bytes[l])
                return 1;
            close(channel[0]);
            waitpid(child, nullptr, 0);
        }
        std::printf("| %s | %.2f | %.2f MiB | %.2f MiB | %.2f MiB | %.2f | %.2f |\n",
            input.name.c_str(), double(input.bytes()) / (1 << 20), double(bytes[0]) / (1 << 20),
            double(bytes[1]) / (1 << 20), double(bytes[2]) / (1 << 20),
            double(bytes[0]) / double(bytes[1]), double(bytes[0]) / double(bytes[2]));
    }
#else
    std::printf("Median of %d loads each; MB/s of input; ratios are time ratios (below 1: Arbor "
                "faster).\n\n",
        reps);
    std::printf("| Input | files | MiB | Arbor | libxml2 | pugixml | Expat (empty) | Arbor MB/s | "
                "libxml2 MB/s | Arbor/libxml2 | Arbor/pugixml | Arbor/Expat |\n");
    std::printf("|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const Input& input : inputs) {
        const std::vector<double> t = timeAll(input, libs, reps);
        const double mb = double(input.bytes()) / 1e6;
        std::printf("| %s | %zu | %.2f | %s | %s | %s | %s | %.0f | %.0f | %.2f | %.2f | %.2f |\n",
            input.name.c_str(), input.documents.size(), double(input.bytes()) / (1 << 20),
            formatTime(t[0]).c_str(), formatTime(t[1]).c_str(), formatTime(t[2]).c_str(),
            formatTime(t[3]).c_str(), mb / t[0], mb / t[1], t[0] / t[1], t[0] / t[2], t[0] / t[3]);
        std::fflush(stdout);
    }
#endif
    return 0;
}
