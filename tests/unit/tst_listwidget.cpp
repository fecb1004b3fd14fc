// The playlist: items, menu, deleting and clearing, and the rule that maps rows to entries.
#include "common.h"
#include "icons.h"
#include "listwidget.h"
#include "playorder.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <functional>

class TestListWidget : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void construction();
    void itemLooks();
    void clickRemembersTheItem();
    void menuOfAnEmptyList();
    void menuOfAFilledList();
    void menuShowsWhatIsChosen();
    void aPersonsOwnStyleSheetStays();
    void scrollBarsAreWhole();
    void accessibleName();
    void playSelectedEmitsTheItem();
    void deleteWithoutCurrentRow();
    void deleteThePlayingRow();
    void deleteRows_data();
    void deleteRows();
    void deleteWithAFullArray();
    void deletedItemIsForgotten();
    void lastRowIsForgotten();
    void clearAnsweredNo();
    void clearLeftUnanswered_data();
    void clearLeftUnanswered();
    void clearAnsweredYes();
    void clearWhilePlaying();
    void clearWithUnopenableFile();
    void clearedItemIsForgotten();
    void rowsFollowEntriesThroughRandomWork();

private:
    void fill(ListWidget &list, int count);
    void answer(QMessageBox::StandardButton button);

    QScopedPointer<InstallRoot> root;
    QString boxText;
    QString boxTitle;
    QMessageBox::StandardButtons boxButtons;
};

void TestListWidget::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
}

void TestListWidget::cleanup()
{
    root.reset();
    qApp->setStyleSheet(QString());
}

void TestListWidget::fill(ListWidget &list, int count)
{
    for (int i = 0; i < count; i++) {
        addrlist[i].addr = QString("/f/%1.mp4").arg(i);
        addrlist[i].label = QString("%1.mp4").arg(i);
        addrlist[i].type = 1;
        addrlist[i].state = 1;
        list.insertItem(0, ListWidget::makeItem(addrlist[i], QIcon(":/image/icon/video1.png")));
    }
    addrNum = count;
    playinglist.addrIndex = count - 1;
    varyJsonConfig(defaultPlayPath, addrlist);
}

// Answers the next message box once it is up.
void TestListWidget::answer(QMessageBox::StandardButton button)
{
    auto *watch = new QTimer(this);
    connect(watch, &QTimer::timeout, this, [this, watch, button] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        boxText = box->text();
        boxTitle = box->windowTitle();
        boxButtons = box->standardButtons();
        watch->deleteLater();
        watch->stop();
        box->button(button)->click();
    });
    watch->start(10);
}

void TestListWidget::construction()
{
    QWidget parent;
    ListWidget list(&parent);
    QCOMPARE(list.parent(), &parent);
    QVERIFY(list.listItem);
    QVERIFY(!list.listItem->listWidget());
    QVERIFY(!list.listItem->isSelected());
    QCOMPARE(list.currentIndex, 0);
    QCOMPARE(list.styleSheet(), QString("background-color:gray"));
    QCOMPARE(list.count(), 0);
}

void TestListWidget::itemLooks()
{
    HistoryAddrList entry;
    entry.addr = "/video/<b>x</b>.mp4";
    entry.label = "<b>x</b>.mp4";
    QScopedPointer<QListWidgetItem> item(
        ListWidget::makeItem(entry, QIcon(":/image/icon/net.png")));
    QCOMPARE(item->text(), entry.label);
    QCOMPARE(item->toolTip(), entry.label);
    QCOMPARE(item->font().family(), QString("Microsoft YaHei"));
    QCOMPARE(item->font().pointSize(), 10);
    QCOMPARE(item->font().weight(), 10);
    QCOMPARE(item->font().italic(), false);
    QCOMPARE(item->foreground().color(), QColor(255, 255, 255, 255));
    QVERIFY(sameIcon(item->icon(), ":/image/icon/net.png"));
}

void TestListWidget::clickRemembersTheItem()
{
    LogCapture log;
    ListWidget list;
    fill(list, 3);
    list.resize(200, 200);
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      list.visualItemRect(list.item(2)).center());
    QCOMPARE(list.listItem, list.item(2));
    QCOMPARE(list.currentIndex, 2);
    QVERIFY(log.contains("current index is  2"));
    QTest::mousePress(list.viewport(), Qt::LeftButton, {},
                      list.visualItemRect(list.item(1)).center());
    QCOMPARE(list.listItem, list.item(1));
    QCOMPARE(list.currentIndex, 1);
    QVERIFY(log.contains("current index is  1"));
    QTest::mouseRelease(list.viewport(), Qt::LeftButton, {},
                        list.visualItemRect(list.item(1)).center());
}

namespace {
struct SeenMenu {
    QString title;
    QString style;
    QPoint position;
    QObject *parent = nullptr;
    QStringList texts;
    QList<bool> enabled;
};

// Opens the list's context menu, notes what it shows, and closes it or triggers an entry.
SeenMenu openMenu(
    ListWidget &list, int trigger = -1, const std::function<void(QMenu *)> &look = [](QMenu *) {})
{
    SeenMenu seen;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return;
        watch.stop();
        seen.title = menu->title();
        seen.style = menu->styleSheet();
        seen.position = menu->pos();
        seen.parent = menu->parent();
        for (QAction *action : menu->actions()) {
            seen.texts << action->text();
            seen.enabled << action->isEnabled();
        }
        look(menu);
        if (trigger >= 0)
            menu->setActiveAction(menu->actions().at(trigger));
        if (trigger >= 0)
            QTest::keyClick(menu, Qt::Key_Return);
        else
            menu->close();
    });
    watch.start(10);
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), list.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(list.viewport(), &event);
    return seen;
}
} // namespace

void TestListWidget::menuOfAnEmptyList()
{
    LogCapture log;
    ListWidget list;
    list.show();
    const SeenMenu seen = openMenu(list);
    QCOMPARE(seen.title, QString("ListItem"));
    QCOMPARE(seen.style, QString("QMenu::item{width:40px;color:black;}"));
    QCOMPARE(seen.texts, QStringList({"播放选中", "删除选中", "清空列表"}));
    QCOMPARE(seen.enabled, QList<bool>({false, false, false}));
    QVERIFY(log.contains("count: 0") && log.contains("count2: 0"));
    QVERIFY(list.findChildren<QMenu *>().isEmpty());
}

void TestListWidget::menuOfAFilledList()
{
    LogCapture log;
    ListWidget list;
    fill(list, 2);
    list.show();
    // At the cursor, wherever the event says it is.
    QCursor::setPos(310, 290);
    QTRY_COMPARE(QCursor::pos(), QPoint(310, 290));
    const SeenMenu seen = openMenu(list);
    QCOMPARE(seen.position, QPoint(310, 290));
    QCOMPARE(seen.parent, &list);
    QCOMPARE(seen.enabled, QList<bool>({true, true, true}));
    QVERIFY(log.contains("count: 2"));

    QSignalSpy played(&list, SIGNAL(sig_play(QListWidgetItem *)));
    openMenu(list, 0);
    QCOMPARE(played.count(), 1);
    list.setCurrentRow(1);
    openMenu(list, 1);
    QCOMPARE(list.count(), 1);
    QVERIFY(log.contains("count2: 1"));
    answer(QMessageBox::Yes);
    openMenu(list, 2);
    QCOMPARE(list.count(), 0);
}

void TestListWidget::menuShowsWhatIsChosen()
{
    LogCapture log;
    ListWidget list;
    fill(list, 2);
    list.show();
    QString ownSheet;
    QString listsSheet;
    QList<QImage> looks; // nothing chosen, then each entry
    QList<QRect> places;
    QImage edge;
    openMenu(list, -1, [&](QMenu *menu) {
        ownSheet = menu->styleSheet();
        listsSheet = list.styleSheet();
        looks << menu->grab().toImage();
        for (QAction *action : menu->actions()) {
            places << menu->actionGeometry(action);
            menu->setActiveAction(action);
            looks << menu->grab().toImage();
        }
    });
    QCOMPARE(ownSheet, QString("QMenu::item{width:40px;color:black;}"));
    QCOMPARE(listsSheet, QString("background-color:gray"));
    QCOMPARE(looks.size(), 4);
    for (int chosen = -1; chosen < 3; chosen++) {
        const QImage &look = looks[chosen + 1];
        QCOMPARE(look.size(), looks.first().size());
        for (int i = 0; i < 3; i++) {
            const QColor ground = look.pixelColor(places[i].right() - 3, places[i].center().y());
            QCOMPARE(ground, i == chosen ? QColor(168, 206, 226) : QColor(128, 128, 128));
            int black = 0; // the letters stay
            for (int x = places[i].left(); x < places[i].right(); x++)
                black += look.pixelColor(x, places[i].center().y()).lightness() < 60;
            QVERIFY(black > 3);
        }
        for (const QPoint &point : {QPoint(0, look.height() / 2), QPoint(look.width() / 2, 0),
                                    QPoint(look.width() - 1, 5), QPoint(5, look.height() - 1)})
            QCOMPARE(look.pixelColor(point), QColor(64, 64, 64));
    }
}

void TestListWidget::aPersonsOwnStyleSheetStays()
{
    LogCapture log;
    const QString own = "QToolTip{color:red;}";
    qApp->setStyleSheet(own);
    ListWidget list;
    fill(list, 1);
    openMenu(list);
    QCOMPARE(qApp->styleSheet(), own);
}

// Handles that are seen as a whole, and nothing else of the bars but their ground.
void TestListWidget::scrollBarsAreWhole()
{
    ListWidget list;
    fill(list, 60);
    list.item(3)->setText(QString("a long name ").repeated(20));
    list.resize(211, 431);
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    for (QScrollBar *bar : {list.verticalScrollBar(), list.horizontalScrollBar()}) {
        QVERIFY(bar->isVisible());
        const QImage look = bar->grab().toImage();
        const QColor handle(190, 190, 190);
        const QColor ground(128, 128, 128);
        int handlePixels = 0;
        int otherPixels = 0;
        for (int y = 0; y < look.height(); y++) {
            for (int x = 0; x < look.width(); x++) {
                const QColor colour = look.pixelColor(x, y);
                handlePixels += colour == handle;
                otherPixels += colour != handle && colour != ground;
            }
        }
        QVERIFY2(handlePixels > 24 * 6, qPrintable(QString::number(handlePixels)));
        QVERIFY2(otherPixels < 40, qPrintable(QString::number(otherPixels))); // round corners
    }
    QCOMPARE(list.styleSheet(), QString("background-color:gray"));
}

void TestListWidget::accessibleName()
{
    const ListWidget list;
    QCOMPARE(list.accessibleName(), QString("播放列表"));
}

void TestListWidget::playSelectedEmitsTheItem()
{
    LogCapture log;
    ListWidget list;
    fill(list, 2);
    list.getListName(list.item(1));
    QSignalSpy played(&list, SIGNAL(sig_play(QListWidgetItem *)));
    QListWidgetItem *emitted = nullptr;
    connect(&list, &ListWidget::sig_play, &list, [&](QListWidgetItem *item) { emitted = item; });
    QSignalSpy unused(&list, SIGNAL(sig_play1(int)));
    list.playSelectedList();
    QCOMPARE(played.count(), 1);
    QCOMPARE(emitted, list.item(1));
    QVERIFY(log.contains("Selected item name: \"0.mp4\""));
    QCOMPARE(unused.count(), 0);
}

void TestListWidget::deleteWithoutCurrentRow()
{
    ListWidget list;
    fill(list, 2);
    list.setCurrentRow(-1);
    const QByteArray before = readFile(defaultPlayPath);
    list.deleteSelected();
    QCOMPARE(list.count(), 2);
    QCOMPARE(addrNum, 2);
    QCOMPARE(readFile(defaultPlayPath), before);
}

void TestListWidget::deleteThePlayingRow()
{
    LogCapture log;
    ListWidget list;
    fill(list, 3);
    playinglist.addrIndex = 1;
    QSignalSpy stopped(&list, SIGNAL(removeAndStopSignal()));
    list.setCurrentRow(1);
    list.deleteSelected();
    QCOMPARE(stopped.count(), 1);
    QCOMPARE(playinglist.addrIndex, 1);
    QCOMPARE(addrNum, 2);
    QCOMPARE(storedAddresses(defaultPlayPath), QStringList({"/f/0.mp4", "/f/2.mp4"}));
    QVERIFY(log.contains("delete item message 2"));
}

// The rule compares a row with an index; the expectations are worked out by hand from it.
void TestListWidget::deleteRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("playing");
    QTest::addColumn<int>("playingAfter");
    QTest::addColumn<bool>("stops");
    QTest::addColumn<QStringList>("left");
    const QStringList without0{"/f/1.mp4", "/f/2.mp4", "/f/3.mp4"};
    const QStringList without2{"/f/0.mp4", "/f/1.mp4", "/f/3.mp4"};
    const QStringList without3{"/f/0.mp4", "/f/1.mp4", "/f/2.mp4"};
    QTest::newRow("newest, playing newest") << 0 << 3 << 3 << true << without3;
    QTest::newRow("newest, playing oldest") << 0 << 0 << 0 << false << without3;
    QTest::newRow("oldest, playing newest") << 3 << 3 << 3 << false << without0;
    QTest::newRow("oldest, playing second") << 3 << 1 << 0 << false << without0;
    QTest::newRow("oldest, playing oldest") << 3 << 0 << 0 << true << without0;
    QTest::newRow("row equal to index") << 1 << 1 << 1 << false << without2;
    QTest::newRow("row above index") << 1 << 0 << -1 << false << without2;
    QTest::newRow("nothing played") << 0 << -1 << -2 << false << without3;
}

void TestListWidget::deleteRows()
{
    QFETCH(int, row);
    QFETCH(int, playing);
    QFETCH(int, playingAfter);
    QFETCH(bool, stops);
    QFETCH(QStringList, left);
    ListWidget list;
    fill(list, 4);
    playinglist.addrIndex = playing;
    QSignalSpy stopped(&list, SIGNAL(removeAndStopSignal()));
    list.setCurrentRow(row);
    list.deleteSelected();
    QCOMPARE(stopped.count(), stops ? 1 : 0);
    QCOMPARE(playinglist.addrIndex, playingAfter);
    QCOMPARE(addrNum, 3);
    QCOMPARE(storedAddresses(defaultPlayPath), left);
    for (int i = 0; i < 3; i++) {
        QCOMPARE(addrlist[i].addr, left.at(i));
        QCOMPARE(list.item(rowOfEntry(i, addrNum))->text(), addrlist[i].label);
    }
    QCOMPARE(addrlist[3].state, 0);
    QVERIFY(addrlist[3].addr.isEmpty());
}

void TestListWidget::deleteWithAFullArray()
{
    ListWidget list;
    fill(list, kHistoryCapacity);
    list.setCurrentRow(0);
    list.deleteSelected();
    QCOMPARE(addrNum, kHistoryCapacity - 1);
    QVERIFY(addrlist[kHistoryCapacity - 1].addr.isEmpty());
    QCOMPARE(addrlist[kHistoryCapacity - 2].addr, QString("/f/997.mp4"));
    list.setCurrentRow(500);
    list.deleteSelected();
    QCOMPARE(addrNum, kHistoryCapacity - 2);
    QCOMPARE(storedAddresses(defaultPlayPath).size(), kHistoryCapacity - 2);
}

void TestListWidget::deletedItemIsForgotten()
{
    ListWidget list;
    fill(list, 2);
    list.setCurrentRow(1);
    list.getListName(list.item(1));
    list.deleteSelected();
    QVERIFY(!list.listItem->isSelected());
    QVERIFY(!list.listItem->listWidget());
    QCOMPARE(list.currentIndex, 1);
    list.playSelectedList();
}

// Also as the item that was clicked last: the menu asks that one for its text.
void TestListWidget::lastRowIsForgotten()
{
    ListWidget list;
    fill(list, 3);
    list.setCurrentRow(2);
    list.getListName(list.item(2));
    list.removeLastRow();
    QCOMPARE(list.count(), 2);
    QCOMPARE(list.item(1)->text(), QString("1.mp4"));
    QVERIFY(!list.listItem->listWidget());
    QVERIFY(list.listItem->text().isEmpty());
    list.playSelectedList();

    list.getListName(list.item(0)); // any other stays
    list.removeLastRow();
    QCOMPARE(list.listItem, list.item(0));
    QCOMPARE(addrNum, 3); // the entries are the caller's
}

void TestListWidget::clearAnsweredNo()
{
    ListWidget list;
    fill(list, 2);
    const QByteArray before = readFile(defaultPlayPath);
    answer(QMessageBox::No);
    list.emptyList();
    QCOMPARE(boxText, QString("是否清空当前列表?"));
    QCOMPARE(boxTitle, QString("提示"));
    QCOMPARE(boxButtons, QMessageBox::StandardButtons(QMessageBox::Yes | QMessageBox::No));
    QCOMPARE(list.count(), 2);
    QCOMPARE(addrNum, 2);
    QCOMPARE(readFile(defaultPlayPath), before);
}

void TestListWidget::clearLeftUnanswered_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("Esc") << true;
    QTest::newRow("closed") << false;
}

void TestListWidget::clearLeftUnanswered()
{
    QFETCH(bool, byKey);
    ListWidget list;
    fill(list, 2);
    playingState = true;
    const QByteArray before = readFile(defaultPlayPath);
    QSignalSpy stopped(&list, SIGNAL(removeAndStopSignal()));
    WhenModal question([byKey](QWidget *box) {
        if (byKey)
            QTest::keyClick(box, Qt::Key_Escape);
        else
            box->close();
    });
    list.emptyList();
    QVERIFY(question.happened());
    QCOMPARE(stopped.count(), 0);
    QCOMPARE(list.count(), 2);
    QCOMPARE(addrNum, 2);
    QCOMPARE(readFile(defaultPlayPath), before);
}

void TestListWidget::clearAnsweredYes()
{
    ListWidget list;
    fill(list, 3);
    addrlist[1].last_play_time = 77;
    playinglist.addrIndex = 2;
    QSignalSpy stopped(&list, SIGNAL(removeAndStopSignal()));
    answer(QMessageBox::Yes);
    list.emptyList();
    QCOMPARE(stopped.count(), 0);
    QCOMPARE(list.count(), 0);
    QCOMPARE(addrNum, 0);
    QCOMPARE(playinglist.addrIndex, 2);
    QVERIFY(addrlist[1].addr.isEmpty());
    QCOMPARE(addrlist[1].last_play_time, 0);
    QVERIFY(QFile::exists(defaultPlayPath));
    QCOMPARE(QFileInfo(defaultPlayPath).size(), qint64(0));
}

void TestListWidget::clearWhilePlaying()
{
    ListWidget list;
    fill(list, 1);
    playingState = true;
    QSignalSpy stopped(&list, SIGNAL(removeAndStopSignal()));
    answer(QMessageBox::Yes);
    list.emptyList();
    QCOMPARE(stopped.count(), 1);
}

void TestListWidget::clearWithUnopenableFile()
{
    LogCapture log;
    ListWidget list;
    fill(list, 2);
    QVERIFY(QFile::remove(defaultPlayPath));
    QVERIFY(QDir().mkdir(defaultPlayPath)); // a folder can't be opened as a file
    answer(QMessageBox::Yes);
    list.emptyList();
    QVERIFY(log.contains("Json File open fail! 2022"));
    QCOMPARE(list.count(), 0);
    QCOMPARE(addrNum, 2);
    QCOMPARE(addrlist[0].addr, QString("/f/0.mp4"));
}

void TestListWidget::clearedItemIsForgotten()
{
    ListWidget list;
    fill(list, 3);
    list.setCurrentRow(2);
    list.getListName(list.item(2));
    QCOMPARE(list.currentIndex, 2);
    answer(QMessageBox::Yes);
    list.emptyList();
    QCOMPARE(list.currentIndex, 0);
    QVERIFY(!list.listItem->isSelected());
    list.playSelectedList();
}

// 10,000 random deletes, clears and additions, compared with a plain model after each.
void TestListWidget::rowsFollowEntriesThroughRandomWork()
{
    constexpr quint32 seed = 20240131;
    QRandomGenerator random(seed);
    ListWidget list;
    QStringList model; // oldest first
    int next = 0;
    // Writing the file is another test's subject; a folder in its place keeps this one quick.
    const QString folder = defaultPlayPath;
    QVERIFY(QDir().mkpath(folder));
    const QString openable = root->path() + "/empty.json"; // a clear needs a file
    int clears = 0;
    LogCapture quiet;
    for (int round = 0; round < 10000; round++) {
        const quint32 choice = random.bounded(1000);
        if (choice < 550 && addrNum < kHistoryCapacity) {
            HistoryAddrList &entry = addrlist[addrNum++];
            entry.addr = entry.label = QString::number(next++);
            list.insertItem(0, ListWidget::makeItem(entry, QIcon(":/image/icon/video1.png")));
            model << entry.addr;
        } else if (choice >= 996) {
            defaultPlayPath = openable;
            answer(QMessageBox::Yes);
            list.emptyList();
            defaultPlayPath = folder;
            model.clear();
            clears++;
        } else if (addrNum > 0) {
            playinglist.addrIndex = int(random.bounded(addrNum + 2)) - 1;
            const int row = int(random.bounded(addrNum));
            list.setCurrentRow(row);
            list.deleteSelected();
            model.removeAt(model.size() - 1 - row);
        }
        QCOMPARE(addrNum, model.size());
        QCOMPARE(list.count(), model.size());
        if (model.isEmpty())
            continue;
        const int probe = int(random.bounded(addrNum));
        QCOMPARE(addrlist[probe].addr, model.at(probe));
        QCOMPARE(list.item(rowOfEntry(probe, addrNum))->text(), model.at(probe));
        QCOMPARE(entryOfRow(rowOfEntry(probe, addrNum), addrNum), probe);
    }
    for (int i = 0; i < addrNum; i++)
        QCOMPARE(list.item(addrNum - 1 - i)->text(), model.at(i));
    QVERIFY(clears > 20);
}

QTEST_MAIN(TestListWidget)
#include "tst_listwidget.moc"
