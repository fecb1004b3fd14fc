#include "common.h"
#include "dialogforms.h"
#include "settings.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QSignalSpy>
#include <QtTest>

namespace {
// The order in which a dialog emits its signals, by name.
class SignalOrder : public QObject {
public:
    explicit SignalOrder(Settings *dialog)
    {
        connect(dialog, &Settings::setDecodeFlag, this, [this] { names << "decode"; });
        connect(dialog, &Settings::setLastTimeFlag, this, [this] { names << "lastTime"; });
        connect(dialog, &Settings::setEmptyListExitFlag, this, [this] { names << "emptyList"; });
    }

    QStringList names;
};

void check(QAbstractButton *button, bool checked) { button->setChecked(checked); }

// Answers the folder chooser with path (an empty path cancels it). True when it came up as it
// should.
bool answerFolderChooser(Settings &dialog, const QString &path)
{
    bool asExpected = false;
    WhenModal open([&](QWidget *widget) {
        auto *chooser = qobject_cast<QFileDialog *>(widget);
        QVERIFY(chooser);
        QCOMPARE(chooser->parentWidget(), &dialog);
        QCOMPARE(chooser->windowTitle(), QString("Open Directory"));
        QCOMPARE(chooser->directory().absolutePath(), QString("/home"));
        QCOMPARE(chooser->options(), QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
        asExpected = true;
        if (path.isEmpty()) {
            chooser->reject();
            return;
        }
        chooser->findChild<QLineEdit *>("fileNameEdit")->setText(path);
        QVERIFY(QMetaObject::invokeMethod(chooser, "accept"));
    });
    dialog.ui->selectSnapPathBtn->click();
    return open.happened() && asExpected;
}
} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void formAsDrawn();
    void generalPage();
    void otherPageAndButtons();
    void everythingIsLegible();
    void constructor_data();
    void constructor();
    void showReadsTheGlobals_data();
    void showReadsTheGlobals();
    void showFixesTheSize();
    void checkBoxesAreReadOnce();
    void radioButtonsExclude();
    void confirmWithoutChanges();
    void confirmStoresTheDecodeMode_data();
    void confirmStoresTheDecodeMode();
    void checkBoxComparison_data();
    void checkBoxComparison();
    void flagsAreSetBeforeTheirSignals();
    void playModeIsStored();
    void playModeOutOfRange();
    void chosenFolderIsStored_data();
    void chosenFolderIsStored();
    void cancelledChooserChangesNothing();
    void typedFolderIsIgnored();
    void cancelKeepsTheChosenFolderPending();
    void linksAreNotResolved();
    void everythingAtOnce();
    void cancelWritesNothing();
    void keys();
    void tabOrder();

private:
    QByteArray ini() const { return readFile(root->configFile()); }
    QScopedPointer<InstallRoot> root;
};

void TestSettings::initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

void TestSettings::init()
{
    root.reset();
    resetSharedState();
    root.reset(new InstallRoot);
}

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
    check(dialog.ui->hardDecRaBtn, decode != 2); // left from an earlier, unconfirmed opening
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
    QVERIFY(QFile::exists(picture));
    QCOMPARE(dialog.ui->selectSnapPathBtn->icon().pixmap(22, 22).toImage(),
             QIcon(picture).pixmap(22, 22).toImage());
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

void TestSettings::confirmWithoutChanges()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->confirmBtn->click();
    QCOMPARE(order.names, QStringList("decode"));
    QVERIFY(dialog.isHidden());
    QVERIFY(!QFile::exists(root->configFile())); // nothing stored by the dialog itself
    QCOMPARE(decodeFlag, 0);
    QCOMPARE(playMode, 0);
    QCOMPARE(screenShotPath, QString());
}

void TestSettings::confirmStoresTheDecodeMode_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("after");
    QTest::newRow("0 to 1") << 0 << "softMultiDecRaBtn" << 1;
    QTest::newRow("0 to 2") << 0 << "hardDecRaBtn" << 2;
    QTest::newRow("2 to 0") << 2 << "softDecRaBtn" << 0;
    QTest::newRow("2 to 1") << 2 << "softMultiDecRaBtn" << 1;
    QTest::newRow("2 stays") << 2 << "hardDecRaBtn" << 2;
    QTest::newRow("7 becomes 1") << 7 << "softMultiDecRaBtn" << 1;
}

void TestSettings::confirmStoresTheDecodeMode()
{
    QFETCH(int, before);
    QFETCH(QString, button);
    QFETCH(int, after);
    decodeFlag = before;
    Settings dialog;
    int atSignal = -1;
    bool visible = false;
    connect(&dialog, &Settings::setDecodeFlag, &dialog, [&] {
        atSignal = decodeFlag;
        visible = dialog.isVisible();
    });
    QSignalSpy decode(&dialog, SIGNAL(setDecodeFlag()));
    dialog.show();
    QTest::mouseClick(dialog.findChild<QRadioButton *>(button), Qt::LeftButton, {}, QPoint(8, 10));
    QCOMPARE(decodeFlag, before); // not before the confirmation
    dialog.ui->confirmBtn->click();
    QCOMPARE(decode.size(), 1);
    QCOMPARE(atSignal, after);
    QVERIFY(visible);
    QCOMPARE(decodeFlag, after);
}

void TestSettings::checkBoxComparison_data()
{
    QTest::addColumn<bool>("flag");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("emitted");
    QTest::newRow("clear, unchecked") << false << false << false;
    QTest::newRow("clear, checked") << false << true << true;
    QTest::newRow("set, unchecked") << true << false << true;
    QTest::newRow("set, checked: counts as changed") << true << true << true;
}

void TestSettings::checkBoxComparison()
{
    QFETCH(bool, flag);
    QFETCH(bool, checked);
    QFETCH(bool, emitted);
    {
        lastTimePlayFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.show();
        dialog.ui->lastPlayCheckBox->setChecked(checked);
        QCOMPARE(lastTimePlayFlag, flag);
        dialog.ui->confirmBtn->click();
        QCOMPARE(order.names,
                 emitted ? QStringList({"decode", "lastTime"}) : QStringList("decode"));
        QCOMPARE(lastTimePlayFlag, checked);
        QVERIFY(!emptyListCheckFlag);
        lastTimePlayFlag = false;
    }
    {
        emptyListCheckFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.show();
        dialog.ui->emptyListCheckBox->setChecked(checked);
        dialog.ui->confirmBtn->click();
        QCOMPARE(order.names,
                 emitted ? QStringList({"decode", "emptyList"}) : QStringList("decode"));
        QCOMPARE(emptyListCheckFlag, checked);
        QVERIFY(!lastTimePlayFlag);
    }
    {
        // A half-checked box (1) equals a set flag and differs from a cleared one.
        lastTimePlayFlag = flag;
        Settings dialog;
        SignalOrder order(&dialog);
        dialog.ui->lastPlayCheckBox->setTristate();
        dialog.ui->lastPlayCheckBox->setCheckState(Qt::PartiallyChecked);
        dialog.on_confirmBtn_clicked();
        QCOMPARE(order.names.contains("lastTime"), !flag);
        QVERIFY(lastTimePlayFlag);
    }
}

void TestSettings::flagsAreSetBeforeTheirSignals()
{
    Settings dialog;
    bool lastTime = false;
    bool emptyList = false;
    connect(&dialog, &Settings::setLastTimeFlag, &dialog, [&] { lastTime = lastTimePlayFlag; });
    connect(&dialog, &Settings::setEmptyListExitFlag, &dialog,
            [&] { emptyList = emptyListCheckFlag; });
    dialog.show();
    dialog.ui->lastPlayCheckBox->setChecked(true);
    dialog.ui->emptyListCheckBox->setChecked(true);
    dialog.ui->confirmBtn->click();
    QVERIFY(lastTime);
    QVERIFY(emptyList);
}

void TestSettings::playModeIsStored()
{
    Settings dialog;
    dialog.show();
    dialog.ui->playModeComBox->setCurrentIndex(4);
    QCOMPARE(playMode, 0);
    dialog.ui->confirmBtn->click();
    QCOMPARE(playMode, 4);
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nplay_mode=4\n"));

    QVERIFY(QFile::remove(root->configFile()));
    dialog.show();
    dialog.ui->confirmBtn->click(); // unchanged: not written again
    QVERIFY(!QFile::exists(root->configFile()));
}

void TestSettings::playModeOutOfRange()
{
    playMode = 9;
    Settings dialog;
    dialog.show();
    dialog.ui->confirmBtn->click();
    QCOMPARE(playMode, -1);
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nplay_mode=-1\n"));
}

void TestSettings::chosenFolderIsStored_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << "shots";
    QTest::newRow("Chinese, blank and comma") << "截图 a,b";
}

void TestSettings::chosenFolderIsStored()
{
    QFETCH(QString, name);
    const QString folder = root->path() + "/" + name;
    QVERIFY(QDir().mkpath(folder));
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, folder));
    QVERIFY(dialog.selectSnapPathFlag);
    QCOMPARE(dialog.ui->snapPathEdit->text(), folder + "/");
    QCOMPARE(dialog.ui->snapPathEdit->toolTip(), folder + "/");
    QCOMPARE(screenShotPath, QString("/old/"));

    QString pathAtDecodeSignal;
    connect(&dialog, &Settings::setDecodeFlag, &dialog,
            [&] { pathAtDecodeSignal = screenShotPath; });
    dialog.ui->confirmBtn->click();
    QCOMPARE(pathAtDecodeSignal, QString("/old/")); // the folder is taken over after that signal
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(screenShotPath, folder + "/");
    QVERIFY(ini().startsWith("[DEFAULT]\nsnap_path="));
    getDefaultConfig();
    QCOMPARE(screenShotPath, folder + "/");
}

void TestSettings::cancelledChooserChangesNothing()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, QString()));
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/old/"));
    dialog.ui->confirmBtn->click();
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));
}

void TestSettings::typedFolderIsIgnored()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    dialog.ui->snapPathEdit->setText("/typed/");
    dialog.ui->confirmBtn->click();
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));
}

void TestSettings::cancelKeepsTheChosenFolderPending()
{
    screenShotPath = "/old/";
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, "/"));
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("//")); // the root folder
    dialog.ui->cancelBtn->click();
    QVERIFY(dialog.selectSnapPathFlag);
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(screenShotPath, QString("/old/"));

    // The next confirmation stores what the line edit holds then, even when it was typed.
    dialog.show();
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/old/"));
    dialog.ui->snapPathEdit->setText("/typed");
    dialog.ui->confirmBtn->click();
    QVERIFY(!dialog.selectSnapPathFlag);
    QCOMPARE(screenShotPath, QString("/typed"));
    QCOMPARE(ini(), QByteArray("[DEFAULT]\nsnap_path=/typed\n"));
}

void TestSettings::linksAreNotResolved()
{
    QVERIFY(QDir().mkpath(root->path() + "/real"));
    QVERIFY(QFile::link(root->path() + "/real", root->path() + "/link"));
    Settings dialog;
    dialog.show();
    QVERIFY(answerFolderChooser(dialog, root->path() + "/link"));
    QCOMPARE(dialog.ui->snapPathEdit->text(), root->path() + "/link/");
}

void TestSettings::everythingAtOnce()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->hardDecRaBtn->click();
    dialog.ui->lastPlayCheckBox->click();
    dialog.ui->emptyListCheckBox->click();
    QVERIFY(answerFolderChooser(dialog, root->path()));
    dialog.ui->playModeComBox->setCurrentIndex(2);
    dialog.ui->confirmBtn->click();
    QCOMPARE(order.names, QStringList({"decode", "lastTime", "emptyList"}));
    QCOMPARE(decodeFlag, 2);
    QVERIFY(lastTimePlayFlag);
    QVERIFY(emptyListCheckFlag);
    QCOMPARE(playMode, 2);
    QCOMPARE(screenShotPath, root->path() + "/");
    // The decode mode and the two options are stored by those who receive the signals.
    QCOMPARE(ini(), "[DEFAULT]\nplay_mode=2\nsnap_path=" + root->path().toUtf8() + "/\n");
    QVERIFY(dialog.isHidden());
}

void TestSettings::cancelWritesNothing()
{
    Settings dialog;
    SignalOrder order(&dialog);
    dialog.show();
    dialog.ui->hardDecRaBtn->click();
    dialog.ui->lastPlayCheckBox->click();
    dialog.ui->playModeComBox->setCurrentIndex(2);
    dialog.ui->snapPathEdit->setText("/typed/");
    dialog.ui->cancelBtn->click();
    QVERIFY(dialog.isHidden());
    QCOMPARE(order.names, QStringList());
    QCOMPARE(decodeFlag, 0);
    QVERIFY(!lastTimePlayFlag);
    QCOMPARE(playMode, 0);
    QVERIFY(!QFile::exists(root->configFile()));
    // Kept until the next showing, except for the check boxes.
    QVERIFY(dialog.ui->hardDecRaBtn->isChecked());
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString("/typed/"));
    dialog.show();
    QVERIFY(dialog.ui->softDecRaBtn->isChecked());
    QCOMPARE(dialog.ui->snapPathEdit->text(), QString());
    QCOMPARE(dialog.ui->playModeComBox->currentIndex(), 0);
    QVERIFY(dialog.ui->lastPlayCheckBox->isChecked());
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
    for (QWidget *next : order) {
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        QCOMPARE(dialog.focusWidget(), next);
    }
}

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
