// The icon that all windows have, and Qt's own texts in Chinese.
#include "applicationlooks.h"
#include "screen.h"

#include <QAction>
#include <QDialog>
#include <QFileDialog>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

class TestApplicationLooks : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void windowsHaveTheIcon();
    void boxesAreChinese();
    void fileDialogsAreChinese();
    void fieldMenusAreChinese();
    void ownTextsStay_data();
    void ownTextsStay();
};

// The tests' locale is not a Chinese one.
void TestApplicationLooks::initTestCase()
{
    QVERIFY(QLocale().language() != QLocale::Chinese);
    setUpApplicationLooks();
}

void TestApplicationLooks::windowsHaveTheIcon()
{
    QWidget window;
    QDialog dialog(&window);
    for (QWidget *widget : QList<QWidget *>{&window, &dialog}) {
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget));
        const QIcon icon = widget->windowIcon();
        for (int size : {16, 32, 64}) {
            QCOMPARE(icon.actualSize(QSize(size, size)), QSize(size, size));
            const QImage picture = icon.pixmap(size, size).toImage();
            QVERIFY(picture.pixelColor(size / 2, size / 8).saturation() > 100);
            QVERIFY(Screen::property(widget->winId(), "_NET_WM_ICON")
                        .contains(QString("Icon (%1 x %1)").arg(size).toLatin1()));
        }
    }
}

void TestApplicationLooks::boxesAreChinese()
{
    const QMessageBox box(QMessageBox::NoIcon, "提示", "是否清空当前列表?",
                          QMessageBox::Yes | QMessageBox::No | QMessageBox::Ok |
                              QMessageBox::Cancel);
    const auto text = [&](QMessageBox::StandardButton button) {
        return box.button(button)->text().remove(QRegularExpression("\\(?&.\\)?"));
    };
    QCOMPARE(text(QMessageBox::Yes), QString("是"));
    QCOMPARE(text(QMessageBox::No), QString("否"));
    QCOMPARE(text(QMessageBox::Ok), QString("确定"));
    QCOMPARE(text(QMessageBox::Cancel), QString("取消"));
    QCOMPARE(box.windowTitle(), QString("提示"));
    QCOMPARE(box.text(), QString("是否清空当前列表?"));
}

void TestApplicationLooks::fileDialogsAreChinese()
{
    QFileDialog dialog(nullptr, "Open Directory", "/home");
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    for (QFileDialog::FileMode mode : {QFileDialog::ExistingFile, QFileDialog::Directory}) {
        dialog.setFileMode(mode);
        QCOMPARE(dialog.windowTitle(), QString("Open Directory"));
        QStringList texts;
        for (const QLabel *label : dialog.findChildren<QLabel *>())
            texts << label->text();
        for (const QPushButton *button : dialog.findChildren<QPushButton *>())
            texts << button->text();
        QVERIFY(texts.size() >= 4);
        const QRegularExpression chinese("\\p{Han}");
        for (const QString &text : texts)
            QVERIFY2(text.isEmpty() || text.contains(chinese), qPrintable(text));
    }
}

void TestApplicationLooks::fieldMenusAreChinese()
{
    QLineEdit edit;
    const QScopedPointer<QMenu> menu(edit.createStandardContextMenu());
    const QRegularExpression chinese("\\p{Han}");
    for (const QAction *action : menu->actions())
        QVERIFY2(action->isSeparator() || action->text().contains(chinese),
                 qPrintable(action->text()));
}

// What is translatable of the player's own is not of Qt's catalogue.
void TestApplicationLooks::ownTextsStay_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("text");
    const QList<QPair<QByteArray, QByteArray>> texts{
        {"Settings", "Open Directory"}, {"Settings", "Dialog"},      {"TitleBar", "Restore"},
        {"TitleBar", "Maximize"},       {"MainWindow", "..."},       {"MainWindow", "state"},
        {"MainWindow", "MainWindow"},   {"showVideoInfo", "Dialog"}, {"audioDelaySet", "Form"},
    };
    for (const auto &row : texts)
        QTest::addRow("%s, %s", row.first.data(), row.second.data()) << row.first << row.second;
}

void TestApplicationLooks::ownTextsStay()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, text);
    QCOMPARE(QCoreApplication::translate(context, text), QString(text));
}

QTEST_MAIN(TestApplicationLooks)
#include "tst_applicationlooks.moc"
