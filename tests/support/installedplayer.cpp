#include "installedplayer.h"

#include "processes.h"
#include "screen.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTest>

#include <csignal>

InstalledPlayer::InstalledPlayer()
    : rootFolder(base.filePath(QStringLiteral("root")))
    , standInRoot(rootFolder)
{
    QDir().mkpath(home() + "/Pictures");
    QProcess install;
    install.setProcessChannelMode(QProcess::MergedChannels);
    install.start(QStringLiteral(CMAKE_PROGRAM),
                  {"--install", BUILD_FOLDER, "--prefix", rootFolder});
    if (!install.waitForFinished(60000) || install.exitCode() != 0)
        qFatal("cannot install the player: %s", install.readAll().constData());
}

InstalledPlayer::InstalledPlayer(const InstalledPlayer *beside)
    : rootFolder(beside->root())
    , standInRoot(base.filePath(QStringLiteral("engine")))
{
    QDir().mkpath(home() + "/Pictures");
}

InstalledPlayer::~InstalledPlayer()
{
    const QList<qint64> left = processes();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    if (!Processes::end(left + processes()))
        qWarning("the player does not end");
    standInEngine.reset();
    QFile::setPermissions(configFile(), QFile::ReadOwner | QFile::WriteOwner);
}

QByteArray InstalledPlayer::mark() const
{
    return "PLAYER_BENCH=" + QFile::encodeName(base.path());
}

void InstalledPlayer::setConfig(const QByteArray &ini) { writeFile(configFile(), ini); }

void InstalledPlayer::setHistory(const QByteArray &json) { writeFile(historyFile(), json); }

void InstalledPlayer::setEnvironment(const QString &name, const QString &value)
{
    variables[name] = value;
}

StandInEngine &InstalledPlayer::standIn()
{
    if (!standInEngine) {
        standInEngine.reset(new StandInEngine(standInRoot));
        standInEngine->setSeenAs(rootInside() + "/files/bin/mplayer", mark());
    }
    return *standInEngine;
}

void InstalledPlayer::removeEngine() { QFile::remove(enginePath()); }

// Everything of the machine is there, but /opt holds nothing but the install root. Nobody is
// almighty inside, so that permissions count even when the tests run as root.
QStringList InstalledPlayer::sandbox() const
{
    QStringList arguments{"--die-with-parent", "--cap-drop", "ALL"};
    arguments += {confined ? "--ro-bind" : "--dev-bind", "/", "/", "--tmpfs", "/opt"};
    if (confined)
        arguments += {"--dev-bind", "/dev", "/dev", "--bind", home(), home()};
    if (rootKind == Root::Missing)
        return arguments << "--remount-ro"
                         << "/opt" << root() + "/files/bin/tarnivo-player";
    arguments << (rootKind == Root::ReadOnly ? "--ro-bind" : "--bind") << root() << rootInside();
    return arguments << launcher;
}

QProcessEnvironment InstalledPlayer::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QList<QByteArray> marking = mark().split('=');
    environment.insert(marking.at(0), QFile::decodeName(marking.at(1)));
    environment.insert(QStringLiteral("HOME"), home());
    environment.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));
    environment.remove(QStringLiteral("QT_NO_GLIB")); // see testsupport.cpp
    if (standInEngine)
        environment.insert(QStringLiteral("STANDIN_DIR"), standInEngine->folder());
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
        environment.insert(variable.key(), variable.value());
    return environment;
}

bool InstalledPlayer::start(const QStringList &locations)
{
    errors.clear();
    playerPid = 0;
    process.setProcessEnvironment(environment());
    process.setWorkingDirectory(home());
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral("bwrap"), sandbox() + locations);
    if (!process.waitForStarted())
        return false;
    const auto started = [this] {
        for (qint64 child : Processes::childrenOf(process.processId())) {
            if (Processes::arguments(child).value(0).endsWith("/tarnivo-player"))
                playerPid = child;
        }
        return playerPid != 0 || process.state() == QProcess::NotRunning;
    };
    return QTest::qWaitFor(started, 15000) && playerPid != 0;
}

bool InstalledPlayer::isRunning() const { return playerPid != 0 && Processes::alive(playerPid); }

qulonglong InstalledPlayer::window(int ms) const
{
    return dialog(QStringLiteral("MainWindow"), ms);
}

qulonglong InstalledPlayer::dialog(const QString &title, int ms) const
{
    qulonglong found = 0;
    const auto shown = [&] {
        for (qulonglong window : Screen::windowsNamed(title)) {
            if (Screen::processOf(window) == playerPid)
                found = window;
        }
        return found != 0 || !isRunning();
    };
    return QTest::qWaitFor(shown, ms) ? found : 0;
}

void InstalledPlayer::signal(int number)
{
    if (playerPid > 0)
        ::kill(static_cast<pid_t>(playerPid), number);
}

void InstalledPlayer::close()
{
    if (const qulonglong main = window())
        Screen::closeWindow(main);
}

bool InstalledPlayer::waitForEnd(int ms)
{
    return QTest::qWaitFor([this] { return process.state() == QProcess::NotRunning; }, ms);
}

QStringList InstalledPlayer::log()
{
    errors += process.readAllStandardError();
    QStringList lines = QString::fromLocal8Bit(errors).split('\n');
    lines.removeLast(); // empty, or not wholly there yet
    return lines;
}

bool InstalledPlayer::logContains(const QString &text) { return !log().filter(text).isEmpty(); }

bool InstalledPlayer::waitForLog(const QString &text, int ms)
{
    return QTest::qWaitFor([&] { return logContains(text); }, ms);
}

qulonglong InstalledPlayer::playArea()
{
    const QString label = QStringLiteral("winid is ");
    waitForLog(label); // the engine can be seen before what was said before it is read
    const QString line = log().filter(label).value(0);
    return line.mid(line.indexOf(label) + label.size()).trimmed().toULongLong();
}

QString InstalledPlayer::setting(const QString &key) const
{
    return QSettings(configFile(), QSettings::IniFormat).value("DEFAULT/" + key).toString();
}

QList<qint64> InstalledPlayer::engines() const
{
    QList<qint64> found;
    const QByteArray program = QFile::encodeName(rootInside() + "/files/bin/mplayer");
    for (qint64 candidate : processes()) {
        if (Processes::arguments(candidate).value(0) == program)
            found << candidate;
    }
    return found;
}

QList<qint64> InstalledPlayer::processes() const { return Processes::withEnvironment(mark()); }
