// What the tests of subtitles share: a film of one colour that plays, and the white letters on it.
#pragma once

#include "clips.h"
#include "film.h"
#include "screen.h"
#include "whenopen.h"

#include <QLineEdit>
#include <QTest>

#include <functional>

class SubtitleBench {
protected:
    void open(const QString &clip)
    {
        film.reset();
        film.reset(new Film(clip));
        window = film->window.data();
        QVERIFY(film->playsOn());
        QTRY_VERIFY(!window->ui->stateLabel->isVisible()); // its letters are white as well
    }

    // Chooses a file in the dialog that the slot opens.
    void choose(const QString &name)
    {
        WhenModal chosen([name](QWidget *dialog) {
            auto *edit = dialog->findChild<QLineEdit *>("fileNameEdit");
            QVERIFY(edit);
            edit->setText(name);
            QVERIFY(QMetaObject::invokeMethod(dialog, "accept"));
        });
        window->openSubTitleFile();
        QVERIFY(chosen.happened());
    }

    // The lower half of the picture. The upper half is the engine's own notices'.
    QImage lowerHalf() const
    {
        const QSize half(window->ui->playWidget->width(), window->ui->playWidget->height() / 2);
        const QPoint corner = window->ui->playWidget->mapToGlobal(QPoint(0, half.height()));
        return Screen::grab(QRect(corner, half));
    }

    // What the letters cover there; empty while there are none.
    QRect text() const
    {
        const QImage picture = lowerHalf();
        return Screen::count(picture, Qt::white, 60) > 50 ? Screen::extent(picture, Qt::white, 60)
                                                          : QRect();
    }

    bool waitForText(const std::function<bool(const QRect &)> &condition) const
    {
        return QTest::qWaitFor([&] { return condition(text()); }, 15000);
    }

    // A change is drawn over some pictures.
    QRect settledText() const
    {
        QRect last;
        const bool settled = QTest::qWaitFor(
            [&] {
                const QRect before = last;
                QTest::qWait(200);
                last = text();
                return last == before && !last.isEmpty();
            },
            15000);
        return settled ? last : QRect();
    }

    QScopedPointer<Film> film;
    TestWindow *window = nullptr;
};
