#ifndef ARBOR_TREE_INTERNAL_XML_NAMES_H
#define ARBOR_TREE_INTERNAL_XML_NAMES_H

// Internal: not exported and not part of the umbrella header.

#include <string_view>

namespace Arbor {

/// Whether `name` is well-formed UTF-8 spelling an XML name (a name-start character, then name
/// characters; colons allowed).
bool isXmlName(std::string_view name);

/// Whether every byte of `id` is a character a public identifier may hold.
bool isPublicIdText(std::string_view id);

/// Whether `c` is XML white space (space, tab, line feed, carriage return).
inline bool isXmlSpace(char32_t c) { return c == 0x20 || c == 0x9 || c == 0xA || c == 0xD; }

} // namespace Arbor

#endif
