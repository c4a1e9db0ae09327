// A short editing session on a small article: type at the caret, delete a word, split a
// paragraph, move a node and set attributes, each step one undo task. After every step the demo
// prints the events it heard, where the selection is and the document as XML; then it undoes
// everything and redoes everything, showing the document and the selection come back.

#include "arbor/arbor.h"
#if ARBOR_DEMO_LOADER
#include "arbor/xml/XmlLoader.h"
#endif

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string utf8(const char16_t* text)
{
    std::string out;
    for (; text && *text; ++text)
        out += *text < 0x80 ? static_cast<char>(*text) : '?';
    return out;
}

std::string nameOf(Arbor::Node* node)
{
    if (!node) return "null";
    if (Arbor::Text* text = node->asText()) return "\"" + utf8(text->data()) + "\"";
    return node->nodeName().name;
}

// Prints every event of the document it observes, one per line.
class Narrator : public Arbor::IDocObserver {
public:
    std::vector<std::string> heard;

    void onEvent(Arbor::DomEvent& event) override
    {
        std::ostringstream line;
        line << event.type.name << " on " << nameOf(event.target);
        if (event.type == Arbor::tok_BeforeReplaceText) {
            auto& e = static_cast<Arbor::BeforeReplaceTextEvent&>(event);
            line << " at " << e.offset << ", " << e.count << " unit(s) -> \"" << utf8(e.data)
                 << "\"";
        } else if (event.type == Arbor::tok_BeforeReplaceChildren) {
            auto& e = static_cast<Arbor::BeforeReplaceChildrenEvent&>(event);
            line << ": " << e.count << " child(ren) from " << nameOf(e.child) << " by "
                 << nameOf(e.newChild);
        } else if (event.type == Arbor::tok_BeforeSetAttribute) {
            line << ": " << static_cast<Arbor::DomAttributeEvent&>(event).name.name;
        }
        heard.push_back(line.str());
    }
};

std::string point(Arbor::Node* container, unsigned long offset)
{
    return "(" + nameOf(container) + ", " + std::to_string(offset) + ")";
}

void show(Arbor::Document& document, Narrator& narrator, const char* title)
{
    std::cout << "== " << title << "\n";
    for (const std::string& line : narrator.heard)
        std::cout << "   event: " << line << "\n";
    narrator.heard.clear();
    if (Arbor::Range* caret = document.firstSelectedRange())
        std::cout << "   selection: " << point(caret->startContainer, caret->startOffset) << " - "
                  << point(caret->endContainer, caret->endOffset) << "\n";
    std::cout << "   xml: ";
    document.putXml(std::cout);
}

// The sample, loaded (or, without the loader, built) in one batch: no events and no undo history.
Plinth::Ref<Arbor::BasicDocument> loadSample()
{
#if ARBOR_DEMO_LOADER
    static const char sample[] = "<article><!--a sample for the tour--><title>Trees</title>"
                                 "<p>Hello world of trees</p>"
                                 "<p>Nodes hold nodes</p></article>";
    return Arbor::loadXml(sample, sizeof sample - 1);
#else
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::BasicDocument& doc = *document;
    doc.beginBatchChanges();
    Arbor::Element* article = doc.createElement("article");
    doc.appendChild(article);
    article->appendChild(doc.createComment(u"a sample for the tour"));
    Arbor::Element* title = doc.createElement("title");
    title->appendChild(doc.createTextNode(u"Trees"));
    article->appendChild(title);
    Arbor::Element* first = doc.createElement("p");
    first->appendChild(doc.createTextNode(u"Hello world of trees"));
    article->appendChild(first);
    Arbor::Element* second = doc.createElement("p");
    second->appendChild(doc.createTextNode(u"Nodes hold nodes"));
    article->appendChild(second);
    doc.endBatchChanges();
    return document;
#endif
}

} // namespace

int main()
{
    Plinth::Ref<Arbor::BasicDocument> document = loadSample();
    Arbor::BasicDocument& doc = *document;
    Arbor::Element* article = doc.documentElement()->asElement();
    // Child 0 is the sample's comment, which every edit below leaves in place.
    Arbor::Element* first = article->findChild(2ul)->asElement();
    Arbor::Text* body = first->firstChild()->asText();
    Arbor::Element* second = article->findChild(3ul)->asElement();

    Narrator narrator;
    doc.addObserver(&narrator);

    // The caret: a selected range after "Hello".
    Plinth::Ref<Arbor::Range> caret(doc.createRange(true));
    caret->setEnd(body, 5);
    caret->setStart(body, 5);
    narrator.heard.clear();
    show(doc, narrator, "the sample, caret after \"Hello\"");
    const std::string start = [&] {
        std::ostringstream os;
        doc.putXml(os);
        return os.str();
    }();

    doc.newUndoTask();
    const unsigned long at = caret->startOffset;
    body->insertData(at, u", dear");
    // A caret at the insertion offset stays in front of the new text; an editor then moves its
    // caret past what was typed.
    caret->setEnd(body, at + 6);
    caret->setStart(body, at + 6);
    show(doc, narrator, "type \", dear\" at the caret");

    caret->setEnd(body, 18);
    caret->setStart(body, 12);
    show(doc, narrator, "select the word \"world\"");

    doc.newUndoTask();
    body->deleteData(caret->startOffset, caret->endOffset - caret->startOffset);
    show(doc, narrator, "delete the selected word");

    doc.newUndoTask();
    Arbor::Text* tail = body->splitText(caret->startOffset);
    Arbor::Element* third = doc.createElement("p");
    article->insertBefore(third, first->nextSibling());
    third->appendChild(tail);
    show(doc, narrator, "split the paragraph at the caret");

    doc.newUndoTask();
    article->insertBefore(second, first);
    show(doc, narrator, "move the last paragraph before the first");

    doc.newUndoTask();
    first->setAttribute(Arbor::Token("class"), Arbor::StringVariant("lead"));
    article->setAttribute(Arbor::Token("lang"), Arbor::StringVariant("en"));
    show(doc, narrator, "set attributes");

    const std::string end = [&] {
        std::ostringstream os;
        doc.putXml(os);
        return os.str();
    }();

    int undone = 0;
    while (doc.canUndo()) {
        doc.undo();
        ++undone;
    }
    show(doc, narrator, ("undo all " + std::to_string(undone) + " tasks").c_str());
    std::ostringstream afterUndo;
    doc.putXml(afterUndo);

    while (doc.canRedo())
        doc.redo();
    show(doc, narrator, "redo everything");
    std::ostringstream afterRedo;
    doc.putXml(afterRedo);

    const bool restored = afterUndo.str() == start && afterRedo.str() == end
        && end.find("<article lang=\"en\"><!--a sample for the tour-->") != std::string::npos;
    std::cout << (restored ? "undo and redo restored the document exactly\n"
                           : "MISMATCH after undo/redo\n");

    doc.removeObserver(&narrator);
    caret = Plinth::Ref<Arbor::Range>();
    doc.tearDown();
    return restored ? 0 : 1;
}
