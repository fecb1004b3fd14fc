// Names from the command line and addresses of the history.
#include "history.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    if (checkInputFileName(text).size() > text.size())
        abort();
    if (getFileNameFromAddr(text).contains('/'))
        abort();
    return 0;
}
