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

# Drives are given; what is on them then is what is to be on them after all.
give() {
    local serial
    for serial in "$@"; do
        op drives enroll "$serial" --yes-erase "$serial" || return
        remember "$serial"
    done
}
remember() { content_of "$1" >"$state/content.$1"; }
content_of() {
    sync
    outside sum "$1" 0 "$(blockdev --getsize64 "$(device_of "$1")")"
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

# How the evaluation has ended.
outcome() { op list --json | python3 -c 'import json, sys
print(*("broken off" if r["broken_off"] else r["status"] for r in json.load(sys.stdin) if r["record"] == int(sys.argv[1])))' "$record"; }

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
    local end=$((SECONDS + 900))
    volume_seen=''
    until in_phase "$1"; do
        if ! lives "$driver" || ((SECONDS >= end)); then
            echo "$1 was not met; what the library and the calls below it tell:"
            grep -E '^[0-9.]+ [0-9]+ 1 ' $state/root/var/log/sm_trace.log | tail -n 25
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

# Nothing of an evaluation is left on them or above them, and they hold what they did when they were given.
free_and_empty() {
    local serial device
    for serial in "$@"; do
        device=$(device_of "$serial")
        [[ -z $(ls -A "/sys/block/${device#/dev/}/holders") ]] || { echo "$serial has holders"; return 1; }
        ! compgen -G "${device}p*" >/dev/null || { echo "$serial has partitions"; return 1; }
        [[ $(content_of "$serial") == "$(<"$state/content.$serial")" ]] ||
            { echo "$serial holds something"; wipefs "$device"; return 1; }
    done
    [[ ! -e /proc/mdstat ]] || ! grep -q '^md' /proc/mdstat || { cat /proc/mdstat; return 1; }
    ! dmsetup ls 2>/dev/null | grep -v 'No devices' || return 1
    ! listed '[a-z]*' || { cat $state/undo.json; return 1; }
}

mib=$((1 << 20))
sectors() { cat "/sys/block/$1/$1p3/$2"; }

# The other partitions get something that can be lost.
fill_other_partitions() { # SERIAL...
    local serial part
    for serial in "$@"; do
        for part in 1 2; do
            head -c 1M /dev/urandom | dd of="$(device_of "$serial")p$part" conv=fsync status=none || return
        done
    done
}

# What lies before and behind the data partitions of drives.
around() { # SERIAL...
    local serial name start end
    for serial in "$@"; do
        name=$(basename "$(device_of "$serial")")
        start=$(($(sectors "$name" start) * 512))
        end=$((start + $(sectors "$name" size) * 512))
        echo "$(outside sum "$serial" 0 $start) $(outside sum "$serial" $end $(($(cat "/sys/block/$name/size") * 512 - end)))"
    done
}

# While the last ratio is measured: which share of what the drives have cut off, and of what they still
# use, do their files have blocks for?
look_at_discards() { # SERIAL... ; sets cut_off and in_use, in percent, the worst of all
    local serial name start size rest
    cut_off=0 in_use=100
    for serial in "$@"; do
        name=$(basename "$(device_of "$serial")")
        start=$(($(sectors "$name" start) * 512)) size=$(($(sectors "$name" size) * 512))
        rest=$((size * 60 / 100))
        # The array's own block is in the last MiB.
        local tail=$(($(outside allocated "$serial" $((start + rest)) $((size - rest - mib))) * 100 / (size - rest - mib)))
        local head=$(($(outside allocated "$serial" $((start + 4 * mib)) $((rest - 28 * mib))) * 100 / (rest - 28 * mib)))
        ((tail <= cut_off)) || cut_off=$tail
        ((head >= in_use)) || in_use=$head
    done
}

# The report of a ratio has lines from its first slice on; the volume may be filled before.
last_ratio_runs() {
    local file
    for file in "$state"/root/opt/Oprella/util/log/*_runtime_40.csv; do
        [[ ! -s $file ]] || { process_of fio >/dev/null && return; }
    done
    return 1
}

lowest=0 # of the ratios; the others are 20 and 40
evaluate() { # RAID "SERIAL..." [OPTION...]: as a new user does, from the plan to the report
    local raid=$1 before
    local -a serials more=("${@:3}")
    read -ra serials <<<"$2"
    check "RAID $raid: a plan is made" op start --raid "$raid" --drives "$(names_of "${serials[@]}")" --quick --dry-run
    check "RAID $raid: an evaluation starts" begin "$raid" "$2" --title "RAID $raid in the guest" --min-op "$lowest" --max-op 40 --interval 20 "${more[@]}"
    [[ -n ${record:-} ]] || return
    check "RAID $raid: its script begins" reach script || return
    check "RAID $raid: the other partitions are filled" fill_other_partitions "${serials[@]}"
    before=$(around "${serials[@]}")
    if wait_for 900 last_ratio_runs; then
        look_at_discards "${serials[@]}"
        # Where one ratio is all, what it cuts off was never written to.
        [[ $lowest -eq 40 ]] ||
            check "RAID $raid: what is cut off has been given back ($cut_off % of it has blocks)" test "$cut_off" -eq 0
        check "RAID $raid: what is in use has not ($in_use % of it has blocks)" test "$in_use" -ge 95
        check "RAID $raid: nothing outside the data partitions has changed" test "$(around "${serials[@]}")" = "$before"
    else
        miss "RAID $raid: the last ratio is not met"
    fi
    check "RAID $raid: it is watched to its end" op watch "$record"
    check "RAID $raid: it is completed" test "$(outcome)" = completed
    check "RAID $raid: the record has all ratios" test "$(op show "$record" --json | tee "/tmp/guest/record.$raid" |
        python3 -c 'import json, sys; r = json.load(sys.stdin); print(sum(x["iops"] > 0 for x in r["results"]))')" = $(((40 - lowest) / 20 + 1))
    op show "$record"
    reports "RAID $raid"
    check "RAID $raid: nothing is left on the drives" free_and_empty "${serials[@]}"
}

reports() { # TEXT
    check "$1: a page is made" op report "$record" --output "/root/$record.html"
    check "$1: a workbook is made" op export "$record" --xlsx --output "/root/$record.xlsx"
    check "$1: it is whole" python3 -m zipfile -t "/root/$record.xlsx"
    check "$1: a table lies where it is said to" test -s "$(op export "$record" --csv --output /tmp/table.csv --json | field path)"
    check "$1: a ratio is recommended" op recommend "$record" --min-iops 1
}
