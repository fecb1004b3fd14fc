#include "screen.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QTest>

#include <cstdlib>

namespace {

QByteArray run(const QString &program, const QStringList &arguments)
{
    // A tool that asks about a window which goes away meanwhile may wait for ever; asked again it
    // says that there is no such window.
    for (int attempt = 0; attempt < 4; ++attempt) {
        QProcess process;
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, arguments);
        if (process.waitForFinished(5000))
            return process.readAllStandardOutput();
        process.kill();
        process.waitForFinished();
    }
    qWarning("%s does not end", qPrintable(program));
    return QByteArray();
}

void xdotool(const QStringList &arguments) { run(QStringLiteral("xdotool"), arguments); }

QString decimal(qulonglong window) { return QString::number(window); }

bool isNear(QRgb pixel, const QColor &colour, int tolerance)
{
    return std::abs(qRed(pixel) - colour.red()) <= tolerance &&
        std::abs(qGreen(pixel) - colour.green()) <= tolerance &&
        std::abs(qBlue(pixel) - colour.blue()) <= tolerance;
}

QList<qulonglong> idsIn(const QByteArray &text)
{
    QList<qulonglong> ids;
    QRegularExpressionMatchIterator found =
        QRegularExpression(QStringLiteral("0x([0-9a-f]+)")).globalMatch(QString::fromUtf8(text));
    while (found.hasNext())
        ids << found.next().captured(1).toULongLong(nullptr, 16);
    return ids;
}

// The number after a label of xwininfo's output.
int numberAfter(const QByteArray &text, const QByteArray &label)
{
    const int at = text.indexOf(label);
    const int from = at + label.size();
    return at < 0 ? 0 : text.mid(from, text.indexOf('\n', from) - from).trimmed().toInt();
}

QByteArray information(qulonglong window)
{
    // Of 0 it would ask for a click on the window that is meant.
    return window ? run(QStringLiteral("xwininfo"), {"-id", decimal(window)}) : QByteArray();
}

} // namespace

QRect Screen::whole() { return QGuiApplication::primaryScreen()->geometry(); }

QImage Screen::grab(const QRect &area)
{
    const QRect part = area.isEmpty() ? whole() : area;
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, part.x(), part.y(), part.width(), part.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

void Screen::save(const QString &path)
{
    if (!grab().save(path))
        qWarning("cannot save the screen as %s", qPrintable(path));
}

int Screen::count(const QImage &image, const QColor &colour, int tolerance)
{
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            found += isNear(image.pixel(x, y), colour, tolerance);
    }
    return found;
}

double Screen::share(const QImage &image, const QColor &colour, int tolerance)
{
    const double all = double(image.width()) * image.height();
    return all == 0 ? 0 : count(image, colour, tolerance) / all;
}

bool Screen::waitForColour(const QRect &area, const QColor &colour, double atLeast, int ms)
{
    return QTest::qWaitFor([&] { return share(grab(area), colour) >= atLeast; }, ms);
}

QRect Screen::extent(const QImage &image, const QColor &colour, int tolerance)
{
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isNear(image.pixel(x, y), colour, tolerance))
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

bool Screen::setDensity(int density)
{
    QProcess xrdb;
    xrdb.start(QStringLiteral("xrdb"), {"-nocpp", "-merge", "-"});
    xrdb.write("Xft.dpi: " + QByteArray::number(density) + '\n');
    xrdb.closeWriteChannel();
    return xrdb.waitForFinished() && xrdb.exitCode() == 0;
}

QList<qulonglong> Screen::windows()
{
    const auto listed = [](const char *property) {
        return idsIn(run(QStringLiteral("xprop"), {"-root", QString::fromLatin1(property)}));
    };
    QList<qulonglong> stacked = listed("_NET_CLIENT_LIST_STACKING");
    // xfwm4 leaves out windows that it has not restacked yet.
    for (qulonglong window : listed("_NET_CLIENT_LIST")) {
        if (!stacked.contains(window))
            stacked.prepend(window);
    }
    return stacked;
}

QList<qulonglong> Screen::windowsOf(qint64 pid)
{
    QList<qulonglong> found;
    // At most below a frame: not the windows inside windows.
    const QByteArray ids =
        run(QStringLiteral("xdotool"),
            {"search", "--onlyvisible", "--maxdepth", "2", "--pid", QString::number(pid)});
    for (const QByteArray &id : ids.split('\n')) {
        if (!id.isEmpty())
            found << id.toULongLong();
    }
    return found;
}

QList<qulonglong> Screen::windowsNamed(const QString &name)
{
    QList<qulonglong> found;
    for (qulonglong window : windows()) {
        if (title(window) == name)
            found << window;
    }
    return found;
}

qulonglong Screen::waitForWindowNamed(const QString &name, int ms)
{
    QList<qulonglong> found;
    const auto shown = [&] { return !(found = windowsNamed(name)).isEmpty(); };
    return QTest::qWaitFor(shown, ms) ? found.first() : 0;
}

bool Screen::isAbove(qulonglong upper, qulonglong lower)
{
    const QList<qulonglong> order = windows();
    return order.contains(lower) && order.indexOf(upper) > order.indexOf(lower);
}

bool Screen::isViewable(qulonglong window)
{
    return information(window).contains("Map State: IsViewable");
}

QRect Screen::geometry(qulonglong window)
{
    const QByteArray text = information(window);
    return QRect(numberAfter(text, "Absolute upper-left X:"),
                 numberAfter(text, "Absolute upper-left Y:"), numberAfter(text, "Width:"),
                 numberAfter(text, "Height:"));
}

QString Screen::title(qulonglong window)
{
    QByteArray name = run(QStringLiteral("xdotool"), {"getwindowname", decimal(window)});
    name.chop(name.endsWith('\n') ? 1 : 0);
    return QString::fromUtf8(name);
}

qint64 Screen::processOf(qulonglong window)
{
    return run(QStringLiteral("xdotool"), {"getwindowpid", decimal(window)}).trimmed().toLongLong();
}

qulonglong Screen::active()
{
    return idsIn(run(QStringLiteral("xprop"), {"-root", "_NET_ACTIVE_WINDOW"})).value(0);
}

bool Screen::hasState(qulonglong window, const QByteArray &atom)
{
    return property(window, QStringLiteral("_NET_WM_STATE")).contains(atom);
}

QByteArray Screen::property(qulonglong window, const QString &name)
{
    return run(QStringLiteral("xprop"), {"-id", decimal(window), name});
}

void Screen::moveMouse(const QPoint &position)
{
    xdotool({"mousemove", QString::number(position.x()), QString::number(position.y())});
}

void Screen::click(const QPoint &position, int button, int times)
{
    moveMouse(position);
    xdotool(
        {"click", "--repeat", QString::number(times), "--delay", "60", QString::number(button)});
}

void Screen::press(const QPoint &position, int button)
{
    moveMouse(position);
    xdotool({"mousedown", QString::number(button)});
}

void Screen::release(int button) { xdotool({"mouseup", QString::number(button)}); }

void Screen::key(const QString &name) { xdotool({"key", name}); }

void Screen::activate(qulonglong window) { xdotool({"windowactivate", decimal(window)}); }

void Screen::closeWindow(qulonglong window)
{
    run(QStringLiteral("wmctrl"), {"-i", "-c", decimal(window)});
}

void Screen::moveWindow(qulonglong window, const QPoint &position)
{
    xdotool({"windowmove", decimal(window), QString::number(position.x()),
             QString::number(position.y())});
}

void Screen::resizeWindow(qulonglong window, const QSize &size)
{
    xdotool({"windowsize", decimal(window), QString::number(size.width()),
             QString::number(size.height())});
}
