#include "arbor/foundation/FixedString.h"

#include <cstdlib>

// Out of line, so that code holding a handle does not see a conditional `free` next to its
// own later reads of a block that other handles still share.
void Plinth::releaseSharedBlock(void* block)
{
    long* holders = static_cast<long*>(block);
    if (--*holders <= 0) std::free(block);
}
