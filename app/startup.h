// The steps of start-up that need no window.
#pragma once

#include <QString>
#include <QStringList>

// What the window will open of a command line, at most 98 names, up to the first that is empty.
// Needs the locale, and takes the arguments as the application object leaves them.
QStringList commandLineFiles(int argc, char *argv[]);

// Whether the application object takes nothing from the arguments, and passFirstStart() has nothing
// to run or to ask: then nothing comes before the files. Writes and reports nothing.
bool filesComeFirst(int argc, char *argv[]);

// Empties rBtnOpenFile and stores the command line's locations in it, at most 98, so that the last
// slot always ends the list. Takes the arguments as they are after the application object has
// removed its own.
void storeCommandLineLocations(int argc, char *argv[]);

// True when the package list text names a VDPAU driver or library.
bool checkVdpauSurport(QString dpkgOutput);

// At the first start after installation: notes that it has happened, and with hardware decoding set
// checks that the system has VDPAU. Returns false when it has not; then the caller tells the user
// and calls fallBackToSoftwareDecoding().
bool passFirstStart();

// Multi-threaded software decoding from now on, also in the settings file.
void fallBackToSoftwareDecoding();
