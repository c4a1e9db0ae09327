#ifndef ARBOR_DOCUMENT_FUNCTOR_H
#define ARBOR_DOCUMENT_FUNCTOR_H

#include "arbor/foundation/Export.h"

namespace Arbor {

/// Deferred work handed to `Document::postFunction`; the document owns it from then on and
/// deletes it after running it (or unrun, when the document is torn down).
class ARBOR_API Functor {
public:
    virtual ~Functor();
    /// Does the work.
    virtual void operator()() = 0;
};

} // namespace Arbor

#endif
