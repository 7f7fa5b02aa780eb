#!/bin/sh
# The library asks the machine for nothing but the C library and zlib, and there for no unbounded writer and nothing
# that changes the locale: needed.sh LIBRARY
# A dependency on the C++ run-time would tie every caller to the compiler that built the library.
bad=$(readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
  grep -vE '^(libc|libm|libpthread|libdl)\.so\.[0-9]+$|^libz\.so\.1$|^ld-linux-x86-64\.so\.2$')
[ -z "$bad" ] || { echo "needs:" $bad; exit 1; }
bad=$(nm -D -u "$1" | awk '{ print $2 }' | grep -E '^(v?sprintf|gets|strcpy|strcat|setlocale|system|popen)(@|$)')
[ -z "$bad" ] || { echo "imports:" $bad; exit 1; }
