#!/bin/bash
# Measure a test volume at one over-provisioning ratio.
#
#   SOPT.sh VOLUME TYPE OP RECORD SIZE MIN_IOPS ABORT_TIME [INDEX COUNT FILLED]
#
#   OP                  ratio, percent of the volume to leave free
#   INDEX, COUNT        place of this ratio among all, from 0, and how many there are; default 0 1
#   FILLED              1 when the volume holds data throughout; default 0: it is filled first
#   the other ones      as for test-all.sh, which runs this for each ratio
#
# Sets the ratio, fills the volume if need be, writes twice the area under test, then measures in
# rounds of a minute until the last five are steady or 25 have passed. README.md has the details.
#
# Exit status: 0 measured, whatever the label; 1 a step failed; 2 wrong arguments; 3 the record was
# stopped; 254 the ratio cannot be set and is skipped; 128 + n ended by signal n.

set -u

UTIL=${BASH_SOURCE[0]%/*}
# shellcheck source=opr_common.sh
. "$UTIL/opr_common.sh"

readonly WINDOW=5
readonly PASSES=2 # over the area under test, to precondition it, in so many SLICES
MAX_ROUNDS=25 ROUND_SECONDS=60 SLICES=20 FILL_SLICES=10
[[ -z ${OPR_REHEARSAL:-} ]] || MAX_ROUNDS=8 ROUND_SECONDS=5 SLICES=4 FILL_SLICES=2
readonly MAX_ROUNDS ROUND_SECONDS SLICES FILL_SLICES
readonly THROTTLE_CELSIUS=70

usage() {
    echo "usage: ${0##*/} VOLUME random|sequential|all OP RECORD SIZE MIN_IOPS ABORT_TIME" \
        "[INDEX COUNT FILLED]" >&2
    exit "$EXIT_USAGE"
}

take_arguments() {
    (($# == 7 || $# == 10)) || usage
    VOLUME=$1 TYPE=$2 OP=$3 RECORD=$4 SIZE=${5%M} MIN_IOPS=$6 ABORT_TIME=$7
    INDEX=${8:-0} COUNT=${9:-1} FILLED=${10:-0}
    local number
    for number in "$OP" "$RECORD" "$SIZE" "$MIN_IOPS" "$ABORT_TIME" "$INDEX" "$COUNT" "$FILLED"; do
        is_number "$number" || usage
    done
    ((OP <= 100 && COUNT > 0)) || usage
    case $TYPE in
        random | sequential) PARTS=("$TYPE") ;;
        all) PARTS=(sequential random) ;;
        *) usage ;;
    esac
}

# What is known before anything is measured.
prepare() {
    file_prefix "$VOLUME" "$TYPE"
    REPORT=${PREFIX}runtime_$OP.csv TEMPERATURES=${PREFIX}temperature_$OP.csv
    PENDING=${PREFIX}pending_$OP.csv DETAILS=${PREFIX}details.txt
    export SSD_OP_FIO_DETAILS=$DETAILS # an appliance's fio has none to tell
    mkdir -p "$UTIL/log" "$UTIL/history"
    rm -f -- "$REPORT" "$TEMPERATURES"
    : >"$REPORT"
    : >"$PENDING"
    LABEL='' WA=0 OTHER_IOPS=0 STEADY_IOPS=0 PART=0
    ROUNDS=()
    HOST_KIB=(0) FLASH_KIB=(0) CELSIUS=(0) # then at the ratio's start and after each step
    MEAN_US='' P99_US='' SECOND_RATES=()
}

# ---- Progress ----

# Tell the front end that a ratio begins; -1 stands for the fill before the first one.
begin() {
    START_US=${EPOCHREALTIME/./}
    STEP=1 PERCENT=0 ETA=0 WRITTEN_KIB=0 IOPS=0
    local before=$((20 + 80 * INDEX / COUNT))
    (($1 >= 0)) || before=0
    publish --ratio="$1" --steps="$((1 + 2 * ${#PARTS[@]}))" --start="$((START_US / 1000000))" \
        --script-progress="$before"
}

# Write the ratio's figures, and the keys given. Does not come back when the record was stopped.
publish() {
    local status=0
    run "$OPR" progress "$RECORD" "$VOLUME" --step="$STEP" --percent="$PERCENT" --eta="$ETA" \
        --written="$WRITTEN_KIB" --iops="$IOPS" "$@" || status=$?
    ((status != EXIT_STOPPED)) || give_up "$EXIT_STOPPED" "the record is no longer testing"
}

elapsed() {
    ELAPSED_MS=$(((${EPOCHREALTIME/./} - START_US) / 1000))
}

# Publish how far the current part is, in percent, and the seconds that it still takes. A part that
# comes after it is taken to last as long; the abort time ends them all.
publish_part() {
    local later=$((${#PARTS[@]} - 1 - PART))
    PERCENT=$(((100 * PART + $1) / ${#PARTS[@]}))
    local allowed=$((ABORT_TIME - ELAPSED_MS / 1000))
    ETA=$(($2 + later * (ELAPSED_MS / 1000 + $2)))
    ((ABORT_TIME == 0 || ETA <= allowed)) || ETA=$((allowed > 0 ? allowed : 0))
    publish
}

# ---- Writing ----

# Write to the volume with fio; sets IOPS. Arguments: random|sequential, what and how much.
write_volume() {
    local pattern=randwrite block=4k block_kib=4 output
    if [[ $1 == sequential ]]; then pattern=write block=1M block_kib=1024; fi
    shift
    BEGAN_MS=$(((${EPOCHREALTIME/./} - START_US) / 1000)) WRITTEN_BEFORE=$WRITTEN_KIB
    rm -f -- "$DETAILS"
    if ! run /sbin/fio --filename="$VOLUME" --name=opr --direct=1 --ioengine=libaio --iodepth=32 \
        --randrepeat=0 --rw="$pattern" --bs="$block" "$@" >"$PREFIX"fio.txt 2>&1; then
        publish # a stop ends in here
        give_up "$EXIT_FAILED" "fio failed"
    fi
    output=$(<"$PREFIX"fio.txt)
    [[ $output =~ 'write: io='.*iops=([0-9]+),\ runt=\ *([0-9]+)msec ]] ||
        give_up "$EXIT_FAILED" "fio printed no summary"
    IOPS=${BASH_REMATCH[1]}
    WRITTEN_KIB=$((WRITTEN_KIB + IOPS * block_kib * BASH_REMATCH[2] / 1000))
    take_details
}

# What fio tells beside its line: latencies in microseconds, and the rate of each second.
take_details() {
    MEAN_US='' P99_US='' SECOND_RATES=()
    [[ -s $DETAILS ]] || return 0
    local key value
    while IFS=, read -r key value; do
        [[ $value =~ ^[0-9]{1,15}(\.[0-9]+)?$ ]] || continue
        case $key in
            mean_latency_us) MEAN_US=$value ;;
            p99_latency_us) P99_US=$value ;;
            iops) SECOND_RATES+=("$value") ;;
        esac
    done <"$DETAILS"
}

# Write the n-th of the slices in which an area is written over: all over it when random, one after
# the other when sequential. Arguments: random|sequential, MiB of the area, passes over it, n from 1,
# number of slices.
write_slice() {
    local amount=$(($2 * $3)) from to
    from=$((amount * ($4 - 1) / $5)) to=$((amount * $4 / $5))
    if [[ $1 == sequential ]]; then
        write_volume sequential --offset="$((from % $2))M" --size="$((to - from))M"
    else
        write_volume random --size="${2}M" --io_limit="$((to - from))M"
    fi
}

# Put data everywhere, so that nothing is free but what a ratio leaves free.
fill_volume() {
    local n
    for ((n = 1; n <= FILL_SLICES; ++n)); do
        write_slice sequential "$VOLUME_MIB" 1 "$n" "$FILL_SLICES"
        elapsed
        PERCENT=$((100 * n / FILL_SLICES)) ETA=$((ELAPSED_MS * (FILL_SLICES - n) / n / 1000))
        publish
    done
}

# ---- Observing ----

# Take what the drives say: their counters, and a row of temperatures. Counters that lack a drive's
# repeat the last ones, both of them, so that a drive that does not answer costs no measurement. It
# may be the hottest, so the temperature does not fall then.
observe_drives() {
    local missed=0 host flash celsius
    elapsed
    ask "$OPR" sample "$RECORD" "$VOLUME" "$ELAPSED_MS" "$TEMPERATURES" || missed=1
    host=${ANSWER[0]:-0} flash=${ANSWER[1]:-0} celsius=${ANSWER[2]:-0}
    if ((missed || (flash == 0 && FLASH_KIB[-1] > 0))); then
        host=${HOST_KIB[-1]} flash=${FLASH_KIB[-1]}
    fi
    if ((missed && celsius < CELSIUS[-1])); then celsius=${CELSIUS[-1]}; fi
    HOST_KIB+=("$host") FLASH_KIB+=("$flash") CELSIUS+=("$celsius")
}

# Set WA to the drives' write amplification over the last $1 steps: flash writes per host write.
take_write_amplification() {
    local host=$((HOST_KIB[-1] - HOST_KIB[-1 - $1])) flash=$((FLASH_KIB[-1] - FLASH_KIB[-1 - $1]))
    WA=0
    ((FLASH_KIB[-1 - $1] == 0 || host <= 0 || flash < 0)) || # 0: not known
        printf -v WA '%d.%02d' "$((flash / host))" "$((flash % host * 100 / host))"
}

# After a step, a line of the runtime report: milliseconds, IOPS, write amplification, temperature
# of the hottest drive, KiB written. Where fio tells latencies, their mean and their 99th percentile
# stand in the third and fourth field.
observe_step() {
    observe_drives
    take_write_amplification 1
    report_line "$ELAPSED_MS" "$IOPS" "$WRITTEN_KIB"
    store_observations
}

report_line() {
    local line="$1, $2, ${MEAN_US:-$WA}, ${P99_US:-${CELSIUS[-1]}}, $3"
    echo "$line" >>"$REPORT"
    echo "$line" >>"$PENDING"
}

# A line for each second of a round, where fio tells them. By the KiB written, which are those of the
# line before, readers tell them from the lines of slices and rounds.
report_seconds() {
    local n
    for ((n = 0; n < ${#SECOND_RATES[@]} && n < ROUND_SECONDS; ++n)); do
        report_line "$((BEGAN_MS + 1000 * (n + 1)))" "${SECOND_RATES[n]}" "$WRITTEN_BEFORE"
    done
}

# Into the database at once: a stop kills this script without a warning. Lines that could not be
# stored wait for the next time.
store_observations() {
    if run "$OPR" store "$RECORD" "$VOLUME" "$OP" "$PENDING" "$TEMPERATURES"; then
        : >"$PENDING"
    else
        log "OP $OP: observations not stored"
    fi
}

# ---- Measuring ----

set_ratio() {
    local status=0
    ask "$OPR" set-op "$RECORD" "$VOLUME" "$OP" || status=$?
    case $status in
        0) VOLUME_MIB=${ANSWER[0]} ;;
        "$EXIT_SKIPPED") skip ;;
        "$EXIT_STOPPED") give_up "$EXIT_STOPPED" "the record is no longer testing" ;;
        *) give_up "$EXIT_FAILED" "set-op ended with status $status" ;;
    esac
    AREA_MIB=$((SIZE < VOLUME_MIB ? SIZE : VOLUME_MIB))
    ((AREA_MIB >= SLICES)) || give_up "$EXIT_FAILED" "$AREA_MIB MiB is too small an area to test"
}

# Takes the first four fifths of a part's progress.
precondition() {
    local n began left
    elapsed
    began=$ELAPSED_MS
    for ((n = 1; n <= SLICES; ++n)); do
        write_slice "$1" "$AREA_MIB" "$PASSES" "$n" "$SLICES"
        observe_step
        left=$(((ELAPSED_MS - began) * (SLICES - n) / n / 1000))
        publish_part "$((80 * n / SLICES))" "$((left + WINDOW * ROUND_SECONDS))"
        abort_in_time
        [[ -z $LABEL ]] || return 0
    done
}

# Rounds until there is a label. Progress counts on five of them and waits at 99 for any more.
measure_rounds() {
    local n
    for ((n = 1; n <= MAX_ROUNDS; ++n)); do
        write_volume "$1" --size="${AREA_MIB}M" --runtime="$ROUND_SECONDS" --time_based
        ROUNDS+=("$IOPS")
        report_seconds
        observe_step
        if ((n < WINDOW)); then
            publish_part "$((80 + 4 * n))" "$(((WINDOW - n) * ROUND_SECONDS))"
        else
            publish_part 99 "$ROUND_SECONDS"
            judge_window "$1"
        fi
        [[ -n $LABEL ]] || abort_in_time
        [[ -z $LABEL ]] || return 0
    done
    LABEL='cap reached'
}

# The lowest rate that the user accepts is one of the type's last part: of "all", the random writes.
judge_window() {
    local last=("${ROUNDS[@]: -WINDOW}")
    if [[ $1 == "${PARTS[-1]}" ]] &&
        ((last[0] + last[1] + last[2] + last[3] + last[4] < MIN_IOPS * WINDOW)); then
        LABEL=aborted
    elif run "$OPR" steady "${last[@]}"; then
        LABEL=steady
    fi
}

abort_in_time() {
    ((ABORT_TIME == 0 || ELAPSED_MS < ABORT_TIME * 1000)) || LABEL=aborted
}

was_throttled() {
    local celsius
    for celsius in "${CELSIUS[@]: -$1}"; do
        ((celsius < THROTTLE_CELSIUS)) || return 0
    done
    return 1
}

# The part's figures: MEAN and WA over the last five rounds, or over as many as there are; without a
# round, those of the last slice.
evaluate_part() {
    local n=$((${#ROUNDS[@]} < WINDOW ? ${#ROUNDS[@]} : WINDOW)) rate sum=0
    if ((n > 0)); then
        for rate in "${ROUNDS[@]: -n}"; do ((sum += rate)); done
    else
        n=1 sum=$IOPS
    fi
    printf -v MEAN '%d.%d' "$((sum / n))" "$((sum % n * 10 / n))"
    take_write_amplification "$n"
    if [[ $LABEL != aborted ]] && was_throttled "$n"; then LABEL=throttled; fi
}

# Beside the steady rate stands the first round's, right after the preconditioning; of "all" it is
# the steady rate of the sequential writes.
keep_results() {
    if ((${#PARTS[@]} == 1)); then
        OTHER_IOPS=${ROUNDS[0]:-$IOPS} STEADY_IOPS=$MEAN
    elif ((PART == 0)); then
        OTHER_IOPS=$MEAN
    else
        STEADY_IOPS=$MEAN
    fi
}

measure_part() {
    ROUNDS=() LABEL='' IOPS=0
    STEP=$((2 + 2 * PART))
    precondition "$1"
    STEP=$((3 + 2 * PART))
    [[ -n $LABEL ]] || measure_rounds "$1"
    evaluate_part
    keep_results
}

# A ratio is as good as the worse of its parts. An aborted part is the last one.
measure() {
    local worst=''
    observe_drives
    for ((PART = 0; PART < ${#PARTS[@]}; ++PART)); do
        measure_part "${PARTS[PART]}"
        case $LABEL,$worst in
            steady,?* | 'cap reached,throttled') LABEL=$worst ;;
        esac
        worst=$LABEL
        [[ $LABEL != aborted ]] || return 0
    done
}

# ---- Ending ----

# The summary line, the line of the history, and the result into the database, for the case that
# nobody comes to read the summary. The name of a ratio stands nowhere else in the summary file,
# where it is searched for.
conclude() {
    echo "OP_$OP%, $WA, $STEADY_IOPS, $OTHER_IOPS, ${#ROUNDS[@]}, $LABEL" >>"$PREFIX"report.csv
    remember
    [[ ! -s $PENDING ]] || store_observations
    run "$OPR" store-result "$RECORD" "$VOLUME" "$OP" "$WA" "$STEADY_IOPS" ||
        log "OP $OP: result not stored"
}

remember() {
    echo "$OP,$WA,$STEADY_IOPS,$OTHER_IOPS,${#ROUNDS[@]},$LABEL" >>"$UTIL/history/Record_$RECORD.csv"
    log "OP $OP: $LABEL, $STEADY_IOPS IOPS, write amplification $WA"
    [[ -z $MEAN_US ]] || remember_drives
}

# What the drives counted at the ratio, and the latencies of its last round or slice.
remember_drives() {
    local file=$UTIL/history/Record_${RECORD}_drives.csv host='' flash=''
    ((HOST_KIB[1] == 0)) || host=$((HOST_KIB[-1] - HOST_KIB[1]))
    ((FLASH_KIB[1] == 0)) || flash=$((FLASH_KIB[-1] - FLASH_KIB[1]))
    ((FLASH_KIB[-1] > 0)) ||
        log "OP $OP: the drives do not count what they write to their flash; write amplification unknown"
    [[ -s $file ]] ||
        echo "op,host_written_kib,flash_written_kib,hottest_celsius,mean_latency_us,p99_latency_us" >"$file"
    echo "$OP,$host,$flash,$(hottest),$MEAN_US,$P99_US" >>"$file"
}

hottest() {
    local celsius most=0
    for celsius in "${CELSIUS[@]}"; do ((celsius <= most)) || most=$celsius; done
    echo "$most"
}

skip() {
    LABEL=skipped
    remember
    run "$OPR" import-report "$RECORD" "$VOLUME" "$OP" "$REPORT" "$EXIT_SKIPPED" ||
        log "OP $OP: skip not recorded"
    exit "$EXIT_SKIPPED"
}

# End with a status and a reason, and keep what has been measured.
give_up() {
    log "OP $OP: $2"
    LABEL=aborted
    if [[ -s $REPORT ]]; then
        evaluate_part
        keep_results
        conclude
    fi
    exit "$1"
}

# A parent that died between starting this and now is not noticed by the kernel's signal.
[[ $PPID == "${OPR_PARENT:-$PPID}" ]] || exit "$EXIT_STOPPED"
take_arguments "$@"
prepare
if ((FILLED)); then
    begin "$OP"
    set_ratio
else
    begin -1
    set_ratio
    fill_volume
    begin "$OP"
fi
measure
conclude
