#!/bin/bash
# Counts the instructions of a fixed request and a fixed start-up on a small tree made here, and
# compares them with bench/instructions.txt: finds a slow-down without a clock.
# Usage: instructions_test.sh PATH/TO/tts-say BASELINE [--renew]
set -u
export LC_ALL=C
skip() { echo "skipped: $1"; exit 77; }
command -v valgrind >/dev/null || skip "no valgrind"
tool=$(realpath "$1")
baseline=$(realpath "$2")
renew=${3-}
most=1.10 least=0.90  # far below fails as well: the baseline is out of date
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

mkdir -p voice/{pinyinRaw,engRaw,greetingRaw}
: > voice/surname_pinyin_dural.txt
{
    printf '[default_config]\ndefault_num = 0\n'
    seq -f '[greeting%g]' 300 | sed 'a ch_name = c\neng_name = e'
} > voice/greetingRaw/greetings.ini
printf 'wifi\nwai,fai\n' > voice/eng_dict.txt
printf '任=ren2\n' > voice/surname_pinyin_single.txt
{
    printf '%s\n' 我=wo3 你=ni3 好=hao3 妈=ma1 二=er4 十=shi2 五=wu3 度=du4 说=shuo
    seq -f 'key%g=zhuang4' 2000
} > voice/pinyin_dict.txt
seq -f '%g度=du4' 100 > voice/dst_temperature.txt
{
    seq -f 'a%g' 500
    printf '%s\n' wo3 ni3 ni2_2 hao3 ma1_ma1 er4 shi2 wu3 du4 shuo1
    seq -f 'z%g' 500
} > voice/yinsu.txt
for clip in greetingRaw/pau_beg engRaw/{wai,fai} \
    pinyinRaw/{pau_short,wo3,ni3,ni2_2,hao3,ma1_ma1,er4,shi2,wu3,du4,shuo1}; do
    head -c 64 /dev/zero > "voice/$clip"
done
text=我你好妈妈wifi25度，今天12345678度你好

# count FUNCTION: instructions while it runs, in the library and in libstdc++ on its behalf; what the C
# library does depends on the processor and is left out.
count() {
    LD_BIND_NOW=1 valgrind --tool=callgrind --compress-strings=no --compress-pos=no \
        --callgrind-out-file="$1.out" --toggle-collect="$1(*" \
        "$tool" --root voice -o say.wav "$text" > valgrind.log 2>&1 || { cat valgrind.log >&2; return 1; }
    awk '
        /^ob=/ { ours = /libtts_engine|libstdc\+\+/; next }
        /^calls=/ { getline; next }  # the line after it has the cost of the callee
        /^[0-9]/ && ours { sum += $2 }
        END { print sum + 0 }' "$1.out"
}

failed=0
while read -r name function expected; do
    counted=$(count "$function") || exit 1
    [ "$counted" -gt 10000 ] || { echo "FAIL: $name: nothing was counted"; exit 1; }
    echo "$name $function $counted" >> renewed
    awk -v name="$name" -v is="$counted" -v was="$expected" -v least=$least -v most=$most 'BEGIN {
        printf "%s: %d instructions, baseline %d, ratio %.3f\n", name, is, was, is / was
        exit !(is / was >= least && is / was <= most) }' || failed=1
done < "$baseline"
[ "$(wc -l < renewed)" -eq 2 ] || { echo "FAIL: the baseline has two lines"; exit 1; }
[ "$(stat -c %s say.wav)" -gt 500 ] || { echo "FAIL: the text was not spoken"; exit 1; }
if [ "$renew" = --renew ]; then
    cp renewed "$baseline"
elif [ $failed -ne 0 ]; then
    echo "FAIL: outside $least to $most. When that is meant: $0 $1 $2 --renew"
    exit 1
fi
