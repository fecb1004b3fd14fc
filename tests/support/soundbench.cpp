#include "soundbench.h"

#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <cmath>

namespace {

QByteArray output(const QString &program, const QStringList &arguments, int *status = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10000);
    if (status)
        *status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return process.readAllStandardOutput();
}

// How much of one frequency there is (Goertzel's algorithm).
double strength(const qint16 *samples, int count, double hertz)
{
    const double factor = 2 * std::cos(2 * M_PI * hertz / PrivatePulse::rate);
    double last = 0;
    double beforeLast = 0;
    for (int i = 0; i < count; ++i) {
        const double now = samples[i] + factor * last - beforeLast;
        beforeLast = last;
        last = now;
    }
    return last * last + beforeLast * beforeLast - factor * last * beforeLast;
}

} // namespace

PrivatePulse::PrivatePulse()
{
    for (const char *program : {"pulseaudio", "pactl", "parec"}) {
        if (QStandardPaths::findExecutable(program).isEmpty()) {
            lacking = QByteArray("there is no ") + program;
            return;
        }
    }
    const QString socket = dir.filePath(QStringLiteral("native"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), dir.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.path());
    environment.remove(QStringLiteral("PULSE_SERVER"));
    server.setProcessEnvironment(environment);
    server.setStandardOutputFile(QProcess::nullDevice());
    server.setStandardErrorFile(QProcess::nullDevice());
    // Without a configuration of anybody's, and never longer than this test.
    server.start(QStringLiteral("setpriv"),
                 {"--pdeathsig", "KILL", "pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no",
                  "--exit-idle-time=-1", "--disable-shm=yes", "--high-priority=no", "--realtime=no",
                  "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket, "-L",
                  "module-null-sink sink_name=bench channels=2 rate=" + QString::number(rate)});
    variable.reset(new EnvironmentVariable("PULSE_SERVER", "unix:" + QFile::encodeName(socket)));
    // Its output comes a little later than the server; one that has ended has none.
    const bool begun = server.waitForStarted() &&
        QTest::qWaitFor([this] { return server.state() == QProcess::NotRunning || hasOutput(); },
                        15000);
    if (!begun || server.state() == QProcess::NotRunning)
        lacking = "the private sound server gives no output";
}

PrivatePulse::~PrivatePulse()
{
    if (server.state() == QProcess::NotRunning)
        return;
    server.terminate();
    if (!server.waitForFinished(3000)) {
        server.kill();
        server.waitForFinished();
    }
}

bool PrivatePulse::hasOutput() const
{
    return output(QStringLiteral("pactl"), {"list", "short", "sinks"}).contains("bench");
}

QByteArray PrivatePulse::record(int ms) const
{
    const int wanted = int(qint64(rate) * ms / 1000) * 2;
    QProcess recorder;
    recorder.start(QStringLiteral("parec"),
                   {"-d", "bench.monitor", "--raw", "--format=s16le", "--channels=1",
                    "--latency-msec=20", "--rate=" + QString::number(rate)});
    QByteArray sound;
    const auto complete = [&] {
        sound += recorder.readAllStandardOutput();
        return sound.size() >= wanted || recorder.state() == QProcess::NotRunning;
    };
    if (!QTest::qWaitFor(complete, ms + 10000))
        qWarning("the private sound server gives no sound");
    recorder.kill();
    recorder.waitForFinished();
    return sound.left(wanted);
}

int PrivatePulse::streams() const
{
    return output(QStringLiteral("pactl"), {"list", "short", "sink-inputs"}).count('\n');
}

int PrivatePulse::volume() const
{
    static const QRegularExpression percent("\\n\\s+Volume: [^\\n]*?(\\d+)%");
    const QByteArray inputs = output(QStringLiteral("pactl"), {"list", "sink-inputs"});
    const QRegularExpressionMatch match = percent.match(QString::fromUtf8(inputs));
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

bool PrivatePulse::load(const QString &module) const
{
    int status = -1;
    output(QStringLiteral("pactl"), {"load-module", module}, &status);
    return status == 0;
}

double PrivatePulse::level(const QByteArray &sound)
{
    const auto *samples = reinterpret_cast<const qint16 *>(sound.constData());
    const int count = sound.size() / 2;
    double sum = 0;
    for (int i = 0; i < count; ++i)
        sum += double(samples[i]) * samples[i];
    return count == 0 ? 0 : std::sqrt(sum / count) / 32768;
}

double PrivatePulse::frequency(const QByteArray &sound)
{
    if (level(sound) < 0.001)
        return 0;
    const auto *samples = reinterpret_cast<const qint16 *>(sound.constData());
    const int count = qMin(sound.size() / 2, rate / 2);
    double best = 0;
    double bestStrength = 0;
    for (int hertz = 50; hertz <= 5000; hertz += 2) {
        const double found = strength(samples, count, hertz);
        if (found > bestStrength) {
            bestStrength = found;
            best = hertz;
        }
    }
    return best;
}
