#ifndef ARBOR_VALUES_TOKEN_H
#define ARBOR_VALUES_TOKEN_H

#include "arbor/foundation/Export.h"

namespace Arbor {

/// An interned name: one pointer to a string stored once in the process-wide token table.
///
/// Equal names give the same pointer, so tokens are compared, ordered and copied as pointers.
/// The null token (null `name`) stands for no name; it differs from the token of "". Tokens stay
/// valid until the process exits. Interning is safe from any thread.
class ARBOR_API Token {
public:
    /// The interned string; null for the null token.
    const char* name = nullptr;

    /// The null token.
    Token() = default;

    /// Interns `name` and makes its token; a null `name` gives the null token. With `copy` set
    /// the table keeps its own copy of a new name; with `copy` clear it keeps the caller's pointer,
    /// which must then live until the process exits (string literals do). Throws `std::bad_alloc`
    /// when the table cannot grow; the table is then unchanged.
    Token(const char* name, bool copy = true);

    /// The token of `name` if it is interned already, else the null token; never adds a name.
    static Token find(const char* name);

    /// Interns every name of a null-terminated array (a null array does nothing); makes no token.
    static void create(const char** names, bool copy);

    /// True for the same name.
    bool operator==(const Token& other) const { return name == other.name; }
    /// True for different names.
    bool operator!=(const Token& other) const { return name != other.name; }
    /// Orders by the address of the interned string, not alphabetically.
    bool operator<(const Token& other) const { return name < other.name; }
    /// The interned string; null for the null token.
    operator const char*() const { return name; }
    /// True for the null token only.
    bool isNull() const { return name == nullptr; }
};

/// Event type tokens, interned when the library is loaded.
ARBOR_API extern const Token tok_BeforeReplaceChildren;
/// "AfterReplaceChildren".
ARBOR_API extern const Token tok_AfterReplaceChildren;
/// "BeforeReplaceText".
ARBOR_API extern const Token tok_BeforeReplaceText;
/// "AfterReplaceText".
ARBOR_API extern const Token tok_AfterReplaceText;
/// "BeforeSetAttribute".
ARBOR_API extern const Token tok_BeforeSetAttribute;
/// "AfterSetAttribute".
ARBOR_API extern const Token tok_AfterSetAttribute;
/// "BeforeRemoveAttribute".
ARBOR_API extern const Token tok_BeforeRemoveAttribute;
/// "AfterRemoveAttribute".
ARBOR_API extern const Token tok_AfterRemoveAttribute;
/// "BeforeSelectionChange".
ARBOR_API extern const Token tok_BeforeSelectionChange;
/// "AfterSelectionChange".
ARBOR_API extern const Token tok_AfterSelectionChange;
/// "BeforeDeselect".
ARBOR_API extern const Token tok_BeforeDeselect;

} // namespace Arbor

#endif
