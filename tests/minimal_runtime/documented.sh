#!/bin/sh
# documented.sh LIBRARY DOCUMENT HEADER: the functions of the array library that the library imports, against the rows of
# the document's tables; and those of the foundation library, against the names in its header.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
nm -D --undefined-only "$1" | c++filt |
    sed -n -e 's/.*kx_array_api::\([A-Za-z0-9_]*\)(.*/\1/p' -e 's/.* U kxArray::\([A-Za-z0-9_]*\)(.*/\1/p' | sort -u >"$work/imported"
sed -n 's/^| \(`[^|]*`\) |.*/\1/p' "$2" | grep -o '`[A-Za-z0-9_]*`' | tr -d '`' | sort -u >"$work/documented"
diff --label imported --label documented "$work/imported" "$work/documented"
nm -D --undefined-only "$1" | c++filt | grep -o 'fl::[A-Za-z0-9_:~]*' | sed -e 's/.*:://' -e 's/^~//' | sort -u >"$work/foundation"
[ -s "$work/foundation" ]
while read -r name; do
    grep -qw "$name" "$3" || { echo "$name is not declared in $3"; exit 1; }
done <"$work/foundation"
