// Maximising and restoring with real mouse and window manager: a window that was maximised is
// restored by the first click, whatever moved it meanwhile.
#include "longform.h"
#include "playerbench.h"
#include "realinput.h"
#include "screen.h"
#include "windowmanagers.h"

#include <QPushButton>

class TestMaximized : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void slipOnTheTitle_data() { managers(); }
    void slipOnTheTitle();
    void slipInADoubleClick_data() { managers(); }
    void slipInADoubleClick();
    void pinned_data() { managers(); }
    void pinned();
    void minimised_data() { managers(); }
    void minimised();
    void moveThatNobodyAnnounced_data() { oneManager(); }
    void moveThatNobodyAnnounced();

private:
    static void managers();
    static void oneManager();
    void takePlace();
    QPoint onScreen(const QWidget *widget, const QPoint &point) const;
    void click(const QWidget *button)
    {
        QVERIFY(::click(onScreen(button, button->rect().center())));
    }
    bool isMaximised() const;
    void maximise();
    void restores();
    void restoresAgainAndAgain();
    void slip(const QStringList &after = QStringList());

    QScopedPointer<WindowManager> manager;
    QScopedPointer<QWidget> panel;
    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
    TitleBar *bar = nullptr;
    QRect normal;
};

// Each with all of the screen, and with 40 rows that windows leave free.
void TestMaximized::managers()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("strip");
    const QStringList others{"xfwm4", "marco", "kwin_x11"};
    for (const QString &name : QStringList{"openbox"} + (longForm() ? others : QStringList())) {
        QTest::newRow(qPrintable(name)) << name << 0;
        QTest::newRow(qPrintable(name + ", strip")) << name << 40;
    }
}

void TestMaximized::oneManager()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("strip");
    QTest::newRow("openbox") << QString("openbox") << 0;
}

void TestMaximized::init() { QVERIFY(xdotool(pointTo(QPoint(5, 795)))); }

void TestMaximized::cleanup()
{
    bench.reset();
    panel.reset();
}

void TestMaximized::takePlace()
{
    QFETCH(QString, name);
    QFETCH(int, strip);
    manager.reset(new WindowManager(name, strip));
    if (!manager->isInstalled())
        QSKIP(qPrintable(name + " is not installed"));
    QVERIFY(manager->start());
    if (strip > 0 && name != "openbox") { // that one has a setting for it
        panel.reset(new QWidget);
        panel->setAttribute(Qt::WA_X11NetWmWindowTypeDock);
        panel->setAttribute(Qt::WA_ShowWithoutActivating);
        panel->setGeometry(0, 0, 1280, strip);
        const QString id = QString::number(panel->winId());
        const QString rows = QString("0,0,%1,0,0,0,0,0,0,1279,0,0").arg(strip);
        const QString property = QStringLiteral("_NET_WM_STRUT_PARTIAL");
        const QStringList strut{"-id", id, "-f", property, "32c", "-set", property, rows};
        QCOMPARE(QProcess::execute("xprop", strut), 0);
        panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(panel.data()));
    }
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
    bar = window->m_titleBar;
    normal = QRect(167, 118, 945, 564);
    QTRY_COMPARE(window->geometry(), normal);
    QTRY_COMPARE(Screen::geometry(window->winId()), normal);
}

// Where it is on the screen. Qt's own idea of it is not asked: after a move that the window manager
// refuses in silence it is another.
QPoint TestMaximized::onScreen(const QWidget *widget, const QPoint &point) const
{
    return Screen::geometry(window->winId()).topLeft() + widget->mapTo(window, point);
}

bool TestMaximized::isMaximised() const
{
    return Screen::hasState(window->winId(), "_NET_WM_STATE_MAXIMIZED_VERT");
}

void TestMaximized::maximise()
{
    QFETCH(int, strip);
    click(bar->m_maximizeButton);
    const QRect large(0, strip, 1280, 800 - strip);
    QTRY_COMPARE(window->geometry(), large);
    QTRY_COMPARE(Screen::geometry(window->winId()), large);
    QTRY_VERIFY(isMaximised() && window->isMaximized());
}

void TestMaximized::restores()
{
    QTRY_COMPARE(Screen::geometry(window->winId()), normal);
    QTRY_COMPARE(window->geometry(), normal);
    QTRY_VERIFY(!window->isMaximized());
    QTRY_COMPARE(window->ui->processSlider->width(), 734); // 20 less while maximised
    QTRY_COMPARE(bar->width(), 940);
}

// The size is not lost either.
void TestMaximized::restoresAgainAndAgain()
{
    click(bar->m_maximizeButton);
    restores();
    for (int i = 0; i < 2 && !QTest::currentTestFailed(); ++i) {
        maximise();
        click(bar->m_maximizeButton);
        restores();
    }
}

// Presses on the title and lets go one pixel further.
void TestMaximized::slip(const QStringList &after)
{
    class Moves : public QObject {
    public:
        bool eventFilter(QObject *, QEvent *event) override
        {
            seen += event->type() == QEvent::Move;
            return false;
        }
        int seen = 0;
    } moves;
    window->installEventFilter(&moves);
    QVERIFY(xdotool(pointTo(onScreen(bar, QPoint(60, 15))) +
                    QStringList{"mousedown", "1", "mousemove_relative", "1", "0", "mouseup", "1"} +
                    after));
    QTRY_VERIFY(moves.seen > 0);
    QTRY_VERIFY(!bar->m_leftButtonPressed);
}

void TestMaximized::slipOnTheTitle()
{
    takePlace();
    if (!bench)
        return;
    maximise();
    slip();
    QVERIFY(window->isMaximized());
    restoresAgainAndAgain();
}

void TestMaximized::slipInADoubleClick()
{
    takePlace();
    if (!bench)
        return;
    const QStringList pressed{"mousedown", "1", "mouseup", "1"};
    maximise();
    slip(pressed);
    restores();
    maximise();
    slip(pressed);
    restores();
}

void TestMaximized::pinned()
{
    takePlace();
    if (!bench)
        return;
    maximise();
    click(bar->m_thumbtackBtn);
    const bool pin = bar->m_thumbtackBtn->toolTip() == "取消最前";
    QTRY_COMPARE(Screen::hasState(window->winId(), "_NET_WM_STATE_ABOVE"), pin);
    restoresAgainAndAgain();
}

void TestMaximized::minimised()
{
    takePlace();
    if (!bench)
        return;
    maximise();
    click(bar->m_minimizeButton);
    QTRY_VERIFY(Screen::hasState(window->winId(), "_NET_WM_STATE_HIDDEN"));
    QTRY_VERIFY(window->isMinimized() && !window->windowActiveFlag);
    Screen::activate(window->winId());
    QTRY_VERIFY(!window->isMinimized() && window->windowActiveFlag);
    restoresAgainAndAgain();
}

// Qt's mark may be gone for other reasons as well; what the window manager holds counts then.
void TestMaximized::moveThatNobodyAnnounced()
{
    takePlace();
    maximise();
    QTRY_COMPARE(window->ui->processSlider->width(), 1280 - 211 - 20);
    window->move(3, 0);
    QVERIFY(!window->isMaximized());
    QResizeEvent event(window->size(), window->size());
    QApplication::sendEvent(window, &event);
    QCOMPARE(window->ui->processSlider->width(), 1280 - 211 - 20);
    click(bar->m_maximizeButton);
    QTRY_VERIFY(!isMaximised());
    restores();
}

QTEST_MAIN(TestMaximized)
#include "tst_maximized.moc"
