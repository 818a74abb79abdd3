#!/usr/bin/env bash
# Runs tts-voice as a user does.
# Usage: tts_voice_test.sh PROGRAM SOURCE_DIR BUILD_DIR
#            same|interrupt|lists|usage|hostile|lexicon|import|script|report [FAIL_NTH]
# "same" and "interrupt" build the whole voice, the others a voice of some thirty syllables.
# Ends with 0 passed, 1 failed, 77 not possible here.
set -uo pipefail
export LC_ALL=C.UTF-8
program=$(realpath "$1") source_dir=$(realpath "$2") build_dir=$(realpath "$3")
fail_nth=${5:+$(realpath "$5")}
# A 32-bit program under an emulator cannot list directories on disk, whose offsets have 64 bits.
[ "${TTS_EMULATED_DATA-}" ] && export TMPDIR=/dev/shm
. "$(dirname "$0")/../support/shell.sh"
[ "${TTS_EMULATED_DATA-}" ] && cp -r "$TTS_EMULATED_DATA" . && export ESPEAK_DATA_PATH=$work
export TMPDIR=$work/tmp
mkdir "$TMPDIR" out

# expect NAME STATUS PATTERN COMMAND...: its exit status, and a pattern in its standard error,
# which an empty pattern wants empty
expect() {
    "${@:4}" >stdout 2>stderr
    same "$1 (status)" "$2" $?
    if [ "$3" ]; then has stderr "$3"; else same "$1 (standard error)" "" "$(cat stderr)"; fi
}
# shows NAME PATTERN COMMAND...: succeeds, and prints the pattern
shows() { expect "$1" 0 '' "${@:3}" && has stdout "$2" "$1"; }
left() { same "$1: left behind" "$2" "$(echo $(ls -A out) / $(ls -A "$TMPDIR"))"; }

small_lists() {
    rm -rf lists && cp -r "$source_dir/voice" lists
    grep -E '^[你好妈鸟的天单位欧阳山二十五度零一请主意您欢营用时]=' \
        "$source_dir/voice/pinyin_dict.txt" >lists/pinyin_dict.txt
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
import() { "$program" import --data lists "$@"; }
small_voice() { build out/voice >/dev/null || fail "small build"; }
hang() { timeout 20 "$@"; }  # for what may wait for ever
say() { hang "$(dirname "$program")/tts-say" --root bad -o hao.wav 好; }
# wav CLIP FILE: the clip with the header of a sound without end.
wav() {
    {
        printf 'RIFF\377\377\377\177WAVEfmt \20\0\0\0\1\0\1\0\200\76\0\0'
        printf '\0\175\0\0\2\0\20\0data\377\377\377\177'
        cat "$1"
    } >"$2"
}

test_same() {
    "$program" build out/first >stdout 2>stderr &
    # An emulator takes minutes for one.
    [ "${TTS_EMULATED_DATA-}" ] || "$program" build out/second >/dev/null || fail "second build"
    wait $! || fail "first build"
    same "in a pipe" "1 0" "$(wc -l <stdout) $(wc -c <stderr)"
    [ "${TTS_EMULATED_DATA-}" ] || diff -rq out/first out/second || fail "two builds differ"
    [ -z "$(ls -A out | grep -vxe first -e second)$(ls -A "$TMPDIR")" ] || fail "left behind"
    shows "check" ' 0 error(s), 0 warning(s); 6[0-9]* clips' "$program" check out/first
    cd out/first || exit 1
    size() { stat -c %s "$1"; }
    [ "$(size pinyinRaw/hao3)" -gt "$(size pinyinRaw/hao3_2)" ] || fail "last syllable not longer"
    [ "$(size pinyinRaw/de_2)" -lt "$(size pinyinRaw/de2_2)" ] || fail "neutral one not shorter"
    same "neutral syllables are the first phones" a "$(head -n 1 yinsu.txt)"
    has dst_temperature.txt '^二十五度=er4shi2wu3du4$'
    has surname_pinyin_single.txt '^单=shan4$'
    has surname_pinyin_dural.txt '^单位=dan1wei4$'  # not taken for a surname
    for word in 'usb u.raw,s.raw,b.raw' 'qx q.raw,x.raw' 'is is.raw'; do
        same "spelt or spoken" "$word" "$(grep -xA1 "${word% *}" eng_dict.txt | paste -sd ' ')"
    done
}

sums() { find out -type f -exec cksum {} + | sort | cksum; }
# Interrupted while clips are written, a build leaves no trace.
test_interrupt() {
    small_voice
    local before pid signal status
    before=$(sums)
    set -m # in its own process group a background job does not ignore SIGINT
    for signal in INT TERM; do
        "$program" build --data lists out/voice >/dev/null 2>&1 &
        pid=$!
        until [ "$(find out/.voice-unfinished-*/new/pinyinRaw -type f 2>/dev/null | wc -l)" -gt 5 ]; do
            kill -0 $pid || { fail "SIG$signal: ended too early"; break; }
        done
        kill -s $signal $pid
        wait $pid
        status=$?
        same "SIG$signal (status)" $((128 + $(kill -l $signal))) $status
        same "SIG$signal: what was there" "$before" "$(sums)"
        same "SIG$signal: left behind" "" "$(ls -A out "$TMPDIR" | grep -e unfinished -e tts)"
    done
    # Obeyed as well while it waits for somebody to read its messages.
    mkdir wrong && (cd wrong && seq -f 'no_name_of_a_recording_%.0f.wav' 3000 | xargs touch)
    mkfifo errors
    sleep 9 <errors &
    "$program" import --data lists wrong out/never 2>errors &
    pid=$!
    sleep 1
    kill -s TERM $pid
    wait $pid
    same "blocked (status)" 143 $?
    kill %?sleep
}

# Each row breaks one list: file, line to append, what the message must say.
test_lists() {
    local file line pattern
    while IFS='|' read -r file line pattern; do
        small_lists
        printf '%b\n' "$line" >>"lists/$file"
        [ "$file" = greetings.ini ] || pattern="$(wc -l <"lists/$file"): .*$pattern"
        expect "$file: $line" 1 "$file:$pattern" build out/voice
    done <<'ROWS'
pinyin_dict.txt|好hao3|not KEY=VALUE
pinyin_dict.txt|二=yi1|二 is in the file twice
signs.txt|é pau_none|three bytes
pauses.txt|pau_x soon|milliseconds
pauses.txt|pau_/../../x 100|"pau_/../../x" is not a name of a pause
pauses.txt|hao3 80|is not a name of a pause
pauses.txt|pau_beg 90|pau_beg is listed twice
everyday_pairs.txt|好= hao3 hao4|"好=" has a =
temperature.txt|=度 wu3 du4|"=度" has a =
surnames.txt|\xE5=\xBD hao4|not UTF-8
surnames.txt|单 shann4|"shann4"
surnames.txt|欧阳 ou1|one syllable for each
doubles.txt|ma1 hao3|one syllable twice
english_words.txt|don't|a to z
english_respelt.txt|hello	hi|tab
greetings.ini|[extra]| \[extra\] lacks ch_pinyin
greetings.ini|[a]\nch_pinyin=ni3\neng_content=Hi\nch_name=../x\neng_name=e| .*"../x" holds a slash
ROWS
    small_lists
    printf '妈=ma1\n撩=liao1\n喵=miao1\n' >lists/pinyin_dict.txt
    for file in signs surnames everyday_pairs temperature doubles; do : >lists/$file.txt; done
    echo '[default_config]' >lists/greetings.ini
    expect "spoken without their contour" 1 'less than 95 %.*tone 1: 6 of 9' build out/voice
    left "failed builds" /
}

test_usage() {
    expect "no directory" 2 'OUTDIR is required' "$program" build
    expect "unknown option" 2 'not expected: --fast' "$program" build out/voice --fast
    TMPDIR=none expect "no TMPDIR" 1 'temporary files' build out/voice
    shows "version" '^tts-voice [0-9.]*, espeak-ng [0-9.]*' "$program" --version
    expect "unwritable parent" 1 'cannot create a directory like /proc/' build /proc/voice
    left "refused builds" /
    touch out/file && mkdir out/mine && echo precious >out/mine/notes.txt
    expect "a file in the way" 1 'out/file exists and is not a directory' build out/file
    expect "somebody's directory" 1 'out/mine holds files' build out/mine
    same "somebody's file" precious "$(cat out/mine/notes.txt)"
    mkdir out/voice
    expect "an empty directory" 0 '' build out/voice
    expect "an untouched voice" 0 '' build out/voice/
    chmod 750 out/voice
    expect "a long TMPDIR" 0 '' env TMPDIR="$(mktemp -d "$work/$(printf %0150d)XXX")" \
        "$program" build --data lists out/voice
    same "the mode of the directory" 750 "$(stat -c %a out/voice)"
    expect "the current directory" 1 'is the current directory' \
        env -C out/voice "$program" build --data ../../lists .
    expect "a mount point" 1 '/proc is a mount point' build /proc
    expect "no name" 2 'OUTDIR: the name is empty' build ''
    local words
    for words in --version --help "check out/voice" "check --json out/voice" "script --data lists" \
        "build --data lists out/voice"; do
        # shellcheck disable=SC2086 # words
        "$program" $words >/dev/full 2>stderr
        same "full standard output: $words" 1 $?
        has stderr 'standard output: No space left'
    done
    printf '\1\2' | dd of=out/voice/pinyinRaw/hao3 conv=notrunc status=none
    expect "a changed clip of the same size" 1 'changed since' build out/voice
    expect "a report of nothing" 2 'cannot read none' "$program" report none -o page.html
    expect "an unwritable report" 1 '/proc/page' "$program" report out/mine -o /proc/page.html
    expect "a report of a tree without lists" 0 '' "$program" report out/mine -o page.html
    has page.html 'lost":"cannot open out/mine/yinsu.txt'
    script -qec "'$program' build --data lists out/seen" /dev/null >stdout
    has stdout '100 %'
    has stdout 'contours of tone 1: '
    shows "a woman" '^tone 1 at 2[0-9]* Hz, ' build out/woman --speaker f --verbose
    expect "somebody else" 2 'x not in {m,f}' build out/x --speaker x
}

# Trees with files that have no end, or too much of one, and with names that lead elsewhere.
test_hostile() {
    small_voice
    local file change
    for file in yinsu.txt eng_dict.txt greetingRaw/greetings.ini pinyinRaw/hao3; do
        for change in mkfifo "ln -s /dev/zero" "truncate -s 3G"; do
            rm -rf bad && cp -r out/voice bad && rm "bad/$file"
            $change "bad/$file"
            expect "check, $change $file" 1 '' hang "$program" check bad
            has stdout "$file" "check, $change"
            expect "report, $change $file" 0 '' hang "$program" report bad -o page.html
            expect "fill, $change $file" 1 "$file" \
                hang "$program" import --data lists out bad2 --fill bad
            expect "build, $change $file" 1 'holds files that\|too large' hang "$program" build bad
            [ $file = pinyinRaw/hao3 ] || expect "say, $change $file" 1 "bad/$file" say
        done
    done
    rm -rf bad && cp -r out/voice bad
    truncate -s 17M bad/greetingRaw/greetings.ini
    expect "a configuration that the engine refuses" 1 '' "$program" check bad
    has stdout 'greetings.ini: the file is larger than 16 MiB'
    rm -rf bad && cp -r out/voice bad
    printf '../../notes\nx\033[2J\n' >>bad/yinsu.txt
    printf 'zzz\n../../notes\n' >>bad/eng_dict.txt
    sed -i 's/^eng_name *=.*/eng_name=..\/x/' bad/greetingRaw/greetings.ini
    expect "names that lead elsewhere" 1 '' "$program" check bad
    for file in 'eng_dict.txt "../../notes" holds a slash' 'yinsu.txt "../../notes" holds a slash' \
        'yinsu.txt "x.x1b.2J" holds a control' 'greetings.ini "../x" holds a slash'; do
        has stdout "${file%% *}:[0-9]*: the clip name ${file#* }"
    done
    expect "reported by tts-say" 0 'warning: bad/eng_dict.txt names "../../notes"' say
}

test_lexicon() {
    local weights=/usr/share/rime-data/pinyin_simp.dict.yaml
    ls $weights /usr/share/unicode/Unihan_Readings.txt.bz2 || exit 77
    mkdir scripts && cp -r "$source_dir/voice" .
    cp "$source_dir"/scripts/{lexicon,character_counts,common.sh} scripts
    export TTS_VOICE=$program
    sed -i 's/^好=hao3$/好=hao4/' voice/pinyin_dict.txt
    expect "a lexicon edited by hand" 1 'is not what its sources give' scripts/lexicon --check
    has stdout '^-好=hao4'
    echo '好 hao4' >>voice/overrides.txt
    expect "an override" 0 '' scripts/lexicon --check
    sed -i '$d' voice/overrides.txt
    expect "writing" 0 '' scripts/lexicon
    cmp voice/pinyin_dict.txt "$source_dir/voice/pinyin_dict.txt" || fail "not written back"
    echo '好 hao7' >>voice/overrides.txt
    expect "an override without tone" 1 'overrides.txt:[0-9]*: "hao7"' scripts/lexicon
    sed -i 's/^好 .*/好 1/' voice/character_counts.txt
    expect "counts edited by hand" 1 'is not what its sources give' scripts/character_counts --check
}

# The clips of a built voice as recordings.
test_import() {
    small_voice
    mkdir -p wav recordings/phones bin
    local clip name file
    for file in pinyinRaw=phones engRaw=english greetingRaw=greetings; do
        mkdir "wav/${file#*=}"
        for clip in out/voice/"${file%=*}"/*; do
            wav "$clip" "wav/${file#*=}/$(basename "$clip" .raw).wav"
        done
    done
    rm wav/*/pau_* wav/*/*.ini.wav
    expect "import" 0 '' import wav out/mine
    same "in a pipe" 1 "$(wc -l <stdout)"
    same "not recorded" "" "$(grep '^ *[0-9]' out/mine/missing.txt)"
    for file in {pinyin_dict,yinsu,eng_dict,dst_temperature,surname_pinyin_{single,dural}}.txt \
        greetingRaw/greetings.ini; do
        cmp "out/voice/$file" "out/mine/$file" || fail "$file differs"
    done
    rm wav/phones/hao3*
    expect "onto an import, filled" 0 '' import wav out/mine --fill out/voice
    cmp out/voice/pinyinRaw/hao3_1 out/mine/pinyinRaw/hao3_1 || fail "not filled"
    script -qec "'$program' import --data lists wav out/seen" /dev/null >stdout
    has stdout '100 %'
    echo "no sound" >wav/phones/ni3.wav && : >wav/english/hello.wav
    expect "unreadable recordings" 1 'wav/phones/ni3.wav: no sound file' import wav out/bad
    has stderr 'wav/english/hello.wav: no sound file'
    left "imports" "mine seen voice /"

    # The walk of docs/voice.md, with the recordings that it asks for.
    ln -s "$program" bin/tts-voice
    ln -s "$(dirname "$program")/tts-say" bin/tts-say
    for name in ni2_2 ni3_2 hao3_2; do
        wav "out/voice/pinyinRaw/$name" "recordings/phones/$name.wav"
    done
    [ -z "$fail_nth" ] || without_memory "$fail_nth" 1999 \
        "$program" import --data lists recordings out/few
    sed -n '/^```sh$/,/^```$/p' "$source_dir/docs/voice.md" | grep -v '^```' >walk
    PATH=$work/bin:$PATH sh -eu walk >stdout || fail "the walk of docs/voice.md: $(cat stdout)"
    has stdout '^你 .* ni2 ' && has stdout '^好 .* hao3 '
    [ "$(stat -c %s hello.wav)" -gt 12000 ] || fail "hello.wav says too little"
    has my-voice.html '"pinyinRaw/hao3",'
}

test_script() {
    script() { "$program" script --data lists "$@"; }
    shows "script" 'phones/ma1_ma1 .*ma1 ma5' script
    has stdout ' 1 .*phones/de_2 '
    expect "first" 0 '' script --html --first 3
    same "three rows" 3 "$(grep -c '^<tr>' stdout)"
    expect "too many" 2 'first' script --first 1000001
}

# Screenshots go to BUILD_DIR/browser.
test_report() {
    type node npm chromium || exit 77
    small_voice
    rm out/voice/pinyinRaw/hao3_2
    shows "report" ': [0-9]* clips, 1 error(s), 0 warning(s), ' \
        "$program" report out/voice -o page.html
    left "report" "voice /"
    expect "report of nothing" 0 '' "$program" report out -o bare.html
    # A voice of one clip, of noise, and names that a page must not take for its own.
    mkdir -p odd/pinyinRaw
    name="'\"><img src=x onerror=\"alert(1)\">好"
    head -c 8000 "$source_dir/voice/pinyin_dict.txt" >"odd/pinyinRaw/$name" # noise
    printf '%s\n' "$name" '</script><script>alert(1)</script>' '<!--<script>' >odd/yinsu.txt
    expect "report of odd names" 0 '' "$program" report odd -o odd.html
    expect "standard output" 0 '' "$program" report out/voice -o /dev/stdout
    cmp stdout page.html || fail "not the page alone"
    expect "full device" 1 '/dev/full: No space left' "$program" report out/voice -o /dev/full
    local modules=$build_dir/browser share
    mkdir -p "$modules"
    cp "$source_dir"/tests/browser/package*.json "$modules"
    quietly npm ci --prefix "$modules" --ignore-scripts --no-audit --no-fund
    share=$(awk 'NR == FNR { listed[substr($0, 1, index($0, "=") - 1)]; next }
        /^#/ { next }
        { all += $2 }
        $1 in listed && $1 != "好" { spoken += $2 }
        END { printf "%.2f %%", 100 * spoken / all }' lists/{pinyin_dict,character_counts}.txt)
    NODE_PATH=$modules/node_modules CHROMIUM=$(command -v chromium) \
        node "$source_dir/tests/browser/report_test.js" page.html out/voice "$modules" "$share" \
        bare.html odd.html || fail "page"
}

small_lists
"test_$4"
[ $failed = 0 ]
