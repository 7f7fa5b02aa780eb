#!/bin/sh
# The library asks the machine for nothing but the C library and zlib: needed.sh LIBRARY
# A dependency on the C++ run-time would tie every caller to the compiler that built the library.
bad=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
  grep -vE '^(libc|libm|libpthread|libdl)\.so\.[0-9]+$|^libz\.so\.1$|^ld-linux-x86-64\.so\.2$')
[ -z "$bad" ] || { echo "needs:" $bad; exit 1; }
