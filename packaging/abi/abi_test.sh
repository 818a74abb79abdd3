#!/bin/sh
# Compares the library's binary interface with packaging/abi/SONAME.abi, which only a new SOVERSION
# may break. Usage: abi_test.sh LIBRARY [--renew]
# --renew replaces that file, if the only change is that symbols were added.
set -eu
library=$1 renew=${2-}
command -v abidw >/dev/null || { echo "skipped: no abidw"; exit 77; }
abi=$(dirname "$0")
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
committed=$abi/$soname.abi
now=$(mktemp)
trap 'rm -f "$now"' EXIT

abidw --suppressions "$abi/suppressions.ini" --exported-interfaces-only --no-show-locs \
    --no-corpus-path --no-comp-dir-path --no-elf-needed --no-parameter-names \
    --no-write-default-sizes "$library" | sed "s| path='[^']*/src/| path='src/|" >"$now"
grep -q "name='tts_getWavData'" "$now" || { echo "FAIL: $library has no debug information"; exit 1; }

if [ "$renew" = --renew ]; then
    if [ -e "$committed" ] && ! abidiff --no-added-syms "$committed" "$now"; then
        echo "FAIL: hosts of $soname would break: raise the project's major version"
        exit 1
    fi
    cat "$now" >"$committed"
elif ! abidiff "$committed" "$now"; then
    echo "FAIL: not the interface of $committed. When that is meant: $0 $library --renew"
    exit 1
fi
