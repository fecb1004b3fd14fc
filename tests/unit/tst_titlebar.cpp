#include "common.h"
#include "dialogs.h"
#include "settings.h"
#include "testsupport.h"
#include "titlebar.h"
#include "whenopen.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QWindow>
#include <QtTest>

namespace {
const QString kPin = ":/image/controlicon/thumbtack1.png";
const QString kPinned = ":/image/controlicon/pinvertical.png";
const QString kMax = ":/image/controlicon/max.png";
const QString kRestore = ":/image/controlicon/restore.png";

QImage picture(const QIcon &icon) { return icon.pixmap(22, 22).toImage(); }

bool shows(const QPushButton *button, const QString &path)
{
    return QFile::exists(path) && !picture(button->icon()).isNull() &&
        picture(button->icon()) == picture(QIcon(path));
}

class Bar : public TitleBar {
public:
    using TitleBar::TitleBar;

    using TitleBar::contextMenuEvent;
    using TitleBar::mouseMoveEvent;
    using TitleBar::mousePressEvent;
    using TitleBar::mouseReleaseEvent;
};

// A frameless window with a title bar across its top.
struct Host {
    explicit Host(const QSize &size = QSize(700, 300))
    {
        window.setWindowFlags(Qt::FramelessWindowHint);
        window.resize(size);
        window.move(200, 150);
        bar = new Bar(&window);
        bar->setFixedWidth(size.width());
        bar->setWindowTitle("Tarnivo播放器-影音版");
    }

    bool show()
    {
        window.show();
        return QTest::qWaitForWindowActive(&window);
    }

    QMainWindow window;
    Bar *bar;
};

QMouseEvent mouse(QEvent::Type type, const QPoint &global, Qt::MouseButton button,
                  Qt::MouseButtons buttons)
{
    return QMouseEvent(type, QPointF(5, 5), QPointF(global), button, buttons, Qt::NoModifier);
}

// Real input through the X server.
void xdotool(const QStringList &arguments) { QCOMPARE(QProcess::execute("xdotool", arguments), 0); }

QStringList moveTo(const QPoint &point)
{
    return {"mousemove", "--sync", QString::number(point.x()), QString::number(point.y())};
}

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

class TestTitleBar : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    // Comes first: the width to restore is kept for the whole process.
    void maximisingAtScreenWidthFirstRestoresToNothing();
    void labelsAsBuilt();
    void buttonsAsBuilt_data();
    void buttonsAsBuilt();
    void layoutInOrder();
    void everythingInsideTheBar_data();
    void everythingInsideTheBar();
    void titleIsPlainText();
    void iconFromFile();
    void pressesAndMoves();
    void rightDragDoesNotMove();
    void dragWithoutParent();
    void maximisedWindowIsMovedToo();
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
    void settingsDialogSignals();
    void settingsDialogGoesWithTheBar();
    void filterCopiesTitleAndIcon();
    void filterUpdatesTheMaximizeButton();
    void filterPassesTheRest();
    void realDrag();
    void realDragStartedOnTheTitle();
    void realDoubleClick();
    void realMinimise();
    void realRightClickOpensTheMenu();
    void settingsOpenAboveThePinnedWindow();

private:
    QScopedPointer<InstallRoot> root;
};

void TestTitleBar::initTestCase()
{
    // Every picture the bar switches between is there, and they differ.
    QStringList paths{kPin, kPinned, kMax, kRestore};
    for (int i = 0; i < paths.size(); ++i) {
        QVERIFY2(QFile::exists(paths[i]), qPrintable(paths[i]));
        for (int k = 0; k < i; ++k)
            QVERIFY(picture(QIcon(paths[i])) != picture(QIcon(paths[k])));
    }
}

void TestTitleBar::init()
{
    root.reset();
    resetSharedState();
    root.reset(new InstallRoot);
    QCursor::setPos(5, 795);
}

void TestTitleBar::cleanup() { setDialogOwner(nullptr); }

void TestTitleBar::maximisingAtScreenWidthFirstRestoresToNothing()
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

void TestTitleBar::labelsAsBuilt()
{
    QWidget window;
    TitleBar bar(&window);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    QCOMPARE(bar.screenWidth, screen.width());
    QCOMPARE(bar.screenHeight, screen.height());
    QCOMPARE(bar.minimumHeight(), 30);
    QCOMPARE(bar.maximumHeight(), 30);
    QCOMPARE(bar.property("titleBar"), QVariant(true));
    QCOMPARE(bar.objectName(), QString("titleBar"));
    QCOMPARE(bar.parentWidget(), &window);
    QVERIFY(!bar.m_leftButtonPressed);

    QCOMPARE(bar.m_iconLabel->minimumSize(), QSize(25, 25));
    QCOMPARE(bar.m_iconLabel->maximumSize(), QSize(25, 25));
    QVERIFY(bar.m_iconLabel->hasScaledContents());
    QCOMPARE(bar.m_iconLabel->pos(), QPoint(0, 0));
    QCOMPARE(bar.m_titleLabel->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(bar.m_titleLabel->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

    QVERIFY(bar.setDialog);
    QVERIFY(!bar.setDialog->parentWidget());
    QVERIFY(bar.setDialog->isHidden());
}

void TestTitleBar::buttonsAsBuilt_data()
{
    QTest::addColumn<int>("index"); // in the layout
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("toolTip");
    const QString folder = ":/image/controlicon/";
    QTest::newRow("pin") << 4 << "" << QSize(27, 22) << folder + "thumbtack1.png"
                         << "总在最前";
    QTest::newRow("settings") << 5 << "" << QSize(27, 22) << folder + "setmenu.png"
                              << "设置";
    QTest::newRow("minimise") << 6 << "minimizeButton" << QSize(27, 22) << folder + "min.png"
                              << "最小化";
    QTest::newRow("maximise") << 7 << "maximizeButton" << QSize(27, 22) << folder + "max.png"
                              << "最大化";
    QTest::newRow("close") << 8 << "closeButton" << QSize(22, 22) << folder + "close.png"
                           << "关闭";
}

void TestTitleBar::buttonsAsBuilt()
{
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(QSize, size);
    QFETCH(QString, icon);
    QFETCH(QString, toolTip);
    TitleBar bar;
    auto *button = qobject_cast<QPushButton *>(bar.layout()->itemAt(index)->widget());
    QVERIFY(button);
    QPushButton *const fields[] = {bar.m_thumbtackBtn, bar.m_memuButton, bar.m_minimizeButton,
                                   bar.m_maximizeButton, bar.m_closeButton};
    QCOMPARE(button, fields[index - 4]);
    QCOMPARE(button->objectName(), name);
    QCOMPARE(button->minimumSize(), size);
    QCOMPARE(button->maximumSize(), size);
    QVERIFY(shows(button, icon));
    QCOMPARE(button->iconSize(), QSize(22, 22));
    QCOMPARE(button->toolTip(), toolTip);
    QCOMPARE(button->accessibleName(), toolTip);
    QCOMPARE(button->text(), QString());
    QVERIFY(button->isFlat());
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
}

void TestTitleBar::layoutInOrder()
{
    TitleBar bar;
    auto *layout = qobject_cast<QHBoxLayout *>(bar.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins());
    QCOMPARE(layout->spacing(), 0);
    QCOMPARE(layout->count(), 9);
    QCOMPARE(layout->itemAt(0)->widget(), bar.m_iconLabel);
    QVERIFY(layout->itemAt(1)->spacerItem());
    QCOMPARE(layout->itemAt(2)->widget(), bar.m_titleLabel);
    QVERIFY(layout->itemAt(3)->spacerItem());
    for (int i = 0; i < layout->count(); ++i)
        QCOMPARE(layout->stretch(i), i == 1 || i == 3 ? 1 : 0);
}

void TestTitleBar::everythingInsideTheBar_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("title");
    QTest::newRow("usual") << 940 << "Tarnivo播放器-影音版";
    QTest::newRow("maximised") << 1280 << "Tarnivo播放器-影音版";
    QTest::newRow("narrow") << 300 << "Tarnivo播放器-影音版";
    QTest::newRow("no title") << 940 << "";
    QTest::newRow("very long title") << 940 << QString(500, 'W');
}

void TestTitleBar::everythingInsideTheBar()
{
    QFETCH(int, width);
    QFETCH(QString, title);
    QWidget window;
    window.resize(width, 200);
    TitleBar bar(&window);
    bar.setFixedSize(width, 30);
    bar.setWindowTitle(title);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    int right = -1;
    for (int i = 0; i < bar.layout()->count(); ++i) {
        const QWidget *widget = bar.layout()->itemAt(i)->widget();
        if (!widget)
            continue;
        QVERIFY(bar.rect().contains(widget->geometry()));
        QVERIFY(widget->x() > right); // side by side
        right = widget->geometry().right();
    }
    QCOMPARE(right, width - 1);
    if (!title.isEmpty() && width > 300 && title.size() < 100) { // centred, all of it shown
        QVERIFY(bar.m_titleLabel->width() >= bar.m_titleLabel->sizeHint().width());
        const int free = width - 25 - 4 * 27 - 22;
        QVERIFY(qAbs(bar.m_titleLabel->geometry().center().x() - (25 + free / 2)) <= 1);
    }
}

void TestTitleBar::titleIsPlainText()
{
    TitleBar bar;
    const QString title = "<b>x</b>.mp4";
    bar.setWindowTitle(title);
    QCOMPARE(bar.m_titleLabel->text(), title);
    QCOMPARE(bar.m_titleLabel->textFormat(), Qt::PlainText);
    QVERIFY(bar.m_titleLabel->sizeHint().width() >=
            bar.m_titleLabel->fontMetrics().horizontalAdvance(title));
    QCOMPARE(bar.m_titleLabel->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    QCOMPARE(bar.m_titleLabel->palette().color(QPalette::WindowText), QColor(Qt::white));
    QCOMPARE(bar.windowTitle(), QString()); // the widget's own title is not meant

    // White also where it is painted (smoothed edges are darker).
    bar.m_titleLabel->resize(bar.m_titleLabel->sizeHint());
    QImage image(bar.m_titleLabel->size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    bar.m_titleLabel->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    int brightest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            brightest = qMax(brightest, qGray(image.pixel(x, y)));
    }
    QVERIFY2(brightest > 230, qPrintable(QString::number(brightest)));
}

void TestTitleBar::iconFromFile()
{
    TitleBar bar;
    const QString path = root->path() + "/icon.png";
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(path));
    bar.SetTitleBarIcon(path);
    const QPixmap shown = bar.m_iconLabel->pixmap(Qt::ReturnByValue);
    QCOMPARE(shown.size(), QSize(64, 48));
    QCOMPARE(shown.toImage().pixelColor(3, 3), QColor(Qt::red));
    QCOMPARE(bar.m_iconLabel->size(), QSize(25, 25));
}

void TestTitleBar::pressesAndMoves()
{
    QWidget window; // not shown, so that every step can be seen at once
    window.setWindowFlags(Qt::FramelessWindowHint);
    window.setGeometry(100, 100, 400, 200);
    Bar bar(&window);

    QMouseEvent hover = mouse(QEvent::MouseMove, {500, 500}, Qt::NoButton, Qt::NoButton);
    bar.mouseMoveEvent(&hover);
    QCOMPARE(window.pos(), QPoint(100, 100)); // nothing is pressed

    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    press.accept();
    bar.mousePressEvent(&press);
    QVERIFY(press.isAccepted());
    QVERIFY(bar.m_leftButtonPressed);
    QCOMPARE(bar.m_start, QPoint(150, 110));

    QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move);
    QCOMPARE(window.pos(), QPoint(120, 95));
    QCOMPARE(bar.m_start, QPoint(170, 105));
    QMouseEvent further = mouse(QEvent::MouseMove, {60, 5}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&further);
    QCOMPARE(window.pos(), QPoint(10, -5));

    QMouseEvent other = mouse(QEvent::MouseButtonRelease, {60, 5}, Qt::RightButton, Qt::LeftButton);
    bar.mouseReleaseEvent(&other);
    QVERIFY(bar.m_leftButtonPressed);
    QMouseEvent release = mouse(QEvent::MouseButtonRelease, {60, 5}, Qt::LeftButton, Qt::NoButton);
    bar.mouseReleaseEvent(&release);
    QVERIFY(!bar.m_leftButtonPressed);
    QMouseEvent later = mouse(QEvent::MouseMove, {90, 90}, Qt::NoButton, Qt::NoButton);
    bar.mouseMoveEvent(&later);
    QCOMPARE(window.pos(), QPoint(10, -5));
}

void TestTitleBar::rightDragDoesNotMove()
{
    QWidget window;
    window.setGeometry(100, 100, 400, 200);
    Bar bar(&window);
    for (Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
        QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, button, button);
        press.accept();
        bar.mousePressEvent(&press);
        QCOMPARE(press.isAccepted(), button != Qt::RightButton);
        QVERIFY(!bar.m_leftButtonPressed);
        QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, button);
        bar.mouseMoveEvent(&move);
        QCOMPARE(window.pos(), QPoint(100, 100));
    }
}

void TestTitleBar::dragWithoutParent()
{
    Bar bar;
    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    bar.mousePressEvent(&press);
    QMouseEvent move = mouse(QEvent::MouseMove, {170, 105}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move); // there is nothing to move
    QVERIFY(bar.m_leftButtonPressed);
}

void TestTitleBar::maximisedWindowIsMovedToo()
{
    QWidget window;
    window.setGeometry(100, 100, 400, 200);
    window.setWindowState(Qt::WindowMaximized);
    Bar bar(&window);
    QVERIFY(window.isMaximized());
    QMouseEvent press = mouse(QEvent::MouseButtonPress, {150, 110}, Qt::LeftButton, Qt::LeftButton);
    bar.mousePressEvent(&press);
    QMouseEvent move = mouse(QEvent::MouseMove, {170, 115}, Qt::NoButton, Qt::LeftButton);
    bar.mouseMoveEvent(&move);
    QCOMPARE(window.pos(), QPoint(120, 105));
}

void TestTitleBar::maximiseAndRestore()
{
    Host host;
    QVERIFY(host.show());
    TitleBar &bar = *host.bar;
    QVERIFY(shows(bar.m_maximizeButton, kMax));
    for (int i = 0; i < 2; ++i) {
        bar.m_maximizeButton->click();
        QVERIFY(shows(bar.m_maximizeButton, kRestore));
        QCOMPARE(bar.minimumSize(), QSize(bar.screenWidth, 30));
        QCOMPARE(bar.maximumSize(), QSize(bar.screenWidth, 30));
        QTRY_VERIFY(host.window.isMaximized() && host.window.width() == bar.screenWidth);

        bar.m_maximizeButton->click();
        QVERIFY(shows(bar.m_maximizeButton, kMax));
        QCOMPARE(bar.minimumSize(), QSize(700, 30));
        QCOMPARE(bar.maximumSize(), QSize(700, 30));
        QTRY_VERIFY(!host.window.isMaximized() && host.window.width() == 700);
        QCOMPARE(bar.m_maximizeButton->toolTip(), QString("最大化"));
        QCOMPARE(bar.m_maximizeButton->accessibleName(), QString("最大化"));
    }
}

void TestTitleBar::restoreGoesBackToTheLastOtherWidth()
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

void TestTitleBar::minimiseAndClose()
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
    QVERIFY(shows(host.bar->m_maximizeButton, kMax));
}

void TestTitleBar::slotWithoutSender()
{
    Host host;
    QVERIFY(host.show());
    host.bar->onClicked();
    QVERIFY(host.window.isVisible());
    QVERIFY(!host.window.isMaximized());
    QVERIFY(!host.window.isMinimized());
}

void TestTitleBar::pinTwice()
{
    TitleBar bar;
    QSignalSpy pinned(&bar, SIGNAL(setWindowAlwaysOnTopSignal(bool)));
    bar.m_thumbtackBtn->click();
    QCOMPARE(pinned.size(), 1);
    QCOMPARE(pinned[0][0].toBool(), true);
    QVERIFY(shows(bar.m_thumbtackBtn, kPinned));
    QCOMPARE(bar.m_thumbtackBtn->toolTip(), QString("取消最前"));
    QCOMPARE(bar.m_thumbtackBtn->accessibleName(), QString("取消最前"));
    bar.m_thumbtackBtn->click();
    QCOMPARE(pinned.size(), 2);
    QCOMPARE(pinned[1][0].toBool(), false);
    QVERIFY(shows(bar.m_thumbtackBtn, kPin));
    QCOMPARE(bar.m_thumbtackBtn->toolTip(), QString("总在最前"));
    QCOMPARE(bar.m_thumbtackBtn->accessibleName(), QString("总在最前"));
}

void TestTitleBar::pinStateIsSharedByAllBars()
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

void TestTitleBar::menuEntries()
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

void TestTitleBar::menuFollowsTheTooltip()
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

void TestTitleBar::menuActions()
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

void TestTitleBar::menuThatIsDismissed()
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

void TestTitleBar::settingsDialogIsModal()
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

void TestTitleBar::settingsDialogSignals()
{
    TitleBar bar;
    QSignalSpy decode(&bar, SIGNAL(decodeSetSignal()));
    QSignalSpy lastTime(&bar, SIGNAL(lastTimeFlagSignal()));
    emit bar.setDialog->setDecodeFlag();
    QCOMPARE(decode.size(), 1);
    QVERIFY(!QFile::exists(root->configFile())); // stored by the main window

    lastTimePlayFlag = true;
    emit bar.setDialog->setLastTimeFlag();
    QCOMPARE(readFile(root->configFile()), QByteArray("[DEFAULT]\ndefault_last_time=1\n"));
    emptyListCheckFlag = false;
    emit bar.setDialog->setEmptyListExitFlag();
    QCOMPARE(readFile(root->configFile()),
             QByteArray("[DEFAULT]\ndefault_last_time=1\nempty_list_exit=0\n"));
    lastTimePlayFlag = false;
    emptyListCheckFlag = true;
    emit bar.setDialog->setLastTimeFlag();
    emit bar.setDialog->setEmptyListExitFlag();
    QCOMPARE(readFile(root->configFile()),
             QByteArray("[DEFAULT]\ndefault_last_time=0\nempty_list_exit=1\n"));
    QCOMPARE(decode.size(), 1);
    QCOMPARE(lastTime.size(), 0);
}

void TestTitleBar::settingsDialogGoesWithTheBar()
{
    auto *bar = new TitleBar;
    QPointer<Settings> dialog = bar->setDialog;
    QVERIFY(dialog);
    delete bar;
    QVERIFY(!dialog);
}

void TestTitleBar::filterCopiesTitleAndIcon()
{
    Host host;
    host.window.installEventFilter(host.bar);
    host.window.setWindowTitle("<i>新</i>");
    QCOMPARE(host.bar->m_titleLabel->text(), QString("<i>新</i>"));
    QPixmap pixmap(25, 25);
    pixmap.fill(Qt::green);
    host.window.setWindowIcon(QIcon(pixmap));
    const QPixmap shown = host.bar->m_iconLabel->pixmap(Qt::ReturnByValue);
    QCOMPARE(shown.size(), QSize(25, 25));
    QCOMPARE(shown.toImage().pixelColor(12, 12), QColor(Qt::green));
}

void TestTitleBar::filterUpdatesTheMaximizeButton()
{
    Host host;
    QPushButton *button = host.bar->m_maximizeButton;
    host.bar->setStyleSheet("QPushButton[maximizeProperty=\"restore\"] { min-height: 29px; }");
    QVERIFY(host.show());
    QVERIFY(!button->property("maximizeProperty").isValid());
    for (QEvent::Type type : {QEvent::Resize, QEvent::WindowStateChange}) {
        button->setToolTip("最大化");
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QCOMPARE(button->toolTip(), QString("Maximize"));
        QCOMPARE(button->accessibleName(), QString("Maximize"));
        QCOMPARE(button->property("maximizeProperty").toString(), QString("maximize"));
    }
    QVERIFY(button->minimumHeight() < 29);
    button->click();
    QTRY_VERIFY(host.window.isMaximized());
    for (QEvent::Type type : {QEvent::Resize, QEvent::WindowStateChange}) {
        button->setToolTip("最大化");
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QCOMPARE(button->toolTip(), QString("Restore"));
        QCOMPARE(button->accessibleName(), QString("Restore"));
        QCOMPARE(button->property("maximizeProperty").toString(), QString("restore"));
    }
    QVERIFY(button->minimumHeight() >= 29); // the sheet that is keyed on the property took effect
}

void TestTitleBar::filterPassesTheRest()
{
    Host host;
    for (QEvent::Type type : {QEvent::WindowTitleChange, QEvent::WindowIconChange,
                              QEvent::WindowStateChange, QEvent::Resize}) {
        QEvent event(type);
        QVERIFY(host.bar->eventFilter(&host.window, &event));
        QVERIFY(!host.bar->eventFilter(this, &event)); // no widget
    }
    for (QEvent::Type type :
         {QEvent::Move, QEvent::MouseButtonPress, QEvent::KeyPress, QEvent::Show, QEvent::Close}) {
        QEvent event(type);
        QVERIFY(!host.bar->eventFilter(&host.window, &event));
    }
}

void TestTitleBar::realDrag()
{
    Host host;
    QVERIFY(host.show());
    const QPoint before = host.window.pos();
    const QPoint grip = host.bar->mapToGlobal(QPoint(60, 15));
    xdotool(moveTo(grip) + QStringList{"mousedown", "1"});
    QTRY_VERIFY(host.bar->m_leftButtonPressed);
    for (const QPoint &step : {QPoint(10, 5), QPoint(80, 60), QPoint(-40, 33)}) {
        xdotool(moveTo(grip + step));
        QTRY_COMPARE(host.window.pos(), before + step); // follows without jumping
    }
    xdotool({"mouseup", "1"});
    QTRY_VERIFY(!host.bar->m_leftButtonPressed);
    xdotool(moveTo(grip + QPoint(100, 100)));
    QTest::qWait(100); // nothing must follow: there is no sign to wait for
    QCOMPARE(host.window.pos(), before + QPoint(-40, 33));
}

void TestTitleBar::realDragStartedOnTheTitle()
{
    Host host;
    QVERIFY(host.show());
    const QPoint before = host.window.pos();
    const QPoint grip =
        host.bar->m_titleLabel->mapToGlobal(host.bar->m_titleLabel->rect().center());
    xdotool(moveTo(grip) + QStringList{"mousedown", "1"} + moveTo(grip + QPoint(30, 40)) +
            QStringList{"mouseup", "1"});
    QTRY_COMPARE(host.window.pos(), before + QPoint(30, 40));
    QTRY_VERIFY(!host.bar->m_leftButtonPressed);
}

void TestTitleBar::realDoubleClick()
{
    Host host;
    QVERIFY(host.show());
    const QRect before = host.window.geometry();
    xdotool(moveTo(host.bar->mapToGlobal(QPoint(60, 15))) +
            QStringList{"click", "--repeat", "2", "--delay", "60", "1"});
    QTRY_VERIFY(host.window.isMaximized() && host.window.width() == host.bar->screenWidth);
    QTRY_COMPARE(host.bar->mapToGlobal(QPoint()), QPoint(0, 0));
    QVERIFY(shows(host.bar->m_maximizeButton, kRestore));
    // The second one somewhere else, too far away to be the third click of a row.
    xdotool(moveTo(QPoint(400, 15)) + QStringList{"click", "--repeat", "2", "--delay", "60", "1"});
    QTRY_VERIFY(!host.window.isMaximized());
    QTRY_COMPARE(host.window.geometry(), before);
    QVERIFY(shows(host.bar->m_maximizeButton, kMax));
}

void TestTitleBar::realMinimise()
{
    Host host;
    QVERIFY(host.show());
    xdotool(moveTo(host.bar->m_minimizeButton->mapToGlobal(QPoint(10, 10))) +
            QStringList{"click", "1"});
    QTRY_VERIFY(host.window.isMinimized());
    QVERIFY(host.window.isVisible()); // the window is kept
}

void TestTitleBar::realRightClickOpensTheMenu()
{
    Host host;
    QVERIFY(host.show());
    const QPoint point = host.bar->mapToGlobal(QPoint(60, 15));
    QPoint opened;
    WhenPopup open([&](QWidget *menu) {
        opened = menu->pos();
        menu->close();
    });
    xdotool(moveTo(point) + QStringList{"click", "3"});
    QTRY_VERIFY(open.happened());
    QCOMPARE(opened, point);
    QVERIFY(!host.bar->m_leftButtonPressed);
}

void TestTitleBar::settingsOpenAboveThePinnedWindow()
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

QTEST_MAIN(TestTitleBar)
#include "tst_titlebar.moc"
