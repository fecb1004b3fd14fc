#include "enginerun.h"
#include "testsupport.h"

#include <QtTest>

using enginecommands::Remark;

class TestEngineRun : public QObject {
    Q_OBJECT

private slots:
    void beginForgets();
    void whatItHears_data();
    void whatItHears();
    void subtitleNotTaken();
    void foundNothingToResume();
    void missingFiles_data();
    void missingFiles();
    void failedAtOnce();
    void rowLength_data();
    void rowLength();
    void knownFailures();
};

void TestEngineRun::beginForgets()
{
    EngineRun run;
    run.started = run.resumed = run.lengthIsZero = run.positionTold = run.rowsRemoved = true;
    run.hasOwnSubtitles = true;
    run.choose("/a.srt");
    run.asked();
    run.lifetime = 5;
    run.awaited = Remark::Begun;
    run.begin("/b.ts", true);
    QCOMPARE(run.addr, QString("/b.ts"));
    QVERIFY(run.afterAnEnd);
    QVERIFY(!run.started && !run.resumed && !run.lengthIsZero && !run.positionTold);
    QVERIFY(!run.rowsRemoved && !run.hasOwnSubtitles && run.chosenSubtitle.isEmpty());
    QVERIFY(!run.answeredWithoutSubtitle());
    QCOMPARE(run.lifetime, qint64(-1));
    QCOMPARE(int(run.awaited), int(Remark::Other));
    run.begin("/b.ts", false);
    QVERIFY(!run.afterAnEnd);
}

void TestEngineRun::whatItHears_data()
{
    QTest::addColumn<QList<int>>("remarks");
    QTest::addColumn<bool>("plays");
    using Kinds = QList<int>;
    QTest::newRow("nothing") << Kinds{} << true;
    QTest::newRow("opening") << Kinds{Remark::Opening} << false;
    QTest::newRow("sound") << Kinds{Remark::Opening, Remark::Begun} << true;
    QTest::newRow("picture to come")
        << Kinds{Remark::Opening, Remark::HasPicture, Remark::Begun} << false;
    QTest::newRow("picture") << Kinds{Remark::Opening, Remark::HasPicture, Remark::Begun,
                                      Remark::ShowsPicture}
                             << true;
    QTest::newRow("picture before it begins")
        << Kinds{Remark::Opening, Remark::HasPicture, Remark::ShowsPicture, Remark::Begun} << true;
    QTest::newRow("other lines between")
        << Kinds{Remark::Opening, Remark::Other, Remark::OwnSubtitles, Remark::AddedSubtitle}
        << false;
}

void TestEngineRun::whatItHears()
{
    QFETCH(QList<int>, remarks);
    EngineRun run;
    run.begin(QCoreApplication::applicationFilePath(), false);
    run.started = run.resumed = true;
    for (int kind : qAsConst(remarks))
        run.heard(Remark::Kind(kind));
    QTEST(run.foundNothingToResume(), "plays");
    QCOMPARE(run.hasOwnSubtitles, remarks.contains(Remark::OwnSubtitles));
}

void TestEngineRun::subtitleNotTaken()
{
    EngineRun run;
    run.asked();
    QVERIFY(!run.answeredWithoutSubtitle()); // none was chosen
    run.asked();
    run.asked();
    run.choose("/a.srt");
    run.asked();
    QCOMPARE(run.chosenSubtitle, QByteArray("/a.srt"));
    QVERIFY(!run.answeredWithoutSubtitle()); // both were asked before
    QVERIFY(!run.answeredWithoutSubtitle());
    QVERIFY(run.answeredWithoutSubtitle());
    run.asked();
    QVERIFY(!run.answeredWithoutSubtitle()); // said once

    run.choose("/b.srt");
    run.asked();
    run.heard(Remark::AddedSubtitle);
    QVERIFY(!run.answeredWithoutSubtitle());
    run.asked();
    QVERIFY(!run.answeredWithoutSubtitle());

    run.choose("/c.srt");
    run.asked();
    run.choose("/d.srt");
    QVERIFY(!run.answeredWithoutSubtitle()); // the last one counts
    run.asked();
    QVERIFY(run.answeredWithoutSubtitle());
}

void TestEngineRun::foundNothingToResume()
{
    EngineRun run;
    run.begin(QCoreApplication::applicationFilePath(), false);
    QVERIFY(!run.foundNothingToResume());
    run.started = true;
    QVERIFY(!run.foundNothingToResume());
    run.resumed = true;
    QVERIFY(run.foundNothingToResume());
    run.positionTold = true;
    QVERIFY(!run.foundNothingToResume());
    run.positionTold = false;
    run.addr = "/none";
    QVERIFY(!run.foundNothingToResume());
}

void TestEngineRun::missingFiles_data()
{
    QTest::addColumn<QString>("addr");
    QTest::addColumn<bool>("missing");
    const QString here = QCoreApplication::applicationFilePath();
    QTest::newRow("there") << here << false;
    QTest::newRow("there, as URL") << "file://" + here << false;
    QTest::newRow("gone") << "/none/a.mp4" << true;
    QTest::newRow("gone, as URL") << "file:///none/a.mp4" << true;
    QTest::newRow("gone, relative") << "none.mp4" << true;
    QTest::newRow("gone, looks like a URL inside") << "/none/http://a.mp4" << true;
    for (const char *stream :
         {"rtsp://h/a", "rtmp://h/a", "http://h/a", "HTTPS://h/a", "mms://h/a"})
        QTest::newRow(stream) << QString(stream) << false;
}

void TestEngineRun::missingFiles()
{
    QFETCH(QString, addr);
    EngineRun run;
    run.begin(addr, false);
    QTEST(run.isFileMissing(), "missing");
}

void TestEngineRun::failedAtOnce()
{
    EngineRun run;
    run.begin("/a", true);
    QVERIFY(run.failedAtOnce()); // never came up
    run.lifetime = 2000;
    QVERIFY(run.failedAtOnce());
    run.lifetime = 2001;
    QVERIFY(!run.failedAtOnce());
    run.lifetime = 0;
    QVERIFY(run.failedAtOnce());
    run.positionTold = true;
    QVERIFY(!run.failedAtOnce());
}

void TestEngineRun::rowLength_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("longest");
    QTest::newRow("one") << 1 << 60;
    QTest::newRow("50") << 50 << 60;
    QTest::newRow("51") << 51 << 61;
    QTest::newRow("999") << 999 << 1009;
}

void TestEngineRun::rowLength()
{
    QFETCH(int, entries);
    QFETCH(int, longest);
    FailureRow row;
    for (int i = 0; i < longest; i++) {
        QVERIFY(!row.isTooLong(entries));
        row.add(QString::number(i));
    }
    QVERIFY(row.isTooLong(entries));
    row.clear();
    QVERIFY(!row.isTooLong(entries));
}

void TestEngineRun::knownFailures()
{
    FailureRow row;
    for (int i = 0; i < 3; i++) {
        QVERIFY(!row.knows("/a"));
        row.add("/a");
        row.add("/b" + QString::number(i));
    }
    QVERIFY(row.knows("/a"));
    QVERIFY(!row.knows("/b0"));
    row.clear();
    QVERIFY(!row.knows("/a"));
}

QTEST_GUILESS_MAIN(TestEngineRun)
#include "tst_enginerun.moc"
