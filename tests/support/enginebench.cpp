#include "enginebench.h"

#include "processes.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QTest>

#include <algorithm>

namespace {

QByteArray hex(const QByteArray &bytes)
{
    return bytes.isEmpty() ? QByteArray("-") : bytes.toHex();
}

QByteArray unhex(const QByteArray &text)
{
    return text == "-" ? QByteArray() : QByteArray::fromHex(text);
}

void addRecord(StandInEngine::Start &start, const QByteArrayList &fields)
{
    const qint64 at = fields.value(0).toLongLong();
    const QByteArray event = fields.value(2);
    if (event == "start") {
        start.at = at;
        for (const QByteArray &argument : fields.mid(3))
            start.arguments << unhex(argument);
    } else if (event == "in") {
        const QByteArray bytes = unhex(fields.value(3));
        start.input += bytes;
        start.pieces << StandInEngine::Piece{at, bytes};
    } else if (event == "eof") {
        start.inputClosed = true;
    } else {
        start.events << (event + ' ' + unhex(fields.value(3, "-"))).trimmed();
    }
}

} // namespace

QByteArray EngineAction::print(const QByteArray &bytes) { return "print " + hex(bytes); }

QByteArray EngineAction::sleep(int ms) { return "sleep " + QByteArray::number(ms); }

QByteArray EngineAction::flood(qint64 bytes) { return "flood " + QByteArray::number(bytes); }

QByteArray EngineAction::crash() { return "crash"; }

QByteArray EngineAction::exit(int code) { return "exit " + QByteArray::number(code); }

QByteArray EngineAction::answer() { return "answer"; }

QByteArray EngineAction::closeInput() { return "close-input"; }

QByteArray EngineAction::stopReading(int ms) { return "stop-reading " + QByteArray::number(ms); }

QByteArrayList StandInEngine::Start::lines() const
{
    QByteArrayList lines = input.split('\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

StandInEngine::StandInEngine(const QString &root)
    : standinFolder(root + "/standin")
    , program(root + "/files/bin/mplayer")
    , programName(program)
{
    QDir().mkpath(root + "/files/bin");
    QDir().mkpath(standinFolder);
    QFile::remove(program);
    if (!QFile::copy(QStringLiteral(STANDIN_ENGINE), program))
        qFatal("cannot install the stand-in engine at %s", qPrintable(program));
    reset();
}

StandInEngine::~StandInEngine()
{
    // Without its folder an engine also ends by itself, should one start only now.
    const QString gone = standinFolder + ".gone";
    const QList<qint64> leftovers = runningEngines() + recorders();
    QDir().rename(standinFolder, gone);
    if (!Processes::end(leftovers))
        qWarning("a stand-in engine does not end");
    QDir(gone).removeRecursively();
    QFile::remove(program);
}

void StandInEngine::reset()
{
    script.clear();
    writeScript();
}

void StandInEngine::add(const QByteArray &statement)
{
    script << statement;
    writeScript();
}

void StandInEngine::writeScript() const
{
    QSaveFile file(standinFolder + "/script"); // an engine never sees half of it
    const QByteArray text = script.join('\n') + '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        qFatal("cannot write the engine's script");
}

void StandInEngine::setLength(const QByteArray &text) { add("length " + hex(text)); }

void StandInEngine::setPosition(const QByteArray &text) { add("position " + hex(text)); }

void StandInEngine::setClock(double seconds) { add("clock " + QByteArray::number(seconds)); }

void StandInEngine::setSilent()
{
    setLength(QByteArray());
    setPosition(QByteArray());
}

void StandInEngine::endAtLength() { add("ends"); }

void StandInEngine::ignoreQuit() { add("ignore-quit"); }

void StandInEngine::ignoreTerm() { add("ignore-term"); }

void StandInEngine::readDirectly() { add("direct"); }

void StandInEngine::atStart(const QByteArray &action) { add("start " + action); }

void StandInEngine::after(int ms, const QByteArray &action)
{
    add("after " + QByteArray::number(ms) + ' ' + action);
}

void StandInEngine::on(const QByteArray &prefix, const QByteArray &action, int nth)
{
    add("on " + QByteArray::number(nth) + ' ' + hex(prefix) + ' ' + action);
}

QList<StandInEngine::Start> StandInEngine::starts() const
{
    QList<Start> starts;
    QByteArrayList records = readFile(standinFolder + "/log").split('\n');
    records.removeLast(); // empty, or not wholly written yet
    for (const QByteArray &record : qAsConst(records)) {
        const QByteArrayList fields = record.split(' ');
        const qint64 pid = fields.value(1).toLongLong();
        // The input's reader may be quicker than the engine with its first record.
        int i = starts.size() - 1;
        while (i >= 0 && starts.at(i).pid != pid)
            --i;
        if (i < 0) {
            starts << Start();
            starts.last().pid = pid;
            i = starts.size() - 1;
        }
        addRecord(starts[i], fields);
    }
    // An engine killed before it could record its start is none.
    starts.erase(std::remove_if(starts.begin(), starts.end(),
                                [](const Start &start) { return start.at == 0; }),
                 starts.end());
    return starts;
}

StandInEngine::Start StandInEngine::last() const
{
    const QList<Start> all = starts();
    return all.isEmpty() ? Start() : all.last();
}

QByteArray StandInEngine::input() const { return last().input; }

bool StandInEngine::overlapped() const
{
    const QList<Start> all = starts();
    return std::any_of(all.begin(), all.end(),
                       [](const Start &start) { return start.events.contains("overlap"); });
}

void StandInEngine::clear() { QFile::remove(standinFolder + "/log"); }

void StandInEngine::setSeenAs(const QString &name, const QByteArray &environment)
{
    programName = name;
    environmentMark = environment;
}

QList<qint64> StandInEngine::runningEngines() const
{
    QList<qint64> found = Processes::withProgram(QFile::encodeName(programName));
    if (!environmentMark.isEmpty()) {
        QList<qint64> own;
        for (qint64 pid : Processes::withEnvironment(environmentMark)) {
            if (found.contains(pid))
                own << pid;
        }
        found = own;
    }
    QList<qint64> engines;
    for (qint64 pid : found) {
        // The reader of the input looks like an engine until it has become its own program.
        if (!found.contains(Processes::parentOf(pid)))
            engines << pid;
    }
    return engines;
}

QList<qint64> StandInEngine::recorders() const
{
    QList<qint64> found;
    for (qint64 pid : Processes::withProgram("standin-recorder")) {
        if (Processes::arguments(pid).value(1).startsWith(QFile::encodeName(standinFolder)))
            found << pid;
    }
    return found;
}

bool StandInEngine::waitForStarts(int count, int ms) const
{
    return QTest::qWaitFor([&] { return starts().size() >= count; }, ms);
}

bool StandInEngine::waitForInput(const QByteArray &text, int ms) const
{
    return waitForInputCount(text, 1, ms);
}

bool StandInEngine::waitForInputCount(const QByteArray &text, int count, int ms) const
{
    return QTest::qWaitFor([&] { return input().count(text) >= count; }, ms);
}

bool StandInEngine::waitForNoEngine(int ms) const
{
    return QTest::qWaitFor([&] { return runningEngines().isEmpty(); }, ms);
}
