#!/bin/sh
# compile.sh CHECK ROOT: what the compiler says of the C++ headers.
#   headers  each compiles alone, without a warning
#   misuse   each MISUSE of misuse.cpp is refused with the text written beside it; without any, the file compiles
set -eu
check=$1
root=$2
here=$root/tests/cpp

compile() { # OPTION...
    $CXX -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast \
        -Werror -I "$root/include" -I "$root/platform" -I "$root/runtime" -isystem /usr/include/eigen3 "$@"
}

case $check in
headers)
    for header in zqspmatrix.hpp zqspmatrix_eigen.hpp; do
        echo "#include <$header>" | compile -x c++ -
    done
    ;;
misuse)
    compile "$here/misuse.cpp"
    sed -n 's,.*MISUSE == \([0-9]*\) *// \(.*\),\1 \2,p' "$here/misuse.cpp" | {
        count=0
        while read -r number expected; do
            count=$((count + 1))
            if said=$(compile "-DMISUSE=$number" "$here/misuse.cpp" 2>&1); then
                echo "misuse $number compiles: $expected"
                exit 1
            fi
            echo "$said" | grep -q "$expected" || { echo "misuse $number, not '$expected' but:"; echo "$said"; exit 1; }
        done
        [ "$count" -ge 12 ]
    }
    ;;
esac
