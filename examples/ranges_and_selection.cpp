// Ranges and the selection through edits and undo: a caret and a selected word follow text
// insertions and deletions and the removal of their text node. Undo and redo are changes like
// any other: the ranges follow them the same way, they are not put back where they were. Exits
// with 1 if a range ends up anywhere else.

#include "arbor/arbor.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

std::string point(Arbor::Node* container, unsigned long offset)
{
    std::string name = container->asText() ? "\"" + Arbor::textUtf8(container->asText()) + "\""
                                           : container->nodeName().name;
    return "(" + name + ", " + std::to_string(offset) + ")";
}

std::string where(Arbor::Range* range)
{
    if (range->collapsed()) return point(range->startContainer, range->startOffset);
    return point(range->startContainer, range->startOffset) + " - "
        + point(range->endContainer, range->endOffset);
}

// Prints the selected ranges and returns them in one line.
std::string show(const char* step, Arbor::Document* document)
{
    std::cout << step << "\n";
    std::string all;
    for (Arbor::Range* range : Arbor::selectedRanges(document)) {
        std::cout << "  selected: " << where(range) << "\n";
        all += (all.empty() ? "" : " | ") + where(range);
    }
    return all;
}

} // namespace

int main()
{
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::Element* p = document->createElement("p");
    Arbor::Text* text = document->createTextNode(u"the quick fox");
    p->appendChild(text);
    document->appendChild(p);

    // A range lives in the document's range list, which drops it at the next change unless
    // someone holds it: a Ref keeps each one. Selected ranges make up the selection.
    Plinth::Ref<Arbor::Range> caret(document->createRange(true));
    caret->setEnd(text, 13);
    caret->setStart(text, 13);
    Plinth::Ref<Arbor::Range> word(document->createRange(true));
    word->setEnd(text, 9);
    word->setStart(text, 4);

    std::vector<std::string> seen;
    seen.push_back(show("a caret at the end, \"quick\" selected", document.get()));

    document->newUndoTask();
    text->insertData(0, u"see ");
    seen.push_back(show("insert \"see \" at the start: both move right", document.get()));

    document->newUndoTask();
    text->deleteData(word->startOffset, word->endOffset - word->startOffset);
    seen.push_back(show("delete the selected word: it collapses", document.get()));

    document->undo();
    seen.push_back(
        show("undo: \"quick\" comes back after the collapsed word range", document.get()));

    document->redo();
    seen.push_back(show("redo: the word is deleted again", document.get()));

    document->newUndoTask();
    Plinth::Ref<Arbor::Node> removed(p->removeChild(text));
    seen.push_back(show("remove the text: both move to its parent", document.get()));

    document->undo();
    seen.push_back(show("undo: the text comes back after both points", document.get()));

    // The selection holds a reference on each selected range until it is deselected.
    document->deselectRanges();
    seen.push_back(show("deselect all: nothing is selected", document.get()));

    const std::vector<std::string> expected = {
        "(\"the quick fox\", 13) | (\"the quick fox\", 4) - (\"the quick fox\", 9)",
        "(\"see the quick fox\", 17) | (\"see the quick fox\", 8) - (\"see the quick fox\", 13)",
        "(\"see the  fox\", 12) | (\"see the  fox\", 8)",
        "(\"see the quick fox\", 17) | (\"see the quick fox\", 8)",
        "(\"see the  fox\", 12) | (\"see the  fox\", 8)",
        "(p, 0) | (p, 0)",
        "(p, 0) | (p, 0)",
        "",
    };
    const bool ok = seen == expected;
    std::cout << (ok ? "the ranges followed every change\n" : "MISMATCH\n");
    caret.reset();
    word.reset();
    removed.reset();
    document->tearDown();
    return ok ? 0 : 1;
}
