#include "delayset.h"

#include "moc_delayset.cpp"
