#include "showvideoinfo.h"

#include "moc_showvideoinfo.cpp"
