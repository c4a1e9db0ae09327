#include "arbor/arbor.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(BasicDocumentTest, BuildsEditsAndWritesWithoutHostClasses)
{
    Plinth::Ref<Arbor::BasicDocument> document(new Arbor::BasicDocument);
    Arbor::Element* item = document->createElement("item");
    ASSERT_NE(dynamic_cast<Arbor::BasicElement*>(item), nullptr);
    EXPECT_EQ(item->tagName(), Arbor::Token("item"));
    EXPECT_EQ(item->ownerDocument(), document.get());
    document->appendChild(item);

    document->newUndoTask();
    item->setAttribute(Arbor::Token("n"), Arbor::LongVariant(3));
    std::ostringstream os;
    document->putXml(os);
    EXPECT_EQ(os.str(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<item n=\"3\"></item>\n");

    document->undo();
    EXPECT_FALSE(item->hasAttribute(Arbor::Token("n")));
    document->tearDown();
}
