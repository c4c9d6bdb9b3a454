// The host's sys/stat.h with the name that a Mac has for the time of change.
#pragma once
#pragma GCC system_header

#include_next <sys/stat.h>

#define st_mtimespec st_mtim
