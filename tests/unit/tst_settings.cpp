#include "common.h"
#include "dialogforms.h"
#include "icons.h"
#include "settings.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QSignalSpy>
#include <QtTest>

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void init();
    void formAsDrawn();
    void generalPage();
    void otherPageAndButtons();
    void everythingIsLegible();
    void versionIsWhole_data();
    void versionIsWhole();
    void constructor_data();
    void constructor();
    void showReadsTheGlobals_data();
    void showReadsTheGlobals();
    void showFixesTheSize();
    void checkBoxesAreReadOnce();
    void radioButtonsExclude();
    void keys();
    void tabOrder();
};

void TestSettings::init() { resetSharedState(); }

void TestSettings::formAsDrawn()
{
    QDialog dialog;
    Ui::Settings form;
    form.setupUi(&dialog);
    QCOMPARE(dialog.objectName(), QString("Settings"));
    QCOMPARE(dialog.size(), QSize(387, 381));
    QCOMPARE(dialog.windowTitle(), QString("Dialog"));
    QCOMPARE(form.tabWidget->geometry(), QRect(10, 20, 361, 281));
    QCOMPARE(form.tabWidget->count(), 2);
    QCOMPARE(form.tabWidget->widget(0), form.general);
    QCOMPARE(form.tabWidget->tabText(0), QString("通用"));
    QCOMPARE(form.tabWidget->widget(1), form.tab_2);
    QCOMPARE(form.tabWidget->tabText(1), QString("其他"));
    QCOMPARE(form.aboutLabel->text(), QString("TextLabel"));

    const QStringList names{
        "tabWidget",         "general",
        "layoutWidget",      "label",
        "softDecRaBtn",      "softMultiDecRaBtn",
        "hardDecRaBtn",      "layoutWidget1",
        "lastPlayCheckBox",  "emptyListCheckBox",
        "layoutWidget3",     "label_3",
        "playModeComBox",    "layoutWidget2",
        "label_2",           "snapPathEdit",
        "selectSnapPathBtn", "tab_2",
        "aboutLabel",        "layoutWidget4",
        "confirmBtn",        "cancelBtn",
    };
    for (const QString &name : names)
        QVERIFY2(dialog.findChild<QWidget *>(name), qPrintable(name));
    for (const char *name : {"horizontalLayout", "verticalLayout", "horizontalLayout_4",
                             "horizontalLayout_3", "horizontalLayout_2"}) {
        const auto *layout = dialog.findChild<QBoxLayout *>(name);
        QVERIFY2(layout, name);
        QCOMPARE(layout->contentsMargins(), QMargins());
    }
}

void TestSettings::generalPage()
{
    Settings dialog;
    Ui::Settings &form = *dialog.ui;
    QCOMPARE(form.layoutWidget->parentWidget(), form.general);
    QCOMPARE(form.layoutWidget->geometry(), QRect(10, 30, 309, 28));
    QCOMPARE(form.layoutWidget->layout(), form.horizontalLayout);
    const QList<QWidget *> row{form.label, form.softDecRaBtn, form.softMultiDecRaBtn,
                               form.hardDecRaBtn};
    QCOMPARE(form.horizontalLayout->count(), row.size());
    for (int i = 0; i < row.size(); ++i)
        QCOMPARE(form.horizontalLayout->itemAt(i)->widget(), row[i]);
    QCOMPARE(form.label->text(), QString("解码方式："));
    QCOMPARE(form.softDecRaBtn->text(), QString("软解"));
    QCOMPARE(form.softMultiDecRaBtn->text(), QString("软解多线程"));
    QCOMPARE(form.hardDecRaBtn->text(), QString("硬解"));

    QCOMPARE(form.layoutWidget1->parentWidget(), form.general);
    QCOMPARE(form.layoutWidget1->geometry(), QRect(20, 80, 190, 59));
    QCOMPARE(form.layoutWidget1->layout(), form.verticalLayout);
    QCOMPARE(form.verticalLayout->itemAt(0)->widget(), form.lastPlayCheckBox);
    QCOMPARE(form.verticalLayout->itemAt(1)->widget(), form.emptyListCheckBox);
    QCOMPARE(form.lastPlayCheckBox->text(), QString("自动跳转到上次播放位置"));
    QCOMPARE(form.emptyListCheckBox->text(), QString("退出时清空播放列表"));

    QCOMPARE(form.layoutWidget3->parentWidget(), form.general);
    QCOMPARE(form.layoutWidget3->geometry(), QRect(20, 150, 251, 38));
    QCOMPARE(form.layoutWidget3->layout(), form.horizontalLayout_4);
    QCOMPARE(form.horizontalLayout_4->itemAt(0)->widget(), form.label_3);
    QCOMPARE(form.horizontalLayout_4->itemAt(1)->widget(), form.playModeComBox);
    QCOMPARE(form.label_3->maximumWidth(), 80);
    QCOMPARE(form.label_3->text(), QString("播放模式"));
    QStringList modes;
    for (int i = 0; i < form.playModeComBox->count(); ++i)
        modes << form.playModeComBox->itemText(i);
    QCOMPARE(modes, QStringList({"单次播放", "顺序播放", "单个循环", "列表循环", "随机播放"}));

    QCOMPARE(form.layoutWidget2->parentWidget(), form.general);
    QCOMPARE(form.layoutWidget2->geometry(), QRect(10, 200, 331, 38));
    QCOMPARE(form.layoutWidget2->layout(), form.horizontalLayout_3);
    QCOMPARE(form.horizontalLayout_3->itemAt(0)->widget(), form.label_2);
    QCOMPARE(form.horizontalLayout_3->itemAt(1)->widget(), form.snapPathEdit);
    QCOMPARE(form.horizontalLayout_3->itemAt(2)->widget(), form.selectSnapPathBtn);
    QCOMPARE(form.label_2->text(), QString("截图保存路径"));
    QCOMPARE(form.selectSnapPathBtn->text(), QString());
    QVERIFY(!form.selectSnapPathBtn->accessibleName().isEmpty());
    QCOMPARE(form.playModeComBox->accessibleName(), QString("播放模式"));
}

void TestSettings::otherPageAndButtons()
{
    Settings dialog;
    Ui::Settings &form = *dialog.ui;
    QCOMPARE(form.aboutLabel->parentWidget(), form.tab_2);
    QCOMPARE(form.aboutLabel->geometry(), QRect(100, 30, 161, 41));

    QCOMPARE(form.layoutWidget4->parentWidget(), &dialog);
    QCOMPARE(form.layoutWidget4->geometry(), QRect(10, 330, 371, 38));
    QCOMPARE(form.layoutWidget4->layout(), form.horizontalLayout_2);
    QCOMPARE(form.horizontalLayout_2->count(), 5);
    for (int i : {0, 2, 4}) {
        const QSpacerItem *spacer = form.horizontalLayout_2->itemAt(i)->spacerItem();
        QVERIFY(spacer);
        QCOMPARE(spacer->sizeHint(), QSize(40, 20));
        QCOMPARE(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Minimum);
    }
    QCOMPARE(form.horizontalLayout_2->itemAt(1)->widget(), form.confirmBtn);
    QCOMPARE(form.horizontalLayout_2->itemAt(3)->widget(), form.cancelBtn);
    QCOMPARE(form.confirmBtn->minimumWidth(), 100);
    QCOMPARE(form.cancelBtn->minimumWidth(), 100);
    QCOMPARE(form.confirmBtn->text(), QString("确认"));
    QCOMPARE(form.cancelBtn->text(), QString("取消"));
}

void TestSettings::everythingIsLegible()
{
    Settings dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const Ui::Settings &form = *dialog.ui;
    const QList<QWidget *> general{
        form.label,   form.softDecRaBtn,   form.softMultiDecRaBtn, form.hardDecRaBtn,
        form.label_3, form.playModeComBox, form.lastPlayCheckBox,  form.emptyListCheckBox,
        form.label_2, form.confirmBtn,     form.selectSnapPathBtn, form.cancelBtn,
    };
    const auto verifyRoom = [](const QWidget *widget) {
        const QByteArray name = widget->objectName().toLatin1();
        QVERIFY2(widget->isVisible(), name);
        QVERIFY2(widget->width() >= widget->minimumSizeHint().width(), name);
        QVERIFY2(widget->height() >= widget->fontMetrics().height(), name);
        QVERIFY2(widget->parentWidget()->rect().contains(widget->geometry()), name);
    };
    for (const QWidget *widget : general)
        verifyRoom(widget);
    form.tabWidget->setCurrentIndex(1);
    verifyRoom(form.aboutLabel);
    QVERIFY(form.aboutLabel->width() >=
            form.aboutLabel->fontMetrics().horizontalAdvance(form.aboutLabel->text()));
}

void TestSettings::versionIsWhole_data()
{
    QTest::addColumn<int>("points");
    for (int points : {9, 10, 11})
        QTest::addRow("%d points", points) << points;
}

// Desktops have larger fonts than Qt's own: every text is painted all the same.
void TestSettings::versionIsWhole()
{
    QFETCH(int, points);
    Settings dialog;
    QLabel *label = dialog.ui->aboutLabel;
    QFont font = label->font();
    font.setPointSize(points);
    label->setFont(font);
    dialog.ui->tabWidget->setCurrentIndex(1);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(label->geometry(), QRect(100, 30, 161, 41));
    QLabel roomy(label->text());
    roomy.setFont(font);
    roomy.setFixedSize(400, 100);
    const auto ink = [](QWidget &widget) {
        const QImage look = widget.grab().toImage();
        const int ground = look.pixelColor(0, 0).lightness();
        int sum = 0;
        for (int y = 0; y < look.height(); y++) {
            for (int x = 0; x < look.width(); x++)
                sum += qMax(0, ground - look.pixelColor(x, y).lightness());
        }
        return double(sum) / ground;
    };
    QVERIFY2(qAbs(ink(*label) / ink(roomy) - 1) < 0.01,
             qPrintable(QString::number(ink(*label) / ink(roomy))));
}

void TestSettings::constructor_data()
{
    QTest::addColumn<bool>("lastTime");
    QTest::addColumn<bool>("emptyList");
    QTest::newRow("none") << false << false;
    QTest::newRow("last time") << true << false;
    QTest::newRow("empty list") << false << true;
    QTest::newRow("both") << true << true;
}

void TestSettings::constructor()
{
    QFETCH(bool, lastTime);
    QFETCH(bool, emptyList);
    lastTimePlayFlag = lastTime;
    emptyListCheckFlag = emptyList;
    QWidget owner;
    Settings dialog(&owner);
    QCOMPARE(dialog.parentWidget(), &owner);
    QCOMPARE(dialog.ui->tabWidget->currentIndex(), 0);
    QCOMPARE(dialog.ui->aboutLabel->text(), QString("Tarnivo播放器-影音版 1.0"));
    QCOMPARE(dialog.windowTitle(), QString("设置"));
    QCOMPARE(dialog.ui->lastPlayCheckBox->isChecked(), lastTime);
    QCOMPARE(dialog.ui->emptyListCheckBox->isChecked(), emptyList);
    QVERIFY(!dialog.selectSnapPathFlag);
    QVERIFY(dialog.isHidden());
}

void TestSettings::showReadsTheGlobals_data()
{
    QTest::addColumn<int>("decode");
    QTest::addColumn<QString>("checked");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("index");
    QTest::newRow("software") << 0 << "softDecRaBtn" << 0 << 0;
    QTest::newRow("threads") << 1 << "softMultiDecRaBtn" << 1 << 1;
    QTest::newRow("hardware") << 2 << "hardDecRaBtn" << 4 << 4;
    QTest::newRow("unknown mode is threads") << 7 << "softMultiDecRaBtn" << 3 << 3;
    QTest::newRow("negative mode is threads") << -1 << "softMultiDecRaBtn" << 2 << 2;
    QTest::newRow("unknown play mode") << 0 << "softDecRaBtn" << 9 << -1;
}

void TestSettings::showReadsTheGlobals()
{
    QFETCH(int, decode);
    QFETCH(QString, checked);
    QFETCH(int, mode);
    QFETCH(int, index);
    Settings dialog;
    dialog.show();
    dialog.close();
    dialog.ui->hardDecRaBtn->setChecked(decode != 2); // left from an earlier, unconfirmed opening
    dialog.ui->snapPathEdit->setText("/typed/");
    decodeFlag = decode;
    playMode = mode;
    screenShotPath = "/home/人/截图/";
    dialog.show();
    for (const char *name : {"softDecRaBtn", "softMultiDecRaBtn", "hardDecRaBtn"})
        QCOMPARE(dialog.findChild<QRadioButton *>(name)->isChecked(), checked == name);
    QCOMPARE(dialog.ui->playModeComBox->currentIndex(), index);
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/home/人/截图/"));
    QCOMPARE(dialog.ui->snapPathEdit->toolTip(), QString("/home/人/截图/"));
    QCOMPARE(dialog.focusWidget(), dialog.ui->confirmBtn);
    const QString picture = ":/image/controlicon/openfile.png";
    QVERIFY(sameIcon(dialog.ui->selectSnapPathBtn->icon(), picture));
}

void TestSettings::showFixesTheSize()
{
    Settings dialog;
    QVERIFY(dialog.maximumWidth() > 387);
    dialog.resize(400, 390);
    dialog.show();
    QCOMPARE(dialog.minimumSize(), QSize(400, 390));
    QCOMPARE(dialog.maximumSize(), QSize(400, 390));
    Settings untouched;
    untouched.show();
    QCOMPARE(untouched.minimumSize(), QSize(387, 381));
    QCOMPARE(untouched.maximumSize(), QSize(387, 381));
}

void TestSettings::checkBoxesAreReadOnce()
{
    Settings dialog;
    dialog.show();
    dialog.ui->lastPlayCheckBox->setChecked(true);
    dialog.ui->cancelBtn->click();
    emptyListCheckFlag = true;
    dialog.show();
    QVERIFY(dialog.ui->lastPlayCheckBox->isChecked()); // unconfirmed, still visible
    QVERIFY(!dialog.ui->emptyListCheckBox->isChecked());
    QVERIFY(!lastTimePlayFlag);
}

void TestSettings::radioButtonsExclude()
{
    Settings dialog;
    dialog.show();
    const QList<QRadioButton *> buttons{dialog.ui->softDecRaBtn, dialog.ui->softMultiDecRaBtn,
                                        dialog.ui->hardDecRaBtn};
    const auto onlyOneChecked = [&](int index) {
        for (int i = 0; i < buttons.size(); ++i) {
            if (buttons[i]->isChecked() != (i == index))
                return false;
        }
        return true;
    };
    for (int i : {1, 2, 0, 2, 1, 0, 0}) {
        buttons[i]->click();
        QVERIFY(onlyOneChecked(i));
    }
    // The slots do it by themselves, whatever the buttons' group does.
    for (QRadioButton *button : buttons)
        button->setAutoExclusive(false);
    void (Settings::*const slots_[])() = {&Settings::on_softDecRaBtn_clicked,
                                          &Settings::on_softMultiDecRaBtn_clicked,
                                          &Settings::on_hardDecRaBtn_clicked};
    for (int i = 0; i < 3; ++i) {
        for (QRadioButton *button : buttons)
            button->setChecked(button != buttons[i]);
        (dialog.*slots_[i])();
        QVERIFY(onlyOneChecked(i));
    }
}

void TestSettings::keys()
{
    {
        Settings dialog;
        QSignalSpy decode(&dialog, SIGNAL(setDecodeFlag()));
        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QVERIFY(dialog.isHidden());
        QCOMPARE(decode.size(), 0);
    }
    Settings dialog;
    QSignalSpy decode(&dialog, SIGNAL(setDecodeFlag()));
    dialog.show();
    dialog.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    dialog.ui->selectSnapPathBtn->setFocus();
    dialog.ui->snapPathEdit->setFocus();
    bool chooserOpened = false;
    WhenModal chooser([&](QWidget *widget) {
        chooserOpened = true;
        widget->close();
    });
    QTest::keyClick(dialog.ui->snapPathEdit, Qt::Key_Return); // confirms
    QVERIFY(!chooserOpened);
    QVERIFY(dialog.isHidden());
    QCOMPARE(decode.size(), 1);
}

void TestSettings::tabOrder()
{
    Settings dialog;
    dialog.show();
    dialog.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    // From the checked button of the group, whose others the arrow keys reach.
    dialog.ui->softDecRaBtn->setFocus();
    const QList<QWidget *> order{
        dialog.ui->lastPlayCheckBox,  dialog.ui->emptyListCheckBox,
        dialog.ui->playModeComBox,    dialog.ui->snapPathEdit,
        dialog.ui->selectSnapPathBtn, dialog.ui->confirmBtn,
        dialog.ui->cancelBtn,         dialog.ui->tabWidget->findChild<QTabBar *>(),
        dialog.ui->softDecRaBtn,
    };
    for (const QWidget *next : order) {
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        QCOMPARE(dialog.focusWidget(), next);
    }
}

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
