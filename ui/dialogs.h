// Modal boxes and dialogs without a parent that still open above the pinned main window.
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QString>

// The window above which parentless dialogs are kept; nullptr for none.
void setDialogOwner(QWidget *mainWindow);

// Says to which window dialog belongs (ICCCM WM_TRANSIENT_FOR). Without it a window pinned on top
// would cover the dialog, and the player would look frozen.
void stayAboveMainWindow(QDialog &dialog);

// Places dialog, which is not shown yet, over the middle of that window or of where that will show.
void centreOnMainWindow(QDialog &dialog);

// Runs dialog modally above that window and returns its result.
int execAboveMainWindow(QDialog &dialog);

// A modal box without parent: title "提示", the given text and buttons. Returns the button pressed.
QMessageBox::StandardButton showNotice(const QString &text,
                                       QMessageBox::StandardButtons buttons = QMessageBox::Ok);
