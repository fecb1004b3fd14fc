#include "engineprocess.h"

#include "moc_engineprocess.cpp"
