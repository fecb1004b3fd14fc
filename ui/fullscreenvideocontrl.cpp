#include "fullscreenvideocontrl.h"

#include "moc_fullscreenvideocontrl.cpp"
