// A person's evening with the installed player and the real engine: files are opened, sought,
// paused and stopped, the list remembers them over a restart, and one follows the other.
#include "playerhands.h"
#include "signalclip.h"
#include "testsupport.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QTest>

class TestLibrary : public QObject {
    Q_OBJECT

private slots:
    void anEvening();
    void whatFollowsAShortClip_data();
    void whatFollowsAShortClip();
};

namespace {

const QColor lime("lime");
const int length = 80; // of the clip that tells its position, in seconds

QByteArray config(const QByteArray &more = QByteArray())
{
    return "[DEFAULT]\nfirst_start=0\ndefault_volum=34\ndecode_flag=0\n" + more;
}

QJsonObject entry(const InstalledPlayer &player, int index)
{
    return storedEntries(player.historyFile()).at(index).toObject();
}

QJsonObject expectedEntry(const QString &path, int lastTime)
{
    return {{"addr", path},    {"label", path.mid(path.lastIndexOf('/') + 1)},
            {"type", 1},       {"width", 320},
            {"height", 240},   {"frame", 25},
            {"codec_type", 0}, {"last_time", lastTime}};
}

QStringList playedFiles(InstalledPlayer &player)
{
    QStringList files;
    for (const QString &line : player.log().filter("arglist:"))
        files << line.section('"', 1, 1);
    return files;
}

// Seeks with the mouse, playing and paused, from the first quarter of the clip (red) to the third
// (blue), and stops there. Gives the second that is stored.
void seekAndStop(InstalledPlayer &player, const PlayerHands &hands, int *stopped)
{
    // A click with the middle button goes to a place at once, the left one drags the handle.
    Screen::click(hands.timeAt(30.0 / length), 2);
    QVERIFY(hands.waitForPicture(lime));
    Screen::key("space");
    QTRY_VERIFY(!hands.pictureMoves(1500));
    Screen::click(hands.timeAt(35.0 / length), 2);
    QTRY_VERIFY(!hands.pictureMoves(1500)); // a seek leaves it paused
    hands.dragTime(35.0 / length, 45.0 / length);
    QVERIFY(hands.waitForPicture(Qt::blue));
    QTRY_VERIFY(!hands.pictureMoves(1500));
    hands.click(PlayerHands::Play);
    QVERIFY(hands.pictureMoves());
    hands.click(PlayerHands::Stop);
    QTRY_VERIFY_WITH_TIMEOUT(player.engines().isEmpty(), 15000);
    QVERIFY(hands.waitForPicture(Qt::black));
    *stopped = storedPosition(player.historyFile());
    QVERIFY2(*stopped >= 44 && *stopped < 60, qPrintable(QString::number(*stopped)));
}

// The next evening: nothing plays by itself; what is in the list goes on 5 s before its end.
void goOnTheNextEvening(InstalledPlayer &player, PlayerHands &hands, int left)
{
    QVERIFY(player.start());
    QVERIFY(hands.takeHold());
    QVERIFY(hands.waitForPicture(Qt::black));
    QVERIFY(player.engines().isEmpty());
    QElapsedTimer clock;
    clock.start();
    hands.click(PlayerHands::FirstRow + QPoint(0, 24), 1, 2);
    QVERIFY(hands.waitForPicture(left - 5 < 40 ? lime : QColor(Qt::blue)));
    QTRY_VERIFY(hands.pictureMoves());
    // Once more than the polling interval, so that the position is known.
    QTest::qWait(1200);
    player.close();
    const int later = left - 5 + int(clock.elapsed() / 1000) + 1;
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    const int found = storedPosition(player.historyFile());
    QVERIFY2(found >= left - 6 && found <= later,
             qPrintable(QStringLiteral("%1 after %2, at most %3").arg(found).arg(left).arg(later)));
}

} // namespace

void TestLibrary::anEvening()
{
    InstalledPlayer player;
    player.setConfig(config("default_last_time=1\nplay_mode=0\n"));
    const QString first = Clips::copy(signalClip(length), player.home(), "first.mp4");
    const QString second =
        Clips::copy(Clips::oneColour("magenta", 60), player.home(), "second.mp4");
    PlayerHands hands(player);

    QVERIFY(player.start({first}));
    QVERIFY(hands.takeHold());
    QVERIFY(hands.waitForPicture(Qt::red));
    QVERIFY(hands.pictureMoves());

    int stopped = -1;
    seekAndStop(player, hands, &stopped);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(entry(player, 0), expectedEntry(first, stopped));

    QVERIFY(hands.chooseFile("ctrl+o", second));
    QVERIFY(hands.waitForPicture(Qt::magenta));
    QCOMPARE(storedEntries(player.historyFile()).size(), 2);
    QCOMPARE(entry(player, 1), expectedEntry(second, 0));
    // The newest is on top: the second row is the first file, which goes on where it stopped.
    hands.click(PlayerHands::FirstRow + QPoint(0, 24), 1, 2);
    QVERIFY(hands.waitForPicture(Qt::blue));
    hands.click(PlayerHands::FirstRow, 1, 2);
    QVERIFY(hands.waitForPicture(Qt::magenta));
    hands.click(PlayerHands::Play);
    QTRY_VERIFY(!hands.pictureMoves(1500));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
    const int left = storedPosition(player.historyFile());
    QVERIFY2(left >= stopped - 6 && left < 60, qPrintable(QString::number(left)));
    QCOMPARE(storedEntries(player.historyFile()).size(), 2);

    goOnTheNextEvening(player, hands, left);
    QCOMPARE(player.setting("default_volum"), QStringLiteral("34"));
    QCOMPARE(player.setting("default_last_time"), QStringLiteral("1"));
}

void TestLibrary::whatFollowsAShortClip_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("follows"); // two short clips, "old" and "new"; the new one begins
    QTest::newRow("single") << 0 << "new";
    QTest::newRow("sequential") << 1 << "new old";
    QTest::newRow("repeat one") << 2 << "new new new";
    QTest::newRow("repeat list") << 3 << "new old new old";
    QTest::newRow("random") << 4 << QString();
}

void TestLibrary::whatFollowsAShortClip()
{
    QFETCH(int, mode);
    QFETCH(QString, follows);
    InstalledPlayer player;
    player.setConfig(config("play_mode=" + QByteArray::number(mode) + "\n"));
    const QString older = Clips::copy(Clips::oneColour("lime", 2), player.home(), "old.mp4");
    const QString newer = Clips::copy(Clips::oneColour("red", 2), player.home(), "new.mp4");
    QVERIFY(player.start({older, newer}));
    QVERIFY(player.window());
    QStringList expected{older}; // replaced at once by the second of the command line
    for (const QString &name : follows.split(' ', Qt::SkipEmptyParts))
        expected << (name == "old" ? older : newer);
    if (mode == 4)
        QTRY_VERIFY_WITH_TIMEOUT(playedFiles(player).size() >= 4, 40000);
    else
        QTRY_VERIFY_WITH_TIMEOUT(playedFiles(player).size() >= expected.size(), 40000);
    if (mode <= 1) { // it ends there
        // Between two films there is no engine for a moment, either.
        QElapsedTimer withoutEngine;
        withoutEngine.start();
        QVERIFY(QTest::qWaitFor(
            [&] {
                if (!player.engines().isEmpty())
                    withoutEngine.restart();
                return withoutEngine.elapsed() > 3000;
            },
            40000));
        QVERIFY(!player.waitForEnd(2000));
        QVERIFY(player.engines().isEmpty());
        QCOMPARE(playedFiles(player), expected);
    }
    if (mode != 4)
        QCOMPARE(playedFiles(player).mid(0, expected.size()), expected);
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QCOMPARE(player.setting("play_mode"), QString::number(mode));
}

QTEST_MAIN(TestLibrary)
#include "tst_library.moc"
