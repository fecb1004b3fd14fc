#include "common.h"
#include "dialogs.h"
#include "realinput.h"
#include "settings.h"
#include "titlebar.h"
#include "titlebarhost.h"
#include "whenopen.h"

#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QWindow>
#include <QtTest>

namespace {
void openContextMenu(Bar *bar)
{
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), bar->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(bar, &event);
}

// Opens the menu and takes the entry; text must be the entry's. False when it is not there.
bool choose(Bar *bar, int entry, const QString &text)
{
    bool found = false;
    WhenPopup open([&](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        QVERIFY(menu);
        QAction *action = menu->actions().value(entry);
        QVERIFY(action);
        QCOMPARE(action->text(), text);
        found = true;
        menu->setActiveAction(action);
        QTest::keyClick(menu, Qt::Key_Return);
    });
    openContextMenu(bar);
    return found;
}
} // namespace

class TestTitleBarWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    // Comes first: the width to restore is kept for the whole process.
    void maximisingAtScreenWidthFirstRestoresToNothing();
    void maximiseAndRestore();
    void restoreGoesBackToTheLastOtherWidth();
    void minimiseAndClose();
    void slotWithoutSender();
    void pinTwice();
    void pinStateIsSharedByAllBars();
    void menuEntries();
    void menuFollowsTheTooltip();
    void menuActions();
    void menuThatIsDismissed();
    void settingsDialogIsModal();
    void realDrag();
    void realDragStartedOnTheTitle();
    void realDoubleClick();
    void realMinimise();
    void realRightClickOpensTheMenu();
    void settingsOpenAboveThePinnedWindow();
};

void TestTitleBarWindow::initTestCase()
{
    // Every picture the bar switches between is there, and they differ.
    QStringList paths{kPin, kPinned, kMax, kRestore};
    for (int i = 0; i < paths.size(); ++i) {
        QVERIFY2(QFile::exists(paths[i]), qPrintable(paths[i]));
        for (int k = 0; k < i; ++k)
            QVERIFY(!sameIcon(QIcon(paths[i]), paths[k]));
    }
}

void TestTitleBarWindow::init()
{
    resetSharedState();
    QCursor::setPos(5, 795);
}

void TestTitleBarWindow::cleanup() { setDialogOwner(nullptr); }

void TestTitleBarWindow::maximisingAtScreenWidthFirstRestoresToNothing()
{
    Host host(QSize(QGuiApplication::primaryScreen()->geometry().width(), 300));
    host.window.move(0, 100);
    QVERIFY(host.show());
    QCOMPARE(host.window.width(), host.bar->screenWidth);
    host.bar->m_maximizeButton->click();
    QTRY_VERIFY(host.window.isMaximized() && host.window.height() > 300);
    QCOMPARE(host.bar->size(), QSize(host.bar->screenWidth, 30));
    host.bar->m_maximizeButton->click();
    QCOMPARE(host.bar->minimumSize(), QSize(0, 30));
    QCOMPARE(host.bar->maximumSize(), QSize(0, 30));
    QTRY_VERIFY(!host.window.isMaximized() && host.window.height() == 300);
}

void TestTitleBarWindow::maximiseAndRestore()
{
    Host host;
    QVERIFY(host.show());
    TitleBar &bar = *host.bar;
    QVERIFY(sameIcon(bar.m_maximizeButton->icon(), kMax));
    for (int i = 0; i < 2; ++i) {
        bar.m_maximizeButton->click();
        QVERIFY(sameIcon(bar.m_maximizeButton->icon(), kRestore));
        QCOMPARE(bar.minimumSize(), QSize(bar.screenWidth, 30));
        QCOMPARE(bar.maximumSize(), QSize(bar.screenWidth, 30));
        QTRY_VERIFY(host.window.isMaximized() && host.window.width() == bar.screenWidth);

        bar.m_maximizeButton->click();
        QVERIFY(sameIcon(bar.m_maximizeButton->icon(), kMax));
        QCOMPARE(bar.minimumSize(), QSize(700, 30));
        QCOMPARE(bar.maximumSize(), QSize(700, 30));
        QTRY_VERIFY(!host.window.isMaximized() && host.window.width() == 700);
        QCOMPARE(bar.m_maximizeButton->toolTip(), QString("最大化"));
        QCOMPARE(bar.m_maximizeButton->accessibleName(), QString("最大化"));
    }
}

void TestTitleBarWindow::restoreGoesBackToTheLastOtherWidth()
{
    {
        Host host(QSize(640, 300));
        QVERIFY(host.show());
        host.bar->m_maximizeButton->click();
        QTRY_VERIFY(host.window.isMaximized());
    }
    // Another bar, as wide as the screen: the width seen last is kept for it.
    Host host(QSize(QGuiApplication::primaryScreen()->geometry().width(), 300));
    QVERIFY(host.show());
    host.bar->m_maximizeButton->click();
    QTRY_VERIFY(host.window.isMaximized());
    host.bar->m_maximizeButton->click();
    QCOMPARE(host.bar->maximumSize(), QSize(640, 30));
}

void TestTitleBarWindow::minimiseAndClose()
{
    Host host;
    QVERIFY(host.show());
    host.bar->m_minimizeButton->click();
    QTRY_VERIFY(host.window.isMinimized());
    QVERIFY(!host.window.isMaximized());
    host.window.showNormal();
    QTRY_VERIFY(!host.window.isMinimized());
    QVERIFY(host.window.isVisible());
    host.bar->m_closeButton->click();
    QVERIFY(!host.window.isVisible());
    QVERIFY(sameIcon(host.bar->m_maximizeButton->icon(), kMax));
}

void TestTitleBarWindow::slotWithoutSender()
{
    Host host;
    QVERIFY(host.show());
    host.bar->onClicked();
    QVERIFY(host.window.isVisible());
    QVERIFY(!host.window.isMaximized());
    QVERIFY(!host.window.isMinimized());
}

void TestTitleBarWindow::pinTwice()
{
    TitleBar bar;
    QSignalSpy pinned(&bar, SIGNAL(setWindowAlwaysOnTopSignal(bool)));
    bar.m_thumbtackBtn->click();
    QCOMPARE(pinned.size(), 1);
    QCOMPARE(pinned[0][0].toBool(), true);
    QVERIFY(sameIcon(bar.m_thumbtackBtn->icon(), kPinned));
    QCOMPARE(bar.m_thumbtackBtn->toolTip(), QString("取消最前"));
    QCOMPARE(bar.m_thumbtackBtn->accessibleName(), QString("取消最前"));
    bar.m_thumbtackBtn->click();
    QCOMPARE(pinned.size(), 2);
    QCOMPARE(pinned[1][0].toBool(), false);
    QVERIFY(sameIcon(bar.m_thumbtackBtn->icon(), kPin));
    QCOMPARE(bar.m_thumbtackBtn->toolTip(), QString("总在最前"));
    QCOMPARE(bar.m_thumbtackBtn->accessibleName(), QString("总在最前"));
}

void TestTitleBarWindow::pinStateIsSharedByAllBars()
{
    TitleBar first;
    first.setWindowAlwaysOnTop();
    TitleBar second;
    QSignalSpy pinned(&second, SIGNAL(setWindowAlwaysOnTopSignal(bool)));
    QCOMPARE(second.m_thumbtackBtn->toolTip(), QString("总在最前"));
    second.setWindowAlwaysOnTop();
    QCOMPARE(pinned.size(), 1);
    QCOMPARE(pinned[0][0].toBool(), false);
}

void TestTitleBarWindow::menuEntries()
{
    Host host;
    QVERIFY(host.show());
    QCursor::setPos(333, 222);
    QTRY_COMPARE(QCursor::pos(), QPoint(333, 222));
    QPointer<QMenu> last;
    for (int i = 0; i < 2; ++i) {
        WhenPopup open([&](QWidget *widget) {
            auto *menu = qobject_cast<QMenu *>(widget);
            QVERIFY(menu);
            QVERIFY(menu != last);
            last = menu;
            QCOMPARE(menu->title(), QString("rBtnContexMenu"));
            QCOMPARE(menu->pos(), QPoint(333, 222));
            QStringList texts;
            for (const QAction *action : menu->actions()) {
                texts << action->text();
                QVERIFY(action->isEnabled());
            }
            QCOMPARE(texts, QStringList({"设置", "总在最前", "关闭"}));
            menu->close();
        });
        openContextMenu(host.bar);
        QVERIFY(open.happened());
        QVERIFY(!last); // gone with its use
    }
}

void TestTitleBarWindow::menuFollowsTheTooltip()
{
    Host host;
    QVERIFY(host.show());
    QSignalSpy pinned(host.bar, SIGNAL(setWindowAlwaysOnTopSignal(bool)));
    QVERIFY(choose(host.bar, 1, "总在最前"));
    QCOMPARE(pinned.size(), 1);
    QCOMPARE(pinned[0][0].toBool(), true);
    QVERIFY(choose(host.bar, 1, "取消最前"));
    QCOMPARE(pinned.size(), 2);
    QCOMPARE(pinned[1][0].toBool(), false);
    host.bar->m_thumbtackBtn->setToolTip("anything else");
    WhenPopup open([](QWidget *widget) {
        QCOMPARE(widget->actions().value(1)->text(), QString("取消最前"));
        widget->close();
    });
    openContextMenu(host.bar);
    QVERIFY(open.happened());
}

void TestTitleBarWindow::menuActions()
{
    Host host;
    QVERIFY(host.show());
    WhenModal settings([&](QWidget *widget) {
        QCOMPARE(widget, static_cast<QWidget *>(host.bar->setDialog));
        widget->close();
    });
    QVERIFY(choose(host.bar, 0, "设置"));
    QVERIFY(settings.happened());
    QVERIFY(host.window.isVisible());
    QVERIFY(choose(host.bar, 2, "关闭"));
    QVERIFY(!host.window.isVisible());
}

void TestTitleBarWindow::menuThatIsDismissed()
{
    Host host;
    QVERIFY(host.show());
    QSignalSpy pinned(host.bar, SIGNAL(setWindowAlwaysOnTopSignal(bool)));
    WhenPopup open([](QWidget *widget) { QTest::keyClick(widget, Qt::Key_Escape); });
    openContextMenu(host.bar);
    QVERIFY(open.happened());
    QCOMPARE(pinned.size(), 0);
    QVERIFY(host.window.isVisible());
    QVERIFY(!host.bar->setDialog->isVisible());
}

void TestTitleBarWindow::settingsDialogIsModal()
{
    Host host;
    QVERIFY(host.show());
    setDialogOwner(&host.window);
    for (int i = 0; i < 2; ++i) {
        WhenModal open([&](QWidget *widget) {
            QCOMPARE(widget, static_cast<QWidget *>(host.bar->setDialog));
            QVERIFY(widget->isModal());
            QCOMPARE(widget->windowHandle()->transientParent(), host.window.windowHandle());
            widget->close();
        });
        QTest::mouseClick(host.bar->m_memuButton, Qt::LeftButton);
        QVERIFY(open.happened());
        QVERIFY(host.bar->setDialog->isHidden());
    }
}

void TestTitleBarWindow::realDrag()
{
    Host host;
    QVERIFY(host.show());
    const QPoint before = host.window.pos();
    const QPoint grip = host.bar->mapToGlobal(QPoint(60, 15));
    QVERIFY(xdotool(pointTo(grip) + QStringList{"mousedown", "1"}));
    QTRY_VERIFY(host.bar->m_leftButtonPressed);
    for (const QPoint &step : {QPoint(10, 5), QPoint(80, 60), QPoint(-40, 33)}) {
        QVERIFY(xdotool(pointTo(grip + step)));
        QTRY_COMPARE(host.window.pos(), before + step); // follows without jumping
    }
    QVERIFY(xdotool({"mouseup", "1"}));
    QTRY_VERIFY(!host.bar->m_leftButtonPressed);
    QVERIFY(xdotool(pointTo(grip + QPoint(100, 100))));
    QTest::qWait(100); // nothing must follow: there is no sign to wait for
    QCOMPARE(host.window.pos(), before + QPoint(-40, 33));
}

void TestTitleBarWindow::realDragStartedOnTheTitle()
{
    Host host;
    QVERIFY(host.show());
    const QPoint before = host.window.pos();
    const QPoint grip =
        host.bar->m_titleLabel->mapToGlobal(host.bar->m_titleLabel->rect().center());
    QVERIFY(xdotool(pointTo(grip) + QStringList{"mousedown", "1"} + pointTo(grip + QPoint(30, 40)) +
                    QStringList{"mouseup", "1"}));
    QTRY_COMPARE(host.window.pos(), before + QPoint(30, 40));
    QTRY_VERIFY(!host.bar->m_leftButtonPressed);
}

void TestTitleBarWindow::realDoubleClick()
{
    Host host;
    QVERIFY(host.show());
    const QRect before = host.window.geometry();
    QVERIFY(xdotool(pointTo(host.bar->mapToGlobal(QPoint(60, 15))) +
                    QStringList{"click", "--repeat", "2", "--delay", "60", "1"}));
    QTRY_VERIFY(host.window.isMaximized() && host.window.width() == host.bar->screenWidth);
    QTRY_COMPARE(host.bar->mapToGlobal(QPoint()), QPoint(0, 0));
    QVERIFY(sameIcon(host.bar->m_maximizeButton->icon(), kRestore));
    // The second one somewhere else, too far away to be the third click of a row.
    QVERIFY(xdotool(pointTo(QPoint(400, 15)) +
                    QStringList{"click", "--repeat", "2", "--delay", "60", "1"}));
    QTRY_VERIFY(!host.window.isMaximized());
    QTRY_COMPARE(host.window.geometry(), before);
    QVERIFY(sameIcon(host.bar->m_maximizeButton->icon(), kMax));
}

void TestTitleBarWindow::realMinimise()
{
    Host host;
    QVERIFY(host.show());
    QVERIFY(xdotool(pointTo(host.bar->m_minimizeButton->mapToGlobal(QPoint(10, 10))) +
                    QStringList{"click", "1"}));
    QTRY_VERIFY(host.window.isMinimized());
    QVERIFY(host.window.isVisible()); // the window is kept
}

void TestTitleBarWindow::realRightClickOpensTheMenu()
{
    Host host;
    QVERIFY(host.show());
    const QPoint point = host.bar->mapToGlobal(QPoint(60, 15));
    QPoint opened;
    WhenPopup open([&](QWidget *menu) {
        opened = menu->pos();
        menu->close();
    });
    QVERIFY(xdotool(pointTo(point) + QStringList{"click", "3"}));
    QTRY_VERIFY(open.happened());
    QCOMPARE(opened, point);
    QVERIFY(!host.bar->m_leftButtonPressed);
}

void TestTitleBarWindow::settingsOpenAboveThePinnedWindow()
{
    Host host;
    host.window.setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    QVERIFY(host.show());
    setDialogOwner(&host.window);
    WhenModal open([&](QWidget *dialog) {
        const auto above = [&] {
            QProcess xprop;
            xprop.start("xprop", {"-root", "_NET_CLIENT_LIST_STACKING"});
            xprop.waitForFinished();
            const QString list = QString::fromLatin1(xprop.readAllStandardOutput()).trimmed() + ',';
            const int lower = list.indexOf(QString("0x%1,").arg(host.window.winId(), 0, 16));
            return lower >= 0 && list.indexOf(QString("0x%1,").arg(dialog->winId(), 0, 16)) > lower;
        };
        QTRY_VERIFY(above());
        dialog->close();
    });
    host.bar->m_memuButton->click();
    QVERIFY(open.happened());
}

QTEST_MAIN(TestTitleBarWindow)
#include "tst_titlebar_window.moc"
