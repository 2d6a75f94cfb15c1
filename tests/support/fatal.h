// The status a test's parent sees when a fatal check ends the child: the low
// byte of kDeadFocc, all that a Linux exit status keeps.
#pragma once

#include <util/exceptions.h>

inline constexpr int kFatalStatus = kDeadFocc & 0xFF;
