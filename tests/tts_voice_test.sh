#!/usr/bin/env bash
# Runs tts-voice as a user does.
# Usage: tts_voice_test.sh PROGRAM SOURCE_DIR same|interrupt|lists|usage|lexicon
# "same" and "interrupt" build the whole voice, the others a voice of some thirty syllables.
# Ends with 0 passed, 1 failed, 77 not possible here.
set -uo pipefail
export LC_ALL=C.UTF-8
program=$(realpath "$1") source_dir=$(realpath "$2") group=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work/tmp
mkdir "$TMPDIR" "$work/out"
cd "$work" || exit 1
failures=0

fail() {
    echo "FAILED: $*" >&2
    failures=$((failures + 1))
}

# expect NAME STATUS PATTERN COMMAND... : its exit status, and a pattern in its standard error;
# an empty pattern wants standard error empty
expect() {
    local name=$1 status=$2 pattern=$3 got
    shift 3
    "$@" >stdout 2>stderr
    got=$?
    [ "$got" -eq "$status" ] || fail "$name: exit status $got, expected $status: $(cat stderr)"
    if [ -z "$pattern" ]; then
        [ -s stderr ] && fail "$name: on standard error: $(cat stderr)"
        return
    fi
    grep -qe "$pattern" stderr || fail "$name: no \"$pattern\" in: $(cat stderr)"
}

expect_nothing_left() {
    [ -z "$(ls -A out)" ] || fail "$1: left in the output directory: $(ls -A out)"
    [ -z "$(ls -A "$TMPDIR")" ] || fail "$1: left in TMPDIR: $(ls -A "$TMPDIR")"
}

small_lists() {
    rm -rf lists && cp -r "$source_dir/voice" lists
    grep -E '^[你好妈鸟的天单位欧阳山二十五度零一请主意您欢营用时]=' "$source_dir/voice/pinyin_dict.txt" \
        >lists/pinyin_dict.txt
    printf '# comment\n\n单 shan1\n欧阳 ou1 yang2\n' >lists/surnames.txt
    echo '单位 dan1 wei4' >lists/everyday_pairs.txt
    echo '零五度 ling2 wu3 du4' >lists/temperature.txt
    echo 'ma1 ma5' >lists/doubles.txt
    printf '。 pau_long\n５ wu3\n' >lists/signs.txt
    echo hello >lists/english_words.txt
    echo usb >lists/english_spelt.txt
    echo "ll [[@l]]" >lists/english_respelt.txt
}

build() { "$program" build --data lists "$@"; }

test_same() {
    "$program" build out/first >stdout 2>stderr &
    "$program" build out/second >/dev/null || fail "second build"
    wait $! || fail "first build"
    [ -s stderr ] && fail "a pipe got: $(cat stderr)"
    [ "$(wc -l <stdout)" -eq 1 ] || fail "not one line of summary: $(cat stdout)"
    diff -rq out/first out/second || fail "two builds differ"
    [ "$(ls out)" = $'first\nsecond' ] || fail "more than the voices: $(ls out)"
    [ "$(find out/first/pinyinRaw -type f | wc -l)" -gt 4500 ] || fail "too few clips"
    cmp "$source_dir/voice/pinyin_dict.txt" \
        <(head -n "$(wc -l <"$source_dir/voice/pinyin_dict.txt")" out/first/pinyin_dict.txt) ||
        fail "the lexicon was not installed as it is"
    cd out/first || exit 1
    size() { stat -c %s "$1"; }
    [ "$(size pinyinRaw/pau_long)" -eq 11200 ] || fail "pau_long is not 350 ms"
    [ "$(size greetingRaw/pau_beg)" -eq 2560 ] || fail "pau_beg is not 80 ms"
    [ "$(size pinyinRaw/hao3)" -gt "$(size pinyinRaw/hao3_2)" ] || fail "the last syllable is not longer"
    [ "$(size pinyinRaw/de_2)" -lt "$(size pinyinRaw/de2_2)" ] || fail "a neutral syllable is not shorter"
    [ "$(head -n 1 yinsu.txt)" = a ] || fail "neutral syllables are not the first phones"
    grep -qx 'ling2_ling2' yinsu.txt || fail "no double for 零零"
    grep -qx '二十五度=er4shi2wu3du4' dst_temperature.txt || fail "no phrase 二十五度"
    grep -qx '单=shan4' surname_pinyin_single.txt || fail "no surname 单"
    grep -qx '单位=dan1wei4' surname_pinyin_dural.txt || fail "单位 is not protected from the surname"
    grep -qx '。=pau_long' pinyin_dict.txt || fail "no pause for 。"
    [ "$(grep -xA1 usb eng_dict.txt)" = $'usb\nu.raw,s.raw,b.raw' ] || fail "usb is not spelt"
    [ "$(grep -xA1 qx eng_dict.txt)" = $'qx\nq.raw,x.raw' ] || fail "a run of two letters is not spelt"
    [ "$(grep -xA1 is eng_dict.txt)" = $'is\nis.raw' ] || fail "a word of two letters is spelt"
}

test_interrupt() {
    small_lists
    build out/voice >/dev/null || fail "small build"
    local before signal pid status
    before=$(find out/voice -type f -exec cksum {} + | sort)
    set -m # in its own process group a background job does not ignore SIGINT
    for signal in INT TERM; do
        "$program" build out/voice 2>stderr >/dev/null &
        pid=$!
        until [ "$(find out/voice.unfinished-*/new/pinyinRaw -type f 2>/dev/null | wc -l)" -gt 50 ]; do
            kill -0 $pid 2>/dev/null || { fail "SIG$signal: ended too early"; break; }
            sleep 0.05
        done
        kill -s $signal $pid
        wait $pid
        status=$?
        [ "$status" -eq $((128 + $(kill -l $signal))) ] || fail "SIG$signal: exit status $status"
        [ "$(ls out)" = voice ] || fail "SIG$signal: left behind: $(ls out)"
        [ -z "$(ls -A "$TMPDIR")" ] || fail "SIG$signal: left in TMPDIR: $(ls -A "$TMPDIR")"
        [ "$before" = "$(find out/voice -type f -exec cksum {} + | sort)" ] ||
            fail "SIG$signal: the voice that was there has changed"
    done
}

# Each row breaks one list: file, line to append, what the message must say.
test_lists() {
    local file line pattern number
    while IFS='|' read -r file line pattern; do
        small_lists
        echo "$line" >>"lists/$file"
        number=$(wc -l <"lists/$file")
        expect "$file: $line" 1 "lists/$file:$number: .*$pattern" build out/voice
        expect_nothing_left "$file: $line"
    done <<'ROWS'
pinyin_dict.txt|好hao3|not KEY=VALUE
pinyin_dict.txt|好=hao6|no syllable
signs.txt|é pau_none|three bytes
signs.txt|？ pau_lang|no pinyin syllable
pauses.txt|pau_x soon|milliseconds
pauses.txt|pau_x 0|milliseconds
surnames.txt|单 shann4|"shann4"
surnames.txt|欧阳 ou1|one syllable for each
everyday_pairs.txt|单 dan1 wei4|two characters
temperature.txt|零度|1 field
doubles.txt|ma1 hao3|one syllable twice
english_words.txt|don't|a to z
english_words.txt|hello|twice
english_spelt.txt|usb gps|2 field
english_respelt.txt|hello	hi|tab
ROWS
    small_lists
    echo '[extra]' >>lists/greetings.ini
    expect "greeting without keys" 1 'greetings.ini: \[extra\] lacks ch_pinyin' build out/voice
    small_lists
    echo '二=yi1' >>lists/pinyin_dict.txt
    expect "self check: a character twice" 1 'pinyin_dict.txt:.*二 stands in the file twice' build out/voice
    small_lists
    printf '妈=ma1\n撩=liao1\n喵=miao1\n' >lists/pinyin_dict.txt
    for file in signs surnames everyday_pairs temperature doubles; do echo '#' >lists/$file.txt; done
    echo '[default_config]' >lists/greetings.ini
    expect "syllables that espeak-ng speaks without their contour" 1 'less than 95 %.*tone 1: 6 of 9' \
        build out/voice
    expect_nothing_left "failed builds"
}

test_usage() {
    small_lists
    expect "no command" 2 'subcommand is required' "$program"
    expect "no directory" 2 'OUTDIR is required' "$program" build
    expect "unknown option" 2 'not expected: --fast' "$program" build out/voice --fast
    expect "help" 0 '' "$program" --help
    grep -q 'tts-voice build build/voice' stdout || fail "no example in the help"
    expect "version" 0 '' "$program" --version
    grep -Eq '^tts-voice [0-9.]+, espeak-ng [0-9.]+' stdout || fail "version: $(cat stdout)"
    expect "no such lists" 1 'cannot open nowhere/pinyin_dict.txt: No such file' \
        "$program" build --data nowhere out/voice
    expect "no parent" 1 'there is no directory .*out/deep' build out/deep/voice
    expect "unwritable parent" 1 'cannot create a directory like /proc/' build /proc/voice
    expect_nothing_left "refused builds"

    touch out/file && mkdir out/mine && echo precious >out/mine/notes.txt
    expect "a file in the way" 1 'out/file exists and is no directory' build out/file
    expect "somebody's directory" 1 'out/mine holds files' build out/mine
    [ "$(cat out/mine/notes.txt)" = precious ] || fail "somebody's file is gone"

    mkdir out/voice
    expect "an empty directory" 0 '' build out/voice
    expect "an untouched voice" 0 '' build out/voice/
    cp -r out/voice good
    printf '\1\2' | dd of=out/voice/pinyinRaw/hao3 conv=notrunc status=none
    expect "a changed clip of the same size" 1 'changed since' build out/voice
    rm -r out/voice && cp -r good out/voice && touch out/voice/engRaw/own.raw
    expect "an added clip" 1 'changed since' build out/voice
    [ -f out/voice/engRaw/own.raw ] || fail "the added clip is gone"

    script -qec "'$program' build --data lists out/seen" /dev/null >stdout
    grep -q '100 %' stdout || fail "no progress on a terminal: $(cat stdout)"
    grep -q 'contours of tone 1: ' stdout || fail "no figures on a terminal: $(cat stdout)"
    expect "figures in a pipe" 0 '' build out/told --verbose
    grep -q '^tone 1 at 1[0-9]* Hz, ' stdout || fail "no figures with --verbose: $(cat stdout)"
}

test_lexicon() {
    for file in /usr/share/unicode/Unihan_Readings.txt.bz2 /usr/share/rime-data/pinyin_simp.dict.yaml; do
        [ -r "$file" ] || { echo "skipped: $file is not installed"; exit 77; }
    done
    mkdir -p repository/scripts && cp -r "$source_dir/voice" repository
    cp "$source_dir/scripts/lexicon" repository/scripts
    export TTS_VOICE=$program
    expect "the committed lexicon" 0 '' repository/scripts/lexicon --check
    sed -i 's/^好=hao3$/好=hao4/' repository/voice/pinyin_dict.txt
    expect "a lexicon edited by hand" 1 'is not what its sources give' repository/scripts/lexicon --check
    grep -q '^-好=hao4' stdout || fail "no difference shown: $(cat stdout)"
    echo '好 hao4' >>repository/voice/overrides.txt
    expect "an override" 0 '' repository/scripts/lexicon --check
    expect "writing" 0 '' repository/scripts/lexicon
    sed -i '$d' repository/voice/overrides.txt
    expect "writing again" 0 '' repository/scripts/lexicon
    cmp repository/voice/pinyin_dict.txt "$source_dir/voice/pinyin_dict.txt" || fail "not written back"
    echo '好 hao7' >>repository/voice/overrides.txt
    expect "an override without tone" 1 'overrides.txt:[0-9]*: "hao7"' repository/scripts/lexicon
    expect "usage" 2 'usage: ' repository/scripts/lexicon --chek
    expect "not a Unihan file" 1 'no Unihan readings' \
        "$program" lexicon /dev/null /usr/share/rime-data/pinyin_simp.dict.yaml
}

"test_$group"
[ "$failures" -eq 0 ]
