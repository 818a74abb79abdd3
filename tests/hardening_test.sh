#!/bin/sh
# Sees that a library was built with what Debian's packages have against overwritten memory: guarded
# stacks, checked calls of the C library, tables that are read-only once it is loaded.
# Usage: hardening_test.sh LIBRARY
set -eu
symbols=$(readelf --wide --dyn-syms "$1") headers=$(readelf --wide --program-headers --dynamic "$1")
failed=0
has() { # TEXT PATTERN MEANING
    printf '%s\n' "$1" | grep -q "$2" || { echo "FAIL: no $3"; failed=1; }
}
has "$symbols" ' __stack_chk_\(fail\|guard\)' "stack protector"
has "$symbols" ' __[a-z]*printf_chk' "_FORTIFY_SOURCE"
has "$headers" GNU_RELRO "RELRO"
has "$headers" BIND_NOW "BIND_NOW"
exit $failed
