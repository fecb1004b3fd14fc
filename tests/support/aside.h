// Acts in the GUI thread while it is held up by something that lets events in, but no timers.
#pragma once

#include <QObject>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

// From another thread, asks for act every 10 ms until it has returned true.
class Aside {
public:
    explicit Aside(std::function<bool()> act)
        : act(std::move(act))
        , asking([this] { ask(); })
    {
    }
    ~Aside()
    {
        over = true;
        asking.join();
    }
    Aside(const Aside &) = delete;
    Aside &operator=(const Aside &) = delete;

    bool happened() const { return done; }

private:
    void ask()
    {
        while (!over && !done) {
            QMetaObject::invokeMethod(
                &receiver,
                [this] {
                    if (!done)
                        done = act();
                },
                Qt::QueuedConnection);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    std::function<bool()> act;
    QObject receiver;
    std::atomic<bool> over{false};
    std::atomic<bool> done{false};
    std::thread asking; // the last, as it uses the others
};
