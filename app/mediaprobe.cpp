#include "mediaprobe.h"
