// libFuzzer entry point: the input bytes are the choices of the random-operations interpreter, so
// every input is an operation sequence on two documents, checked after every step.

#include "tests/reliability/Interpreter.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Reliability::ByteSource source(data, size);
    Reliability::Interpreter interpreter(source);
    bool ok = true;
    while (ok && !source.exhausted())
        ok = interpreter.step();
    if (ok) ok = interpreter.finishEpisode();
    if (!ok) {
        std::fprintf(stderr, "check failed: %s\n", interpreter.failure().c_str());
        std::abort();
    }
    return 0;
}
