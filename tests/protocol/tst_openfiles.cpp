// Opening files: by dialog, drop, command line and from the list.
#include "playerbench.h"
#include "whenopen.h"

#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>

class TestOpenFiles : public QObject {
    Q_OBJECT

private slots:
    void newFile();
    void newFileWhilePlaying();
    void knownFile();
    void refusedFile();
    void streams();
    void openDialog();
    void openDialogCancelled();
    void otherFileWhilePaused_data();
    void otherFileWhilePaused();
    void sameFileWhilePaused_data();
    void sameFileWhilePaused();
    void doubleClick();
    void playSelectedRow();
    void staleRowPlaysNothing();
    void newRowsShiftTheClickedOne();
    void dropOfFiftyFiles();
    void dropOfMixedLocations();
    void dropWithARefusedFile();
    void dropWithoutLocations();
    void everyDragIsWelcome();
    void commandLine();

private:
    static const QByteArray refusal; // what the probe says of what is no media
};

const QByteArray TestOpenFiles::refusal = "{\n\n}\n";

namespace {

// Empties the list and reads it back from the file.
QStringList reloadedAddresses()
{
    addrNum = 0;
    for (HistoryAddrList &entry : addrlist)
        entry = HistoryAddrList();
    readJsonConfig(defaultPlayPath);
    QStringList addresses;
    for (int i = 0; i < addrNum; i++)
        addresses << addrlist[i].addr;
    return addresses;
}

// True when the window took the drop.
bool drop(TestWindow &window, const QList<QUrl> &urls)
{
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDropEvent event(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    event.ignore();
    QCoreApplication::sendEvent(&window, &event);
    return event.isAccepted();
}

void clickRow(ListWidget *list, int row)
{
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualItemRect(list->item(row)).center());
}

void doubleClickRow(ListWidget *list, int row)
{
    clickRow(list, row);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {},
                       list->visualItemRect(list->item(row)).center());
}

} // namespace

void TestOpenFiles::newFile()
{
    PlayerBench bench(2);
    bench.tools.setProbeAnswer(StandInTools::videoJson("hevc", 1920, 1080, "30/1"));
    TestWindow &window = bench.open();
    const QList<QListWidgetItem *> items{window.listWidget->item(0), window.listWidget->item(1)};
    window.openAndDragFile("/films/a b.mp4");
    const QByteArrayList call{"-of", "json", "-show_streams", "/films/a b.mp4"};
    QCOMPARE(bench.tools.probeCalls(), QList<QByteArrayList>() << call);
    QCOMPARE(bench.rows(), QStringList({"a b.mp4", "1.mp4", "0.mp4"}));
    // The others were not made anew.
    QCOMPARE(window.listWidget->item(1), items.at(0));
    QCOMPARE(window.listWidget->item(2), items.at(1));
    const QListWidgetItem *item = window.listWidget->item(0);
    QCOMPARE(window.listWidget->currentItem(), item);
    QCOMPARE(item->toolTip(), QString("a b.mp4"));
    QCOMPARE(item->font().family(), QString("Microsoft YaHei"));
    QCOMPARE(item->foreground().color(), QColor(255, 255, 255, 255));
    QVERIFY(sameIcon(item->icon(), ":/image/icon/video1.png"));
    QCOMPARE(addrNum, 3);
    QCOMPARE(playinglist.addrIndex, 2);
    QCOMPARE(addrlist[2].codec_type, 1);
    QCOMPARE(addrlist[2].width, 1920);
    QVERIFY(playingState);
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList("/films/a b.mp4"));
    QCOMPARE(reloadedAddresses(), QStringList({"/f/0.mp4", "/f/1.mp4", "/films/a b.mp4"}));
}

void TestOpenFiles::newFileWhilePlaying()
{
    PlayerBench bench(2);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.engine.setLength("100");
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("42", 42));
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(addrlist[0].last_play_time, 42);
    QCOMPARE(addrlist[2].last_play_time, 0);
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/0.mp4", "/f/new.mp4"}));
    QTRY_VERIFY(bench.engine.starts().first().inputClosed);
    QVERIFY(bench.engine.starts().first().input.endsWith(pollPair + "quit\n"));
    QCOMPARE(bench.engine.runningEngines().size(), 1);
}

void TestOpenFiles::knownFile()
{
    PlayerBench bench(3);
    addrlist[0].last_play_time = 60;
    lastTimePlayFlag = true;
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    const QStringList rows = bench.rows();
    const QByteArray file = readFile(defaultPlayPath);
    window.openAndDragFile("file:///f/0.mp4");
    QCOMPARE(bench.rows(), rows);
    QCOMPARE(addrNum, 3);
    QCOMPARE(playinglist.addrIndex, 0);
    QCOMPARE(readFile(defaultPlayPath), file);
    QVERIFY(bench.engine.waitForInput("seek 55 2\n"));
    QCOMPARE(bench.played(), QStringList("/f/0.mp4"));
}

void TestOpenFiles::refusedFile()
{
    PlayerBench bench(2);
    bench.tools.setProbeAnswerFor("/f/bad.txt", refusal);
    TestWindow &window = bench.open();
    bench.play(1);
    QVERIFY(bench.showsPosition("4", 4));
    const QStringList rows = bench.rows();
    const QByteArray file = readFile(defaultPlayPath);
    QString seen;
    WhenModal answer([&](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        seen = box->windowTitle() + '|' + box->text();
        if (box->standardButtons() != QMessageBox::Ok || box->parent())
            seen += "|not as it should be";
        box->button(QMessageBox::Ok)->click();
    });
    window.openAndDragFile("/f/bad.txt");
    QVERIFY(answer.happened());
    QCOMPARE(seen, QString("提示|视频解析失败!"));
    QCOMPARE(bench.rows(), rows);
    QCOMPARE(readFile(defaultPlayPath), file);
    QVERIFY(playingState);
    QCOMPARE(playinglist.addrIndex, 1);
    QVERIFY(bench.showsPosition("5", 5));
    QCOMPARE(bench.engine.starts().size(), 1);
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList{"polls"});
}

void TestOpenFiles::streams()
{
    PlayerBench bench;
    TestWindow &window = bench.open();
    for (const char *address : {"rtsp://h/live", "rtmp://h/live", "http://h/live"})
        window.openAndDragFile(address);
    for (int row = 0; row < 3; row++)
        QVERIFY(sameIcon(window.listWidget->item(row)->icon(), ":/image/icon/video1.png"));
    QCOMPARE(addrlist[0].type, 2);
    QCOMPARE(addrlist[1].type, 2);
    QCOMPARE(addrlist[2].type, 1);
    window.on_stopBtn_clicked();
    bench.window.reset();
    TestWindow &next = bench.open(); // the next start tells them apart
    QCOMPARE(next.listWidget->iconSize(), QSize(20, 20));
    QVERIFY(sameIcon(next.listWidget->item(0)->icon(), ":/image/icon/video1.png"));
    QVERIFY(sameIcon(next.listWidget->item(1)->icon(), ":/image/icon/net.png"));
    QVERIFY(sameIcon(next.listWidget->item(2)->icon(), ":/image/icon/net.png"));
    QCOMPARE(reloadedAddresses(), QStringList({"rtsp://h/live", "rtmp://h/live", "http://h/live"}));
}

void TestOpenFiles::openDialog()
{
    PlayerBench bench;
    TestWindow &window = bench.open(true);
    const QString film = bench.root.path() + "/film.mp4";
    writeFile(film, "x");
    QString seen;
    WhenModal answer([&](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        seen = dialog->windowTitle() + '|' + dialog->directory().path() + '|' +
            dialog->nameFilters().join(";;") + (dialog->parent() == &window ? "|child" : "|?");
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText(film);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    window.ui->openFileBtn->click();
    QVERIFY(answer.happened());
    QCOMPARE(seen,
             QString("选择本地文件|/home|视频文件(*.mp4 *.wmv *.avi *.flv *.rmvb *.mov *.mkv "
                     "*.webm);;所有文件(*.*)|child"));
    QVERIFY(bench.log.contains("Input Filename: \"" + film + '"'));
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList(film));
}

void TestOpenFiles::openDialogCancelled()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open(true);
    WhenModal answer([](QWidget *widget) { widget->close(); });
    window.on_openFileBtn_clicked();
    QVERIFY(answer.happened());
    QVERIFY(bench.log.contains("Input Filename: \"\""));
    QVERIFY(bench.tools.probeCalls().isEmpty());
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(bench.rows(), QStringList("0.mp4"));
}

void TestOpenFiles::otherFileWhilePaused_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("new file") << 0;
    QTest::newRow("known file") << 1;
    QTest::newRow("double click") << 2;
    QTest::newRow("row") << 3;
}

// The paused engine has another entry loaded, so it must not be resumed.
void TestOpenFiles::otherFileWhilePaused()
{
    QFETCH(int, way);
    PlayerBench bench(2);
    lastTimePlayFlag = true;
    bench.engine.setLength("100");
    TestWindow &window = bench.open(way == 2);
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("42", 42));
    window.on_playBtn_clicked();
    if (way == 0)
        window.openAndDragFile("/f/new.mp4");
    else if (way == 1)
        window.openAndDragFile("/f/1.mp4");
    else if (way == 2)
        doubleClickRow(window.listWidget, 0);
    else
        window.playSelected(0);
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/0.mp4", way == 0 ? "/f/new.mp4" : "/f/1.mp4"}));
    QCOMPARE(bench.engine.runningEngines(), QList<qint64>() << bench.engine.last().pid);
    QVERIFY(playingState);
    QCOMPARE(addrlist[0].last_play_time, 42);
    QVERIFY(bench.showsPosition("60", 60));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 42);
    QCOMPARE(addrlist[way == 0 ? 2 : 1].last_play_time, 60);
    QTRY_VERIFY(bench.engine.starts().first().inputClosed);
    QCOMPARE(withoutPolls(bench.engine.starts().first().input),
             QByteArrayList({"polls", "pause", "quit"}));
}

void TestOpenFiles::sameFileWhilePaused_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("opened again") << 0;
    QTest::newRow("double click") << 1;
}

void TestOpenFiles::sameFileWhilePaused()
{
    QFETCH(int, way);
    PlayerBench bench(2);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(way == 1);
    bench.play(1);
    QVERIFY(bench.showsPosition("4", 4));
    window.on_playBtn_clicked();
    if (way == 0)
        window.openAndDragFile("/f/1.mp4");
    else
        doubleClickRow(window.listWidget, 0);
    QVERIFY(playingState);
    QVERIFY(bench.engine.waitForInputCount("pause\n", 2));
    QVERIFY(bench.showsPosition("5", 5));
    QCOMPARE(bench.engine.starts().size(), 1);
    QCOMPARE(withoutPolls(bench.engine.input()),
             QByteArrayList({"polls", "pause", "pause", "polls"}));
}

void TestOpenFiles::doubleClick()
{
    PlayerBench bench(3);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(true);
    doubleClickRow(window.listWidget, 1);
    QVERIFY(bench.showsPosition("7", 7));
    QCOMPARE(bench.played(), QStringList("/f/1.mp4"));
    doubleClickRow(window.listWidget, 1); // the row that plays
    QVERIFY(playingState);
    QVERIFY(bench.showsPosition("8", 8));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList{"polls"});
    QCOMPARE(bench.engine.starts().size(), 1);

    doubleClickRow(window.listWidget, 2); // another
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played().last(), QString("/f/0.mp4"));
    QCOMPARE(addrlist[1].last_play_time, 8);
    QVERIFY(bench.showsPosition("9", 9));

    window.on_stopBtn_clicked();
    doubleClickRow(window.listWidget, 2); // stopped, so it plays again
    QVERIFY(bench.engine.waitForStarts(3));
    QCOMPARE(bench.played().last(), QString("/f/0.mp4"));
    QCOMPARE(bench.engine.runningEngines().size(), 1);
}

void TestOpenFiles::playSelectedRow()
{
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    window.playSelected(0); // the newest is the chosen one already, so nothing: intended
    QCOMPARE(playinglist.state, 0);
    for (int row : {-1, 3, 1000, -1000})
        window.playSelected(row);
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.addrIndex, 2);
    window.playSelected(2);
    QVERIFY(bench.engine.waitForStarts(1));
    window.playSelected(2);
    window.playSelected(1);
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/0.mp4", "/f/1.mp4"}));
}

// The row that was clicked last may be gone.
void TestOpenFiles::staleRowPlaysNothing()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open(true);
    clickRow(window.listWidget, 1);
    window.listWidget->deleteSelected();
    QCOMPARE(addrNum, 1);
    QCOMPARE(window.listWidget->currentIndex, 1);
    window.listWidget->playSelectedList();
    QCOMPARE(playinglist.state, 0);
    window.listWidget->setCurrentRow(0);
    window.listWidget->deleteSelected();
    window.listWidget->playSelectedList();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(addrNum, 0);
}

// The clicked row stays a number while the list moves on: intended.
void TestOpenFiles::newRowsShiftTheClickedOne()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open(true);
    clickRow(window.listWidget, 1); // 0.mp4
    window.openAndDragFile("/f/new.mp4");
    QVERIFY(bench.engine.waitForStarts(1));
    window.listWidget->playSelectedList();
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/new.mp4", "/f/1.mp4"}));
}

void TestOpenFiles::dropOfFiftyFiles()
{
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(true);
    QList<QUrl> urls;
    QStringList rows{"0.mp4"};
    QStringList addresses{"/f/0.mp4"};
    for (int i = 0; i < 50; i++) {
        addresses << QString("/drop/片 %1%.mp4").arg(i);
        rows.prepend(getFileNameFromAddr(addresses.last()));
        urls << QUrl::fromLocalFile(addresses.last());
    }
    QVERIFY(drop(window, urls));
    QCOMPARE(bench.tools.probeCalls().size(), 50); // each once
    QCOMPARE(bench.rows(), rows);
    QCOMPARE(playinglist.addrIndex, 50);
    QVERIFY(playingState);
    QVERIFY(bench.showsPosition("7", 7)); // the window is alive
    QCOMPARE(bench.played().last(), addresses.last());
    QCOMPARE(bench.engine.runningEngines().size(), 1);
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), rows.first());
    window.on_stopBtn_clicked();
    QCOMPARE(reloadedAddresses(), addresses);
}

void TestOpenFiles::dropOfMixedLocations()
{
    PlayerBench bench;
    TestWindow &window = bench.open();
    QVERIFY(drop(window,
                 {QUrl("http://h/a.mp4"), QUrl("file:///f/b.mp4"), QUrl("mailto:a@b"),
                  QUrl("file:///f/c.mp4"), QUrl("rtsp://h/s")}));
    QCOMPARE(bench.rows(), QStringList({"c.mp4", "b.mp4"}));
    // The first is stopped so soon that it may not have come to record its start.
    QTRY_COMPARE(bench.lastPlayed(), QString("/f/c.mp4"));
    QCOMPARE(bench.tools.probeCalls().size(), 2);
}

void TestOpenFiles::dropWithARefusedFile()
{
    PlayerBench bench;
    bench.tools.setProbeAnswerFor("/f/bad.mp4", refusal);
    TestWindow &window = bench.open();
    WhenModal answer([](QWidget *widget) { widget->close(); });
    QVERIFY(drop(window,
                 {QUrl("file:///f/a.mp4"), QUrl("file:///f/bad.mp4"), QUrl("file:///f/a.mp4"),
                  QUrl("file:///f/c.mp4")}));
    QVERIFY(answer.happened());
    QCOMPARE(bench.rows(), QStringList({"c.mp4", "a.mp4"}));
    QTRY_COMPARE(bench.lastPlayed(), QString("/f/c.mp4"));
}

void TestOpenFiles::dropWithoutLocations()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    QVERIFY(!drop(window, {}));
    QVERIFY(drop(window, {QUrl("http://h/a.mp4")}));
    QCOMPARE(bench.rows(), QStringList("0.mp4"));
    QCOMPARE(playinglist.state, 0);
    QVERIFY(bench.tools.probeCalls().isEmpty());
}

void TestOpenFiles::everyDragIsWelcome()
{
    PlayerBench bench;
    TestWindow &window = bench.open();
    QVERIFY(window.acceptDrops());
    QVERIFY(window.ui->playWidget->acceptDrops());
    QMimeData data;
    for (int i = 0; i < 3; i++) {
        if (i == 1)
            data.setText("text");
        if (i == 2)
            data.setUrls({QUrl("file:///f/a.mp4")});
        QDragEnterEvent event(QPoint(5, 5), Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        event.ignore();
        event.setDropAction(Qt::IgnoreAction);
        window.dragEnterEvent(&event);
        QVERIFY(event.isAccepted());
        QCOMPARE(event.dropAction(), event.proposedAction());
    }
}

void TestOpenFiles::commandLine()
{
    PlayerBench bench(1);
    bench.tools.setProbeAnswerFor("/f/bad.mp4", refusal);
    rBtnOpenFile[0] = "/f/a%20b.mp4";
    rBtnOpenFile[1] = "/f/0.mp4";
    rBtnOpenFile[2] = "/f/bad.mp4";
    rBtnOpenFile[3] = "file:///f/c.mp4";
    rBtnOpenFile[4] = "";
    rBtnOpenFile[5] = "/f/never.mp4";
    WhenModal answer([](QWidget *widget) { widget->close(); });
    bench.open();
    QVERIFY(answer.happened());
    QCOMPARE(bench.rows(), QStringList({"c.mp4", "a b.mp4", "0.mp4"}));
    QTRY_COMPARE(bench.lastPlayed(), QString("/f/c.mp4"));
    QCOMPARE(playinglist.addrIndex, 2);
    QCOMPARE(bench.engine.runningEngines().size(), 1);
}

QTEST_MAIN(TestOpenFiles)
#include "tst_openfiles.moc"
