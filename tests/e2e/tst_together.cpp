// Two windows of the installed player at once, as when a second film is opened from the file
// manager: neither loses what the other has saved, however they end.
#include "historysupport.h"
#include "installedplayer.h"
#include "playerhands.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QTest>

#include <csignal>

class TestTogether : public QObject {
    Q_OBJECT

private slots:
    void evenings_data();
    void evenings();
};

namespace {

QByteArray config(bool emptyAtExit)
{
    return "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndecode_flag=0\ndefault_last_time=1\n"
           "empty_list_exit=" +
        QByteArray::number(emptyAtExit) + '\n';
}

// "a:100 b:0", oldest first.
QString storedList(const InstalledPlayer &player)
{
    QStringList words;
    const QJsonArray entries = storedEntries(player.historyFile());
    for (const QJsonValue &entry : entries)
        words << QStringLiteral("%1:%2")
                     .arg(entry.toObject().value("label").toString())
                     .arg(entry.toObject().value("last_time").toInt(-1));
    return words.join(' ');
}

// One of the two: its film is "/films/a" or "/films/b".
struct Person {
    InstalledPlayer &player;
    PlayerHands hands;
    QString film;

    bool start(const QByteArray &position)
    {
        StandInEngine &engine = player.standIn();
        engine.setLength("1000.00");
        engine.setPosition(position);
        return player.start({film}) && hands.takeHold() && engine.waitForStarts(1) &&
            engine.waitForInputCount("get_time_pos\n", 3);
    }
    bool stop()
    {
        if (!hands.takeHold())
            return false;
        hands.click(PlayerHands::Stop);
        return QTest::qWaitFor([this] { return player.engines().isEmpty(); }, 15000);
    }
    // Chooses the entry of the row's menu at which so many steps upwards end.
    bool choose(int row, int stepsUp)
    {
        if (!hands.takeHold())
            return false;
        const QPoint place = PlayerHands::FirstRow + QPoint(0, 24 * row);
        hands.click(place);
        hands.click(place, 3);
        if (!hands.waitForMenus(1))
            return false;
        for (int i = 0; i < stepsUp; ++i)
            Screen::key("Up");
        Screen::key("Return");
        return hands.waitForMenus(0);
    }
    bool clear()
    {
        if (!choose(0, 1))
            return false;
        const qulonglong question = player.dialog(QStringLiteral("提示"));
        if (!question || !PlayerHands::focus(question))
            return false;
        Screen::key("alt+y");
        return PlayerHands::waitForNoWindow(question);
    }
    bool close()
    {
        player.close();
        return player.waitForEnd() && player.exitCode() == 0;
    }
    bool kill()
    {
        player.signal(SIGKILL);
        return player.waitForEnd();
    }
    bool act(const QString &verb)
    {
        if (verb == "stops")
            return stop();
        if (verb == "deletes") // the row below its film
            return choose(1, 2);
        if (verb == "clears")
            return clear();
        return verb == "closes" ? close() : kill();
    }
};

} // namespace

void TestTogether::evenings_data()
{
    QTest::addColumn<bool>("firstEmpties"); // at its end
    QTest::addColumn<QString>("steps"); // once both play: "a stops, b closes"
    QTest::addColumn<QString>("left");
    QTest::newRow("a closes first") << false << "a closes, b closes"
                                    << "old:42 a:100 b:200";
    QTest::newRow("b closes first") << false << "b closes, a closes"
                                    << "old:42 a:100 b:200";
    QTest::newRow("stopped and killed") << false << "a stops, b stops, a dies, b dies"
                                        << "old:42 a:100 b:200";
    QTest::newRow("a is killed at play") << false << "a dies, b closes"
                                         << "old:42 a:0 b:200";
    QTest::newRow("b is killed at play") << false << "b dies, a closes"
                                         << "old:42 a:100 b:0";
    QTest::newRow("a deletes") << false << "a stops, a deletes, b closes, a closes"
                               << "a:100 b:200";
    QTest::newRow("a clears, b plays on") << false << "a clears, b closes, a closes"
                                          << "b:200";
    QTest::newRow("a empties at its end, b plays on") << true << "a closes, b closes"
                                                      << "b:200";
    QTest::newRow("a empties at the very end") << true << "b closes, a closes"
                                               << "";
}

void TestTogether::evenings()
{
    QFETCH(bool, firstEmpties);
    QFETCH(QString, steps);
    QFETCH(QString, left);
    StandInTools tools;
    InstalledPlayer first;
    InstalledPlayer second(&first);
    first.setHistory(documentText({entryFor("/films/old", 42)}));
    first.setConfig(config(firstEmpties));
    Person a{first, PlayerHands(first), "/films/a"};
    Person b{second, PlayerHands(second), "/films/b"};
    first.standIn(); // in the engine's place for both
    QVERIFY(a.start("100.0"));
    QCOMPARE(storedList(first), QString("old:42 a:0"));
    first.setConfig(config(false));
    // b finds a's film in the list, at its beginning; a knows nothing of b's.
    QVERIFY(b.start("200.0"));
    QCOMPARE(storedList(first), QString("old:42 a:0 b:0"));
    for (const QString &step : steps.split(", ")) {
        Person &person = step.startsWith("a ") ? a : b;
        QVERIFY2(person.act(step.mid(2)), qPrintable(step));
    }
    QCOMPARE(storedList(first), left);
}

QTEST_MAIN(TestTogether)
#include "tst_together.moc"
