// The small window that lets a person give up a probe that takes long.
#pragma once

#include "commandoutput.h"
#include "standstill.h"

#include <QDialog>

// Nothing else of the player reacts while it exists.
class ProbeWindow : public QDialog, public CommandCompany {
    Q_OBJECT

public:
    ProbeWindow();

    bool attend() override;

    // Its button, Esc and closing the window.
    void reject() override;

private:
    Standstill standstill{this};
    bool givenUp = false;
};

std::unique_ptr<CommandCompany> showProbeWindow();
