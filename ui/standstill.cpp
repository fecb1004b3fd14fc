#include "standstill.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QPointer>
#include <QTimerEvent>
#include <QVector>
#include <QWindow>

#include <algorithm>

namespace {

int standstills = 0;

QAbstractEventDispatcher::TimerInfo registered(QObject *receiver, int id)
{
    for (const auto &timer : QAbstractEventDispatcher::instance()->registeredTimers(receiver)) {
        if (timer.timerId == id)
            return timer;
    }
    return {0, 0, Qt::CoarseTimer}; // stopped
}

// The owner of a timer doesn't notice; for it the timer runs on.
void registerAgain(QObject *receiver, const QAbstractEventDispatcher::TimerInfo &timer,
                   int interval)
{
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    dispatcher->unregisterTimer(timer.timerId);
    dispatcher->registerTimer(timer.timerId, interval, timer.timerType, receiver);
}

// What has become due during a standstill, and comes with the next event loop: actions at once, and
// timers by an interval of 0 until they have elapsed. That also tells a timer that was started anew
// in the meantime, whose number may be the same.
class DueEvents : public QObject {
public:
    using QObject::QObject;

    void addTimer(QObject *receiver, int id);
    void addAction(QObject *receiver, const std::function<void()> &action)
    {
        actions.append({receiver, action});
    }
    void giveOut();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    struct Timer {
        QPointer<QObject> receiver;
        QAbstractEventDispatcher::TimerInfo info;
        bool hastened;
    };
    struct Action {
        QPointer<QObject> receiver;
        std::function<void()> run;
    };

    QVector<Timer> timers;
    QVector<Action> actions;
};

QPointer<DueEvents> dueEvents;

void DueEvents::addTimer(QObject *receiver, int id)
{
    const auto isIt = [=](const Timer &timer) {
        return timer.receiver == receiver && timer.info.timerId == id;
    };
    const QAbstractEventDispatcher::TimerInfo info = registered(receiver, id);
    // One of 0 comes by itself.
    if (info.interval > 0 && std::none_of(timers.cbegin(), timers.cend(), isIt))
        timers.append({receiver, info, false});
}

void DueEvents::giveOut()
{
    for (Timer &timer : timers) {
        if (timer.receiver && !timer.hastened &&
            registered(timer.receiver, timer.info.timerId).timerId != 0)
            registerAgain(timer.receiver, timer.info, 0);
        timer.hastened = true;
    }
    qApp->installEventFilter(this);
    startTimer(0); // elapses after them
}

// Puts the interval right of one that comes. Nothing is done of those that don't come any more.
bool DueEvents::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Timer)
        return false;
    const int id = static_cast<QTimerEvent *>(event)->timerId();
    for (int i = 0; i < timers.size(); ++i) {
        const Timer timer = timers.at(i);
        if (timer.receiver != watched || timer.info.timerId != id)
            continue;
        timers.remove(i);
        if (registered(watched, id).interval == 0)
            registerAgain(watched, timer.info, timer.info.interval);
        break;
    }
    return false;
}

// Each action may open a box, whose loop goes on here, or begin another standstill.
void DueEvents::timerEvent(QTimerEvent *event)
{
    const auto isOver = [](const Timer &timer) {
        return !timer.receiver || registered(timer.receiver, timer.info.timerId).interval != 0 ||
            registered(timer.receiver, timer.info.timerId).timerId == 0;
    };
    timers.erase(std::remove_if(timers.begin(), timers.end(), isOver), timers.end());
    if (!timers.isEmpty())
        return;
    killTimer(event->timerId());
    while (!actions.isEmpty()) {
        const Action action = actions.takeFirst();
        if (action.receiver)
            action.run();
    }
    if (timers.isEmpty())
        qApp->removeEventFilter(this);
}

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::ContextMenu:
    case QEvent::ToolTip:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::DragLeave:
    case QEvent::Drop:
    case QEvent::Close:
        return true;
    default:
        return false;
    }
}

} // namespace

Standstill::Standstill(QWidget *exempt)
    : exempt(exempt)
{
    if (!dueEvents)
        dueEvents = new DueEvents(qApp);
    ++standstills;
    qApp->installEventFilter(this);
}

Standstill::~Standstill()
{
    qApp->removeEventFilter(this);
    if (--standstills == 0 && dueEvents)
        dueEvents->giveOut();
}

bool Standstill::postpone(QObject *receiver, const std::function<void()> &action)
{
    if (standstills == 0)
        return false;
    dueEvents->addAction(receiver, action);
    return true;
}

bool Standstill::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::SockAct)
        return true; // it stays readable
    if (isExempt(watched))
        return false;
    if (event->type() == QEvent::Timer) {
        if (watched->isWindowType())
            return false; // a window's own timer paces its painting
        dueEvents->addTimer(watched, static_cast<QTimerEvent *>(event)->timerId());
        return true;
    }
    if (!isInput(event->type()))
        return false;
    event->ignore(); // a closing that nobody refuses takes place
    return true;
}

bool Standstill::isExempt(const QObject *object) const
{
    if (object == exempt->windowHandle())
        return true;
    while (object && object != exempt)
        object = object->parent();
    return object != nullptr;
}

#include "moc_standstill.cpp"
