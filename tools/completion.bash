# Completion of tts-say and tts-voice for bash. Options and subcommands are those that --help lists.
_tts_engine() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local kind=-f words='' command='' i
    if [ "$word" = = ]; then # bash cuts --option=value at the sign
        word=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((i = 1; i < COMP_CWORD; ++i)); do
        [[ ${COMP_WORDS[i]} == -* || -n $command ]] || command=${COMP_WORDS[i]}
    done
    [ "${1##*/}" = tts-voice ] || command=
    case $previous in
        --position) words="ahead end" ;;
        --language) words="zh en" ;;
        --speaker) words="m f" ;;
        --greeting | --first) return ;;
        --root | --data | --fill) kind=-d ;;
        -f | --file | -o | --output) ;;
        *)
            if [[ $word == -* || ${1##*/}$command == tts-voice ]]; then
                # shellcheck disable=SC2086 # no word where there is no subcommand
                words=$("$1" $command --help 2>/dev/null | awk -v options="${word%%[!-]*}" '
                    /^Subcommands:/ { listed = 1; next }
                    /^$/ { listed = 0 }
                    options && /^  -/ { gsub(",", " ", $1); print $1 }
                    !options && listed { print $1 }')
            fi
            ;;
    esac
    if [ -n "$words" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen $kind -- "$word")
    fi
}
complete -F _tts_engine tts-say tts-voice
