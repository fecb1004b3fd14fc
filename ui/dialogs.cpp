#include "dialogs.h"
