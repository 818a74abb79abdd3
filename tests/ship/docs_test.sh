#!/bin/bash
# Runs what docs/ promises: resource_tree.md, host.md, porting.md.
# Usage: docs_test.sh PATH/TO/tts-say BUILD_DIR CMAKE_ARGUMENT...
# The environment gives CC and CXX with what they always need, LOG, the options for the log library,
# and EMULATOR, which runs what they build, or nothing.
# shellcheck disable=SC2013,SC2046,SC2086 # lists of words
# shellcheck disable=SC2016 # for sed and make
set -eu
export LC_ALL=C
tool=$(realpath "$1") build=$(realpath "$2") SOURCE=$(realpath "$(dirname "$0")/../..")
export SOURCE
shift 2
. "$(dirname "$0")/../support/shell.sh"
block() { # PAGE INFO
    sed -n '\|^```'"$2"'$|,\|^```$|{/^```/!p}' "$SOURCE/docs/$1.md" | grep '' && return
    echo "FAIL: $1.md has no $2" >&2
    exit 1
}
clip() { for name; do printf '%s ' "$(basename "$name" .raw)" >"tree/$name"; done; }
flags="-Wall -Wextra -Werror -I$SOURCE/include -I$SOURCE/src"
library="-L$build/lib -Wl,-rpath,$build/lib -ltts_engine"

# porting.md: the library without a platform log, and the recipe with a substitute for Buildroot.
mkdir -p include/android lib
block porting "c android/log.h" >include/android/log.h
block porting "c log.c" | tee log.c >include/log.c
block porting sh >build.sh
quietly bash -e build.sh -DCMAKE_FIND_ROOT_PATH="$work" "$@"
readelf -d engine/lib/libtts_engine.so | grep -q 'NEEDED.*\[liblog.so\]' || fail "another liblog"
block porting "make tts-engine.mk" >tts-engine.mk
printf '%s\n' 'define cmake-package' 'all:' $'\t$$(TTS_ENGINE_BUILD_LOG)' \
    $'\tcmake -S $(SOURCE) -B recipe $(TTS_ENGINE_CONF_OPTS) $(MACHINE)' endef \
    'include tts-engine.mk' >Makefile
quietly make INSTALL=install TARGET_CC="$CC" TTS_ENGINE_PKGDIR="$work/include" \
    STAGING_DIR="$work/staging" TARGET_DIR="$work/target" \
    MACHINE="-DCMAKE_PREFIX_PATH=$work/staging/usr -DCMAKE_FIND_ROOT_PATH=$work/staging $*"
grep -q "^PlatformLog_LIBRARY.*=$work/staging" recipe/CMakeCache.txt || fail "recipe's liblog"

# resource_tree.md
minimal_tree tree
for file in $(sed -n 's/^```tree //p' "$SOURCE/docs/resource_tree.md"); do
    block resource_tree "tree $file" >"tree/$file"
done
clip $(sed 's|^|pinyinRaw/|' tree/yinsu.txt) pinyinRaw/{pau_short,shan4_1,ren2,ou1yang2_1} \
    engRaw/{wai,fai,okay}.raw greetingRaw/{hello_ch,hello_en,bye_ch}.raw greetingRaw/pau_beg
printf '%b' "$(block resource_tree hex | sed 's/\(..\) */\\x\1/g' | tr -d '\n')" >scrambled
cat >request.cpp <<'PROGRAM'
#include <fstream>
#include <iostream>
#include "engine_start.h"
int main(int, char **argv) {  // TEXT WAV SCRAMBLED: a request without its own greetings
    static char image[1 << 16];
    int size = 0;
    std::unordered_map<std::string, std::string> phrases;
    load_temp_dict(argv[3], phrases);
    for (const auto &phrase : phrases) std::cerr << phrase.first << "=" << phrase.second << "\n";
    tts_getWavData(tts_init_root("tree"), argv[1], image, &size, sizeof image, nullptr);
    std::ofstream(argv[2], std::ios::binary).write(image, size);
}
PROGRAM
quietly $CC -c -Iinclude $flags log.c
quietly $CXX -std=c++17 $flags request.cpp log.o $library -o request
rows=0
while IFS='|' read -r _ text clips _; do
    read -r text <<<"${text//\`/}"
    read -r clips <<<"$clips"
    case $text in
        -\ *) $EMULATOR ./request "${text#- }" out.wav scrambled >words 2>errors ;;
        *) "$tool" --root tree -o out.wav $text >words 2>errors || fail "$text: $(cat errors)" ;;
    esac
    same "resource_tree.md: $text" "$clips " "$(tail -c +45 out.wav)"
    rows=$((rows + 1))
done < <(awk '/^\| Text \| Clips/ { on = 1; getline; next } !/^\|/ { on = 0 } on' \
    "$SOURCE/docs/resource_tree.md")
[ $rows -gt 20 ] || fail "resource_tree.md: only $rows rows"
$EMULATOR ./request -5 out.wav scrambled 2>&1 >words | sort >errors
same "scrambled form, log.c" "TTS_ENGINE: ERROR! input format error!
TTS_ENGINE: ERROR! open tree/greetingRaw/ fail! error = 21
五度=wu3 du4
十五度=shi2 wu3 du4" "$(sed 's/ $//' errors)"

# host.md: what throws is caught, and the next request spoken.
block host "cpp speak_guarded.cpp" >speak_guarded.cpp
block host "c host.c" >host.c
quietly $CC -std=c99 $flags $LOG -c host.c
quietly $CXX -std=c++11 $flags host.o speak_guarded.cpp $library $LOG -o host
there="bwrap --dev-bind / / --tmpfs /usr/share --ro-bind tree /usr/share/tts --chdir $work"
if $there true 2>/dev/null; then
    $there $EMULATOR ./host 000 0000度 000.5度 0 00 0000 00000度 你 >words 2>sizes || fail "host.c"
    same "what throws" "-1 -1 -1 62 62 92 66 56 " "$(grep -x -e '-*[0-9][0-9]*' sizes | tr '\n' ' ')"
else
    echo "no private mount, so host.c was only built"
fi

# host.md: its log table names each message of the source once, with its priority.
formats() { sed -E 's/(\\n| )+$//; s/ +/ /g' | sort; }
sed 's/ *|$//' "$SOURCE/docs/host.md" | awk -F'|' '$2 ~ /^ (INFO|ERROR|stdout|trace)/ {
    gsub(/^ | $/, "", $2); n = split($3, part, "`")
    for (i = 2; i <= n; i += 2) print $2, part[i] }' | formats >documented
cat "$SOURCE"/src/*.cpp | tr '\n' ' ' |
    sed -E 's/" \+ [^";]* \+ *"/%s/g; s/" *"//g; s/(TTS_TRACEF_AS\()"[^"]*"/\1/g' |
    grep -oE "(TTS_(INFO|ERROR|TRACEF(_AS)?)|printf|drop_speech|report_surname)\\([^\";]*\"([^\"\\\\]|\\\\.)*\"" |
    sed -E 's/"$//; s/^(TTS_INFO|drop_speech)[^"]*" */INFO /; s/^TTS_ERROR[^"]*"/ERROR /
        s/^TTS_TRACE[^"]*"/trace /; s/^printf[^"]*"/stdout /; s/^report_surname[^"]*"/INFO, stdout /
        /^INFO(, stdout)? %s$/d' | formats | uniq >logged
diff documented logged || fail "host.md: the log table (<) is not what src/ logs (>)"
exit $failed
