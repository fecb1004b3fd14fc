// Holds the player still but for one window.
#pragma once

#include <QObject>
#include <QWidget>

#include <functional>

// While one exists, event processing lets only the given window and its children react; all windows
// are still painted and laid out. Timers that elapse and what is postponed come afterwards, each
// once and only if they are still wanted then, as after a blocking call. What can be read from
// processes and files stays unread; input to the other windows is lost.
class Standstill : public QObject {
    Q_OBJECT

public:
    explicit Standstill(QWidget *exempt);
    ~Standstill() override;

    // During a standstill, keeps action for afterwards and returns true; else does nothing.
    // Afterwards it is left out if receiver is gone.
    static bool postpone(QObject *receiver, const std::function<void()> &action);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isExempt(const QObject *object) const;

    QWidget *exempt;
};
