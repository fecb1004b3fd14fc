#include "dialogs.h"

#include <QPointer>
#include <QWindow>

namespace {
QPointer<QWidget> owner;
}

void setDialogOwner(QWidget *mainWindow) { owner = mainWindow; }

int execAboveMainWindow(QDialog &dialog)
{
    dialog.winId(); // makes the window handle
    if (owner && owner->windowHandle())
        dialog.windowHandle()->setTransientParent(owner->windowHandle());
    return dialog.exec();
}

QMessageBox::StandardButton showNotice(const QString &text, QMessageBox::StandardButtons buttons)
{
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("提示"), text, buttons);
    return static_cast<QMessageBox::StandardButton>(execAboveMainWindow(box));
}
