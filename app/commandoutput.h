// Runs shell commands and reads what they print, without being at their mercy.
#pragma once

#include <QByteArray>

#include <memory>
#include <vector>

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

// A command in a shell, started when this is made. It is killed with all that it has started when
// this goes before the command has been waited for, and when the player dies.
class RunningCommand {
public:
    enum Messages { MessagesAtOnce, MessagesWhenAwaited }; // what it writes to the standard error
    explicit RunningCommand(const QByteArray &command, Messages messages = MessagesAtOnce);
    ~RunningCommand();

    bool hasEnded() const;
    // Blocks until one of these has ended. False when none has after milliseconds, when there is
    // none, when a signal asks the player to end, and where the kernel can't tell.
    static bool awaitOneOf(const std::vector<const RunningCommand *> &commands, int milliseconds);
    // Blocks until it has ended, and gives the beginning of its output. One that can't be started
    // gives none, nor does one that was given up, which is killed.
    CommandResult wait(MakeCompany makeCompany = nullptr);

private:
    struct Shell;
    std::unique_ptr<Shell> shell;
};

// Runs command likewise, blocking.
CommandResult runCommand(const QByteArray &command, MakeCompany makeCompany = nullptr);

// Likewise, the output alone.
QByteArray readCommandOutput(const QByteArray &command);
