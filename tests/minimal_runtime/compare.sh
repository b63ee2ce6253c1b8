#!/bin/sh
# compare.sh PROGRAM FOLDER: the program must answer the same with the array library in FOLDER as with its own.
set -eu
export LD_LIBRARY_PATH
own=$(LD_LIBRARY_PATH= "$1")
LD_LIBRARY_PATH=$2
ldd "$1" | grep -q "libkx.so => $2/libkx.so"
[ "$own" = "$("$1")" ]
