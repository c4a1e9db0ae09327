#include "arbor/tree/ProcessingInstruction.h"

#include "arbor/foundation/UString.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/internal/XmlNames.h"

#include <ostream>

namespace {

bool isInstructionData(const char16_t* data, unsigned long length)
{
    if (!Arbor::DataNode::isXmlData(data, length)) return false;
    // A reader drops the white space between the target and the data.
    if (length > 0 && Arbor::isXmlSpace(data[0])) return false;
    for (unsigned long i = 1; i < length; ++i)
        if (data[i] == u'>' && data[i - 1] == u'?') return false;
    return true;
}

// Checked before the node is built, so a refused instruction allocates nothing.
const char16_t* checked(Arbor::Token target, const char16_t* data)
{
    if (!Arbor::ProcessingInstruction::isTarget(target)
        || !isInstructionData(data, data ? Plinth::ustrlen(data) : 0))
        throw Arbor::DomException(Arbor::DomException::INVALID_CHARACTER_ERR);
    return data;
}

} // namespace

Arbor::ProcessingInstruction::ProcessingInstruction(
    Document* document, Token target, const char16_t* data)
    : DataNode(document, checked(target, data))
    , targetToken(target)
{
}

Arbor::ProcessingInstruction::~ProcessingInstruction() = default;

Arbor::Node* Arbor::ProcessingInstruction::cloneNode(bool)
{
    return new ProcessingInstruction(document, targetToken, buffer);
}

int Arbor::ProcessingInstruction::nodeType() { return PROCESSING_INSTRUCTION_NODE; }

Arbor::Token Arbor::ProcessingInstruction::nodeName() { return targetToken; }

std::ostream& Arbor::ProcessingInstruction::putXml(std::ostream& os)
{
    os << "<?" << static_cast<const char*>(targetToken);
    if (buffer) os << ' ' << utf8FromUtf16(buffer);
    return os << "?>";
}

bool Arbor::ProcessingInstruction::acceptsData(const char16_t* data, unsigned long length) const
{
    return isInstructionData(data, length);
}

bool Arbor::ProcessingInstruction::isTarget(Token target)
{
    const char* name = target;
    if (!name || !isXmlName(name)) return false;
    const std::string_view text(name);
    if (text.size() == 3 && (text[0] | 0x20) == 'x' && (text[1] | 0x20) == 'm'
        && (text[2] | 0x20) == 'l')
        return false;
    return true;
}
