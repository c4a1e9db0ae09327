#include "arbor/tree/internal/XmlNames.h"

#include "arbor/foundation/Utf8.h"

#include <cstring>
#include <string>

namespace {

bool isNameStart(char32_t c)
{
    if (c < 0x80) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
    return (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF)
        || (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) || c == 0x200C || c == 0x200D
        || (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF)
        || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF)
        || (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool isNameChar(char32_t c)
{
    return isNameStart(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7
        || (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

} // namespace

bool Arbor::isXmlName(std::string_view name)
{
    if (name.empty()) return false;
    const std::u16string units = utf16FromUtf8(name);
    // Decoding repairs ill-formed input; a name that does not survive the round trip was not
    // well-formed UTF-8.
    if (utf8FromUtf16(units) != name) return false;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t c = units[i];
        if (c >= 0xD800 && c <= 0xDBFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        }
        if (!(i == 0 ? isNameStart(c) : isNameChar(c))) return false;
    }
    return true;
}

bool Arbor::isPublicIdText(std::string_view id)
{
    static const char extra[] = " \r\n-'()+,./:=?;!*#@$_%";
    for (const char ch : id) {
        const bool alnum
            = (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9');
        if (!alnum && (ch == 0 || !std::memchr(extra, ch, sizeof extra - 1))) return false;
    }
    return true;
}
