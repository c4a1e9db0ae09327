#ifndef ARBOR_FOUNDATION_UTF8_H
#define ARBOR_FOUNDATION_UTF8_H

#include "arbor/foundation/Export.h"
#include "arbor/values/Token.h"

#include <string>
#include <string_view>

/// \file
/// UTF-8 conveniences beside the UTF-16 interface.
///
/// Input that is not well-formed UTF-8 is repaired, never refused: each maximal ill-formed
/// subpart (a stray continuation byte, a sequence cut short, an overlong form, an encoded
/// surrogate, a value above U+10FFFF, or a byte that never starts a sequence) becomes one U+FFFD,
/// the replacement character, and decoding goes on at the next byte. Output from UTF-16 writes
/// an unpaired surrogate as U+FFFD, so it is always well-formed UTF-8. Text and string attribute
/// values are NUL-terminated inside the library, so they end at the first NUL character.
namespace Arbor {

class Document;
class Element;
class Text;
class Comment;
class DataNode;
class ProcessingInstruction;

/// The UTF-16 form of `bytes`, with ill-formed input repaired (see above).
ARBOR_API std::u16string utf16FromUtf8(std::string_view bytes);

/// The UTF-8 form of the NUL-terminated `text`; null gives an empty string.
ARBOR_API std::string utf8FromUtf16(const char16_t* text);

/// The UTF-8 form of `text`.
ARBOR_API std::string utf8FromUtf16(std::u16string_view text);

/// A new unlinked text node of `document` holding `bytes` in UTF-16, as
/// `Document::createTextNode` makes it (count 0: the caller owns it until it links it).
ARBOR_API Text* createTextNodeUtf8(Document* document, std::string_view bytes);

/// The data of `text` in UTF-8; empty for an empty node.
ARBOR_API std::string textUtf8(const Text* text);

/// A new unlinked comment of `document` holding `bytes` in UTF-16, as `Document::createComment`
/// makes it, with the same checks.
ARBOR_API Comment* createCommentUtf8(Document* document, std::string_view bytes);

/// A new unlinked processing instruction of `document` for `target` holding `bytes` in UTF-16,
/// as `Document::createProcessingInstruction` makes it, with the same checks.
ARBOR_API ProcessingInstruction* createProcessingInstructionUtf8(
    Document* document, Token target, std::string_view bytes);

/// The data of a comment or processing instruction in UTF-8; empty for no data.
ARBOR_API std::string dataUtf8(const DataNode* node);

/// Sets the attribute `name` of `element` to a `StringVariant` holding `bytes` as well-formed
/// UTF-8, through `Element::setAttribute`: the same checks, hooks, events and undo record, and
/// the same exceptions.
ARBOR_API void setAttributeUtf8(Element* element, Token name, std::string_view bytes);

/// The value of the attribute `name` of `element` as text: strings as they are (UTF-16 ones
/// in UTF-8), other values as `BasicElement::appendValueText` writes them; empty when the
/// attribute is absent (ask `hasAttribute` to tell an absent attribute from an empty one).
ARBOR_API std::string getAttributeUtf8(Element* element, Token name);

} // namespace Arbor

#endif
