// Loads an XML file (the path given as the first argument, or a sample built in), edits it and
// writes it out as XML: every <item> gets a number, a new item is appended and the title is
// upper-cased. Exits with 1 when the input cannot be loaded.

#include "arbor/arbor.h"
#include "arbor/xml/XmlLoader.h"

#include <cctype>
#include <iostream>
#include <string>

namespace {

const char sample[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- a shopping list -->
<list>
  <title>groceries</title>
  <item>bread</item>
  <item unit="kg">apples &amp; pears</item>
</list>
)";

Plinth::Ref<Arbor::BasicDocument> load(int argc, char** argv)
{
    if (argc > 1) return Arbor::loadXmlFile(argv[1]);
    return Arbor::loadXml(sample, sizeof sample - 1);
}

void edit(Arbor::BasicDocument* document)
{
    Arbor::Element* root = document->documentElement()->asElement();
    long number = 0;
    for (Arbor::Node* child : Arbor::children(root)) {
        if (child->nodeName() == Arbor::Token("item"))
            child->asElement()->setAttribute("n", Arbor::LongVariant(++number));
    }
    Arbor::Element* added = document->createElement("item");
    added->appendChild(Arbor::createTextNodeUtf8(document,
        "cr\xC3\xA8me fra\xC3\xAE"
        "che"));
    root->appendChild(added);

    if (Arbor::Node* title = root->findChild(Arbor::Token("title"))) {
        if (Arbor::Text* text = title->firstChild() ? title->firstChild()->asText() : nullptr) {
            std::string upper = Arbor::textUtf8(text);
            for (char& c : upper)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            text->setData(Arbor::utf16FromUtf8(upper).c_str());
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        Plinth::Ref<Arbor::BasicDocument> document = load(argc, argv);
        edit(document.get());
        document->putXml(std::cout);
        std::cout << "(" << (document->canUndo() ? "edits can be undone" : "nothing to undo")
                  << ")\n";
        document->tearDown();
        return 0;
    } catch (const Arbor::XmlParseError& e) {
        std::cerr << (argc > 1 ? argv[1] : "sample") << ": " << e.what() << "\n";
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
    }
    return 1;
}
