#include "addresses.h"

#include <cstring>

namespace {

constexpr int kHexBufferSize = 16;

unsigned hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return unsigned(c - '0');
    if (c >= 'a' && c <= 'f')
        return unsigned(c - 'a') + 10;
    if (c >= 'A' && c <= 'F')
        return unsigned(c - 'A') + 10;
    return 0;
}

} // namespace

// Both the list and the search know a local address by its plain path. Anything that begins with
// "file" loses seven characters, URL or not: intended.
QString withoutFilePrefix(const QString &addr)
{
    return addr.startsWith(QLatin1String("file")) ? addr.mid(7) : addr;
}

bool isStreamAddr(const QString &addr)
{
    return addr.startsWith(QLatin1String("rtsp")) || addr.startsWith(QLatin1String("rtmp"));
}

QString getFileNameFromAddr(QString addr) { return addr.mid(addr.lastIndexOf('/') + 1); }

QString checkInputFileName(QString name)
{
    QString decoded;
    int start = 0;
    for (int percent = name.indexOf('%'); percent >= 0; percent = name.indexOf('%', start)) {
        // Each byte becomes a character of its own; UTF-8 is not put together again: intended.
        QByteArray digits = name.mid(percent + 1, 2).toLatin1();
        decoded += name.midRef(start, percent - start);
        decoded += QLatin1Char(char(changeNum(digits.data(), 2)));
        start = percent + 3;
    }
    return decoded + name.midRef(start);
}

int changeNum(char *text, int n)
{
    char buffer[kHexBufferSize] = {};
    std::memcpy(buffer, text, strnlen(text, sizeof buffer));
    // Unsigned, because more than seven digits may overflow.
    unsigned sum = 0;
    for (int i = 0; i < qMin(n, kHexBufferSize); ++i)
        sum = sum * 16 + hexDigit(buffer[i]);
    return int(sum);
}
