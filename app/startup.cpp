#include "startup.h"
