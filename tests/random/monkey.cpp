#include "monkey.h"

#include "installedplayer.h"
#include "processes.h"
#include "screen.h"

#include <QFileInfo>
#include <QTest>

#include <numeric>

namespace {

const QRect kScreen(0, 0, 1280, 800);
const QSize kStartSize(945, 564); // of the main window
constexpr int kTitleHeight = 30;
constexpr int kButtonRows = 100; // progress slider and buttons, above the lower edge
constexpr int kListWidth = 200;
constexpr int kLeastVisible = 120; // pixels of the main window in each direction
constexpr int kStepsBetweenFilms = 40;
constexpr int kStepsBetweenEngines = 4; // to look at all processes takes its time
constexpr int kSilence = 6000; // ms without an engine
constexpr int kToolTime = 30000; // ms
constexpr int kLeavingTime = 20000; // ms; after that a dialog or menu counts as one that stays

const QString kFileDialog = QStringLiteral("选择本地文件");

const QStringList kPlayerKeys{
    "space",  "space",  "Left",   "Left",  "Right",  "Right",  "Up",     "Down",     "Escape",
    "Escape", "Return", "Tab",    "Menu",  "ctrl+e", "ctrl+r", "ctrl+u", "ctrl+d",   "ctrl+o",
    "alt+a",  "alt+a",  "Delete", "Prior", "Next",   "Home",   "End",    "a",        "ctrl+a",
    "F1",     "F11",    "alt",    "super", "ctrl+z", "5",      "plus",   "shift+Tab"};
const QStringList kDialogKeys{"Tab",  "Tab",   "shift+Tab", "space",     "space",    "Return",
                              "Up",   "Down",  "Left",      "Right",     "1",        "5",
                              "9",    "minus", "BackSpace", "ctrl+a",    "ctrl+v",   "Home",
                              "Next", "alt+c", "alt+o",     "alt+Up",    "alt+Left", "a",
                              "F2",   "F5",    "Delete",    "shift+F10", "ctrl+c"};
const QStringList kMenuKeys{"Down", "Down", "Down",   "Down",   "Down", "Up",  "Right",
                            "Left", "Left", "Return", "Return", "End",  "Home"};

QString text(const QPoint &point) { return QStringLiteral("%1,%2").arg(point.x()).arg(point.y()); }

QStringList moveTo(const QPoint &point)
{
    return {"mousemove", QString::number(point.x()), QString::number(point.y())};
}

QRect rightPart(const QRect &area, int width)
{
    return area.adjusted(qMax(0, area.width() - width), 0, 0, 0);
}

QRect lowerPart(const QRect &area, int height)
{
    return area.adjusted(0, qMax(0, area.height() - height), 0, 0);
}

} // namespace

Monkey::Monkey(quint32 seed, const QStringList &films, const QString &logFile)
    : seed(seed)
    , films(films)
    , log(logFile)
    , generator(seed)
{
    if (!log.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(logFile));
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startTool();
    clock.start();
}

Monkey::~Monkey()
{
    tool.closeWriteChannel();
    tool.waitForFinished();
}

void Monkey::note(const QString &text)
{
    log.write(
        QStringLiteral("%1 %2 %3\n").arg(clock.elapsed(), 7).arg(number, 5).arg(text).toUtf8());
    log.flush();
}

QString Monkey::report() const
{
    QStringList lines;
    for (auto kind = counts.cbegin(); kind != counts.cend(); ++kind)
        lines << QStringLiteral("%1 %2").arg(kind.key()).arg(kind.value());
    return QStringLiteral("seed %1, %2 steps: %3").arg(seed).arg(number).arg(lines.join(", "));
}

void Monkey::takeHold(InstalledPlayer &started)
{
    player = &started;
    mainWindow = player->window();
    knownDialogs.clear();
    visited = 0;
    lastPlay = clock.elapsed();
    lastFilm = number;
    wasFullScreen = false;
    wantsFilm = false;
}

// Chance.

bool Monkey::chance(int percent) { return generator.bounded(100) < percent; }

int Monkey::pick(const QList<int> &weights)
{
    int left = generator.bounded(std::accumulate(weights.begin(), weights.end(), 0));
    int chosen = 0;
    while (left >= weights.at(chosen))
        left -= weights.at(chosen++);
    return chosen;
}

QString Monkey::pick(const QStringList &from) { return from.at(generator.bounded(from.size())); }

QPoint Monkey::pointIn(const QRect &area)
{
    const QRect visible = area & kScreen;
    // Both numbers are always drawn, so that what follows stays the same.
    const double x = generator.generateDouble();
    const double y = generator.generateDouble();
    return visible.topLeft() + QPoint(int(x * visible.width()), int(y * visible.height()));
}

// The title bar's buttons, the title bar, the progress slider, the buttons, the list, or anywhere.
QPoint Monkey::interestingPoint()
{
    const QRect all = main.geometry;
    const QRect title(all.topLeft(), QSize(all.width(), kTitleHeight));
    switch (pick({10, 6, 13, 34, 13, 24})) {
    case 0:
        return pointIn(rightPart(title, 135));
    case 1:
        return pointIn(title);
    case 2:
        return pointIn(lowerPart(all, kButtonRows).adjusted(0, 0, 0, 30 - kButtonRows));
    case 3:
        return pointIn(lowerPart(all, kButtonRows - 40));
    case 4:
        return pointIn(rightPart(all, kListWidth).adjusted(0, kTitleHeight, 0, -kButtonRows));
    default:
        return pointIn(all);
    }
}

// Doing.

void Monkey::act(const QString &kind, const QString &what, const QStringList &xdotool)
{
    note(kind + ' ' + what);
    tally(kind);
    // It tells the screen's size when it is done. What the player says must be read meanwhile, or
    // it would be held up by that.
    tool.write(xdotool.join(' ').toLocal8Bit() + "\ngetdisplaygeometry\n");
    const auto isDone = [this] {
        return tool.canReadLine() || tool.state() == QProcess::NotRunning;
    };
    if (!QTest::qWaitFor(isDone, kToolTime))
        qFatal("xdotool does not answer");
    tool.readAll();
    // A window that goes meanwhile can end it.
    if (tool.state() == QProcess::NotRunning)
        startTool();
}

void Monkey::startTool()
{
    tool.start(QStringLiteral("xdotool"), {"-"});
    if (!tool.waitForStarted())
        qFatal("cannot start xdotool");
}

void Monkey::clickAt(const QString &kind, const QPoint &point, int button, int times)
{
    act(kind, QStringLiteral("%1 button %2 x %3").arg(text(point)).arg(button).arg(times),
        moveTo(point) +
            QStringList{"click", "--repeat", QString::number(times), "--delay",
                        QString::number(40 + generator.bounded(60)), QString::number(button)});
}

void Monkey::clickSomewhere()
{
    switch (pick({54, 24, 14, 3, 5})) {
    case 0:
        return clickAt("click", interestingPoint(), 1);
    case 1:
        return clickAt("right click", interestingPoint(), 3);
    case 2:
        return clickAt("double click", chance(50) ? main.geometry.center() : interestingPoint(), 1,
                       2);
    case 3:
        return clickAt("middle click", interestingPoint(), 2);
    default:
        return clickAt("click", interestingPoint(), 1, 3 + generator.bounded(4));
    }
}

void Monkey::drag(const QPoint &from, const QPoint &to, int button)
{
    QStringList commands = moveTo(from) + QStringList{"mousedown", QString::number(button)};
    const int moves = 1 + generator.bounded(6);
    for (int i = 1; i <= moves; ++i)
        commands += QStringList{"sleep", "0.02"} + moveTo(from + (to - from) * i / moves);
    commands += QStringList{"sleep", "0.02", "mouseup", QString::number(button)};
    act("drag", QStringLiteral("%1 to %2 button %3").arg(text(from), text(to)).arg(button),
        commands);
}

// Long ones, and slips of the hand.
void Monkey::dragSomewhere()
{
    const QPoint from = interestingPoint();
    const QPoint slip(generator.bounded(-2, 3), generator.bounded(-2, 3));
    const QPoint target = pointIn(main.geometry);
    const bool slips = chance(40);
    drag(from, slips ? from + slip : target, chance(90) ? 1 : 3);
}

void Monkey::resizeWithTheWindowManager()
{
    const QPoint from = pointIn(main.geometry);
    const QPoint to = pointIn(kScreen);
    act("resize", QStringLiteral("%1 to %2").arg(text(from), text(to)),
        QStringList{"keydown", "alt"} + moveTo(from) + QStringList{"mousedown", "3"} +
            moveTo((from + to) / 2) + QStringList{"sleep", "0.05"} + moveTo(to) +
            QStringList{"sleep", "0.05", "mouseup", "3", "keyup", "alt"});
}

void Monkey::pressAKey(const QStringList &keys)
{
    const QString name = pick(keys);
    if (chance(6))
        act("held key", name, {"keydown", name, "sleep", "0.6", "keyup", name});
    else
        act("key", name, {"key", name});
}

void Monkey::openAFilm()
{
    lastFilm = number;
    lastPlay = clock.elapsed();
    const int row = generator.bounded(4);
    if (QFileInfo(player->historyFile()).size() > 0 && chance(30)) {
        clickAt("row of the list", main.geometry.topRight() + QPoint(-100, 52 + 22 * row), 1, 2);
        return;
    }
    wantsFilm = true;
    act("open", "a film", {"key", "ctrl+o"});
}

void Monkey::chooseInFileDialog()
{
    const QString film = pick(films);
    act("choose", film, {"key", "alt+n", "key", "ctrl+a", "type", "--delay", "1", film});
    act("key", "Return", {"key", "Return"});
}

void Monkey::pause()
{
    const int ms = chance(4) ? 1500 + generator.bounded(2500) : generator.bounded(180);
    QTest::qWait(ms);
}

// Looking.

bool Monkey::lookAround()
{
    // Each step's choices are its own, however many the steps before have needed.
    generator.seed(seed * 1000003U + uint(number));
    windows = view.of(player->pid());
    mainIsThere = false;
    top = SeenWindow();
    for (const SeenWindow &window : qAsConst(windows)) {
        if (window.id == mainWindow) {
            main = window;
            mainIsThere = true;
        } else if (window.kind == SeenWindow::Dialog || window.kind == SeenWindow::Menu) {
            top = window;
        }
    }
    if (top.id != visited) {
        visited = top.id;
        patience = 3 + generator.bounded(8);
        leavingSince = 0;
    }
    noticeWindows();
    if (number % kStepsBetweenEngines == 0)
        noticeEngines();
    return player->isRunning();
}

void Monkey::noticeWindows()
{
    bool menuIsOpen = false;
    for (const SeenWindow &window : qAsConst(windows)) {
        menuIsOpen = menuIsOpen || window.kind == SeenWindow::Menu;
        if (window.kind == SeenWindow::Dialog && !knownDialogs.contains(window.id)) {
            knownDialogs << window.id;
            tally("seen: dialog");
            note("dialog " + window.title);
        }
    }
    if (menuIsOpen && !menuWasOpen)
        tally("seen: menu");
    menuWasOpen = menuIsOpen;
    if (mainIsThere && main.fullScreen && !wasFullScreen)
        tally("seen: full screen");
    wasFullScreen = mainIsThere && main.fullScreen;
}

void Monkey::noticeEngines()
{
    const QByteArray program =
        QFile::encodeName(InstalledPlayer::rootInside()) + "/files/bin/mplayer";
    for (qint64 child : Processes::childrenOf(player->pid())) {
        if (Processes::arguments(child).value(0) != program)
            continue;
        lastPlay = clock.elapsed();
        if (!knownEngines.contains(child)) {
            knownEngines << child;
            tally("seen: engine");
            note("engine started");
        }
    }
}

// True when it was out of play and is back, or on its way.
bool Monkey::comeBack()
{
    if (!mainIsThere) {
        if (view.isMinimised(mainWindow)) {
            note("back from the task bar");
            tally("brought back");
            Screen::activate(mainWindow);
        }
        return true; // else it is closing
    }
    const QRect visible = main.geometry & kScreen;
    if (visible.width() < kLeastVisible || visible.height() < kLeastVisible) {
        note("back on the screen");
        tally("brought back");
        Screen::resizeWindow(mainWindow, kStartSize);
        Screen::moveWindow(mainWindow, QPoint(120, 80));
        return true;
    }
    const qulonglong active = view.active();
    for (const SeenWindow &window : qAsConst(windows)) {
        if (window.id == active)
            return false;
    }
    Screen::activate(mainWindow);
    return false;
}

bool Monkey::isTimeForAFilm() const
{
    return number - lastFilm >= kStepsBetweenFilms || clock.elapsed() - lastPlay > kSilence;
}

// One step.

void Monkey::step()
{
    if (!lookAround())
        return;
    ++number;
    if (top.kind == SeenWindow::Menu)
        inMenu();
    else if (top.kind == SeenWindow::Dialog)
        inDialog();
    else if (!comeBack())
        inWindow();
    pause();
}

void Monkey::stepTowardsEnd()
{
    if (!lookAround())
        return;
    ++number;
    if (top.id != 0)
        return leave("close what is open");
    if (mainIsThere || view.isMinimised(mainWindow)) {
        note("close");
        Screen::closeWindow(mainWindow);
    }
    QTest::qWait(300);
}

void Monkey::inWindow()
{
    if (isTimeForAFilm())
        return openAFilm();
    switch (pick({50, 24, 10, 6, 2, 8})) {
    case 0:
        return clickSomewhere();
    case 1:
        return pressAKey(kPlayerKeys);
    case 2:
        return dragSomewhere();
    case 3:
        return clickAt("wheel", interestingPoint(), chance(50) ? 4 : 5, 1 + generator.bounded(5));
    case 4:
        return resizeWithTheWindowManager();
    default: {
        const QPoint point = interestingPoint();
        return act("move", text(point), moveTo(point));
    }
    }
}

void Monkey::inDialog()
{
    const bool isFileDialog = top.title == kFileDialog;
    if (isFileDialog && wantsFilm && chance(50)) {
        wantsFilm = false;
        return chooseInFileDialog();
    }
    if (--patience <= 0)
        return isFileDialog && leavingSince == 0 && chance(70) ? chooseInFileDialog()
                                                               : leave("close dialog");
    if (isFileDialog && chance(15))
        return chooseInFileDialog();
    switch (pick({50, 32, 6, 6, 6})) {
    case 0:
        return clickAt("click in dialog", pointIn(top.geometry), chance(85) ? 1 : 3,
                       chance(85) ? 1 : 2);
    case 1:
        return pressAKey(kDialogKeys);
    case 2:
        return drag(pointIn(top.geometry), pointIn(top.geometry), 1);
    case 3:
        return clickAt("wheel", pointIn(top.geometry), chance(50) ? 4 : 5,
                       1 + generator.bounded(5));
    default:
        return clickAt("click beside dialog", pointIn(main.geometry), 1);
    }
}

void Monkey::inMenu()
{
    if (--patience <= 0)
        return leave("close menu");
    switch (pick({45, 20, 22, 5, 8})) {
    case 0:
        return chooseInMenu();
    case 1:
        return pressAKey(kMenuKeys);
    case 2:
        return clickAt("click in menu", pointIn(top.geometry), 1);
    case 3:
        return clickAt("click beside menu", pointIn(main.geometry), chance(70) ? 1 : 3);
    default: {
        const QPoint point = pointIn(top.geometry);
        return act("move", text(point), moveTo(point));
    }
    }
}

// Any entry, of a menu's menu as well.
void Monkey::chooseInMenu()
{
    QStringList keys;
    for (int depth = generator.bounded(1, 4); depth > 0; --depth) {
        for (int down = generator.bounded(1, 7); down > 0; --down)
            keys << "Down";
        keys << (depth > 1 ? "Right" : "Return");
    }
    act("menu entry", keys.join(' '), QStringList{"key", "--delay", "40"} + keys);
}

// Whatever is open can be left with Esc.
void Monkey::leave(const QString &kind)
{
    if (leavingSince == 0)
        leavingSince = clock.elapsed();
    else if (clock.elapsed() - leavingSince > kLeavingTime && found.isEmpty())
        found = QStringLiteral("Esc does not close the window \"%1\"").arg(top.title);
    if (top.kind == SeenWindow::Dialog && view.active() != top.id)
        Screen::activate(top.id);
    act(kind, top.title, {"key", "Escape"});
}
