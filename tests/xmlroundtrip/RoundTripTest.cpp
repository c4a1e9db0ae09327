// Every XML file the machine's packages installed (a bounded sample) that libxml2 loads must load
// with Arbor, and a load, a write and a second load must give the same document: elements,
// attributes, text, comments, processing instructions and the document type.

#include "arbor/arbor.h"
#include "arbor/xml/XmlLoader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <libxml/parser.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

// Files above this size and beyond this count (taken evenly from the sorted list) are left out,
// so the test runs in seconds; ARBOR_ROUNDTRIP_ALL=1 takes every file.
constexpr off_t sizeCap = 256 * 1024;
constexpr std::size_t sampleSize = 300;

void collect(const std::string& dir, std::vector<std::string>& paths, int level)
{
    DIR* d = level < 12 ? opendir(dir.c_str()) : nullptr;
    if (!d) return;
    while (dirent* entry = readdir(d)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = dir + "/" + name;
        struct stat info;
        if (lstat(path.c_str(), &info) != 0) continue;
        if (S_ISDIR(info.st_mode))
            collect(path, paths, level + 1);
        else if (S_ISREG(info.st_mode) && info.st_size <= sizeCap && name.size() > 4
            && name.compare(name.size() - 4, 4, ".xml") == 0)
            paths.push_back(path);
    }
    closedir(d);
}

void silent(void*, const char*, ...) { }

bool libxml2Loads(const std::string& data)
{
    xmlDocPtr doc = xmlReadMemory(data.data(), int(data.size()), nullptr, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) return false;
    xmlFreeDoc(doc);
    return true;
}

// The document in one string: every node with its kind, name, attributes and data, so two loads
// compare equal exactly when they hold the same content.
void dump(Arbor::Node* node, std::string& out)
{
    out += std::to_string(node->nodeType()) + ':';
    if (node->nodeName().name) out += node->nodeName().name;
    if (Arbor::Text* text = node->asText()) {
        out += '"' + Arbor::textUtf8(text) + '"';
    } else if (auto* data = dynamic_cast<Arbor::DataNode*>(node)) {
        out += '"' + Arbor::dataUtf8(data) + '"';
    } else if (auto* doctype = dynamic_cast<Arbor::DocumentType*>(node)) {
        out += '[' + doctype->publicId() + '|' + doctype->systemId() + '|'
            + doctype->internalSubset() + ']';
    } else if (auto* element = dynamic_cast<Arbor::BasicElement*>(node)) {
        for (unsigned long i = 0; i < element->attributeCount(); ++i) {
            const Arbor::Token name = element->attributeAt(i).first;
            out += ' ' + std::string(name.name) + '=' + Arbor::getAttributeUtf8(element, name);
        }
    }
    out += '{';
    for (Arbor::Node* child : Arbor::children(node))
        dump(child, out);
    out += '}';
}

std::string dump(Arbor::BasicDocument* document)
{
    std::string out;
    dump(document->prolog(), out);
    dump(document, out);
    dump(document->epilog(), out);
    return out;
}

} // namespace

TEST(RoundTripTest, MachineXmlFilesLoadAndComeBackTheSame)
{
    xmlSetGenericErrorFunc(nullptr, silent);
    std::vector<std::string> paths;
    for (const char* root : { "/usr/share", "/usr/lib", "/etc" })
        collect(root, paths, 0);
    if (paths.empty()) GTEST_SKIP() << "no XML files installed on this machine";
    std::sort(paths.begin(), paths.end());
    if (!std::getenv("ARBOR_ROUNDTRIP_ALL") && paths.size() > sampleSize) {
        std::vector<std::string> sample;
        for (std::size_t i = 0; i < sampleSize; ++i)
            sample.push_back(paths[i * paths.size() / sampleSize]);
        paths.swap(sample);
    }
    std::size_t tried = 0, loaded = 0, equal = 0;
    for (const std::string& path : paths) {
        std::ifstream in(path, std::ios::binary);
        const std::string data(
            (std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (!libxml2Loads(data)) continue;
        ++tried;
        try {
            Plinth::Ref<Arbor::BasicDocument> first = Arbor::loadXml(data.data(), data.size());
            ++loaded;
            std::ostringstream written;
            first->putXml(written);
            const std::string text = written.str();
            Plinth::Ref<Arbor::BasicDocument> second = Arbor::loadXml(text.data(), text.size());
            if (dump(first.get()) == dump(second.get()))
                ++equal;
            else
                ADD_FAILURE() << path << ": differs after writing and loading again";
        } catch (const std::exception& e) {
            ADD_FAILURE() << path << ": " << e.what();
        }
    }
    std::cout << "[ figures  ] " << paths.size() << " files, libxml2 loads " << tried
              << ", Arbor loads " << loaded << ", round trip equal " << equal << "\n";
    EXPECT_EQ(loaded, tried);
    EXPECT_EQ(equal, loaded);
}
