#include "dialogs.h"

#include <QPointer>
#include <QWindow>

namespace {
QPointer<QWidget> owner;
}

void setDialogOwner(QWidget *mainWindow) { owner = mainWindow; }

void stayAboveMainWindow(QDialog &dialog)
{
    dialog.winId(); // makes the window handle
    if (owner && owner->windowHandle())
        dialog.windowHandle()->setTransientParent(owner->windowHandle());
}

void centreOnMainWindow(QDialog &dialog)
{
    if (!owner)
        return;
    const QSize size = dialog.sizeHint();
    const QPoint middle = owner->frameGeometry().center();
    dialog.move(middle - QPoint(size.width() / 2, size.height() / 2));
}

int execAboveMainWindow(QDialog &dialog)
{
    stayAboveMainWindow(dialog);
    return dialog.exec();
}

QMessageBox::StandardButton showNotice(const QString &text, QMessageBox::StandardButtons buttons)
{
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("提示"), text, buttons);
    return static_cast<QMessageBox::StandardButton>(execAboveMainWindow(box));
}
