#!/bin/sh
# names.sh ROOT: whether the functions, tests, files and links that the documents name exist.
set -eu
cd "$1"

names_in() { # DOCUMENT PATTERN
    grep -o "$2" "$1" | tr -d '`()' | sort -u
}

wrong=$(
    for document in *.md docs/*.md; do
        names_in "$document" '`[A-Za-z_][A-Za-z0-9_]*()`' | while read -r name; do
            grep -rqw "$name" include platform runtime src shell python tests cmake CMakeLists.txt ||
                echo "$document: no function $name()"
        done
        names_in "$document" '`[A-Z][A-Za-z]*\.[A-Z][A-Za-z0-9]*`' | while read -r name; do
            grep -rqE "TEST[_A-Z]*\(${name%.*}, ${name#*.}\)" tests || echo "$document: no test $name"
        done
        names_in "$document" '`[a-z_]*/[a-z_./]*`' | while read -r path; do
            case $path in build/* | out/*) continue ;; esac
            [ -e "$path" ] || [ -e "src/$path" ] || echo "$document: no file $path"
        done
        sed '/^```/,/^```/d' "$document" | grep -o '](\([^)#]*\)' | sed 's/^](//' | sort -u | while read -r target; do
            case $target in http*) continue ;; esac
            [ -e "$(dirname "$document")/$target" ] || echo "$document: dead link $target"
        done
    done
)
[ -z "$wrong" ] || { echo "$wrong"; exit 1; }
