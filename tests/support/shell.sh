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
# The smallest resource tree that the engine starts on: no lexicon has an entry, and there is no
# greeting. Each clip is one letter, repeated: minimal_tree ROOT CLIP:BYTES:LETTER...
minimal_tree() {
    local clip name bytes letter
    mkdir -p "$1"/{pinyinRaw,engRaw,greetingRaw}
    touch "$1"/{yinsu,pinyin_dict,surname_pinyin_{single,dural},eng_dict,dst_temperature}.txt
    echo '[default_config]' >"$1/greetingRaw/greetings.ini"
    for clip in "${@:2}"; do
        IFS=: read -r name bytes letter <<<"$clip"
        head -c "$bytes" /dev/zero | tr '\0' "$letter" >"$1/$name"
    done
}
quietly() { "$@" >log 2>&1 || { cat log; echo "FAIL: $*"; exit 1; }; }
# Runs a command again and again, each time with one request for memory that fails, every STEP-th in
# turn, until it makes fewer requests. It must not crash, and say why it failed.
# without_memory LIBRARY STEP COMMAND...
without_memory() {
    local number status=1
    for ((number = 1; status != 0 && number < 500 * $2; number += $2)); do
        FAIL_NTH=$number LD_PRELOAD=$1 "${@:3}" >stdout 2>stderr
        status=$?
        [ $status -lt 124 ] || fail "request $number: status $status: $(head -n 2 stderr)"
        [ $status = 0 ] || [ -s stderr ] || fail "request $number: no message"
    done
    same "with enough memory (status)" 0 $status
}
