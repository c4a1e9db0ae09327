#include "tests/support/Host.h"

#include <cstdint>
#include <type_traits>

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

// Host operations of any size and alignment, made with or without the document, are recorded,
// replayed and destroyed like the library's own.
TEST_F(OperationMemoryTest, HostOperationsOfEverySize)
{
    const auto run = [this](auto* type, bool onDocument) {
        using Op = std::remove_pointer_t<decltype(type)>;
        std::string trace;
        Arbor::Document* d = &document();
        Op* op = onDocument ? new (d) Op(d, &trace) : new Op(d, &trace);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(op) % alignof(Op), 0u);
        d->newUndoTask();
        d->doModelOperation(op);
        d->undo();
        d->redo();
        EXPECT_EQ(trace, "eue");
        EXPECT_EQ(Op::live, 1);
        d->clearUndoStack();
        EXPECT_EQ(Op::live, 0);
    };
    for (bool onDocument : { false, true }) {
        run(static_cast<CountingOperation<1, 8>*>(nullptr), onDocument);
        run(static_cast<CountingOperation<1, 16>*>(nullptr), onDocument);
        run(static_cast<CountingOperation<200, 8>*>(nullptr), onDocument);
        run(static_cast<CountingOperation<16, 64>*>(nullptr), onDocument);
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

// A long history takes its records from many blocks; clearing it and recording nothing (a limit
// of 0) give them back for the next history without disturbing what is still recorded.
TEST_F(OperationMemoryTest, LongHistoriesAcrossClearsAndLimits)
{
    Arbor::Text* text = appendText(root(), u"");
    for (const unsigned long limit : { 5000ul, 0ul, 5000ul }) {
        document().maxUndoTasks(limit);
        document().newUndoTask();
        for (int i = 0; i < 1500; ++i) {
            text->appendData(u"ab");
            text->deleteData(0, 1);
        }
        EXPECT_EQ(text->length(), 1500u);
        EXPECT_EQ(document().canUndo(), limit != 0);
        document().undo();
        EXPECT_EQ(text->length(), limit ? 0u : 1500u);
        document().redo();
        EXPECT_EQ(text->length(), 1500u);
        text->setData(nullptr);
    }
}
