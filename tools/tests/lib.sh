# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the tests that source this
# What the script tests share. Each prints lines as a Qt Test program does, so they are counted alike.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
suite=$(basename "$0" .sh)

# check NAME EXPECTED ACTUAL
check() {
    if [ "$2" = "$3" ]; then
        printf 'PASS   : %s::%s()\n' "$suite" "$1"
    else
        printf 'FAIL!  : %s::%s()\n  Expected: %s\n  Actual:   %s\n' "$suite" "$1" "$2" "$3"
        failures=$((failures + 1))
    fi
}

# stand_in NAME SCRIPT: a program that is found before the system's own.
stand_in() {
    mkdir -p "$scratch/bin"
    printf '#!/bin/bash\n%s\n' "$2" >"$scratch/bin/$1"
    chmod +x "$scratch/bin/$1"
    export PATH=$scratch/bin:${PATH#"$scratch/bin:"}
}

finish() {
    [ $failures -eq 0 ]
}
