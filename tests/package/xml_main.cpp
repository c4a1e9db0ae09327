// Loads a document through the installed XML loader, edits it and checks its XML.

#include "arbor/arbor.h"
#include "arbor/xml/XmlLoader.h"

#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

int main()
{
    const char* input = "<list><item n=\"1\">apples</item></list>";
    Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXml(input, std::strlen(input));
    Arbor::setAttributeUtf8(document->documentElement()->asElement(), "checked", "yes");

    std::ostringstream out;
    document->putXml(out);
    document->tearDown();

    const std::string expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<list checked=\"yes\"><item n=\"1\">apples</item></list>\n";
    if (out.str() != expected) {
        std::cerr << "unexpected XML:\n" << out.str() << "expected:\n" << expected;
        return 1;
    }
    std::cout << out.str();
    return 0;
}
