// Tests with a long form: more rounds, longer waits. A test program that includes this becomes a
// second CTest test, long/NAME, which sets PLAYER_LONG_TESTS and has more time; "./test long" runs
// these.
#pragma once

#include <QtGlobal>

inline bool longForm() { return qEnvironmentVariableIntValue("PLAYER_LONG_TESTS") != 0; }

inline int rounds(int inShort, int inLong) { return longForm() ? inLong : inShort; }
