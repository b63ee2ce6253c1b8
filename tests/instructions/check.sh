#!/bin/sh
# check.sh DRIVER COUNTS [--record]: the instructions of small calls, counted by callgrind, against the recorded ones. A
# count above 1.25 times its record fails; so does one that is as far below it, as the record then says too little. With
# --record it writes the record anew.
set -eu
driver=$1
counts=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
valgrind --quiet --tool=callgrind --collect-atstart=no --callgrind-out-file="$folder/dump" "$driver"

# "call<tab>instructions" of each dump, in the order of the calls. (The last file, without a name, is that of the end.)
(cd "$folder" && find . -name 'dump.*' | sort -t. -k3n | xargs awk '
    /^desc: Trigger: Client Request: / { name = $5 }
    /^summary: / { if (name != "") print name "\t" $2; name = "" }') >"$folder/counted"

if [ "${3:-}" = --record ]; then
    { sed '/^[^#]/d' "$counts" && cat "$folder/counted"; } >"$folder/record"
    cp "$folder/record" "$counts"
    exit
fi
grep -v '^#' "$counts" | awk -F '\t' '
    FILENAME == "-" { recorded[$1] = $2; next }
    {
        verdict = ""
        if (!($1 in recorded)) verdict = "NOT RECORDED"
        else if ($2 > 1.25 * recorded[$1]) verdict = "TOO MANY"
        else if (recorded[$1] > 1.25 * $2) verdict = "FEWER: renew the record by --record"
        printf "%-24s %6d of %6d  %s\n", $1, $2, recorded[$1], verdict
        if (verdict != "") failed = 1
        delete recorded[$1]
    }
    END {
        for (name in recorded) { print name ": not counted"; failed = 1 }
        exit failed
    }' - "$folder/counted"
