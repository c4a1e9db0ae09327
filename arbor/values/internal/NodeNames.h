#ifndef ARBOR_VALUES_INTERNAL_NODE_NAMES_H
#define ARBOR_VALUES_INTERNAL_NODE_NAMES_H

// Internal: the node-kind name tokens interned when the library is loaded.

#include "arbor/values/Token.h"

namespace Arbor {

extern const Token tok_document;
extern const Token tok_rangelist;
extern const Token tok_documentFragment;
extern const Token tok_range;

} // namespace Arbor

#endif
