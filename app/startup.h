// The steps of start-up that need no window.
#pragma once

#include <QString>

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
