#ifndef ARBOR_TESTS_RELIABILITY_CHOICES_H
#define ARBOR_TESTS_RELIABILITY_CHOICES_H

// Small helpers shared by the interpreter's files: the names it chooses from, the node filters of
// `Interpreter::pick` and the capture of a call's result as a number.

#include "arbor/arbor.h"
#include "tests/reliability/Model.h"

#include <new>
#include <optional>
#include <string>

namespace Reliability::Choices {

inline const char* const tags[] = { "p", "q", "em", "li" };
constexpr unsigned long attributeNames = 24;
inline const Arbor::Token eventTypes[] = { Arbor::tok_BeforeReplaceChildren,
    Arbor::tok_AfterReplaceChildren, Arbor::tok_BeforeReplaceText, Arbor::tok_AfterReplaceText,
    Arbor::tok_AfterSetAttribute, Arbor::tok_BeforeSelectionChange };

/// The call's result: 0, a DomException code, `rangeError` plus a RangeException code, or -1 for
/// `std::bad_alloc`.
template <class Action> long attempt(Action&& action)
{
    try {
        action();
        return 0;
    } catch (const Arbor::DomException& e) {
        return e.code;
    } catch (const Arbor::RangeException& e) {
        return rangeError + e.code;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

inline const char16_t* chars(const std::optional<std::u16string>& text)
{
    return text ? text->c_str() : nullptr;
}

inline bool anyNode(const ModelNode&) { return true; }
inline bool textNode(const ModelNode& node) { return node.kind == Kind::Text; }
inline bool elementNode(const ModelNode& node) { return node.kind == Kind::Element; }
inline bool innerNode(const ModelNode& node)
{
    return node.kind != Kind::Text && !(node.kind == Kind::Document && node.document == 1);
}
inline bool copyableNode(const ModelNode& node) { return node.kind != Kind::Document; }

} // namespace Reliability::Choices

#endif
