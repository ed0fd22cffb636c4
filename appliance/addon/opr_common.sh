# shellcheck shell=bash disable=SC2034 # what is set here is used by the scripts
# What test-all.sh and SOPT.sh share: exit statuses, and children that end with their parent.
# Sourced; UTIL, the directory of the scripts, is set by then.

export LC_ALL=C PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin

readonly EXIT_FAILED=1 EXIT_USAGE=2 EXIT_STOPPED=3 EXIT_SKIPPED=254
readonly OPR=$UTIL/disk_opr_util

# Run a command and wait for it; its exit status is the result. The child is killed by the kernel
# when this shell ends, however it ends, so kill -9 of a script takes everything below with it. The
# child looks for its parent first, which may have ended before the kernel was told. It is waited for
# in the background, because a trap would else wait for the child.
run() {
    local parent=$BASHPID
    # shellcheck disable=SC2016  # these variables are the child's
    setpriv --pdeathsig KILL -- \
        /bin/sh -c '[ "$PPID" = "$0" ] || exit 1; exec "$@"' "$parent" "$@" &
    wait "$!"
}

# The same with the first line of the command's output as fields in ANSWER.
ask() {
    local status=0
    run "$@" >"$PREFIX"answer || status=$?
    ANSWER=()
    read -r -a ANSWER <"$PREFIX"answer || :
    return "$status"
}

end_on_signal() {
    local children
    children=$(jobs -p)
    # shellcheck disable=SC2086  # one word for each process
    [[ -z $children ]] || kill -KILL $children 2>/dev/null
    exit "$((128 + $1))"
}
trap 'end_on_signal 1' HUP
trap 'end_on_signal 2' INT
trap 'end_on_signal 15' TERM

# "/dev/mapper/lv1568" and "random" give the prefix of all files of the run.
file_prefix() {
    PREFIX=$UTIL/log/${1//\//_}_$2_
}

log() {
    printf '%(%F %T)T %s\n' -1 "$*" >>"$PREFIX"log.txt
}

is_number() {
    [[ $1 =~ ^[0-9]{1,15}$ ]]
}
