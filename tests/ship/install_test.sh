#!/bin/bash
# Installs a build, moves the copy, and builds and runs the hosts of tests/hosts against it, by
# pkg-config and by CMake. Usage: install_test.sh BUILD_DIR CMAKE_ARGUMENT...
# The environment gives CC and CXX with what they always need, and EMULATOR, which runs what they
# build, or nothing.
set -eu
build=$(realpath "$1") source=$(realpath "$(dirname "$0")/../..")
shift
. "$(dirname "$0")/../support/shell.sh"

quietly cmake --install "$build" --prefix "$work/first"
mv first installed
library=$(find installed -name libtts_engine.so) lib=$work/$(dirname "$library")
grep -rl "$work/first" installed && fail "the copy knows where it was installed"
readelf -d "$library" installed/bin/* | grep PATH | grep -F "$build" && fail "it needs the build"

minimal_tree tree pinyinRaw/{ni2_1:64:a,hao3:64:b} greetingRaw/pau_beg:64:P
printf '%s\n' 你=ni3 好=hao3 >tree/pinyin_dict.txt
printf '%s\n' ni2_1 ni3 hao3 >tree/yinsu.txt

mkdir cmake plain
sed -n '/^```c$/,/^```$/{/^```/!p;/^```$/q}' "$source/README.md" >cmake/c_host.c
quietly cmake -G Ninja -S "$source/tests/hosts" -B cmake -DCMAKE_PREFIX_PATH="$work/installed" \
    -DCMAKE_FIND_ROOT_PATH="$work/installed" "$@"
quietly cmake --build cmake

warnings="-Wall -Wextra -Wpedantic -Werror"
flags=$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --cflags --libs tts-engine)
# shellcheck disable=SC2086 # lists of words
{
    quietly $CC -std=c99 $warnings cmake/c_host.c -o plain/c_host $flags "-Wl,-rpath,$lib"
    quietly $CXX -std=c++11 $warnings "$source/tests/hosts/host.cpp" -o plain/cpp_host $flags \
        "-Wl,-rpath,$lib"
    # Not linked to the library.
    quietly $CXX -std=c++11 $warnings "-DTTS_LIBRARY=\"$lib/libtts_engine.so.1\"" \
        "$source/tests/hosts/host.cpp" -o plain/dlopen_host "-I$work/installed/include"

    quietly $EMULATOR installed/bin/tts-say --root tree -o hello.wav 你好
    quietly $EMULATOR installed/bin/tts-voice --version
    $EMULATOR installed/bin/tts-voice build --help | tr -d '\n ' |
        grep -q "=$work/installed/share/tts-engine/voiceD" || fail "tts-voice has no lists"
    there="bwrap --dev-bind / / --tmpfs /usr/share --ro-bind tree /usr/share/tts --chdir $work"
    if ! $there true 2>log; then
        echo "skipped: no private mount, so the hosts were built only: $(cat log)"
        exit $((failed ? 1 : 77))
    fi
    for host in {cmake,plain}/{c,cpp}_host plain/dlopen_host; do
        rm -f hello.wav
        quietly $there $EMULATOR "./$host" 你好
        [ "$(tail -c +45 hello.wav | tr -s abP)" = Pab ] || fail "$host does not speak"
    done
}
exit $failed
