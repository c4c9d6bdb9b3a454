// The process's argument list, for hosts whose C library does not offer it under Apple's names.
#pragma once

extern "C" {

char*** _NSGetArgv(void);
int* _NSGetArgc(void);

}  // extern "C"
