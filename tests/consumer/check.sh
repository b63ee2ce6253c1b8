#!/bin/sh
# check.sh CHECK BUILD PREFIX: one check on the package that the build folder installs. The package lies in PREFIX, into
# which it was moved from the place it was installed to.
set -eu
check=$1
build=$2
prefix=$3
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)

work=$prefix.$check
rm -rf "$work"
mkdir -p "$work"
cd "$work"

fail() {
    echo "$1" >&2
    exit 1
}

configure_build_run() { # SOURCE PROGRAM OPTION...
    source=$1
    program=$2
    shift 2
    cmake -S "$source" -B . -G Ninja "$@"
    cmake --build . --target "$program"
    "./$program"
}
# Whether a file names this folder, and not one whose name or path ends alike.
files_that_name() { # FOLDER, below the prefix
    folder=$(printf %s "$1" | sed 's,[].*^$+?(){}|\\[],\\&,g')
    grep -arlE "(^|[^[:alnum:]_.+-])$folder(/|[^[:alnum:]_.+/-]|\$)" "$prefix" || true
}

case $check in
install)
    cmake --install "$build" --prefix "$work/elsewhere"
    rm -rf "$prefix"
    mv "$work/elsewhere" "$prefix"
    named=$(for folder in "$work" "$build" "$root"; do files_that_name "$folder"; done)
    [ -z "$named" ] || fail "installed files name a folder of this build: $named"
    # The search finds what it is to find.
    echo "x=$root/include" >"$prefix/named"
    [ "$(files_that_name "$root")" = "$prefix/named" ] || fail "the search for folders finds nothing"
    rm "$prefix/named"
    ;;
find_package)
    configure_build_run "$here/find_package" consumer -DCMAKE_BUILD_TYPE=Debug "-DCMAKE_PREFIX_PATH=$prefix"
    ;;
cpp)
    configure_build_run "$root/examples/embed" embed "-DCMAKE_PREFIX_PATH=$prefix"
    ;;
pkg_config)
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zqspmatrix.pc)")
    export PKG_CONFIG_PATH
    libraries=$(pkg-config --variable=libdir zqspmatrix)
    # shellcheck disable=SC2046 # the flags are meant to be split
    $CXX "$here/main.cpp" -o consumer $(pkg-config --cflags --libs zqspmatrix) "-Wl,-rpath,$libraries"
    ./consumer
    ;;
installed_shell)
    [ "$("$prefix/bin/kxsh" -e 'nnz(speye(3))')" = "ans = 3" ] || fail "the installed shell does not answer"
    ;;
installed_python)
    package=$(find "$prefix" -path '*/python3*/zqspmatrix')
    PYTHONPATH=${package%/*} PYTHONDONTWRITEBYTECODE=1 "$PYTHON" - "$prefix" <<'CHECKS'
import os, sys
import scipy.sparse as sp, zqspmatrix

S = zqspmatrix.Matrix(sp.eye(9, format="csc"))
del S[:, [1, 2]]
loaded = {line.split()[-1] for line in open("/proc/self/maps") if "libkx" in line or "libzq" in line}
assert S.nnz == 7 and len(loaded) == 3
assert all(path.startswith(os.path.realpath(sys.argv[1]) + "/") for path in loaded), loaded
CHECKS
    ;;
subdirectory)
    cmake -S "$here/subdirectory" -B . -G Ninja -DZQSP_BUILD_STATIC=ON
    ninja -t commands consumer | grep 'src/core' | grep -q -- ' -O3' || fail "without a build type, nothing is optimised"
    # How fast it is does not matter from here on.
    configure_build_run "$here/subdirectory" consumer -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0
    cmake --build . --target consumer_static
    ./consumer_static
    ! ldd ./consumer_static | grep 'libkx\|zqsp' || fail "the static library needs a shared one"
    made=$(cmake --build . --target help | sed -n 's/^\([A-Za-z_]*\): phony$/\1/p')
    for target in kxsh kxsh_core zqsp_test_support install; do
        ! echo "$made" | grep -qx "$target" || fail "an embedding project is offered the target $target"
    done
    ;;
exported_symbols)
    library=$(find "$prefix" -name libzqspmatrix.so)
    sed -n '/global:/,/local:/p' "$root/src/zqspmatrix.map" | grep -o '[A-Za-z0-9_]*;' | tr -d ';' | sort >expected
    nm -D --defined-only "$library" | awk '{ print $3 }' | sort >exported
    diff expected exported
    # The header is what users read: each function and symbol it declares, and nothing else.
    sed -n 's/^ZQSP_EXPORT .*[ *]\([A-Za-z0-9_]*\)[(;].*/\1/p' "$root/include/zqspmatrix.h" | sort >declared
    diff declared exported
    ;;
*)
    fail "no such check: $check"
    ;;
esac
