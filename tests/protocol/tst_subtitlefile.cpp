// A subtitle file chosen in a film with subtitle streams of its own: which file is asked for, when,
// and how often.
#include "playerbench.h"
#include "whenopen.h"

#include <QLineEdit>
#include <QSlider>

class TestSubtitleFile : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void askedForByItsNumber_data();
    void askedForByItsNumber();
    void oncePerChoice();
    void theLastChoiceCounts();
    void notAskedFor_data();
    void notAskedFor();
    void eachEngineForItself();
    void toldWhileTheHandleIsHeld();
    void toldWhilePaused();
    void noticeOfOneNotTaken_data();
    void noticeOfOneNotTaken();

private:
    void playTelling(const QByteArray &lines);
    void choose(const QString &name);
    bool hears(const QByteArray &lines);
    QByteArrayList filesAskedFor() const;
    QString file(const QString &name) const { return bench->root.path() + '/' + name; }

    int position = 40;
    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestSubtitleFile::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
}

namespace {
const QByteArray ownStream = "[lavf] stream 1: subtitle (srt), -sid 0\n";

QByteArray added(int number, const QString &name)
{
    return "SUB: Added subtitle file (" + QByteArray::number(number) + "): " + name.toUtf8() + '\n';
}
} // namespace

void TestSubtitleFile::playTelling(const QByteArray &lines)
{
    bench->engine.atStart(EngineAction::print(lines));
    QVERIFY(bench->playFilm());
    position = 40;
}

void TestSubtitleFile::choose(const QString &name)
{
    writeFile(name, "1\n");
    WhenModal answer([name](QWidget *dialog) {
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText(name);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    window->openSubTitleFile();
    QVERIFY(answer.happened());
}

// Has the engine tell something, and waits until the window has read past it.
bool TestSubtitleFile::hears(const QByteArray &lines)
{
    const QByteArray next = QByteArray::number(++position);
    const QByteArray question = "# tell " + next + '\n';
    bench->engine.on(question.trimmed(),
                     EngineAction::print(lines + "ANS_TIME_POSITION=" + next + '\n'));
    bench->engine.setPosition(next);
    writeToEngine(question);
    return QTest::qWaitFor([&] { return window->currentPosition == position; }, 15000) &&
        bench->sent([] {}) != "nothing came through"; // whatever it led to has arrived
}

QByteArrayList TestSubtitleFile::filesAskedFor() const
{
    QByteArrayList found;
    for (const QByteArray &line : bench->engine.last().lines()) {
        if (line.startsWith("sub_file"))
            found << line;
    }
    return found;
}

void TestSubtitleFile::askedForByItsNumber_data()
{
    QTest::addColumn<QByteArray>("told"); // at the start
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("number");
    QTest::newRow("a stream") << ownStream << "sub.srt" << 1;
    QTest::newRow("two streams") << ownStream +
            "[lavf] stream 2: subtitle (ssa), -sid 1, -slang chi\n"
                                 << "sub.srt" << 1;
    QTest::newRow("and a file of the film's name")
        << ownStream + "SUB: Added subtitle file (1): ./film.srt\n"
        << "sub.srt" << 2;
    QTest::newRow("many files") << ownStream << "sub.srt" << 12;
    QTest::newRow("blanks, letters and signs")
        << ownStream << QString("字 幕\\x (2): a  b.srt") << 3;
}

void TestSubtitleFile::askedForByItsNumber()
{
    QFETCH(QByteArray, told);
    QFETCH(QString, name);
    QFETCH(int, number);
    playTelling(told);
    choose(file(name));
    QVERIFY(hears(QByteArray()));
    QCOMPARE(filesAskedFor(), QByteArrayList()); // not before the engine has it
    QVERIFY(hears(added(number, file(name))));
    QCOMPARE(filesAskedFor(), QByteArrayList{"sub_file " + QByteArray::number(number - 1)});
    // After the three commands of every choice.
    const QByteArray input = bench->engine.input();
    QVERIFY(input.contains("\nsub_visibility 1\nsub_select 1\n"));
    QVERIFY(input.indexOf("sub_select 1\n") < input.indexOf("sub_file"));
}

void TestSubtitleFile::oncePerChoice()
{
    playTelling(ownStream);
    choose(file("a.srt"));
    QVERIFY(hears(added(1, file("a.srt")) + added(2, file("a.srt"))));
    QVERIFY(hears(added(3, file("a.srt"))));
    QCOMPARE(filesAskedFor(), QByteArrayList{"sub_file 0"});
    choose(file("a.srt"));
    QVERIFY(hears(added(4, file("a.srt"))));
    QCOMPARE(filesAskedFor(), QByteArrayList({"sub_file 0", "sub_file 3"}));
}

void TestSubtitleFile::theLastChoiceCounts()
{
    playTelling(ownStream);
    choose(file("a.srt"));
    choose(file("b.srt"));
    QVERIFY(hears(added(1, file("a.srt")) + added(2, file("b.srt"))));
    QCOMPARE(filesAskedFor(), QByteArrayList{"sub_file 1"});
}

void TestSubtitleFile::notAskedFor_data()
{
    QTest::addColumn<QByteArray>("told"); // at the start
    QTest::addColumn<QByteArray>("line"); // after the choice; NAME is the chosen one
    const QByteArray line = "SUB: Added subtitle file (1): NAME\n";
    QTest::newRow("no stream of its own") << QByteArray() << line;
    QTest::newRow("other streams")
        << QByteArray(
               "[lavf] stream 0: video (h264), -vid 0\n[lavf] stream 1: audio (aac), -aid 0\n")
        << line;
    QTest::newRow("another name") << ownStream << QByteArray("SUB: Added subtitle file (1): /x\n");
    QTest::newRow("longer name") << ownStream
                                 << QByteArray("SUB: Added subtitle file (1): NAMEx\n");
    QTest::newRow("name with a path before it")
        << ownStream << QByteArray("SUB: Added subtitle file (1): .NAME\n");
    QTest::newRow("no name") << ownStream << QByteArray("SUB: Added subtitle file (1): \n");
    QTest::newRow("no number") << ownStream << QByteArray("SUB: Added subtitle file (x): NAME\n");
    QTest::newRow("number 0") << ownStream << QByteArray("SUB: Added subtitle file (0): NAME\n");
    QTest::newRow("removed") << ownStream << QByteArray("SUB: Removed subtitle file (1): NAME\n");
    QTest::newRow("amid a line") << ownStream
                                 << QByteArray(" title: SUB: Added subtitle file (1): NAME\n");
}

void TestSubtitleFile::notAskedFor()
{
    QFETCH(QByteArray, told);
    QFETCH(QByteArray, line);
    playTelling(told);
    QVERIFY(hears("SUB: Added subtitle file (1): \n")); // nothing was chosen yet
    choose(file("sub.srt"));
    QVERIFY(hears(line.replace("NAME", file("sub.srt").toUtf8())));
    QCOMPARE(filesAskedFor(), QByteArrayList());
}

// Neither the streams nor the choice are the next film's.
void TestSubtitleFile::eachEngineForItself()
{
    playTelling(ownStream);
    choose(file("a.srt"));
    window->on_stopBtn_clicked();
    bench->engine.reset();
    bench->engine.setPosition("40");
    bench->engine.atStart(EngineAction::print(ownStream));
    window->currentPosition = 0;
    window->on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(window->currentPosition, 40, 15000);
    position = 40;
    QVERIFY(hears(added(1, file("a.srt"))));
    QCOMPARE(filesAskedFor(), QByteArrayList());

    window->on_stopBtn_clicked();
    bench->engine.reset();
    bench->engine.setPosition("40");
    window->currentPosition = 0;
    window->on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(window->currentPosition, 40, 15000);
    position = 40;
    choose(file("a.srt"));
    QVERIFY(hears(added(1, file("a.srt"))));
    QCOMPARE(filesAskedFor(), QByteArrayList());
}

// Then answers are dropped, one at each arrival, but this is no answer.
void TestSubtitleFile::toldWhileTheHandleIsHeld()
{
    playTelling(ownStream);
    choose(file("a.srt"));
    window->ui->processSlider->setSliderDown(true);
    bench->engine.on("# tell", EngineAction::print(added(1, file("a.srt"))));
    writeToEngine("# tell\n");
    QVERIFY(bench->engine.waitForInput("sub_file 0\n"));
    window->ui->processSlider->setSliderDown(false);
}

// A command would have the engine play on.
void TestSubtitleFile::toldWhilePaused()
{
    playTelling(ownStream);
    choose(file("a.srt"));
    bench->engine.on("pause", EngineAction::print(added(1, file("a.srt"))), 1);
    window->on_playBtn_clicked();
    QTRY_VERIFY(window->processTimer->isActive()); // the line has come
    QCOMPARE(bench->sent([] {}), QByteArray());
    QCOMPARE(filesAskedFor(), QByteArrayList());
}

void TestSubtitleFile::noticeOfOneNotTaken_data()
{
    QTest::addColumn<bool>("taken");
    QTest::newRow("taken") << true;
    QTest::newRow("not taken") << false;
}

// Of a file that it does not take the engine says nothing, so the next answer tells it.
void TestSubtitleFile::noticeOfOneNotTaken()
{
    QFETCH(bool, taken);
    playTelling(QByteArray());
    QTRY_VERIFY(!window->ui->stateLabel->isVisible());
    if (taken)
        bench->engine.on("sub_load", EngineAction::print(added(1, file("a.srt"))));
    const QByteArray commands =
        "sub_load " + file("a.srt").toUtf8() + "\nsub_visibility 1\nsub_select 1\n";
    choose(file("a.srt"));
    QVERIFY(bench->engine.waitForInput(commands));
    QVERIFY(subTitleFlag);
    if (taken) {
        const int asked = bench->engine.input().count("get_time_pos\n");
        QVERIFY(bench->engine.waitForInputCount("get_time_pos\n", asked + 3));
        QVERIFY(window->ui->stateLabel->text() != "字幕格式不受支持");
        return;
    }
    QTRY_COMPARE(window->ui->stateLabel->text(), QString("字幕格式不受支持"));
    QVERIFY(window->ui->stateLabel->isVisible());
    QTRY_VERIFY(!window->ui->stateLabel->isVisible());
    const int asked = bench->engine.input().count("get_time_pos\n");
    QVERIFY(bench->engine.waitForInputCount("get_time_pos\n", asked + 3));
    QVERIFY(!window->ui->stateLabel->isVisible()); // said once
}

QTEST_MAIN(TestSubtitleFile)
#include "tst_subtitlefile.moc"
