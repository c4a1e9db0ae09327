#ifndef ARBOR_UNDO_MODEL_OPERATION_H
#define ARBOR_UNDO_MODEL_OPERATION_H

#include "arbor/foundation/Export.h"
#include "arbor/foundation/Operation.h"

namespace Arbor {

class Document;

/// An undoable change of one document's model: it fires the document's before- and after-events
/// around every raw change it makes, so observers and ranges follow undo and redo as they follow
/// the first execution.
class ARBOR_API ModelOperation : public Plinth::Operation {
public:
    /// The document whose events the operation fires; not counted.
    Document* document;

    ~ModelOperation() override;

protected:
    /// An operation whose events go to `document`.
    explicit ModelOperation(Document* document);
};

} // namespace Arbor

#endif
