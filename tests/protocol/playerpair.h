// For tests of two players at one history: a player in a process of its own, and what is to come of
// what both do. The test program is the player when it is called with "--player FILE".
#pragma once

#include "historysupport.h"

#include <QCoreApplication>
#include <QProcess>

#include <csignal>

// A list as a text: "/f/a:10 /f/b:0", oldest first.
inline QString textOf(const HistoryEntries &entries)
{
    QStringList words;
    for (const HistoryAddrList &entry : entries)
        words << QStringLiteral("%1:%2").arg(entry.addr).arg(entry.last_play_time);
    return words.join(' ');
}

// A running player.
class Player {
public:
    explicit Player(const QString &path, const QStringList &environment = {})
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString &variable : environment)
            variables.insert(variable.section('=', 0, 0), variable.section('=', 1));
        process.setProcessEnvironment(variables);
        process.start(QCoreApplication::applicationFilePath(), {"--player", path});
        first = answer();
    }
    ~Player() { kill(); }

    // What it tells of its list after doing this.
    QString act(const QString &line)
    {
        begin(line);
        return answer();
    }
    void begin(const QString &line)
    {
        process.write(line.toUtf8() + '\n');
        process.waitForBytesWritten(30000);
    }
    QString answer()
    {
        while (!process.canReadLine()) {
            if (!process.waitForReadyRead(30000))
                return QStringLiteral("no answer");
        }
        return QString::fromUtf8(process.readLine()).chopped(1);
    }
    void close()
    {
        process.closeWriteChannel();
        process.waitForFinished(30000);
    }
    void kill()
    {
        process.kill();
        process.waitForFinished(30000);
    }
    void signal(int number) { ::kill(pid_t(process.processId()), number); }

    QString first; // its list at the start

private:
    QProcess process;
};

// What the file and both lists must hold: one list that all steps are done to, one after another.
struct Model {
    HistoryEntries file;
    HistoryEntries lists[2];

    static int indexOf(const HistoryEntries &entries, const QString &addr)
    {
        for (int i = 0; i < entries.size(); ++i) {
            if (entries.at(i).addr == addr)
                return i;
        }
        return -1;
    }

    void load(int player) { lists[player] = file; }
    void act(int player, const QString &line)
    {
        const QStringList words = line.split(' ');
        HistoryEntries &list = lists[player];
        const QString addr = words.value(1);
        const int index = indexOf(list, addr);
        const int stored = indexOf(file, addr);
        if (words.first() == "open") {
            if (index >= 0)
                return;
            list << entryFor(addr, 0);
            file << entryFor(addr, stored < 0 ? 0 : file.at(stored).last_play_time);
            if (stored >= 0)
                file.removeAt(stored);
        } else if (words.first() == "stop") {
            list[index].last_play_time = words.at(2).toInt();
            if (stored < 0)
                file << list.at(index);
            else
                file[stored] = list.at(index);
            rewrite(list);
        } else if (words.first() == "delete") {
            list.removeAt(index);
            if (stored >= 0)
                file.removeAt(stored);
            rewrite(list);
        } else if (words.first() == "clear") {
            list.clear();
            file.clear();
        }
    }

private:
    // A rewriting puts the writer's own entries first, in its order.
    void rewrite(const HistoryEntries &list)
    {
        HistoryEntries sorted;
        for (const HistoryAddrList &entry : list) {
            const int stored = indexOf(file, entry.addr);
            if (stored >= 0)
                sorted << file.takeAt(stored);
        }
        file = sorted + file;
    }
};
