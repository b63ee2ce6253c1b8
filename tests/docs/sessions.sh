#!/bin/sh
# sessions.sh KXSH FILE.md...: carries out what the documents show of the shell and compares what it answers.
#
# A block fenced as "kxsh" is a session: lines after the prompt "kx> " are statements, what follows is their answer.
# A block fenced as "kxsh setup" is carried out silently before each table cell that comes after it.
# A table cell `STATEMENT → ANSWER` gives the first line of the answer without the name of the variable, or the
# identifier of the error.
set -eu
kxsh=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for document in "$@"; do
    # Two streams with a mark after each statement: what the shell is told, and what it must answer.
    awk -v input="$work/input" -v expected="$work/expected" '
        function statement(text) { print text > input; ++count }
        function mark() { printf "print(\"@%d\")\n", FNR > input; printf "@%d\n", FNR > expected }
        /^```/ { block = block == "" ? substr($0, 4) : ""; if (block == "kxsh setup") setup = ""; next }
        block == "kxsh setup" { setup = setup $0 "\n"; next }
        block == "kxsh" && sub(/^kx> /, "") { mark(); statement($0); next }
        block == "kxsh" { print > expected; next }
        block == "" && /^\|/ {
            cells = split($0, cell, "|")
            for (i = 1; i <= cells; ++i) {
                if (cell[i] !~ /^ *`.* → .*` *$/) continue
                gsub(/^ *`|` *$/, "", cell[i])
                at = index(cell[i], " → ")
                printf "%s", setup > input
                printf "print(\"@%d first\")\n", FNR > input
                printf "@%d first\n", FNR > expected
                statement(substr(cell[i], 1, at - 1))
                print substr(cell[i], at + length(" → ")) > expected
                mark()
            }
        }
        END { if (count == 0) { print FILENAME ": no session" > "/dev/stderr"; exit 1 } }
    ' "$document"

    "$kxsh" <"$work/input" >"$work/output" 2>&1 || true
    # Errors in sessions are shown by their first line; of a cell, only the first line counts.
    awk '
        /^@[0-9]+ first$/ { first = 1; print; next }
        /^@[0-9]+$/ { first = 0; print; next }
        /^  at line / { next }
        first == 1 {
            first = 2
            if (sub(/^error: .*\(/, "")) sub(/\)$/, ""); else sub(/^[A-Za-z]+ = /, "")
            print
            next
        }
        first != 2
    ' "$work/output" >"$work/answers"
    diff -u --label "$document" --label "the shell's answers (@N: line N)" "$work/expected" "$work/answers"
done
