# shellcheck shell=bash disable=SC2034 # `failed` is for the test
# What the shell tests share: a working directory that goes with them, and checks that set `failed`.
# Sourced when a test has made its arguments absolute paths.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0
fail() { echo "FAIL: $*"; failed=1; }
same() { [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"; }
# has FILE PATTERN [WHAT]
has() { grep -qe "$2" "$1" || fail "${3:+$3: }no '$2' in $1: $(head "$1")"; }
quietly() { "$@" >log 2>&1 || { cat log; echo "FAIL: $*"; exit 1; }; }
