// The output of the package tool: does it name a VDPAU driver or library?
#include "fuzzing.h"
#include "startup.h"

#include <QString>

#include <clocale>
#include <string_view>

using fuzzing::require;

namespace {

QString lastLine;

void keepLine(QtMsgType, const QMessageLogContext &, const QString &line) { lastLine = line; }

// How many words (between blanks, nothing else) begin with one of the two names.
int namesIn(const QString &text)
{
    const std::u16string whole = text.toStdU16String();
    const std::u16string_view view = whole;
    int count = 0;
    for (size_t i = 0; i < view.size(); ++i) {
        if (i > 0 && view[i - 1] != u' ')
            continue;
        for (std::u16string_view name : {u"vdpau-driver-all", u"libvdpau1"})
            count += view.substr(i, name.size()) == name ? 1 : 0;
    }
    return count;
}

bool check(const QString &text)
{
    lastLine.clear();
    const int count = namesIn(text);
    const bool found = checkVdpauSurport(text);
    require(found == (count > 0), "one name is enough, and needed");
    require(lastLine == QString("checked count= %1").arg(count), "each name counts once");
    return found;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    std::setlocale(LC_ALL, "C.UTF-8"); // as the application object would
    qInstallMessageHandler(keepLine);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // Up to the first NUL, as passFirstStart() hands it over.
    const QString text = QString::fromLocal8Bit(fuzzing::bytes(data, size).constData());
    const bool found = check(text);
    require(check("  " + text + " \n") == found, "blanks around it change nothing");
    require(check(text + " ii  libvdpau1:amd64 1.5-2 amd64"), "another package is found after it");
    return 0;
}
