#!/bin/bash
# What --help lists is in the manual pages, and bash completes it.
# Usage: tools_documented_test.sh TTS_SAY TTS_VOICE
set -u
export LC_ALL=C.UTF-8
say=$(realpath "$1") voice=$(realpath "$2") source_dir=$(realpath "$(dirname "$0")/../..")
. "$(dirname "$0")/../support/shell.sh"
cd "$source_dir" || exit 1
section() { awk -v name="$1" '/^\.S[sh] / { on = $2 == name } on' "docs/man/$2"; }
options() { grep -oE -- '^  (-[a-z],)?-+[a-z]+' <<<"$help" | tr -d ' ' | tr ',' '\n'; }
expect_options() { # TEXT NAME
    local option
    [ -n "$(options)" ] || fail "$2 --help has no options"
    for option in $(options); do
        grep -qE -- "Fl ${option#-}( |$)" <<<"$1" || fail "docs/man does not mention $2 $option"
    done
}

if command -v mandoc >/dev/null; then
    mandoc -T lint -W warning docs/man/*.1 || fail "faults in a manual page"
fi
help=$("$say" --help)
expect_options "$(<docs/man/tts-say.1)" tts-say
help=$("$voice" --help)
expect_options "$(<docs/man/tts-voice.1)" tts-voice
commands=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p' <<<"$help")
[ -n "$commands" ] || fail "tts-voice --help has no subcommands"
for command in $commands; do
    help=$("$voice" "$command" --help | sed '/^  -h,--help/d')
    [ -z "$(options)" ] || expect_options "$(section "$command" tts-voice.1)" "tts-voice $command"
    [ -n "$(section "$command" tts-voice.1)" ] || fail "docs/man does not mention tts-voice $command"
done

. tools/completion.bash
ln -s "$say" "$work/tts-say"
ln -s "$voice" "$work/tts-voice"
completes() { # EXPECTED WORD..., the last one to be completed
    local expected=$1 COMP_WORDS COMP_CWORD COMPREPLY=()
    shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _tts_engine "$work/$1"
    [ "${COMPREPLY[*]-}" = "$expected" ] || fail "$* completes to ${COMPREPLY[*]-}"
}
completes "${commands//$'\n'/ }" tts-voice ""
completes "--data" tts-voice script --da
completes "--verbose --version" tts-say 你好 --ver
completes "ahead end" tts-say --greeting 0 --position ""
completes "end" tts-say --position = e
completes "tools/completion.bash" tts-say -f tools/comp
completes "tests/ship/docs_test.sh" tts-voice check tests/ship/docs_
exit $failed
