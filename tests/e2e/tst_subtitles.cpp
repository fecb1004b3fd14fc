// Subtitles are seen: the real engine draws them into the real window.
#include "clips.h"
#include "film.h"
#include "screen.h"
#include "whenopen.h"

#include <QLineEdit>
#include <QTest>

#include <functional>

class TestSubtitles : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void seenLargerSmallerMovedAndRemoved();
    void oddNames_data();
    void oddNames();
    void nameWithALineEnd();

private:
    void choose(const QString &name);
    QRect text() const;
    QRect settledText() const;
    bool waitForText(const std::function<bool(const QRect &)> &condition) const;

    QScopedPointer<Film> film;
    TestWindow *window = nullptr;
};

void TestSubtitles::init()
{
    film.reset(new Film(Clips::oneColour("blue", 120)));
    window = film->window.data();
    QVERIFY(film->playsOn());
    QTRY_VERIFY(!window->ui->stateLabel->isVisible()); // its letters are white as well
}

void TestSubtitles::cleanup() { film.reset(); }

// Chooses a file in the dialog that the slot opens.
void TestSubtitles::choose(const QString &name)
{
    WhenModal chosen([name](QWidget *dialog) {
        auto *edit = dialog->findChild<QLineEdit *>("fileNameEdit");
        QVERIFY(edit);
        edit->setText(name);
        QVERIFY(QMetaObject::invokeMethod(dialog, "accept"));
    });
    window->openSubTitleFile();
    QVERIFY(chosen.happened());
}

// What the letters cover in the lower half of the picture; empty while there are none. The upper
// half is the engine's own notices'.
QRect TestSubtitles::text() const
{
    const QSize half(window->ui->playWidget->width(), window->ui->playWidget->height() / 2);
    const QPoint corner = window->ui->playWidget->mapToGlobal(QPoint(0, half.height()));
    const QImage picture = Screen::grab(QRect(corner, half));
    return Screen::count(picture, Qt::white, 60) > 50 ? Screen::extent(picture, Qt::white, 60)
                                                      : QRect();
}

bool TestSubtitles::waitForText(const std::function<bool(const QRect &)> &condition) const
{
    return QTest::qWaitFor([&] { return condition(text()); }, 15000);
}

// A change is drawn over some pictures.
QRect TestSubtitles::settledText() const
{
    QRect last;
    const bool settled = QTest::qWaitFor(
        [&] {
            const QRect before = last;
            QTest::qWait(200);
            last = text();
            return last == before && !last.isEmpty();
        },
        15000);
    return settled ? last : QRect();
}

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

QTEST_MAIN(TestSubtitles)
#include "tst_subtitles.moc"
