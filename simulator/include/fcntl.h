// The host's fcntl.h with the two flushing commands that only a Mac has. The simulator carries
// both out as fsync, with the virtual clock not at all.
#pragma once
#pragma GCC system_header

#include_next <fcntl.h>

#define F_FULLFSYNC 51
#define F_BARRIERFSYNC 85
