// Observers and events: one observer hears every change of the content, another only attribute
// changes; a batch fires no event (observers only hear that it begins and ends); a function
// posted from an observer runs once the change is over.
// Exits with 1 if an observer heard something other than expected.

#include "arbor/arbor.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

// Writes each event it hears and keeps the lines.
class Logger : public Arbor::IDocObserver {
public:
    explicit Logger(const char* name)
        : name(name)
    {
    }

    std::vector<std::string> heard;

    void beforeBatchChanges() override { note("batch begins"); }
    void afterBatchChanges() override { note("batch ends"); }
    void onEvent(Arbor::DomEvent& event) override
    {
        std::string line = event.type.name;
        if (event.type == Arbor::tok_BeforeReplaceText) {
            const auto& e = static_cast<Arbor::BeforeReplaceTextEvent&>(event);
            line += " at " + std::to_string(e.offset) + ", " + std::to_string(e.count)
                + " unit(s) by \"" + Arbor::utf8FromUtf16(e.data) + "\"";
        } else if (auto* e = dynamic_cast<Arbor::DomAttributeEvent*>(&event)) {
            line += std::string(" ") + e->name.name;
        }
        note(line);
    }

private:
    const char* name;

    void note(const std::string& line)
    {
        std::cout << "  " << name << ": " << line << "\n";
        heard.push_back(line);
    }
};

// Work for after the running change: the document deletes it once it ran.
class Announce : public Arbor::Functor {
public:
    explicit Announce(std::vector<std::string>& log)
        : log(log)
    {
    }
    void operator()() override
    {
        std::cout << "  posted function runs after the change\n";
        log.push_back("posted");
    }

private:
    std::vector<std::string>& log;
};

// Posts a function the first time it hears a text change.
class Poster : public Arbor::IDocObserver {
public:
    Arbor::Document* document = nullptr;
    std::vector<std::string> log;

    void onEvent(Arbor::DomEvent&) override
    {
        log.push_back("event");
        if (log.size() == 1) document->postFunction(new Announce(log));
    }
};

} // namespace

int main()
{
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::Element* note = document->createElement("note");
    Arbor::Text* text = Arbor::createTextNodeUtf8(document.get(), "hello");
    note->appendChild(text);
    document->appendChild(note);

    Logger everything("all");
    Logger attributes("attributes");
    Poster poster;
    poster.document = document.get();
    document->addObserver(&everything);
    document->addObserver(&attributes, Arbor::tok_AfterSetAttribute);
    document->addObserver(&poster, Arbor::tok_AfterReplaceText);

    std::cout << "append text:\n";
    text->appendData(u" world");
    std::cout << "set an attribute:\n";
    note->setAttribute("lang", Arbor::StringVariant("en"));
    std::cout << "a batch (no events, and the undo history is dropped):\n";
    document->beginBatchChanges();
    text->setData(u"quiet");
    note->removeAttribute("lang");
    document->endBatchChanges();

    document->removeObserver(&everything);
    document->removeObserver(&attributes);
    document->removeObserver(&poster);

    const std::vector<std::string> all
        = { "BeforeReplaceText at 5, 0 unit(s) by \" world\"", "AfterReplaceText",
              "BeforeSetAttribute lang", "AfterSetAttribute lang", "batch begins", "batch ends" };
    // Batch notices reach every observer, whatever event type it registered for.
    const std::vector<std::string> attributeEvents
        = { "AfterSetAttribute lang", "batch begins", "batch ends" };
    const bool ok = everything.heard == all && attributes.heard == attributeEvents
        && poster.log == std::vector<std::string> { "event", "posted" } && !document->canUndo();
    std::cout << (ok ? "every observer heard what it should\n" : "MISMATCH\n");
    document->tearDown();
    return ok ? 0 : 1;
}
