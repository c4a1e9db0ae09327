#ifndef ARBOR_XML_XML_POSITIONS_H
#define ARBOR_XML_XML_POSITIONS_H

// The side table of source positions behind `sourcePosition` (internal to arbor_xml).

#include "arbor/xml/XmlLoader.h"

#include <utility>
#include <vector>

namespace Arbor {
namespace XmlPositions {

    /// Enters the positions of the nodes a load made for `document`.
    void record(
        Document* document, const std::vector<std::pair<Node*, XmlSourcePosition>>& entries);

} // namespace XmlPositions
} // namespace Arbor

#endif
