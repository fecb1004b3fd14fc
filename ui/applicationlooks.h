// What the whole application looks like: the icon of its windows and the language of Qt's own
// texts.
#pragma once

void setUpApplicationLooks();
