#ifndef ARBOR_DOCUMENT_BASIC_DOCUMENT_H
#define ARBOR_DOCUMENT_BASIC_DOCUMENT_H

#include "arbor/document/Document.h"

namespace Arbor {

/// A ready-made document whose `createElement` makes a `BasicElement`, so a host can build, edit,
/// undo and write a document without a subclass of its own.
class ARBOR_API BasicDocument : public Document {
public:
    BasicDocument();
    ~BasicDocument() override;

    /// A new `BasicElement` named `tagName`, count 0, unlinked.
    Element* createElement(Token tagName) override;
    /// `createElement(Token(tagName))`.
    Element* createElement(const char* tagName);
};

} // namespace Arbor

#endif
