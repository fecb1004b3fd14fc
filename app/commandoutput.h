// Runs shell commands and reads what they print, without being at their mercy.
#pragma once

#include <QByteArray>

#include <memory>

constexpr int kCommandOutputLimit = 9998; // bytes; the rest is lost

// Stands by while a command takes long, so that a person can give it up.
class CommandCompany {
public:
    virtual ~CommandCompany() = default;
    // Called again and again until the command has ended. False: it is to be given up.
    virtual bool attend() = 0;
};

using MakeCompany = std::unique_ptr<CommandCompany> (*)();

// How long a command runs alone, in ms. Only tests change it.
extern int companyAfter;

struct CommandResult {
    QByteArray output;
    bool givenUp = false; // by its company, or because a signal asks the player to end
};

// Runs command in a shell, blocking, and gives the beginning of its output. One that can't be
// started gives none, nor does one that was given up: that is killed with all that it has started,
// as it is when the player dies.
CommandResult runCommand(const QByteArray &command, MakeCompany makeCompany = nullptr);

// Likewise, the output alone.
QByteArray readCommandOutput(const QByteArray &command);
