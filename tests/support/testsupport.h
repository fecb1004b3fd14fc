// Basics for every test: a clean shared state, an install root of its own, and the program's log.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// Whether the player is built with the address or the thread sanitizer. A test's own source may not
// be, so it can't ask the compiler.
bool underSanitizers();

// Puts every shared global back to its initial value.
void resetSharedState();

QByteArray readFile(const QString &path);
// Writes a file, making missing folders. Fails the test when it can't.
void writeFile(const QString &path, const QByteArray &content);
// A program of a shell's lines.
void writeProgram(const QString &path, const QByteArray &script);

// What a history file holds, oldest first: its entries, their addresses, and the position at which
// one of them was stopped, -1 when none is stored.
QJsonArray storedEntries(const QString &historyFile);
QStringList storedAddresses(const QString &historyFile);
int storedPosition(const QString &historyFile, int index = 0);

// A temporary install root. While it lives, startPath points to it; it starts with empty
// files/bin and files/config folders and no settings file.
class InstallRoot {
public:
    InstallRoot();
    ~InstallRoot();

    QString path() const { return dir.path(); }
    QString configFile() const { return path() + "/files/config/config.ini"; }
    QString historyFile() const { return path() + "/files/config/config.json"; }
    QString enginePath() const { return path() + "/files/bin/mplayer"; }

private:
    QTemporaryDir dir;
    QString previousStartPath;
};

// One for the main window in this process: the shared globals are clean before and after, the list
// and the screenshots lie in it.
class PlayerRoot : public InstallRoot {
public:
    PlayerRoot();
    ~PlayerRoot() { resetSharedState(); }
};

// Collects what goes through the debug logger while it lives (from any thread).
class LogCapture {
public:
    LogCapture();
    ~LogCapture();

    QStringList lines() const;
    bool contains(const QString &text) const; // any line that holds text
    void clear();
};

// Puts a folder in front of PATH while it lives, so that stand-ins there are found first.
class PathPrefix {
public:
    explicit PathPrefix(const QString &folder);
    ~PathPrefix();

private:
    QByteArray previous;
};

// Sets an environment variable while it lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char *name, const QByteArray &value);
    ~EnvironmentVariable();

private:
    QByteArray name;
    QByteArray previous;
    bool wasSet;
};
