// What windows include: the shared state, the settings, the history and the probe.
#pragma once

#include "history.h"
#include "mediaprobe.h"
#include "settingsstore.h"
#include "state.h"
