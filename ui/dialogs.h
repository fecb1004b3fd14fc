// Modal boxes and dialogs without a parent that still open above the pinned main window.
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QString>

// The window above which parentless dialogs are kept; nullptr for none.
void setDialogOwner(QWidget *mainWindow);

// Runs dialog modally and returns its result. A window pinned on top would cover a dialog that does
// not say to which window it belongs (ICCCM WM_TRANSIENT_FOR), and the player would look frozen.
int execAboveMainWindow(QDialog &dialog);

// A modal box without parent: title "提示", the given text and buttons. Returns the button pressed.
QMessageBox::StandardButton showNotice(const QString &text,
                                       QMessageBox::StandardButtons buttons = QMessageBox::Ok);
