// Screenshots for real: the engine writes them, the worker files them under dated names.
#include "clips.h"
#include "film.h"
#include "playerhands.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QTest>

class TestScreenshots : public QObject {
    Q_OBJECT

private slots:
    void twentyInARow();
    void oddFolders_data();
    void oddFolders();
    void vanishingFolder();
    void decodeModeForthAndBack();
    void noticeOverThePicture();
};

namespace {

const QRegularExpression
    dated(QStringLiteral("^shot-(\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d)(_\\d+)?\\.png$"));

// How many dated pictures there are in a folder.
int filed(const QString &folder)
{
    return QDir(folder).entryList({"*.png"}, QDir::Files).filter(dated).size();
}

QStringList notFiled(const QString &folder)
{
    QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names.filter(dated))
        names.removeAll(name);
    return names;
}

bool waitForFiled(const QString &folder, int count)
{
    return QTest::qWaitFor([&] { return filed(folder) >= count; }, 20000);
}

void setFolder(InstalledPlayer &player, const QString &folder)
{
    player.setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndecode_flag=0\n");
    QSettings settings(player.configFile(), QSettings::IniFormat);
    settings.setValue("DEFAULT/snap_path", folder);
}

// Of the test pattern: all its colours are there, at the size of the film.
bool isOfThePattern(const QImage &picture)
{
    if (picture.size() != QSize(320, 240))
        return false;
    for (const QColor &colour : {QColor("red"), QColor("lime"), QColor("blue")}) {
        if (Screen::share(picture, colour, 60) < 0.02)
            return false;
    }
    return true;
}

} // namespace

void TestScreenshots::twentyInARow()
{
    InstalledPlayer player;
    const QString folder = player.home() + "/shots/";
    QVERIFY(QDir().mkpath(folder));
    writeFile(folder + "shot-mine.png", "there before");
    setFolder(player, folder);
    QVERIFY(player.start({Clips::pattern(60)}));
    PlayerHands hands(player);
    QVERIFY(hands.takeHold());
    QVERIFY(hands.pictureMoves(20000));
    const QDateTime began = QDateTime::currentDateTime().addSecs(-1);
    // The next one when the last is on the disk: two requests within one poll would be one.
    for (int i = 0; i < 20; ++i) {
        if (i == 10)
            writeFile(folder + "foreign.png", "while they are taken");
        if (i % 2 == 0)
            hands.click(PlayerHands::Snapshot);
        else
            Screen::key("alt+a");
        QVERIFY2(waitForFiled(folder, i + 1), qPrintable(player.log().join('\n')));
    }
    const QDateTime ended = QDateTime::currentDateTime().addSecs(1);
    qInfo("20 screenshots in %.1f s", began.msecsTo(ended) / 1000.0 - 2);

    QCOMPARE(notFiled(folder), QStringList({"foreign.png", "shot-mine.png"}));
    QCOMPARE(readFile(folder + "shot-mine.png"), QByteArray("there before"));
    QCOMPARE(readFile(folder + "foreign.png"), QByteArray("while they are taken"));
    const QStringList names = QDir(folder).entryList({"shot-*.png"}, QDir::Files).filter(dated);
    QCOMPARE(names.size(), 20);
    QSet<QByteArray> contents;
    for (const QString &name : names) {
        const QDateTime stamp = QDateTime::fromString(dated.match(name).captured(1),
                                                      QStringLiteral("yyyy-MM-dd_hh-mm-ss"));
        QVERIFY2(stamp >= began.addSecs(-1) && stamp <= ended, qPrintable(name));
        QImage picture;
        QTRY_VERIFY2(picture.load(folder + name), qPrintable(name));
        QVERIFY2(isOfThePattern(picture), qPrintable(name));
        contents << readFile(folder + name);
    }
    QCOMPARE(contents.size(), 20);
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

void TestScreenshots::oddFolders_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << "two  words here";
    QTest::newRow("comma") << "a,b,";
    QTest::newRow("Chinese") << QStringLiteral("电影 截图");
    QTest::newRow("signs") << "it's = 100% : [1];";
}

void TestScreenshots::oddFolders()
{
    QFETCH(QString, name);
    InstalledPlayer player;
    const QString folder = player.home() + '/' + name + '/';
    QVERIFY(QDir().mkpath(folder));
    setFolder(player, folder);
    QVERIFY(player.start({Clips::pattern(60)}));
    PlayerHands hands(player);
    QVERIFY(hands.takeHold());
    QVERIFY(hands.pictureMoves(20000));
    Screen::key("alt+a");
    QVERIFY2(waitForFiled(folder, 1), qPrintable(player.log().join('\n')));
    QCOMPARE(notFiled(folder), QStringList());
    const QString path = folder + QDir(folder).entryList(QDir::Files).first();
    QImage picture;
    QTRY_VERIFY(picture.load(path));
    QVERIFY(isOfThePattern(picture));
}

void TestScreenshots::vanishingFolder()
{
    InstalledPlayer player;
    const QString folder = player.home() + "/shots/";
    QVERIFY(QDir().mkpath(folder));
    setFolder(player, folder);
    QVERIFY(player.start({Clips::pattern(60)}));
    PlayerHands hands(player);
    QVERIFY(hands.takeHold());
    QVERIFY(hands.pictureMoves(20000));
    QVERIFY(QDir(folder).removeRecursively());
    Screen::key("alt+a");
    QVERIFY(!QTest::qWaitFor([&] { return QDir(folder).exists() || !player.isRunning(); }, 2000));
    QVERIFY(hands.pictureMoves());
    QVERIFY(QDir().mkpath(folder));
    Screen::key("alt+a");
    QVERIFY(waitForFiled(folder, 1));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
}

// What a dialog would take seconds for happens at once here.
void TestScreenshots::decodeModeForthAndBack()
{
    Film film(Clips::pattern(60));
    QVERIFY(film.playsOn());
    for (int i = 0; i < 5; ++i) {
        decodeFlag = 2;
        film.window->recvSetDecodeSignal();
        QVERIFY(!film.window->ui->snapShotBtn->isEnabled());
        decodeFlag = i % 2;
        film.window->recvSetDecodeSignal();
    }
    QVERIFY(film.window->ui->snapShotBtn->isEnabled());
    QVERIFY(film.window->snapThread->isRunning());
    film.window->currentPosition = 0;
    QVERIFY(film.playsOn());
    film.window->on_snapShotBtn_clicked();
    QVERIFY(waitForFiled(screenShotPath, 1));
    QCOMPARE(notFiled(screenShotPath), QStringList());
    QTRY_COMPARE(film.window->snapThread->snapCount, 0);
}

// The engine draws over its own window only: the notice stays in front of it.
void TestScreenshots::noticeOverThePicture()
{
    Film film(Clips::oneColour("blue", 60));
    QVERIFY(film.playsOn());
    QLabel *notice = film.window->ui->stateLabel;
    QTRY_VERIFY(!notice->isVisible());
    const auto shown = [&] {
        return Screen::grab(QRect(notice->mapToGlobal(QPoint(0, 0)), notice->size()));
    };
    QTRY_VERIFY_WITH_TIMEOUT(Screen::share(shown(), Qt::blue) > 0.95, 15000);
    film.window->showStateLabel(QStringLiteral("截图已保存至 HELLO"), 60000);
    QTRY_VERIFY_WITH_TIMEOUT(Screen::count(shown(), Qt::white, 60) > 100, 15000);
    // It is still there when the picture has been drawn many times.
    QVERIFY(film.playsOn());
    QVERIFY(Screen::count(shown(), Qt::white, 60) > 100);
    film.window->showStateLabel(QStringLiteral("HELLO"), 100);
    QTRY_VERIFY(!notice->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(Screen::share(shown(), Qt::blue) > 0.95, 15000);

    film.window->on_snapShotBtn_clicked();
    QVERIFY(waitForFiled(screenShotPath, 1));
    QTRY_VERIFY(notice->text().startsWith(QStringLiteral("截图已保存至") + screenShotPath));
}

QTEST_MAIN(TestScreenshots)
#include "tst_screenshots.moc"
