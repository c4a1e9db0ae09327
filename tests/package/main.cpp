// Builds a small document through the installed headers and library and checks its XML.

#include "arbor/arbor.h"

#include <iostream>
#include <sstream>
#include <string>

int main()
{
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::Element* greeting = document->createElement("greeting");
    greeting->appendChild(document->createTextNode(u"hello"));
    document->appendChild(greeting);

    std::ostringstream out;
    document->putXml(out);
    document->tearDown();

    const std::string expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<greeting>hello</greeting>\n";
    if (out.str() != expected) {
        std::cerr << "unexpected XML:\n" << out.str() << "expected:\n" << expected;
        return 1;
    }
    std::cout << out.str();
    return 0;
}
