# What the jobs of the guest share. Each check prints a line; finish tells how many failed.
# shellcheck shell=bash

export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C DM_DISABLE_UDEV=1 LVM_SUPPRESS_FD_WARNINGS=1
build=$(</tmp/guest/build)
host=$build/bin/ssd-op-host
failed=0
# Which boot of this job it is, from 1: another begins when the job has the power cut.
# shellcheck disable=SC2034
boot=$(sed -E 's/.*guest_boot=([0-9]+).*/\1/' /proc/cmdline)

# outside REQUEST...: asks whoever runs the guest (see answers.sh); prints the answer's text.
exec {outside}<>/dev/ttyS1
stty -F /dev/ttyS1 raw -echo
outside() {
    local status text
    echo "$*" >&"$outside"
    read -r status text <&"$outside"
    [[ -z $text ]] || echo "$text"
    [[ $status == ok ]]
}

# Not what was written a moment ago is lost, but what nobody has synced.
cut_power() {
    echo "the power is cut: $*"
    sleep 0.3 # for the line to get out
    outside cut
}

pass() { echo "ok      $*"; }
miss() {
    echo "FAILED  $*"
    failed=$((failed + 1))
}

# check TEXT COMMAND...: the command succeeds, and so does this then.
check() {
    local text=$1
    shift
    if "$@" >/tmp/guest/output 2>&1; then pass "$text"; else
        miss "$text"
        sed 's/^/        /' /tmp/guest/output
        return 1
    fi
}

fails() { ! "$@"; }

# The names that the drives have now, by their serial numbers as the kernel's own files have them.
declare -A devices
find_drives() {
    local directory serial
    devices=()
    for directory in /sys/block/nvme* /sys/block/sd*; do
        [[ -e $directory ]] || continue
        serial=$(tr -cd '[:alnum:]' 2>/dev/null <"$directory/device/serial" ||
            tr -cd '[:alnum:]' <"$directory/device/vpd_pg80")
        devices[$serial]=/dev/${directory##*/}
    done
}
find_drives
device_of() { echo "${devices[$1]:?there is no such drive}"; }

# The sum of all that is on a drive, past what the kernel still has in memory.
sum_of() {
    sync
    sha256sum <"$1"
}

# at_terminal PATTERN COMMAND: runs it at a terminal of its own until the pattern shows; then answer is to be
# called, which types a line and has the command's exit status.
session=/tmp/guest/session
at_terminal() {
    local i
    rm -f /tmp/guest/typed "$session"
    mkfifo /tmp/guest/typed
    script -fqec "$2" "$session" </tmp/guest/typed >/dev/null &
    at_terminal=$!
    exec 8>/tmp/guest/typed
    for ((i = 0; i < 300; i++)); do
        grep -qs -- "$1" "$session" && return
        sleep 0.1
    done
}
answer() {
    local status=0
    echo "$1" >&8
    wait "$at_terminal" || status=$?
    exec 8>&-
    return $status
}

# enroll SERIAL [OPTION...]: as a script does.
enroll() { "$host" drives enroll "$1" --yes-erase "$@"; }

# refuses TEXT SERIAL PATTERN [OPTION...]: the drive is refused for that reason, and not touched.
refuses() {
    local text=$1 serial=$2 pattern=$3 device before status=0
    shift 3
    device=$(device_of "$serial")
    before=$(sum_of "$device")
    "$host" drives enroll "$serial" --yes-erase "$serial" "$@" >/tmp/guest/output 2>&1 || status=$?
    if [[ $status -eq 1 ]] && grep -qE -- "$pattern" /tmp/guest/output && [[ $(sum_of "$device") == "$before" ]]; then
        pass "$text: $(grep -m1 -oE -- "$pattern" /tmp/guest/output)"
    else
        miss "$text (status $status)"
        sed 's/^/        /' /tmp/guest/output
    fi
}

finish() {
    echo "$failed failed"
    exit $((failed > 0))
}
