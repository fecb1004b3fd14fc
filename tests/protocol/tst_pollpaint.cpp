// Polling twice a second must not keep the screen busy: only what changed is painted.
#include "playerbench.h"

#include <QEvent>
#include <QSignalSpy>

namespace {

// The widgets that are painted while it lives.
class Painted : public QObject {
public:
    Painted() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            names << watched->objectName();
        return false;
    }
    QStringList names;
};

} // namespace

class TestPollPaint : public QObject {
    Q_OBJECT

private slots:
    void onlyWhatChangedIsPainted();
};

void TestPollPaint::onlyWhatChangedIsPainted()
{
    PlayerBench bench(1);
    bench.engine.setLength("100");
    TestWindow &window = bench.open(true);
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("42.1", 42));
    // The list's selection and the button's picture are drawn by now, and nothing moves any more.
    QTRY_VERIFY([] {
        Painted rest;
        QTest::qWait(300);
        return rest.names.isEmpty();
    }());

    // Another part of the same second. Both answers have come when both are read.
    bench.engine.setPosition("42.6");
    QSignalSpy answers(playinglist.process_mplayer, SIGNAL(readyReadStandardOutput()));
    {
        Painted painted;
        for (int i = 0; i < 5; i++) {
            const int before = answers.count();
            bench.poll();
            QTRY_VERIFY(answers.count() > before);
        }
        QTest::qWait(300); // what would be painted is painted by then
        QCOMPARE(painted.names, QStringList());
    }
    QCOMPARE(window.ui->currentTimeLabel->text(), QString("00:00:42"));

    Painted painted;
    QVERIFY(bench.showsPosition("43.0", 43));
    QTRY_VERIFY(painted.names.contains("currentTimeLabel"));
    QTRY_VERIFY(painted.names.contains("processSlider"));
    QVERIFY(!painted.names.contains("totalTimeLabel"));
    QVERIFY(!painted.names.contains("playBtn"));
}

QTEST_MAIN(TestPollPaint)
#include "tst_pollpaint.moc"
