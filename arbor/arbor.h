#ifndef ARBOR_ARBOR_H
#define ARBOR_ARBOR_H

// The whole public interface of the library.

#include "arbor/document/BasicDocument.h"
#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/document/Functor.h"
#include "arbor/document/IDocObserver.h"
#include "arbor/foundation/CData.h"
#include "arbor/foundation/Export.h"
#include "arbor/foundation/FixedString.h"
#include "arbor/foundation/Operation.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/RefCounted.h"
#include "arbor/foundation/UString.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/range/Range.h"
#include "arbor/range/Selection.h"
#include "arbor/tree/AtomicNode.h"
#include "arbor/tree/BasicElement.h"
#include "arbor/tree/Children.h"
#include "arbor/tree/DocumentFragment.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Element.h"
#include "arbor/tree/InnerNode.h"
#include "arbor/tree/Node.h"
#include "arbor/tree/Text.h"
#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ModelOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"
#include "arbor/undo/UndoStack.h"
#include "arbor/values/Token.h"
#include "arbor/values/Variant.h"

#endif
