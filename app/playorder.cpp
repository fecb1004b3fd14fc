#include "playorder.h"
