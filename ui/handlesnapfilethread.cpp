#include "handlesnapfilethread.h"

#include "moc_handlesnapfilethread.cpp"
