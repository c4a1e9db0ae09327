#include "arbor/xml/XmlEncoding.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iconv.h>
#include <map>
#include <memory>
#include <mutex>
#include <strings.h>
#include <vector>

namespace {

// A converter to UTF-32LE, closed when it goes out of scope.
class Converter {
public:
    explicit Converter(const std::string& from, const char* to = "UTF-32LE")
        : handle(iconv_open(to, from.c_str()))
    {
    }
    ~Converter()
    {
        if (valid()) iconv_close(handle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool valid() const { return handle != iconv_t(-1); }
    iconv_t get() const { return handle; }

    enum Outcome { One, Invalid, Incomplete, Other };
    struct Result {
        Outcome outcome;
        std::int32_t character;
    };

    // Converts exactly the `bytes` bytes at `data` from a fresh state.
    Result convert(const char* data, std::size_t bytes)
    {
        iconv(handle, nullptr, nullptr, nullptr, nullptr);
        char out[16];
        char* in = const_cast<char*>(data);
        char* to = out;
        std::size_t inLeft = bytes;
        std::size_t outLeft = sizeof out;
        if (iconv(handle, &in, &inLeft, &to, &outLeft) == std::size_t(-1)) {
            if (errno == EILSEQ) return { Invalid, -1 };
            if (errno == EINVAL) return { Incomplete, -1 };
            return { Other, -1 };
        }
        // A stateful encoding may owe a shift back to its initial state.
        if (iconv(handle, nullptr, nullptr, &to, &outLeft) == std::size_t(-1)) return { Other, -1 };
        if (sizeof out - outLeft != 4) return { Other, -1 };
        const auto* u = reinterpret_cast<const unsigned char*>(out);
        return { One, std::int32_t(u[0] | u[1] << 8 | u[2] << 16 | std::uint32_t(u[3]) << 24) };
    }

private:
    iconv_t handle;
};

// How the parser reads an encoding: the byte table it takes for unknown encodings, or the whole
// input converted first.
struct Table {
    int map[256];
    bool convertWhole = false;
    bool hasLeads = false;
    // The characters of all two-byte sequences, by lead byte times 256 plus trail byte (-1 for an
    // invalid one), so the parser's calls cost a lookup and not a conversion each.
    std::vector<std::int32_t> pairs;
};

// The characters that must be their own single byte for the parser to read the markup.
bool significant(int b)
{
    if (b == '\t' || b == '\n' || b == '\r') return true;
    return b >= 0x20 && b < 0x7f && !std::strchr("$@\\^`{}~", b);
}

// Length of the sequences that the lead byte `lead` starts: 2 to 4, 0 when every sequence is
// invalid, -1 when the length is not told by the lead byte alone.
int sequenceLength(Converter& converter, unsigned char lead)
{
    char sequence[4] = { char(lead) };
    for (int length = 2; length <= 4; ++length) {
        int complete = 0;
        int incomplete = 0;
        for (int trail = 0x21; trail <= 0xfe; ++trail) {
            std::memset(sequence + 1, trail, std::size_t(length - 1));
            const Converter::Result result = converter.convert(sequence, std::size_t(length));
            if (result.outcome == Converter::One && result.character <= 0xffff)
                ++complete;
            else if (result.outcome == Converter::Incomplete)
                ++incomplete;
            else if (result.outcome != Converter::Invalid)
                return -1;
        }
        if (complete > 0) return incomplete == 0 ? length : -1;
        if (incomplete == 0) return 0;
    }
    return -1;
}

std::shared_ptr<const Table> buildTable(const std::string& name)
{
    Converter converter(name);
    if (!converter.valid()) return nullptr;
    auto table = std::make_shared<Table>();
    for (int b = 0; b < 256; ++b) {
        const char byte = char(b);
        const Converter::Result result = converter.convert(&byte, 1);
        int entry = -1;
        if (result.outcome == Converter::One && result.character <= 0xffff) {
            entry = result.character;
        } else if (result.outcome == Converter::Incomplete) {
            const int length = sequenceLength(converter, (unsigned char)b);
            if (length < 0) {
                table->convertWhole = true;
                break;
            }
            entry = length ? -length : -1;
            table->hasLeads = table->hasLeads || length > 0;
            if (length == 2) {
                table->pairs.resize(256 * 256, -1);
                for (int trail = 0; trail < 256; ++trail) {
                    const char pair[2] = { byte, char(trail) };
                    const Converter::Result r = converter.convert(pair, 2);
                    if (r.outcome == Converter::One)
                        table->pairs[std::size_t(b * 256 + trail)] = r.character;
                }
            }
        } else if (result.outcome != Converter::Invalid) {
            table->convertWhole = true;
            break;
        }
        if (b < 0x80 && significant(b) && entry != b) {
            table->convertWhole = true;
            break;
        }
        table->map[b] = entry;
    }
    return table;
}

// Tables are costly to probe (a multi-byte encoding takes some tens of thousands of conversions),
// so each is made once per process.
std::shared_ptr<const Table> tableFor(const std::string& name)
{
    static std::mutex mutex;
    static std::map<std::string, std::shared_ptr<const Table>> tables;
    std::string key = name;
    for (char& c : key)
        c = char(std::toupper((unsigned char)c));
    std::lock_guard<std::mutex> lock(mutex);
    auto found = tables.find(key);
    if (found != tables.end()) return found->second;
    std::shared_ptr<const Table> table = buildTable(name);
    tables.emplace(key, table);
    return table;
}

// What the parser's callbacks for a multi-byte encoding use.
struct Decoder {
    std::shared_ptr<const Table> table;
    Converter converter;
    Decoder(std::shared_ptr<const Table> table, const std::string& name)
        : table(std::move(table))
        , converter(name)
    {
    }
};

int XMLCALL decode(void* data, const char* sequence)
{
    auto* decoder = static_cast<Decoder*>(data);
    const auto lead = (unsigned char)sequence[0];
    const int length = -decoder->table->map[lead];
    if (length == 2)
        return decoder->table->pairs[std::size_t(lead * 256 + (unsigned char)sequence[1])];
    const Converter::Result result = decoder->converter.convert(sequence, std::size_t(length));
    return result.outcome == Converter::One ? result.character : -1;
}

void XMLCALL release(void* data) { delete static_cast<Decoder*>(data); }

bool startsWith(const char* data, std::size_t bytes, const char* prefix, std::size_t length)
{
    return bytes >= length && std::memcmp(data, prefix, length) == 0;
}

// The value of the encoding pseudo-attribute in an XML declaration at the start of `text`.
std::string declaredEncoding(const std::string& text)
{
    if (text.compare(0, 5, "<?xml") != 0) return {};
    const std::size_t end = text.find("?>");
    std::size_t at = text.find("encoding");
    if (at == std::string::npos || at > end) return {};
    at += 8;
    while (at < text.size() && (text[at] == ' ' || text[at] == '=' || text[at] == '\t'))
        ++at;
    if (at >= text.size() || (text[at] != '"' && text[at] != '\'')) return {};
    const std::size_t close = text.find(text[at], at + 1);
    if (close == std::string::npos) return {};
    return text.substr(at + 1, close - at - 1);
}

} // namespace

std::string Arbor::XmlEncoding::iconvName(const std::string& name)
{
    static const char* const aliases[][2] = {
        { "x-sjis", "SHIFT_JIS" },
        { "x-euc-jp", "EUC-JP" },
        { "ks_c_5601-1987", "CP949" },
        { "x-mac-cyrillic", "MAC-CYRILLIC" },
        { "x-mac-roman", "MACINTOSH" },
        { "x-cp1250", "CP1250" },
        { "x-cp1251", "CP1251" },
    };
    for (const auto& alias : aliases) {
        if (strcasecmp(name.c_str(), alias[0]) == 0) return alias[1];
    }
    return name;
}

int XMLCALL Arbor::XmlEncoding::unknownEncodingHandler(
    void* data, const XML_Char* name, XML_Encoding* info)
{
    auto* request = static_cast<Request*>(data);
    try {
        request->name = name;
        const std::string known = iconvName(name);
        std::shared_ptr<const Table> table = tableFor(known);
        if (!table) return XML_STATUS_ERROR;
        if (table->convertWhole) {
            request->convertWhole = true;
            return XML_STATUS_ERROR;
        }
        std::copy(std::begin(table->map), std::end(table->map), info->map);
        info->data = nullptr;
        info->convert = nullptr;
        info->release = nullptr;
        if (table->hasLeads) {
            auto decoder = std::make_unique<Decoder>(table, known);
            if (!decoder->converter.valid()) return XML_STATUS_ERROR;
            info->data = decoder.release();
            info->convert = decode;
            info->release = release;
        }
        return XML_STATUS_OK;
    } catch (...) {
        // Only an allocation can fail here; the loader turns this back into std::bad_alloc.
        request->outOfMemory = true;
        return XML_STATUS_ERROR;
    }
}

std::string Arbor::XmlEncoding::sniffForeign(const char* data, std::size_t bytes)
{
    if (startsWith(data, bytes, "\0\0\xfe\xff", 4)) return "UTF-32BE";
    if (startsWith(data, bytes, "\xff\xfe\0\0", 4)) return "UTF-32LE";
    if (startsWith(data, bytes, "\0\0\0<", 4)) return "UTF-32BE";
    if (startsWith(data, bytes, "<\0\0\0", 4)) return "UTF-32LE";
    if (startsWith(data, bytes, "\x4c\x6f\xa7\x94", 4)) {
        // EBCDIC: the declaration, read in the common EBCDIC code page, names the exact one.
        const Converted prefix = toUtf8("IBM037", data, std::min<std::size_t>(bytes, 256));
        const std::string declared = declaredEncoding(prefix.text);
        return declared.empty() ? "IBM037" : declared;
    }
    return {};
}

Arbor::XmlEncoding::Converted Arbor::XmlEncoding::toUtf8(
    const std::string& encoding, const char* data, std::size_t bytes)
{
    Converted result;
    Converter converter(iconvName(encoding), "UTF-8");
    if (!converter.valid()) {
        result.failed = true;
        return result;
    }
    result.text.resize(bytes + bytes / 2 + 16);
    char* in = const_cast<char*>(data);
    std::size_t inLeft = bytes;
    std::size_t written = 0;
    while (inLeft > 0) {
        char* out = &result.text[written];
        std::size_t outLeft = result.text.size() - written;
        const std::size_t status = iconv(converter.get(), &in, &inLeft, &out, &outLeft);
        written = result.text.size() - outLeft;
        if (status != std::size_t(-1)) break;
        if (errno != E2BIG) {
            // A cut-off sequence at the end (EINVAL) counts as invalid too: there is no more input.
            result.failed = true;
            break;
        }
        result.text.resize(result.text.size() * 2);
    }
    result.text.resize(written);
    if (result.text.compare(0, 3, "\xef\xbb\xbf") == 0) result.text.erase(0, 3);
    return result;
}
