// The output of the probe: the line filter and the reader of what it lets through.
#include "mediaprobe.h"

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {
void ignore(QtMsgType, const QMessageLogContext &, const QString &) { }
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QtMessageHandler previous = qInstallMessageHandler(ignore);
    Q_UNUSED(previous)
    QByteArray in(kProbeBufferSize, '\0');
    QByteArray out(kProbeBufferSize, '\0');
    std::copy_n(data, std::min<size_t>(size, kProbeBufferSize - 1), in.begin());
    AnalyseToken(in.data(), out.data());
    readConfigFromBuffer(out.data());
    return 0;
}
