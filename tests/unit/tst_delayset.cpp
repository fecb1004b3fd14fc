#include "common.h"
#include "delayset.h"
#include "dialogforms.h"
#include "testsupport.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QtTest>

class TestDelaySet : public QObject {
    Q_OBJECT

private slots:
    void init();
    void formAsDrawn();
    void dialogAsBuilt();
    void visibleSpinBox();
    void confirmEmitsSeconds_data();
    void confirmEmitsSeconds();
    void confirmClosesAfterTheSignal();
    void typedValue();
    void cancelEmitsNothing();
    void loadsTheDelayInForce_data();
    void loadsTheDelayInForce();
    void loadsAgainOnEveryShow();
    void stepIsAHundred();
    void keys();
    void tabOrder();
    void decimalCommaLocale();
};

void TestDelaySet::init() { resetSharedState(); }

void TestDelaySet::formAsDrawn()
{
    QDialog dialog;
    Ui::audioDelaySet form;
    form.setupUi(&dialog);
    QCOMPARE(dialog.objectName(), QString("audioDelaySet"));
    QCOMPARE(dialog.size(), QSize(266, 207));
    QCOMPARE(dialog.windowTitle(), QString("Form"));
    QCOMPARE(form.spinBox->geometry(), QRect(40, 70, 172, 61));
    QCOMPARE(form.spinBox->objectName(), QString("spinBox"));
    QCOMPARE(form.spinBox->inputMethodHints(), Qt::InputMethodHints(Qt::ImhDigitsOnly));
    QVERIFY(!form.spinBox->isReadOnly());
    QCOMPARE(form.spinBox->minimum(), -999999);
    QCOMPARE(form.spinBox->maximum(), 999999);
    QCOMPARE(form.spinBox->singleStep(), 10);
    QCOMPARE(form.spinBox->displayIntegerBase(), 10);
    QCOMPARE(form.label->geometry(), QRect(40, 30, 171, 22));
    QCOMPARE(form.label->text(), QString("TextLabel"));
    QCOMPARE(form.layoutWidget->geometry(), QRect(20, 160, 219, 38));
    QCOMPARE(form.layoutWidget->objectName(), QString("layoutWidget"));
    QCOMPARE(form.layoutWidget->layout(), form.horizontalLayout);
    QCOMPARE(form.horizontalLayout->contentsMargins(), QMargins());
    QCOMPARE(form.horizontalLayout->count(), 2);
    QCOMPARE(form.horizontalLayout->itemAt(0)->widget(), form.confirmBtn);
    QCOMPARE(form.horizontalLayout->itemAt(1)->widget(), form.cancelBtn);
    QCOMPARE(form.confirmBtn->text(), QString("确认"));
    QCOMPARE(form.cancelBtn->text(), QString("取消"));
}

void TestDelaySet::dialogAsBuilt()
{
    QWidget owner;
    delaySet dialog(&owner);
    QCOMPARE(dialog.parentWidget(), &owner);
    QCOMPARE(dialog.windowFlags(), Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    QCOMPARE(dialog.ui->label->text(), QString("延时设置（单位：毫秒）"));
    QVERIFY(dialog.ui->spinBox->isHidden());
    QCOMPARE(dialog.currentDelay, 0.0);
    QVERIFY(dialog.isHidden());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QVERIFY(!dialog.ui->spinBox->isVisible());
    QVERIFY(dialog.sbox->isVisible());
    QVERIFY(dialog.ui->label->sizeHint().width() <= dialog.ui->label->width()); // all legible
    QCOMPARE(dialog.size(), QSize(266, 207));
}

void TestDelaySet::visibleSpinBox()
{
    delaySet dialog;
    QCOMPARE(dialog.sbox->parentWidget(), &dialog);
    QVERIFY(dialog.sbox != dialog.ui->spinBox);
    QCOMPARE(dialog.sbox->geometry(), QRect(40, 70, 172, 61));
    QCOMPARE(dialog.sbox->minimumSize(), QSize(172, 61));
    QCOMPARE(dialog.sbox->maximumSize(), QSize(172, 61));
    QCOMPARE(dialog.sbox->minimum(), -999999);
    QCOMPARE(dialog.sbox->maximum(), 999999);
    QCOMPARE(dialog.sbox->singleStep(), 100);
    QCOMPARE(dialog.sbox->prefix(), QString());
    QCOMPARE(dialog.sbox->suffix(), QString());
    QVERIFY(!dialog.sbox->isGroupSeparatorShown());
    QVERIFY(dialog.sbox->isEnabled());
    QCOMPARE(dialog.focusWidget(), dialog.sbox);
}

void TestDelaySet::confirmEmitsSeconds_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<int>("milliseconds");
    QTest::addColumn<double>("seconds");
    QTest::newRow("audio -250") << 0 << -250 << -0.25;
    QTest::newRow("subtitle -250") << 1 << -250 << -0.25;
    QTest::newRow("2 is audio") << 2 << 1500 << 1.5;
    QTest::newRow("-1 is audio") << -1 << 1 << 0.001;
    QTest::newRow("zero") << 1 << 0 << 0.0;
    QTest::newRow("most") << 0 << 999999 << 999.999;
    QTest::newRow("least") << 1 << -999999 << -999.999;
}

void TestDelaySet::confirmEmitsSeconds()
{
    QFETCH(int, flag);
    QFETCH(int, milliseconds);
    QFETCH(double, seconds);
    delayFlag = flag;
    delaySet dialog;
    QSignalSpy audio(&dialog, SIGNAL(setAudioDelaySignal(double)));
    QSignalSpy subtitle(&dialog, SIGNAL(setSubDelaySignal(double)));
    dialog.show();
    dialog.sbox->setValue(milliseconds);
    dialog.ui->confirmBtn->click();
    QSignalSpy &expected = flag == 1 ? subtitle : audio;
    QSignalSpy &other = flag == 1 ? audio : subtitle;
    QCOMPARE(expected.size(), 1);
    QCOMPARE(expected.first().first().toDouble(), seconds);
    QCOMPARE(other.size(), 0);
    QVERIFY(dialog.isHidden());
    QCOMPARE(audioDelay, 0.0); // the globals belong to the receiver
    QCOMPARE(subDelay, 0.0);
    QCOMPARE(delayFlag, flag);
}

void TestDelaySet::confirmClosesAfterTheSignal()
{
    delaySet dialog;
    bool visible = false;
    connect(&dialog, &delaySet::setAudioDelaySignal, &dialog,
            [&] { visible = dialog.isVisible(); });
    dialog.show();
    dialog.ui->confirmBtn->click();
    QVERIFY(visible);
    QVERIFY(dialog.isHidden());
}

void TestDelaySet::typedValue()
{
    delaySet dialog;
    QSignalSpy audio(&dialog, SIGNAL(setAudioDelaySignal(double)));
    dialog.show();
    dialog.sbox->selectAll();
    QTest::keyClicks(dialog.sbox, "-250");
    QCOMPARE(dialog.sbox->text(), QString("-250"));
    QTest::mouseClick(dialog.ui->confirmBtn, Qt::LeftButton);
    QCOMPARE(audio.size(), 1);
    QCOMPARE(audio.first().first().toDouble(), -0.25);

    // More digits than the range allows are not accepted.
    dialog.show();
    dialog.sbox->selectAll();
    QTest::keyClicks(dialog.sbox, "12345678");
    QTest::mouseClick(dialog.ui->confirmBtn, Qt::LeftButton);
    QCOMPARE(audio.size(), 2);
    QCOMPARE(audio.last().first().toDouble(), 123.456);

    // Nothing typed counts as 0 seconds.
    dialog.show();
    dialog.sbox->clear();
    dialog.on_confirmBtn_clicked();
    QCOMPARE(audio.size(), 3);
    QCOMPARE(audio.last().first().toDouble(), 0.0);
}

void TestDelaySet::cancelEmitsNothing()
{
    audioDelay = 0.3;
    subDelay = -0.7;
    delaySet dialog;
    QSignalSpy audio(&dialog, SIGNAL(setAudioDelaySignal(double)));
    QSignalSpy subtitle(&dialog, SIGNAL(setSubDelaySignal(double)));
    dialog.show();
    dialog.sbox->setValue(5000);
    dialog.ui->cancelBtn->click();
    QVERIFY(dialog.isHidden());
    QCOMPARE(audio.size() + subtitle.size(), 0);
    QCOMPARE(audioDelay, 0.3);
    QCOMPARE(subDelay, -0.7);
    dialog.show();
    QCOMPARE(dialog.sbox->value(), 300);
}

void TestDelaySet::loadsTheDelayInForce_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<double>("audio");
    QTest::addColumn<double>("subtitle");
    QTest::addColumn<int>("shown");
    QTest::newRow("audio") << 0 << 0.25 << 9.0 << 250;
    QTest::newRow("subtitle") << 1 << 9.0 << -0.25 << -250;
    QTest::newRow("2 is audio") << 2 << 0.5 << 9.0 << 500;
    QTest::newRow("truncated") << 0 << 0.0999 << 0.0 << 99;
    QTest::newRow("truncated toward zero") << 1 << 0.0 << -0.0999 << -99;
    QTest::newRow("above the range") << 0 << 1000.0 << 0.0 << 999999;
    QTest::newRow("below the range") << 1 << 0.0 << -1000.5 << -999999;
    QTest::newRow("more than an int") << 0 << 1e9 << 0.0 << 999999;
    QTest::newRow("less than an int") << 0 << -1e300 << 0.0 << -999999;
    double eight = 0;
    for (int i = 0; i < 8; ++i)
        eight += 0.1;
    QTest::newRow("eight steps of 0.1") << 0 << eight << 0.0 << 799;
}

void TestDelaySet::loadsTheDelayInForce()
{
    QFETCH(int, flag);
    QFETCH(double, audio);
    QFETCH(double, subtitle);
    QFETCH(int, shown);
    delayFlag = flag;
    audioDelay = audio;
    subDelay = subtitle;
    delaySet dialog;
    QCOMPARE(dialog.sbox->value(), shown); // by the constructor already
}

void TestDelaySet::loadsAgainOnEveryShow()
{
    delaySet dialog;
    QCOMPARE(dialog.sbox->value(), 0);
    audioDelay = 0.3;
    subDelay = -0.4;
    QCOMPARE(dialog.sbox->value(), 0);
    dialog.show();
    QCOMPARE(dialog.sbox->value(), 300);
    dialog.hide();
    delayFlag = 1;
    dialog.show();
    QCOMPARE(dialog.sbox->value(), -400);
}

void TestDelaySet::stepIsAHundred()
{
    delaySet dialog;
    dialog.show();
    QTest::keyClick(dialog.sbox, Qt::Key_Up);
    QCOMPARE(dialog.sbox->value(), 100);
    QTest::keyClick(dialog.sbox, Qt::Key_Down);
    QTest::keyClick(dialog.sbox, Qt::Key_Down);
    QCOMPARE(dialog.sbox->value(), -100);
}

void TestDelaySet::keys()
{
    delaySet dialog;
    QSignalSpy audio(&dialog, SIGNAL(setAudioDelaySignal(double)));
    dialog.show();
    dialog.sbox->setValue(700);
    QTest::keyClick(dialog.sbox, Qt::Key_Escape);
    QVERIFY(dialog.isHidden());
    QCOMPARE(audio.size(), 0);
    dialog.show();
    dialog.sbox->setValue(700);
    QTest::keyClick(dialog.sbox, Qt::Key_Return);
    QVERIFY(dialog.isHidden());
    QCOMPARE(audio.size(), 1);
    QCOMPARE(audio.first().first().toDouble(), 0.7);
}

void TestDelaySet::tabOrder()
{
    delaySet dialog;
    dialog.show();
    dialog.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QCOMPARE(dialog.focusWidget(), dialog.sbox);
    QTest::keyClick(&dialog, Qt::Key_Tab);
    QCOMPARE(dialog.focusWidget(), dialog.ui->confirmBtn);
    QTest::keyClick(&dialog, Qt::Key_Tab);
    QCOMPARE(dialog.focusWidget(), dialog.ui->cancelBtn);
    QTest::keyClick(&dialog, Qt::Key_Tab);
    QCOMPARE(dialog.focusWidget(), dialog.sbox);
}

// Swedish writes its minus with a character of its own, German separates decimals with a comma.
void TestDelaySet::decimalCommaLocale()
{
    const QLocale previous;
    for (const char *name : {"de_DE", "sv_SE", "ar_EG"}) {
        QLocale::setDefault(QLocale(name));
        delaySet dialog;
        QSignalSpy audio(&dialog, SIGNAL(setAudioDelaySignal(double)));
        dialog.sbox->setValue(-123456);
        dialog.on_confirmBtn_clicked();
        QLocale::setDefault(previous);
        QCOMPARE(audio.first().first().toDouble(), -123.456);
    }
}

QTEST_MAIN(TestDelaySet)
#include "tst_delayset.moc"
