// What comes of two players' lists. A list is written as "a:10 b:0": addresses with their places.
#include "historymerge.h"
#include "historysupport.h"

#include <QtTest>

class TestHistoryMerge : public QObject {
    Q_OBJECT

private slots:
    void merges_data();
    void merges();
    void takesEverythingElseFromOurs();
    void keepsToTheCapacity_data();
    void keepsToTheCapacity();
    void bringsTogetherFullLists();
};

namespace {

HistoryEntries listOf(const QString &text)
{
    HistoryEntries entries;
    for (const QString &word : text.split(' ', Qt::SkipEmptyParts))
        entries << entryFor(word.section(':', 0, 0), word.section(':', 1).toInt());
    return entries;
}

QString textOf(const HistoryEntries &entries)
{
    QStringList words;
    for (const HistoryAddrList &entry : entries)
        words << QStringLiteral("%1:%2").arg(entry.addr).arg(entry.last_play_time);
    return words.join(' ');
}

HistoryEntries numbered(const QString &name, int first, int count)
{
    HistoryEntries entries;
    for (int i = first; i < first + count; ++i)
        entries << entryFor(name + QString::number(i), i);
    return entries;
}

} // namespace

void TestHistoryMerge::merges_data()
{
    QTest::addColumn<QString>("known");
    QTest::addColumn<QString>("played");
    QTest::addColumn<QString>("ours");
    QTest::addColumn<QString>("theirs");
    QTest::addColumn<QString>("merged");

    const auto row = [](const char *name, const char *known, const char *played, const char *ours,
                        const char *theirs, const char *merged) {
        QTest::newRow(name) << known << played << ours << theirs << merged;
    };
    row("nothing at all", "", "", "", "", "");
    row("nothing changed", "a:1 b:2", "", "a:1 b:2", "a:1 b:2", "a:1 b:2");
    row("only we changed", "a:1 b:2", "b", "a:1 b:9 c:0", "a:1 b:2", "a:1 b:9 c:0");

    row("added there", "a:1", "", "a:1", "a:1 x:0", "a:1 x:0");
    row("added on both sides", "a:1", "", "a:1 b:0", "a:1 x:0", "a:1 b:0 x:0");
    row("added there, more than one", "a:1", "b", "a:1 b:5", "a:1 x:7 y:8", "a:1 b:5 x:7 y:8");
    row("added there before ours", "a:1 b:0", "", "a:1 b:0", "x:7 a:1 y:8 b:0", "a:1 b:0 x:7 y:8");
    row("added there, nothing here", "", "", "", "x:7 y:8", "x:7 y:8");
    row("the same film added on both sides", "a:1", "", "a:1 x:0", "a:1 x:7", "a:1 x:7");
    row("the same film, played here too", "a:1", "x", "a:1 x:3", "a:1 x:7", "a:1 x:3");
    row("the same film, played here to its end", "a:1", "x", "a:1 x:0", "a:1 x:7", "a:1 x:0");

    row("played there", "a:1 b:2", "", "a:1 b:2", "a:9 b:2", "a:9 b:2");
    row("played here", "a:1 b:2", "a", "a:9 b:2", "a:1 b:2", "a:9 b:2");
    row("another film played here and there", "a:1 b:2", "b", "a:1 b:8", "a:9 b:2", "a:9 b:8");
    row("the same film played, ours is the later", "a:1", "a", "a:5", "a:9", "a:5");
    row("stopped at the same place as before", "a:1", "a", "a:1", "a:9", "a:1");
    row("stored by a save that failed", "a:1", "", "a:5", "a:9", "a:5");

    row("deleted here", "a:1 b:2", "", "b:2", "a:1 b:2", "b:2");
    row("deleted here, played there", "a:1 b:2", "", "b:2", "a:9 b:2", "b:2");
    row("deleted here, added there", "a:1", "", "", "a:1 x:0", "x:0");
    row("deleted there", "a:1 b:2", "", "a:1 b:2", "b:2", "b:2");
    row("deleted there, another played here", "a:1 b:2", "b", "a:1 b:5", "b:2", "b:5");
    row("deleted there, played here", "a:1 b:2", "a", "a:5 b:2", "b:2", "a:5 b:2");
    row("deleted there, stopped here where it was", "a:1", "a", "a:1", "", "a:1");
    row("deleted on both sides", "a:1 b:2", "", "b:2", "b:2", "b:2");
    row("deleted here and opened again there", "a:1", "", "", "x:0 a:0", "x:0");
    row("all deleted here", "a:1 b:2", "", "", "a:1 b:2 x:3", "x:3");

    row("cleared there", "a:1 b:2", "", "a:1 b:2", "", "");
    row("cleared there, new here", "a:1 b:2", "", "a:1 b:2 c:0", "", "c:0");
    row("cleared there, played here", "a:1 b:2", "b", "a:1 b:5", "", "b:5");
    row("cleared and begun again there", "a:1 b:2", "", "a:1 b:2", "x:0", "x:0");
    row("cleared there, a known film opened again there", "a:1 b:2", "", "a:1 b:2", "b:0", "b:0");

    row("never read", "", "", "b:5", "a:1 b:2 c:3", "b:2 a:1 c:3");
    row("in the order of ours", "a:1 b:2 c:3", "", "c:3 a:1", "a:1 b:2 c:3 x:0", "c:3 a:1 x:0");

    row("twice in the file", "a:1 a:2", "", "a:1 a:2", "a:1 a:2 x:0", "a:1 a:2 x:0");
    row("twice, the second played there", "a:1 a:2", "", "a:1 a:2", "a:1 a:9", "a:1 a:9");
    row("twice, one deleted here", "a:1 a:1", "", "a:1", "a:1 a:1 x:0", "a:1 x:0");
    row("twice, one deleted there", "a:1 a:1", "", "a:1 a:1", "a:1", "a:1");
    row("twice only there", "a:1", "", "a:1", "a:1 a:2", "a:1 a:2");
    row("added twice there", "a:1", "", "a:1", "a:1 x:2 x:3", "a:1 x:2 x:3");
    row("capitals differ", "a:1", "", "a:1", "a:1 A:2", "a:1 A:2");
}

void TestHistoryMerge::merges()
{
    QFETCH(QString, known);
    QFETCH(QString, played);
    QFETCH(QString, ours);
    QFETCH(QString, theirs);
    QFETCH(QString, merged);
    KnownHistory history{listOf(known), {}};
    for (const QString &addr : played.split(' ', Qt::SkipEmptyParts))
        history.played << addr;
    QCOMPARE(textOf(mergeHistories(history, listOf(ours), listOf(theirs))), merged);
}

// The place alone is the other player's.
void TestHistoryMerge::takesEverythingElseFromOurs()
{
    HistoryAddrList ours = entryFor("/films/a.mkv", 1);
    HistoryAddrList theirs = entryFor("/films/a.mkv", 9);
    theirs.width = 1;
    theirs.label = "another";
    const HistoryEntries merged = mergeHistories({{ours}, {}}, {ours}, {theirs});
    ours.last_play_time = 9;
    QCOMPARE(historyDocument(merged), documentText({ours}));
}

void TestHistoryMerge::keepsToTheCapacity_data()
{
    QTest::addColumn<int>("ours");
    QTest::addColumn<int>("theirs");
    QTest::addColumn<int>("dropped"); // of ours
    QTest::newRow("just full") << 990 << 9 << 0;
    QTest::newRow("one too many") << 990 << 10 << 1;
    QTest::newRow("two full lists") << 999 << 999 << 999;
}

void TestHistoryMerge::keepsToTheCapacity()
{
    QFETCH(int, ours);
    QFETCH(int, theirs);
    QFETCH(int, dropped);
    const HistoryEntries merged =
        mergeHistories({}, numbered("ours", 0, ours), numbered("theirs", 0, theirs));
    QCOMPARE(textOf(merged),
             textOf(numbered("ours", dropped, ours - dropped) + numbered("theirs", 0, theirs)));
}

// Each of two players with the same full list has dropped the oldest for a film of its own.
void TestHistoryMerge::bringsTogetherFullLists()
{
    const HistoryEntries known = numbered("old", 0, 999);
    HistoryEntries ours = known.mid(1);
    HistoryEntries theirs = ours;
    ours << entryFor("ours");
    theirs << entryFor("theirs");
    const HistoryEntries merged = mergeHistories({known, {}}, ours, theirs);
    QCOMPARE(textOf(merged), textOf(known.mid(2) << entryFor("ours") << entryFor("theirs")));
}

QTEST_APPLESS_MAIN(TestHistoryMerge)
#include "tst_historymerge.moc"
