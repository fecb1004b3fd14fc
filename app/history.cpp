#include "history.h"
