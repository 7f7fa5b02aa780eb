// The same caller as C++: the header keeps C linkage and compiles without a warning.
#include "caller.c"
