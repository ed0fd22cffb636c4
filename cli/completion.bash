# Completion of ssd-op's command lines in bash: commands, options and words as its own help tells
# them, numbers of records, names of drives. What the program prints is data: nothing of it is
# expanded, and a program that fails or hangs completes nothing.
# shellcheck shell=bash

_ssd_op_ask() { timeout 2 "$@" 2>/dev/null </dev/null; }

# Offers those of the words that begin with what stands at the cursor.
_ssd_op_offer() {
    local word
    for word in "$@"; do [[ $word != "$current"* ]] || COMPREPLY+=("$word"); done
}

_ssd_op_records() {
    local number
    while read -r number; do
        [[ " ${COMP_WORDS[*]} " == *" $number "* ]] || _ssd_op_offer "$number"
    done < <(_ssd_op_ask "${program[@]}" list --json | sed -nE 's/^ *"record": ([0-9]+),?$/\1/p')
}

# Free drives, after those that stand before the last comma.
_ssd_op_drives() {
    local device chosen=''
    [[ $current != *,* ]] || chosen=${current%,*},
    while read -r device; do
        [[ ,$chosen == *",$device,"* ]] || _ssd_op_offer "$chosen$device"
    done < <(_ssd_op_ask "${program[@]}" drives --json |
        sed -nE '/^ *"device": "\/dev\/([a-z0-9]+)",?$/{s//\1/;h}; /^ *"free": true,?$/{x;p}')
    compopt -o nospace
}

# Whether the help says that an option is followed by a value.
_ssd_op_takes_value() { [[ $1 =~ ^--[a-z-]+$ ]] && grep -qE -- "^ +$1 (TEXT|U?INT|FLOAT)" <<<"$help"; }

_ssd_op_value() {
    case $previous in
        --drives) _ssd_op_drives ;;
        --raid) _ssd_op_offer 0 1 5 6 10 single ;;
        --output) compopt -o default ;;
    esac
}

# Fills command, with the words before the cursor that name it, and help, with its own.
_ssd_op_read() {
    local word before=''
    help=$(_ssd_op_ask "${program[@]}" --help)
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if ! _ssd_op_takes_value "$before" && [[ $word =~ ^[a-z]+$ ]] &&
            grep -qE "^  $word  " < <(_ssd_op_commands_of_help); then
            command+=("$word")
            help=$(_ssd_op_ask "${program[@]}" "${command[@]}" --help)
        fi
        before=$word
    done
}

_ssd_op_commands_of_help() { sed -n '/^Subcommands:$/,/^$/{/^  [a-z]/p}' <<<"$help"; }

_ssd_op() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} help
    local -a program=("$1") command=() words
    COMPREPLY=()
    [[ $COMP_CWORD -lt 2 || ${COMP_WORDS[1]} != --host ]] || program+=(--host)
    _ssd_op_read
    if _ssd_op_takes_value "$previous"; then
        _ssd_op_value
    elif [[ $current == -* ]]; then
        mapfile -t words < <(sed -nE 's/^ +(-h,)?(--[a-z-]+).*/\2/p' <<<"$help")
        _ssd_op_offer "${words[@]}"
    else
        mapfile -t words < <(_ssd_op_commands_of_help | sed -E 's/^  ([a-z]+).*/\1/'
            sed -nE 's/^  [A-Z]+ TEXT:\{([a-z,]+)\}.*/\1/p' <<<"$help" | tr , '\n')
        _ssd_op_offer "${words[@]}"
        ! grep -qE '^  RECORDS? ' <<<"$help" || _ssd_op_records
    fi
}

complete -F _ssd_op ssd-op
