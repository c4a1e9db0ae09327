#include "arbor/undo/ModelOperation.h"

Arbor::ModelOperation::ModelOperation(Document* document)
    : document(document)
{
}

Arbor::ModelOperation::~ModelOperation() = default;
