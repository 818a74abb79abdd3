#!/bin/bash
# Runs tts-say as a user does, on a tiny voice whose clips are each one letter repeated, so that a
# sound reads back as the letters of its clips. Usage: tts_say_test.sh PATH/TO/tts-say [FAIL_NTH]
# FAIL_NTH is the library that makes requests for memory fail.
set -u
export LC_ALL=C
tool=$(realpath "$1")
[ $# = 1 ] || fail_nth=$(realpath "$2")
. "$(dirname "$0")/../support/shell.sh"

minimal_tree voice pinyinRaw/{ni2_1:320:a,ni2:320:b,ni3:320:c,hao3_2:640:d,hao3:640:e} \
    pinyinRaw/{ma1_ma1:960:f,jin1:352:g,shan4_1:400:h,ren2:416:i,ou1yang2_1:1280:j} \
    pinyinRaw/{wu3_du4:1600:k,pau_short:64:q,da4:700000:z} engRaw/{wai:480:m,fai:512:n} \
    greetingRaw/{pau_beg:3200:P,w_ch:128:W,w_en:160:X,b_ch:192:B,b_en:224:Y}
: > voice/pinyinRaw/ren2_1
truncate -s 129M voice/pinyinRaw/chang2
printf '%s\n' 你=ni3 好=hao3 妈=ma1 单=dan1 今=jin1 五=wu3 度=du4 欧=ou1 坏=huai4 大=da4 \
    长=chang2 > voice/pinyin_dict.txt
printf '%s\n' 单=shan4 任=ren2 > voice/surname_pinyin_single.txt
echo 欧阳=ou1yang2 > voice/surname_pinyin_dural.txt
echo 五度=wu3_du4 > voice/dst_temperature.txt
printf '%s\n' wifi wai,fai > voice/eng_dict.txt
printf '%s\n' ni3 ni2_1 ni2 hao3_2 hao3 ma1_ma1 jin1 da4 chang2 du4 wu3_du4 > voice/yinsu.txt
printf '[%s]\n%s\n%s\n' default_config default_num=0 '' welcome ch_name=w_ch eng_name=w_en \
    bye ch_name=b_ch eng_name=b_en > voice/greetingRaw/greetings.ini

root=voice
say() { "$tool" --root "$root" "$@" > stdout 2> stderr; }
number_at() { od -An -tu4 -j"$2" -N4 "$1" | tr -d ' '; }

# FAULT LETTERS BYTES FILE: the file is a WAV image of these clips with so many bytes of sound.
wav() {
    same "$1 (sound)" "$2" "$(tail -c +45 "$4" | tr -s 'A-Za-z')"
    same "$1 (size)" $(($3 + 44)) "$(stat -c %s "$4")"
    same "$1 (header)" "RIFF $(($3 + 36)) $3" \
        "$(head -c 4 "$4") $(number_at "$4" 4) $(number_at "$4" 40)"
}
# FAULT LETTERS BYTES ARGUMENT...: speaks into one file, without a word on standard error.
speaks() {
    rm -f out.wav
    say -o out.wav "${@:4}"
    same "$1 (status)" 0 $?
    same "$1 (standard error)" "" "$(cat stderr)"
    wav "$1" "$2" "$3" out.wav
}
# FAULT STATUS MESSAGE ARGUMENT...: fails with the message and leaves standard output empty.
fails() {
    say "${@:4}"
    same "$1 (status)" "$2" $?
    has stderr "$3" "$1"
    same "$1 (standard output)" 0 "$(stat -c %s stdout)"
}

printf '你好\n\r\n今\r\n' > two.txt

# The sound.
speaks "leading pause or a position variant lost"     Pae  4160  你好
speaks "arguments not joined to one utterance"        Pae  4160  你 好
speaks "greeting not ahead of the pause"              WPg  3680  --greeting 0 今
speaks "order, place or language ignored" PgYX 3936 --greeting 1,0 --position end --language en 今
speaks "an image larger than the first buffer"        Pz   1403200 大大
printf '今' | say -o pipe.wav -; wav "standard input" Pg 3552 pipe.wav
printf '\xef\xbb\xbf你好' > marked.txt
speaks "byte order mark spoken"                       Pae  4160  -f marked.txt

# Where it goes.
say -o n.wav -f two.txt; wav "first of several" Pae 4160 n-1.wav; wav "second, CRLF" Pg 3552 n-2.wav
same "blank line counted, or FILE itself written" "n-1.wav n-2.wav" "$(echo n*.wav)"
say 今; wav "no default file" Pg 3552 say.wav
same "default file not named" "$work/say.wav: 0.11 s" "$(cat stdout)"
rm say.wav
say -o - -f two.txt; wav "engine text or two headers on standard output" PaePg 7712 stdout
say -o /dev/stdout 今; wav "sound lost with the engine's standard output" Pg 3552 stdout
say -o - --raw -f two.txt; same "header left in raw sound" "PaePg 7712" \
    "$(tr -s 'A-Za-z' < stdout | tr '\0' 0) $(stat -c %s stdout)"
mkfifo pipe; timeout 10 cat pipe > piped &
say -o pipe -f two.txt; wait; wav "pipe replaced by files" PaePg 7712 piped
echo old > old.wav; ln -s old.wav link.wav
say -o link.wav 今; wav "symbolic link replaced, not its target" Pg 3552 old.wav
(umask 027; say -o mode.wav 今); same "umask ignored" 640 "$(stat -c %a mode.wav)"

# How it was spoken.
say --explain --greeting 1 --position end 单你好妈妈wifi五度龙今
same "explain (status)" 0 $?
diff stdout - <<'TABLE' || fail "wrong table"
TEXT: line 1: 单你好妈妈wifi五度龙今
text     kind      rule        clips       ms
pau_beg  pause     pause       pau_beg    100
单       chinese   surname     shan4_1     13
你       chinese   third tone  ni2         10
好       chinese   syllable    hao3_2      20
妈妈     chinese   double      ma1_ma1     30
wifi     english   english     wai fai     31
五度     chinese   phrase      wu3_du4     50
龙       chinese   pause       pau_short    2
今       chinese   syllable    jin1        11
b_ch     greeting  greeting    b_ch         6
total                                     273

TABLE
explains() {  # FAULT LINE ARGUMENT...
    say --explain "${@:3}"
    has stdout "$2" "$1"
}
explains "surname pair not shown"            '^欧阳  *chinese  *surname pair  *ou1yang2_1  *40$' 欧阳
explains "drop reason not shown"              '^speech dropped: error: .*huai4 .*clear inputs!$' 坏
explains "greeting of the other language"    '^w_en  *greeting  *greeting  *w_en  *5$' \
    --greeting 0 --language en 今
explains "half a character printed"          '^�  *chinese  *pause  *pau_short  *2$'    😀
same "explain wrote a file" 1 "$(test -e say.wav; echo $?)"
say --explain -o - 今; wav "table among the sound" Pg 3552 stdout
say -o x.wav 坏; same "drop taken for a failure" 0 $?
has stderr 'line 1: speech dropped'
say --verbose -o - 今; wav "log on standard output" Pg 3552 stdout

# What fails.
fails "unknown option"             2 "--nonsense"          --nonsense 今
fails "nothing to say"             2 "TEXT"
fails "id that is not a number"    2 "--greeting"          --greeting 0,x 今
fails "greeting past the last"     1 "greeting 2 does not exist: voice/gr.*ini" \
    --greeting 0,2 今
fails "blank text"                 1 "TEXT: no text"       " "
fails "missing text file"          1 "none.txt: No such"   -f none.txt
fails "directory as output"        1 "voice: Is a dir"     -o voice -f two.txt
root=none fails "missing tree"     1 "none/: No such"      今
fails "sound past all buffers"     1 "line 1: more than"   -o x.wav 长
fails "exception's line not shown"  1 "TEXT: line 1: "      -o - 000
say -o lines.wav "$(printf '000\n今')"; same "unreadable line forgotten" 1 $?
same "unreadable line ends the others" "lines-2.wav" "$(echo lines-*)"
while read -r name bytes offset; do
    printf '今\n%b' "$bytes" > bad.txt
    fails "$name" 1 "bad.txt: line 2: invalid UTF-8 at byte offset $offset" -f bad.txt
done <<'ROWS'
stray-byte a\xff 1
surrogate \xed\xa0\x80 0
cut-at-the-end \xe4\xbd 0
NUL-hides-the-rest a\x00b 1
ROWS
for option in --help --explain -o-; do
    "$tool" --root voice "$option" 今 > /dev/full 2> stderr
    same "full standard output: $option" 1 $?
done
"$tool" --root voice -o - 大大 2> stderr | true
same "closed pipe" 1 "${PIPESTATUS[0]}"
has stderr "Broken pipe"
echo old > kept.wav
(trap '' XFSZ; ulimit -f 1; say -o kept.wav 大大); same "half a file" 1 $?
same "unfinished file took over, or stayed" "old .tts-*" "$(cat kept.wav) $(echo .tts-*)"
# A stream that is closed gives its number to no file: nothing else gets into the sound.
printf '你好\n坏\n' > dropped.txt
"$tool" --root voice -o - -f dropped.txt > sound 2> stderr
"$tool" --root voice -o - -f dropped.txt > alone 2>&-
cmp sound alone || fail "standard error in the sound"
"$tool" --root voice -o - 今 2> stderr >&-
same "closed standard output" 1 $?
echo log > log.wav; "$tool" --root voice --raw -o /dev/stdout 今 >> log.wav
same "what standard output had" "log" "$(head -n 1 log.wav | head -c 3)"
say --version; has stdout '1\.[0-9.]*, root voice'

[ $# = 1 ] || without_memory "$fail_nth" 5 "$tool" --root voice -o short.wav 你好

# A voice with something missing: never a success, whatever the engine does about it.
for name in greetingRaw/greetings.ini yinsu.txt dst_temperature.txt pinyinRaw/; do
    mv voice/$name gone
    fails "missing $name" 1 "tts-say: cannot read voice/$name: No such" 今
    mv gone voice/$name
done
echo '[broken' > voice/greetingRaw/greetings.ini
fails "configuration with a syntax error" 1 "voice: the engine did not start" 今
exit $failed
