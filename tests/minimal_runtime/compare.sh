#!/bin/sh
# compare.sh PROGRAM FOLDER: the program must answer the same with the runtime in FOLDER as with its own.
set -eu
own=$("$1")
other=$(LD_LIBRARY_PATH=$2 "$1")
# An error text that is the bare identifier shows that the other runtime was at work.
echo "$other" | grep -q '^as an error: ZENTAR:legacy_two_part:index_to_remove_exceeds_matrix_dimensions$'
[ "$(echo "$own" | grep -v '^as an error')" = "$(echo "$other" | grep -v '^as an error')" ]
