#ifndef ARBOR_FOUNDATION_C_DATA_H
#define ARBOR_FOUNDATION_C_DATA_H

#include "arbor/foundation/Export.h"

#include <ostream>

namespace Plinth {

/// Writes `text` to `os` as XML character data in UTF-8 and returns `os`; a null `text` writes
/// nothing.
///
/// The output reads back as the same text when it stands between an element's tags:
/// - `&`, `<` and `>` become `&amp;`, `&lt;` and `&gt;` (so `]]>` never appears), and a carriage
///   return becomes `&#13;` (a parser would otherwise turn it into a line feed); tabs and line
///   feeds are written as they are;
/// - a surrogate pair becomes one 4-byte UTF-8 sequence;
/// - code units XML 1.0 cannot carry (unpaired surrogates, the C0 controls other than tab, line
///   feed and carriage return, and U+FFFE and U+FFFF) are written as U+FFFD, the replacement
///   character, so the output is always well-formed.
ARBOR_API std::ostream& putCData(std::ostream& os, const char16_t* text);

/// Writes `text` as the value of an attribute quoted with `"`: as `putCData`, and in addition
/// `"`, tab, line feed and carriage return become character references, which a parser reads
/// back unchanged instead of normalising them to spaces.
ARBOR_API std::ostream& putAttributeData(std::ostream& os, const char16_t* text);

/// The narrow (UTF-8) form of `putAttributeData`: the same escapes, and the same U+FFFD for the
/// characters XML cannot carry (the C0 controls other than tab, line feed and carriage return,
/// U+FFFE and U+FFFF) and for every ill-formed UTF-8 sequence.
ARBOR_API std::ostream& putAttributeData(std::ostream& os, const char* bytes);

} // namespace Plinth

#endif
