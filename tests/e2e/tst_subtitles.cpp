// Subtitles are seen: the real engine draws them into the real window.
#include "subtitlebench.h"

class TestSubtitles : public QObject, protected SubtitleBench {
    Q_OBJECT

private slots:
    void init() { open(Clips::oneColour("blue", 120)); }
    void cleanup() { film.reset(); }
    void seenLargerSmallerMovedAndRemoved();
    void oddNames_data();
    void oddNames();
    void nameWithALineEnd();
    void amongOtherSubtitles_data();
    void amongOtherSubtitles();
};

void TestSubtitles::seenLargerSmallerMovedAndRemoved()
{
    const QString name =
        Clips::copy(Clips::subtitles(), film->root->path(), QStringLiteral("字 幕  1.srt"));
    QVERIFY(text().isEmpty());
    choose(name);
    QVERIFY(subTitleFlag);
    QVERIFY(waitForText([](const QRect &now) { return !now.isEmpty(); }));
    const QRect first = settledText();
    QVERIFY(first.width() > 30 && first.height() > 8);

    const auto larger = [](const QRect &than) {
        return [than](const QRect &now) {
            return now.width() > than.width() && now.height() > than.height();
        };
    };
    window->subScalePlus();
    window->subScalePlus();
    QVERIFY(waitForText(larger(first)));
    const QRect large = settledText();
    window->subScaleReduce();
    window->subScaleReduce();
    QVERIFY(waitForText([large](const QRect &now) {
        return !now.isEmpty() && now.width() < large.width() && now.height() < large.height();
    }));
    const QRect small = settledText();

    for (int i = 0; i < 10; ++i)
        window->subPosUp();
    QVERIFY(waitForText(
        [small](const QRect &now) { return !now.isEmpty() && now.bottom() < small.top(); }));
    const QRect high = settledText();
    for (int i = 0; i < 5; ++i)
        window->subPosDown();
    QVERIFY(waitForText([high, small](const QRect &now) {
        return now.top() > high.top() && now.top() < small.top();
    }));

    window->delSubTitle();
    QVERIFY(waitForText([](const QRect &now) { return now.isEmpty(); }));
    QVERIFY(subTitleFlag);
    choose(name);
    QVERIFY(waitForText([](const QRect &now) { return !now.isEmpty(); }));
}

void TestSubtitles::oddNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << "s u b.srt";
    QTest::newRow("backslash") << "a\\ b.srt";
    QTest::newRow("signs") << "it's; #1 $HOME `y`.srt";
}

void TestSubtitles::oddNames()
{
    QFETCH(QString, name);
    choose(Clips::copy(Clips::subtitles(), film->root->path(), name));
    QVERIFY(waitForText([](const QRect &now) { return !now.isEmpty(); }));
}

// The engine would take the second line for a command of its own.
void TestSubtitles::nameWithALineEnd()
{
    const QString mark = film->root->path() + "/mark";
    const QString folder = film->root->path() + "/x\nrun touch " + film->root->path();
    const QString name = Clips::copy(Clips::subtitles(), folder, "mark");
    choose(name);
    QVERIFY(!subTitleFlag);
    const int position = window->currentPosition;
    QTRY_VERIFY_WITH_TIMEOUT(window->currentPosition > position + 1, 15000);
    QVERIFY(!QFile::exists(mark));
    QVERIFY(text().isEmpty());
}

namespace {

// A subtitle file that shows the same letters all the time.
QString letters(const QString &folder, const QString &name, int count)
{
    const QString path = folder + '/' + name;
    writeFile(path, "1\n00:00:00,000 --> 00:01:59,000\n" + QByteArray(count, 'M') + "\n\n");
    return path;
}

// A film with so many subtitle streams of its own, of 3 and of 4 letters.
QString filmWithStreams(int streams, const QString &ending, const QString &codec)
{
    const QTemporaryDir folder;
    QStringList arguments{"-f", "lavfi", "-i", "color=c=blue:s=320x240:r=25:d=120"};
    for (int i = 0; i < streams; i++)
        arguments << "-i" << letters(folder.path(), QString("%1.srt").arg(i), 3 + i);
    arguments << "-map"
              << "0";
    for (int i = 1; i <= streams; i++)
        arguments << "-map" << QString::number(i);
    arguments << Clips::h264();
    if (streams > 0)
        arguments << "-c:s" << codec;
    return Clips::make(QString("subtitled-%1-%2.%3").arg(streams).arg(codec, ending), arguments);
}

} // namespace

void TestSubtitles::amongOtherSubtitles_data()
{
    QTest::addColumn<int>("streams");
    QTest::addColumn<QString>("ending");
    QTest::addColumn<QString>("codec");
    QTest::addColumn<bool>("ownFile"); // a file of the film's name, which the engine finds itself
    const auto row = [](int streams, const char *ending, const char *codec, bool ownFile) {
        QTest::addRow("%d of %s in %s%s", streams, codec, ending,
                      ownFile ? ", a file of its name" : "")
            << streams << QString(ending) << QString(codec) << ownFile;
    };
    for (bool ownFile : {false, true}) {
        for (int streams : {0, 1, 2})
            row(streams, "mkv", "srt", ownFile);
    }
    row(2, "mkv", "ass", false);
    row(1, "mp4", "mov_text", false);
    row(2, "mp4", "mov_text", true);
}

// What the picture shows is told by its width.
void TestSubtitles::amongOtherSubtitles()
{
    QFETCH(int, streams);
    QFETCH(QString, ending);
    QFETCH(QString, codec);
    QFETCH(bool, ownFile);
    const QTemporaryDir folder;
    const QString chosen = letters(folder.path(), "cho sen.srt", 8);
    choose(chosen); // nothing else is there yet
    QVERIFY(waitForText([](const QRect &now) { return !now.isEmpty(); }));
    const int width = settledText().width();

    const QString clip =
        Clips::copy(filmWithStreams(streams, ending, codec), folder.path(), "film." + ending);
    if (ownFile)
        letters(folder.path(), "film.srt", 5);
    open(clip);
    if (ownFile)
        QVERIFY(waitForText([](const QRect &now) { return !now.isEmpty(); }));
    choose(chosen);
    QVERIFY2(waitForText([width](const QRect &now) { return qAbs(now.width() - width) <= 2; }),
             qPrintable(QString("%1, not %2").arg(text().width()).arg(width)));
    QCOMPARE(settledText().width(), width);
    if (streams == 0 && ownFile)
        return; // the commands take the second of the files there are
    choose(letters(folder.path(), "other.srt", 10));
    QVERIFY(waitForText([width](const QRect &now) { return now.width() > width + 10; }));
}

QTEST_MAIN(TestSubtitles)
#include "tst_subtitles.moc"
