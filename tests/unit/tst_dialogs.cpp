#include "dialogs.h"
#include "screen.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QAbstractButton>
#include <QPushButton>
#include <QWindow>
#include <QtTest>

namespace {
bool isAbove(const QWidget *upper, const QWidget *lower)
{
    return Screen::isAbove(upper->internalWinId(), lower->internalWinId());
}

// A window like the pinned main window, which dialogs are to open above.
struct PinnedHost : QWidget {
    explicit PinnedHost(const QRect &place)
    {
        setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        setGeometry(place);
        show();
        setDialogOwner(this);
    }
};

// Runs a dialog that belongs to no window, and accepts it.
void runWithoutOwner()
{
    QDialog dialog;
    WhenModal open([&](QWidget *) {
        QVERIFY(!dialog.windowHandle()->transientParent());
        dialog.accept();
    });
    QCOMPARE(execAboveMainWindow(dialog), int(QDialog::Accepted));
    QVERIFY(open.happened());
}
} // namespace

class TestDialogs : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void noticeShowsTitleTextAndButton();
    void noticeReturnsTheButton_data();
    void noticeReturnsTheButton();
    void leavingAnswersNo_data();
    void leavingAnswersNo();
    void dialogOpensAboveThePinnedWindow();
    void noticeOpensAboveThePinnedWindow();
    void execReturnsTheResult();
    void ownerWithoutHandle();
    void ownerThatIsGone();
    void noOwner();
};

void TestDialogs::init() { resetSharedState(); }

void TestDialogs::cleanup() { setDialogOwner(nullptr); }

void TestDialogs::noticeShowsTitleTextAndButton()
{
    WhenModal open([](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QString("提示"));
        QCOMPARE(box->text(), QString("视频解析失败!"));
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(box->buttons().size(), 1);
        QVERIFY(!box->parentWidget());
        QVERIFY(box->isModal());
        box->button(QMessageBox::Ok)->click();
    });
    QCOMPARE(showNotice("视频解析失败!"), QMessageBox::Ok);
    QVERIFY(open.happened());
}

void TestDialogs::noticeReturnsTheButton_data()
{
    QTest::addColumn<int>("button");
    QTest::newRow("yes") << int(QMessageBox::Yes);
    QTest::newRow("no") << int(QMessageBox::No);
}

void TestDialogs::noticeReturnsTheButton()
{
    QFETCH(int, button);
    WhenModal open([button](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        QVERIFY(box);
        QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        box->button(QMessageBox::StandardButton(button))->click();
    });
    QCOMPARE(int(showNotice("是否清空当前列表?", QMessageBox::Yes | QMessageBox::No)), button);
    QVERIFY(open.happened());
}

void TestDialogs::leavingAnswersNo_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"escape", "closed", "closed by the window manager"})
        QTest::newRow(way) << way;
}

void TestDialogs::leavingAnswersNo()
{
    QFETCH(QString, way);
    WhenModal open([&](QWidget *box) {
        if (way == "escape")
            QTest::keyClick(box, Qt::Key_Escape);
        else if (way == "closed")
            box->close();
        else if (QTest::qWaitForWindowExposed(box))
            Screen::closeWindow(box->internalWinId());
    });
    QCOMPARE(showNotice("?", QMessageBox::Yes | QMessageBox::No), QMessageBox::No);
    QVERIFY(open.happened());
}

void TestDialogs::dialogOpensAboveThePinnedWindow()
{
    PinnedHost host(QRect(200, 100, 900, 600));
    QVERIFY(QTest::qWaitForWindowExposed(&host));

    QDialog dialog;
    dialog.resize(300, 200);
    for (int i = 0; i < 2; ++i) { // a dialog that is used again must come up above again
        WhenModal open([&](const QWidget *widget) {
            QCOMPARE(widget, &dialog);
            QCOMPARE(dialog.windowHandle()->transientParent(), host.windowHandle());
            QVERIFY(!dialog.parentWidget());
            QTRY_VERIFY(isAbove(&dialog, &host));
            dialog.accept();
        });
        QCOMPARE(execAboveMainWindow(dialog), int(QDialog::Accepted));
        QVERIFY(open.happened());
    }
}

void TestDialogs::noticeOpensAboveThePinnedWindow()
{
    PinnedHost host(QRect(0, 0, 1280, 800));
    QVERIFY(QTest::qWaitForWindowExposed(&host));

    WhenModal open([&](QWidget *box) {
        QTRY_VERIFY(isAbove(box, &host));
        box->close();
    });
    QCOMPARE(showNotice("提示"), QMessageBox::Ok);
    QVERIFY(open.happened());
}

void TestDialogs::execReturnsTheResult()
{
    QDialog dialog;
    WhenModal open([&](QWidget *) { dialog.done(17); });
    QCOMPARE(execAboveMainWindow(dialog), 17);
    QVERIFY(open.happened());
}

void TestDialogs::ownerWithoutHandle()
{
    QWidget host; // never shown
    setDialogOwner(&host);
    QVERIFY(!host.windowHandle());
    runWithoutOwner();
}

void TestDialogs::ownerThatIsGone()
{
    auto *host = new QWidget;
    host->winId();
    setDialogOwner(host);
    delete host;
    runWithoutOwner();
}

void TestDialogs::noOwner()
{
    QWidget host;
    host.winId();
    setDialogOwner(&host);
    setDialogOwner(nullptr);
    runWithoutOwner();
}

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
