#include "playbackmenu.h"
