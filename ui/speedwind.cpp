#include "speedwind.h"

#include "moc_speedwind.cpp"
