// Names from the command line and addresses of the history.
#include "common.h"
#include "fuzzing.h"
#include "history.h"

using fuzzing::require;

namespace {

void checkDecoding(const QByteArray &bytes, const QString &text)
{
    const QString decoded = checkInputFileName(text);
    if (!text.contains('%'))
        require(decoded == text, "a name without % stays as it is");
    require(decoded.size() <= text.size() && decoded.size() * 3 >= text.size(),
            "three characters become one at most");

    QString encoded;
    for (const char byte : bytes)
        encoded += '%' + QString::number(uchar(byte), 16).rightJustified(2, '0');
    require(checkInputFileName(encoded) == QString::fromLatin1(bytes.constData(), bytes.size()),
            "each encoded byte becomes one character");
}

void checkDisplayName(const QString &text)
{
    const QString name = getFileNameFromAddr(text);
    require(!name.contains('/'), "a display name has no folder");
    require(text == name || text.endsWith('/' + name), "a display name is what follows the last /");
}

void checkSearch(const QString &text)
{
    addrNum = 2;
    addrlist[0].addr = text;
    addrlist[1].addr = text + 'x';
    require(checkAddrExist("file://" + text) == 0, "an address is found by its URL");
    require(checkAddrExist("file://" + text + 'x') == 1, "the right one is found");
    require(checkAddrExist("file://" + text + 'y') == -1, "an unknown one is not found");
    for (int likely : {-1, 0, 1, kHistoryCapacity})
        require(indexOfAddr(text, likely) == 0, "where it was looked for first changes nothing");
    if (!text.startsWith("file"))
        require(checkAddrExist(text) == 0, "a path is found as it is");
}

void checkHexadecimal(QByteArray bytes)
{
    bytes.truncate(64);
    const QByteArray digits = bytes.toHex();
    for (int n = 0; n <= qMin(8, digits.size()); ++n) {
        QByteArray copy = digits;
        require(uint(changeNum(copy.data(), n)) == digits.left(n).toUInt(nullptr, 16),
                "hexadecimal digits are read as a number");
    }
    // More digits than are looked at, and what is no digit.
    const int sixteen = changeNum(bytes.data(), 16);
    require(changeNum(bytes.data(), 1000) == sixteen, "sixteen characters are read at most");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = fuzzing::bytes(data, size);
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    checkDecoding(bytes, text);
    checkDisplayName(text);
    checkSearch(text);
    checkHexadecimal(bytes);
    return 0;
}
