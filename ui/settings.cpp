#include "settings.h"

#include "moc_settings.cpp"
