#include "tests/support/Host.h"

#include <cstdint>
#include <string>

namespace {

using OperationMemoryTest = HostTest;

// A host operation that counts its calls and its instances, of a chosen size and alignment.
template <std::size_t Size, std::size_t Align> struct CountingOperation : Arbor::ModelOperation {
    static inline int live = 0;
    alignas(Align) unsigned char padding[Size] = {};
    std::string* trace;

    CountingOperation(Arbor::Document* document, std::string* trace)
        : ModelOperation(document)
        , trace(trace)
    {
        ++live;
    }
    ~CountingOperation() override { --live; }
    void execute() override { *trace += 'e'; }
    void undo() override { *trace += 'u'; }
};

template <class Op> void runHostOperation(Arbor::Document* document, bool onDocument)
{
    std::string trace;
    Op* op = onDocument ? new (document) Op(document, &trace) : new Op(document, &trace);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(op) % alignof(Op), 0u);
    document->newUndoTask();
    document->doModelOperation(op);
    document->undo();
    document->redo();
    EXPECT_EQ(trace, "eue");
    EXPECT_EQ(Op::live, 1);
    document->clearUndoStack();
    EXPECT_EQ(Op::live, 0);
}

// Host operations of any size and alignment, made with or without the document, are recorded,
// replayed and destroyed like the library's own.
TEST_F(OperationMemoryTest, HostOperationsOfEverySize)
{
    for (bool onDocument : { false, true }) {
        runHostOperation<CountingOperation<1, 8>>(&document(), onDocument);
        runHostOperation<CountingOperation<1, 16>>(&document(), onDocument);
        runHostOperation<CountingOperation<200, 8>>(&document(), onDocument);
        runHostOperation<CountingOperation<16, 64>>(&document(), onDocument);
    }
}

// A long history grows the operations' memory over many blocks; clearing it, trimming it and
// recording nothing (a limit of 0) give the memory back for reuse without disturbing what is
// still recorded.
TEST_F(OperationMemoryTest, LongHistoriesAcrossClearsAndLimits)
{
    Arbor::Text* text = appendText(root(), u"");
    document().maxUndoTasks(5000);
    for (int round = 0; round < 3; ++round) {
        document().newUndoTask();
        for (int i = 0; i < 1500; ++i) {
            text->appendData(u"ab");
            text->deleteData(0, 1);
        }
        EXPECT_EQ(text->length(), 1500u);
        document().undo();
        EXPECT_EQ(text->length(), 0u);
        document().redo();
        EXPECT_EQ(text->length(), 1500u);
        if (round == 1) document().maxUndoTasks(0);
        text->setData(u"x");
        document().maxUndoTasks(2);
        for (int i = 0; i < 10; ++i) {
            document().newUndoTask();
            root()->setAttribute(Arbor::Token("n", true), Arbor::LongVariant(i));
        }
        document().undo();
        document().undo();
        EXPECT_EQ(valueText(root()->getAttribute(Arbor::Token("n", true))), "7");
        EXPECT_FALSE(document().canUndo());
        document().clearUndoStack();
        text->setData(u"");
        document().maxUndoTasks(5000);
    }
}

// A text that gives up its first unit whenever its edit hook is asked, as a host hook may.
class ShrinkingText : public Arbor::Text {
public:
    using Text::Text;
    bool mayReplaceData(unsigned long, unsigned long, const char16_t*) override
    {
        replaceDataRaw(0, 1, nullptr);
        return true;
    }
};

// A text is measured once per edit; an edit made meanwhile by a hook or an observer is seen, so
// the new units land at the offset in the text as it then stands, and an offset that no longer
// exists is refused.
TEST_F(OperationMemoryTest, TextEditedWhileItsEditIsUnderWay)
{
    auto* shrinking = new ShrinkingText(&document(), u"abcdef");
    Plinth::Ref<Arbor::Node> detached(shrinking);
    shrinking->insertData(2, u"X");
    EXPECT_EQ(ascii(shrinking->data()), "bcXdef");
    root()->appendChild(detached.get());
    shrinking->insertData(2, u"Y");
    EXPECT_EQ(ascii(shrinking->data()), "cXYdef");

    Arbor::Text* text = appendText(root(), u"abcdef");
    document().newUndoTask();
    CallbackObserver observer;
    unsigned long cut = 1;
    observer.react = [&](Arbor::DomEvent& event) {
        if (event.type != Arbor::tok_BeforeReplaceText || event.target != text || cut == 0) return;
        const unsigned long count = cut;
        cut = 0;
        text->deleteData(0, count);
    };
    document().addObserver(&observer);
    text->insertData(2, u"X");
    EXPECT_EQ(ascii(text->data()), "bcXdef");
    cut = ~0UL;
    expectDomError(Arbor::DomException::INDEX_SIZE_ERR, [&] { text->insertData(2, u"Z"); });
    EXPECT_EQ(text->data(), nullptr);
    document().removeObserver(&observer);
    document().undo();
    EXPECT_EQ(ascii(text->data()), "abcdef");
}

} // namespace
