#include "titlebar.h"

#include "moc_titlebar.cpp"
