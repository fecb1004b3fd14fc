// What the engine is told besides its arguments and commands: by its environment, and by the folder
// that it takes its settings from.
#pragma once

#include <QProcessEnvironment>
#include <QString>

// The folders that take part. An empty name stands for a folder that isn't there.
struct EngineFolders {
    QString ours; // settings that come with the player
    QString theirs; // the person's: where the engine looks by itself
    QString together; // made of both, by the player
    QString devices; // the machine's
};

// Of this install root, for somebody with this environment.
EngineFolders engineFolders(const QProcessEnvironment &environment);

// Brings folders.together up to date: a "config" of our settings, the video outputs in another
// order where no device can draw OpenGL, the volume and the person's settings, which win because
// they are last, and links to whatever else the person has. Returns the folder that the engine is
// to use; an empty name, where it is to look by itself: no settings came with the player, or the
// folder can't be made.
QString engineSettingsFolder(const EngineFolders &folders, int volume);

// The engine's environment: the player's own, the folder where there is one, and that Chinese
// letters are wanted whatever the locale, because the engine asks for a font without a word about
// language. What the person has set stays.
QProcessEnvironment engineEnvironment(QProcessEnvironment environment,
                                      const QString &settingsFolder);

// The same for an engine that is about to be started in this process's environment.
QProcessEnvironment engineEnvironment(int volume);
