#include "settingsstore.h"
