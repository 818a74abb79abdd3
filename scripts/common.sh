# shellcheck shell=sh
# What the scripts share. Sourced first: makes the project's root the working directory, with a build/ in it.
script=scripts/$(basename "$0")
cd "$(dirname "$0")/.." || exit 1
mkdir -p build

# Prints the usage lines at the head of the script.
usage() { sed -n 's/^# Usage: /usage: /p' "$script" >&2; exit 2; }

# quietly LOG COMMAND...: the output goes to the file LOG, which is shown when the command fails.
quietly() (
    log=$1
    shift
    "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
)

# build PRESET [TARGET...]: configures and builds it; all targets unless given.
build() {
    preset=$1
    shift
    quietly "build/configure-$preset.log" cmake --preset "$preset" &&
        cmake --build --preset "$preset" ${1:+--target "$@"}
}

# update FILE MADE [--check]: replaces the committed FILE; with --check only compares it.
update() {
    if [ "${3-}" != --check ]; then
        cat "$2" >"$1"
    elif ! diff -u "$1" "$2"; then
        echo "$script: $1 is not what its sources give; run $script" >&2
        exit 1
    fi
}
