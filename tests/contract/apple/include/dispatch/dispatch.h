// Apple's published libdispatch. Its header forbids process sources except on Apple's kernel. The
// product is compiled with them all the same; no test here creates one.
#pragma once

#include_next <dispatch/dispatch.h>

#undef DISPATCH_SOURCE_TYPE_PROC
#define DISPATCH_SOURCE_TYPE_PROC (&unservedProcessSource)

extern "C" const struct dispatch_source_type_s unservedProcessSource;
