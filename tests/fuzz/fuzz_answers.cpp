// The engine's output lines, and the labels made of them.
#include "enginecommands.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray line(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const enginecommands::Answer answer = enginecommands::parseAnswer(line);
    if (answer.seconds < 0)
        abort();
    enginecommands::lengthText(answer.seconds);
    enginecommands::positionText(answer.seconds);
    return 0;
}
