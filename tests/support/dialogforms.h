// The generated forms of the dialogs. They are included here and not in the tests, because the form
// compiler would look for the forms beside each test.
#pragma once

#include "ui_delayset.h"
#include "ui_settings.h"
