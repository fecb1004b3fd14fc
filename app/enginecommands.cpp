#include "enginecommands.h"
