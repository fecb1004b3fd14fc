#include "testsupport.h"

#include "common.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#ifdef __SANITIZE_ADDRESS__
// Keeps Qt's plug-ins in memory: what they hold until the end would count as lost without them.
extern "C" int dlclose(void *);
extern "C" int dlclose(void *) { return 0; }
#endif

bool underSanitizers()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

void resetSharedState()
{
    startPath.clear();
    for (QString &slot : rBtnOpenFile)
        slot.clear();
    for (HistoryAddrList &entry : addrlist)
        entry = HistoryAddrList();
    addrNum = 0;
    ::videoInfo = decltype(::videoInfo)();
    playinglist = PlayingList();
    playingState = false;
    decodeFlag = 0;
    decodeSoftware = 0;
    defaultPlayPath.clear();
    defaultVolum = 30;
    muteFlag = false;
    audioDelay = 0.0;
    subDelay = 0.0;
    delayFlag = 0;
    subTitleFlag = false;
    lastTimePlayFlag = false;
    emptyListCheckFlag = false;
    firstStartFlag = 0;
    playMode = 0;
    screenShotPath.clear();
    fullScreenFlag = false;
    maxFlag = false;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

void writeProgram(const QString &path, const QByteArray &script)
{
    writeFile(path, "#!/bin/sh\n" + script);
    if (!QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        qFatal("cannot make %s a program", qPrintable(path));
}

QJsonArray storedEntries(const QString &historyFile)
{
    const QJsonDocument document = QJsonDocument::fromJson(readFile(historyFile));
    return document.object().value("settings").toArray();
}

QStringList storedAddresses(const QString &historyFile)
{
    QStringList addresses;
    const QJsonArray entries = storedEntries(historyFile);
    for (const QJsonValue &entry : entries)
        addresses << entry.toObject().value("addr").toString();
    return addresses;
}

int storedPosition(const QString &historyFile, int index)
{
    return storedEntries(historyFile).at(index).toObject().value("last_time").toInt(-1);
}

InstallRoot::InstallRoot()
    : previousStartPath(startPath)
{
    if (!dir.isValid() || !QDir(dir.path()).mkpath("files/bin") ||
        !QDir(dir.path()).mkpath("files/config"))
        qFatal("cannot make a temporary install root");
    startPath = dir.path();
}

InstallRoot::~InstallRoot() { startPath = previousStartPath; }

PlayerRoot::PlayerRoot()
{
    const QString start = startPath;
    resetSharedState();
    startPath = start;
    defaultPlayPath = historyFile();
    screenShotPath = path() + "/shots/";
    if (!QDir().mkpath(screenShotPath))
        qFatal("cannot make the screenshot folder");
}

namespace {
QMutex logMutex;
QStringList logLines;
QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    {
        QMutexLocker lock(&logMutex);
        logLines << message;
    }
    if (type == QtFatalMsg && previousHandler)
        previousHandler(type, context, message);
}
} // namespace

LogCapture::LogCapture()
{
    clear();
    previousHandler = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture() { qInstallMessageHandler(previousHandler); }

QStringList LogCapture::lines() const
{
    QMutexLocker lock(&logMutex);
    return logLines;
}

bool LogCapture::contains(const QString &text) const
{
    for (const QString &line : lines()) {
        if (line.contains(text))
            return true;
    }
    return false;
}

void LogCapture::clear()
{
    QMutexLocker lock(&logMutex);
    logLines.clear();
}

PathPrefix::PathPrefix(const QString &folder)
    : previous(qgetenv("PATH"))
{
    qputenv("PATH", QFile::encodeName(folder) + ':' + previous);
}

PathPrefix::~PathPrefix() { qputenv("PATH", previous); }

EnvironmentVariable::EnvironmentVariable(const char *variable, const QByteArray &value)
    : name(variable)
    , previous(qgetenv(variable))
    , wasSet(qEnvironmentVariableIsSet(variable))
{
    qputenv(variable, value);
}

EnvironmentVariable::~EnvironmentVariable()
{
    if (wasSet)
        qputenv(name.constData(), previous);
    else
        qunsetenv(name.constData());
}
