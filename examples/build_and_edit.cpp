// Builds a small document with the ready-made classes, edits it through the checked tree, text
// and attribute operations, and prints it as XML after each step. Exits with 1 if the result is
// not what the edits should give.

#include "arbor/arbor.h"

#include <iostream>
#include <sstream>
#include <string>

namespace {

std::string xml(Arbor::Node* node)
{
    std::ostringstream out;
    node->putXml(out);
    return out.str();
}

void show(const char* step, Arbor::Node* node)
{
    std::cout << step << ":\n  " << xml(node) << "\n";
}

} // namespace

int main()
{
    // The document holds one reference on itself through `document`; nodes fresh from a factory
    // belong to whoever links them first, so they need no Ref of their own here.
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::Element* list = document->createElement("list");
    document->appendChild(list);
    for (const char* fruit : { "apple", "cherry", "pear" }) {
        Arbor::Element* item = document->createElement("item");
        item->appendChild(Arbor::createTextNodeUtf8(document.get(), fruit));
        list->appendChild(item);
    }
    show("built", list);

    // Text: offsets count UTF-16 units.
    Arbor::Text* cherry = list->findChild(1ul)->firstChild()->asText();
    cherry->insertData(0, u"sour ");
    show("insertData", list);

    // Attributes hold typed values; the UTF-8 helpers store strings.
    list->setAttribute("count", Arbor::LongVariant(3));
    Arbor::setAttributeUtf8(list->findChild(2ul)->asElement(), "note", "ripe, \xC3\xA0 point");
    show("setAttribute", list);

    // Moving a node: inserting a node that has a parent takes it out of that parent first.
    list->insertBefore(list->lastChild(), list->firstChild());
    show("move the last item first", list);

    // A refused change throws and leaves the tree as it was.
    try {
        list->firstChild()->appendChild(list);
    } catch (const Arbor::DomException& e) {
        std::cout << "refused: " << e.causeName() << " (a node cannot go inside its own child)\n";
    }

    // A node kept across a removal needs a reference of its own.
    Plinth::Ref<Arbor::Node> removed(list->removeChild(list->firstChild()));
    list->appendChild(removed.get());
    show("remove and append again", list);

    std::cout << "items:";
    for (Arbor::Node* item : Arbor::children(list))
        std::cout << " " << Arbor::textUtf8(item->firstChild()->asText());
    std::cout << "\n";

    const std::string expected = "<list count=\"3\"><item>apple</item><item>sour cherry</item>"
                                 "<item note=\"ripe, \xC3\xA0 point\">pear</item></list>";
    const bool ok = xml(list) == expected;
    std::cout << (ok ? "the document is as expected\n" : "MISMATCH\n");
    document->tearDown();
    return ok ? 0 : 1;
}
