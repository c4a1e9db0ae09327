#include "arbor/arbor.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(BasicDocumentTest, StartsEmptyThenBuildsEditsAndWritesWithoutHostClasses)
{
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    EXPECT_EQ(document->documentElement(), nullptr);
    EXPECT_EQ(document->ownerDocument(), document.get());
    document->setNodeValue(u"x");
    EXPECT_EQ(document->nodeValue(), nullptr);
    EXPECT_FALSE(document->canUndo() || document->canRedo());
    Arbor::Element* item = document->createElement("item");
    ASSERT_NE(dynamic_cast<Arbor::BasicElement*>(item), nullptr);
    EXPECT_EQ(item->tagName(), Arbor::Token("item"));
    EXPECT_EQ(item->ownerDocument(), document.get());
    document->appendChild(item);
    EXPECT_EQ(document->documentElement(), item);

    document->newUndoTask();
    item->setAttribute(Arbor::Token("n"), Arbor::LongVariant(3));
    std::ostringstream os;
    document->putXml(os);
    EXPECT_EQ(os.str(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<item n=\"3\"></item>\n");

    document->undo();
    EXPECT_FALSE(item->hasAttribute(Arbor::Token("n")));
    document->tearDown();
}
