#include "terminationnotifier.h"

#include "moc_terminationnotifier.cpp"
