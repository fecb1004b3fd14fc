// Other window managers than the one of with-display, one after the other on its display. What is
// shown afterwards is managed by the one started last.
//
//     WindowManager manager("xfwm4");
//     if (!manager.isInstalled())
//         QSKIP("xfwm4 is not installed");
//     QVERIFY(manager.start());
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class WindowManager {
public:
    // margins: openbox only, rows at the top that windows leave free.
    explicit WindowManager(const QString &name, int margins = 0)
        : name(name)
        , margins(margins)
    {
    }
    ~WindowManager()
    {
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished();
    }
    Q_DISABLE_COPY(WindowManager)

    bool isInstalled() const
    {
        const QString bus = QStringLiteral("dbus-run-session");
        return !QStandardPaths::findExecutable(name).isEmpty() &&
            (!needsBus() || !QStandardPaths::findExecutable(bus).isEmpty());
    }

    // Takes the display from the one that runs, and waits until windows are managed.
    bool start()
    {
        const QByteArray before = check();
        QStringList command{name, "--replace"};
        if (name == "openbox")
            command << "--sm-disable"
                    << "--config-file" << openboxConfig();
        if (name == "xfwm4")
            command << "--compositor=off";
        if (name == "marco")
            command << "--no-composite";
        if (name == "mutter")
            command << "--x11";
        if (name == "i3") // without a configuration it asks for one
            command << "-c" << written("i3", "font pango:monospace 8\n");
        if (needsBus())
            command = QStringList{"dbus-run-session", "--"} + command;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(command.takeFirst(), command);
        const auto manages = [&] {
            const QByteArray now = check();
            return process.state() == QProcess::NotRunning || (!now.isEmpty() && now != before);
        };
        const bool running = process.waitForStarted() && QTest::qWaitFor(manages, 20000) &&
            process.state() == QProcess::Running;
        if (!running)
            qWarning("%s: %s", qPrintable(name), process.readAll().constData());
        return running;
    }

private:
    // They read their settings through the session's bus.
    bool needsBus() const { return name == "xfwm4" || name == "mutter"; }
    QString written(const QString &file, const QByteArray &text) const
    {
        QFile own(folder.filePath(file));
        return own.open(QIODevice::WriteOnly) && own.write(text) == text.size() ? own.fileName()
                                                                                : QString();
    }
    static QByteArray output(const QStringList &arguments)
    {
        QProcess xprop;
        xprop.start(QStringLiteral("xprop"), arguments);
        xprop.waitForFinished();
        return xprop.exitCode() == 0 ? xprop.readAllStandardOutput() : QByteArray();
    }
    // The id of the running manager's own window; empty while none runs.
    static QByteArray check()
    {
        const QByteArray told = output({"-root", "_NET_SUPPORTING_WM_CHECK"});
        QByteArray id = told.mid(told.indexOf("0x")).trimmed();
        if (!told.contains("0x") || !output({"-id", id, "_NET_WM_NAME"}).contains('='))
            return QByteArray();
        return id;
    }
    QString openboxConfig() const
    {
        QFile given(QStringLiteral("/etc/xdg/openbox/rc.xml"));
        if (!given.open(QIODevice::ReadOnly))
            return given.fileName();
        QString text = QString::fromUtf8(given.readAll());
        text.replace(QRegularExpression(QStringLiteral("<margins>.*?</margins>"),
                                        QRegularExpression::DotMatchesEverythingOption),
                     QStringLiteral("<margins><top>%1</top></margins>").arg(margins));
        return written("rc.xml", text.toUtf8());
    }

    QString name;
    int margins;
    QTemporaryDir folder;
    QProcess process;
};
