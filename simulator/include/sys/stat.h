// The host's sys/stat.h with a Mac's name for the modification time.
#pragma once
#pragma GCC system_header

#include_next <sys/stat.h>

#define st_mtimespec st_mtim
