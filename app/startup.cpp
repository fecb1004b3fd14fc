#include "startup.h"

#include "addresses.h"
#include "mediaprobe.h"
#include "settingsstore.h"
#include "state.h"

#include <QDebug>
#include <QStringList>
#include <QUrl>

#include <algorithm>

static QUrl urlOf(const char *argument)
{
    return QUrl(QString::fromLocal8Bit(argument), QUrl::TolerantMode);
}

QStringList commandLineFiles(int argc, char *argv[])
{
    QStringList files;
    for (int i = 1; i < qMin(argc, kCommandLineSlots); ++i) {
        const QString location = urlOf(argv[i]).toString();
        if (location.isEmpty())
            break;
        files << checkInputFileName(location);
    }
    return files;
}

bool filesComeFirst(int argc, char *argv[])
{
    const auto isOption = [](const char *argument) { return argument[0] == '-'; };
    return argc > 1 && std::none_of(argv + 1, argv + argc, isOption) && !firstStartRunsSomething();
}

void storeCommandLineLocations(int argc, char *argv[])
{
    for (QString &location : rBtnOpenFile)
        location.clear();
    if (argc > kCommandLineSlots)
        argc = kCommandLineSlots;
    // What is no URL becomes an empty text, which ends the list: intended.
    for (int i = 1; i < argc; ++i) {
        // Never released: intended, bounded by the number of slots.
        const QUrl *url = new QUrl(urlOf(argv[i]));
        rBtnOpenFile[i - 1] = url->toString();
    }
}

bool checkVdpauSurport(QString dpkgOutput)
{
    int count = 0;
    // Split at blanks only, so a name that begins a line counts only after a blank: intended.
    for (const QString &part : dpkgOutput.split(' ', Qt::SkipEmptyParts)) {
        if (part.startsWith(QLatin1String("vdpau-driver-all")))
            ++count;
        if (part.startsWith(QLatin1String("libvdpau1")))
            ++count;
    }
    qDebug() << "checked count=" << count;
    return count >= 1;
}

bool passFirstStart()
{
    if (firstStartFlag == 0)
        return true;
    setDefaultConfig("0", SettingFirstStart);
    if (decodeFlag != DecodeHardware)
        return true;
    const char *command = "dpkg -l|grep vdpau ";
    qDebug() << command;
    // Up to the first NUL, as the text of a C string.
    return checkVdpauSurport(QString::fromLocal8Bit(readCommandOutput(command).constData()));
}

void fallBackToSoftwareDecoding()
{
    decodeFlag = DecodeThreaded;
    setDefaultConfig("1", SettingDecodeFlag);
}
