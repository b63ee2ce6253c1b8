#!/bin/sh
# compile.sh CHECK ROOT: what the compiler says of the C++ headers.
#   headers  each compiles alone, without a warning
#   misuse   each MISUSE of misuse.cpp is refused with the text written beside it; without any, the file compiles
set -eu
check=$1
root=$2
here=$root/tests/cpp

compile() { # OPTION...
    $CXX -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast \
        -Werror -I "$root/include" -I "$root/platform" -I "$root/runtime" -isystem /usr/include/eigen3 "$@"
}

case $check in
headers)
    for header in zqspmatrix.hpp zqspmatrix_eigen.hpp; do
        echo "#include <$header>" | compile -fsyntax-only -x c++ -
    done
    ;;
misuse)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    sed -n '/^#include/p' "$here/misuse.cpp" >"$work/includes.hpp"
    compile -x c++-header "$work/includes.hpp" -o "$work/includes.hpp.gch" # read once, not for each
    try() { # NUMBER
        compile -fsyntax-only -include "$work/includes.hpp" "-DMISUSE=$1" "$here/misuse.cpp"
    }
    try 0
    sed -n 's,.*MISUSE == \([0-9]*\) *// \(.*\),\1 \2,p' "$here/misuse.cpp" | {
        count=0
        while read -r number expected; do
            count=$((count + 1))
            if said=$(try "$number" 2>&1); then
                echo "misuse $number compiles: $expected"
                exit 1
            fi
            echo "$said" | grep -q "$expected" || { echo "misuse $number, not '$expected' but:"; echo "$said"; exit 1; }
        done
        [ "$count" -ge 12 ]
    }
    ;;
esac
