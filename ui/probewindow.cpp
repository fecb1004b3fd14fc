#include "probewindow.h"

#include "dialogs.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ProbeWindow::ProbeWindow()
{
    setWindowTitle(QStringLiteral("Tarnivo播放器"));
    // Minimised, it would leave a player that doesn't react.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowCloseButtonHint);
    setWindowModality(Qt::ApplicationModal);
    setAttribute(Qt::WA_QuitOnClose, false); // it may be the only window, during the start

    auto *label = new QLabel(QStringLiteral("正在读取媒体信息…"));
    auto *button = new QPushButton(QStringLiteral("取消"));
    // It comes up unasked: a Space or Enter that was meant for the film must not press the button.
    button->setAutoDefault(false);
    setFocusPolicy(Qt::TabFocus);
    setFocus();
    connect(button, SIGNAL(clicked()), this, SLOT(reject()));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(36, 24, 36, 20);
    layout->setSpacing(20);
    layout->addWidget(label, 0, Qt::AlignHCenter);
    layout->addWidget(button, 0, Qt::AlignHCenter);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    stayAboveMainWindow(*this);
    centreOnMainWindow(*this);
    show();
}

bool ProbeWindow::attend()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
    return !givenUp;
}

void ProbeWindow::reject()
{
    givenUp = true;
    QDialog::reject();
}

std::unique_ptr<CommandCompany> showProbeWindow() { return std::make_unique<ProbeWindow>(); }

#include "moc_probewindow.cpp"
