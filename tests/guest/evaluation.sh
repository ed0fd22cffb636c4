# What those jobs of the guest share that run whole evaluations.
# shellcheck shell=bash
# shellcheck source=lib.sh
source /tmp/guest/lib.sh

state=/var/lib/ssd-op
op() { "$build/bin/ssd-op" --host "$@"; }

# The kernel's names of drives, with commas between them.
names_of() {
    local serial names=''
    for serial in "$@"; do names+=,$(basename "$(device_of "$serial")"); done
    echo "${names#,}"
}

give() {
    local serial
    for serial in "$@"; do op drives enroll "$serial" --yes-erase "$serial" || return; done
}

field() { python3 -c 'import json, sys
value = json.load(sys.stdin)
for key in sys.argv[1:]: value = value[int(key) if key.isdigit() else key]
print(value)' "$@"; }

# begin RAID "SERIAL..." [OPTION...]: starts an evaluation; sets record, and driver, its process.
begin() {
    local raid=$1 serials=$2 i
    shift 2
    # shellcheck disable=SC2086 # they are words
    op start --raid "$raid" --drives "$(names_of $serials)" --quick --yes --json "$@" >/tmp/guest/start.json || return
    record=$(field record </tmp/guest/start.json)
    for ((i = 0; i < 100; i++)); do
        driver=$(sed -nE "/^\[Record_$record\]/,/^\[Record_/{s/^driver *= *([0-9]+).*/\1/p}" \
            "$state/root/etc/.sm_v2_ssd_op_runtime_info" 2>/dev/null | head -n 1)
        [[ -z $driver ]] || return 0
        sleep 0.1
    done
    echo "the driver has not announced itself"
    return 1
}

lives() { [[ -d /proc/$1 && $(sed -n 's/^State:\t\(.\).*/\1/p' "/proc/$1/status" 2>/dev/null) != Z ]]; }

# wait_for SECONDS COMMAND...: until it succeeds.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.1
    done
}
gone() { ! lives "$1"; }

# How the evaluation has ended, in a word.
outcome() { op list --json | python3 -c 'import json, sys
print(*(r["status"] for r in json.load(sys.stdin) if r["record"] == int(sys.argv[1])))' "$record"; }

# The process that runs a program, by its name; nothing when none does.
process_of() {
    local file name
    for file in /proc/[0-9]*/comm; do
        { read -r name <"$file"; } 2>/dev/null || continue
        [[ $name != "$1" ]] || { file=${file#/proc/} && echo "${file%/comm}" && return; }
    done
    return 1
}

listed() { grep -q "\"kind\": *\"$1\"" $state/undo.json 2>/dev/null; }
script_runs() { process_of test-all.sh >/dev/null || pgrep -f '/util/test-all.sh' >/dev/null; }

# Whether the evaluation is in that phase now.
in_phase() {
    case $1 in
        discard) process_of kblkdiscard >/dev/null && ! listed array ;;
        measurement) process_of fio >/dev/null && ! listed array ;;
        creation) listed array && ! listed volume ;;
        script) listed volume && process_of fio >/dev/null ;;
        finishing)
            if listed volume; then volume_seen=yes; fi
            [[ -n $volume_seen ]] && listed pool && ! listed volume
            ;;
    esac
}

# reach PHASE: waits for it; fails when the evaluation ends before.
reach() {
    local end=$((SECONDS + 600))
    volume_seen=''
    until in_phase "$1"; do
        if ! lives "$driver" || ((SECONDS >= end)); then
            echo "$1 was not met"
            return 1
        fi
        sleep 0.02
    done
}

pull() {
    local device
    device=$(basename "$(device_of "$1")")
    echo 1 >"$(readlink -f "/sys/block/$device/device/device")/remove"
}
put_back() {
    local serial=$1
    echo 1 >/sys/bus/pci/rescan
    wait_for 60 is_there "$serial"
}
is_there() {
    find_drives
    [[ -n ${devices[$1]:-} && -b ${devices[$1]:-/} ]]
}

# Nothing of an evaluation is left on them or above them.
free_and_empty() {
    local serial device
    for serial in "$@"; do
        device=$(device_of "$serial")
        [[ -z $(ls -A "/sys/block/${device#/dev/}/holders") ]] || { echo "$serial has holders"; return 1; }
        ! compgen -G "${device}p*" >/dev/null || { echo "$serial has partitions"; return 1; }
        [[ -z $(wipefs --noheadings "$device") ]] || { echo "$serial has signatures"; wipefs "$device"; return 1; }
    done
    [[ ! -e /proc/mdstat ]] || ! grep -q '^md' /proc/mdstat || { cat /proc/mdstat; return 1; }
    ! dmsetup ls 2>/dev/null | grep -v 'No devices' || return 1
    ! listed '[a-z]*' || { cat $state/undo.json; return 1; }
}
