// White texts and pictures that are seen on any ground, because they have a dark edge.
#pragma once

#include <QLabel>
#include <QPushButton>

// For plain text.
class OutlinedLabel : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent *event) override;
};

class OutlinedButton : public QPushButton {
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent *event) override;
};
