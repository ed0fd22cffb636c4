#!/bin/bash
# Measure a test volume at each over-provisioning ratio from MIN to MAX.
#
#   test-all.sh VOLUME TYPE MIN MAX INTERVAL RECORD SIZE MIN_IOPS ABORT_TIME 0
#
#   VOLUME      test volume, for example /dev/mapper/lv1568; all data on it is lost
#   TYPE        random, sequential, or all (sequential, then random)
#   RECORD      record number of the evaluation; its status must be "testing" and stay so
#   SIZE        area to test, in MiB with the letter M, for example 512M
#   MIN_IOPS    a ratio whose last five rounds stay below this on average is given up; 0: never
#   ABORT_TIME  seconds after which a ratio is given up; 0: never
#   0           reserved
#
# Each ratio is measured by SOPT.sh, see there. README.md describes the measurement and all files.
#
# Exit status: 0 all ratios measured or skipped, at least one measured; 1 a step failed, or every
# ratio was skipped; 2 wrong arguments; 3 the record was stopped; 128 + n ended by signal n.

set -u

UTIL=${BASH_SOURCE[0]%/*}
# shellcheck source=opr_common.sh
. "$UTIL/opr_common.sh"

usage() {
    echo "usage: ${0##*/} VOLUME random|sequential|all MIN MAX INTERVAL RECORD SIZE MIN_IOPS ABORT_TIME 0" >&2
    exit "$EXIT_USAGE"
}

refuse() {
    echo "${0##*/}: $1" >&2
    exit "$EXIT_USAGE"
}

take_arguments() {
    (($# == 10)) || usage
    VOLUME=$1 TYPE=$2 MIN=$3 MAX=$4 INTERVAL=$5 RECORD=$6 SIZE=${7%M} MIN_IOPS=$8 ABORT_TIME=$9
    [[ -n $VOLUME && $TYPE =~ ^(random|sequential|all)$ ]] || usage
    local number
    for number in "$MIN" "$MAX" "$INTERVAL" "$RECORD" "$SIZE" "$MIN_IOPS" "$ABORT_TIME"; do
        is_number "$number" || usage
    done
    ((MIN <= MAX)) || refuse "the first ratio, $MIN %, is above the last, $MAX %"
    ((INTERVAL > 0)) || refuse "an interval of 0 never gets from one ratio to the next"
    ((MAX <= 100 && RECORD > 0)) || usage
}

# The summary lines go below this. No other text of the file may look like the name of a ratio.
start_report() {
    mkdir -p "$UTIL/log" "$UTIL/history"
    echo "ratio, write amplification, steady-state IOPS, other IOPS, rounds, label" \
        >"$PREFIX"report.csv
}

# A line for each ratio that stays when the run's files go; kept for the latest 30 records.
start_history() {
    local file number
    for file in "$UTIL"/history/Record_*.csv; do
        number=${file##*/Record_}
        number=${number%.csv}
        number=${number%_drives}
        if is_number "$number" && ((number <= RECORD - 30)); then rm -f -- "$file"; fi
    done
    rm -f -- "$UTIL/history/Record_${RECORD}_drives.csv"
    echo "op,write_amplification,steady_iops,other_iops,rounds,label" >"$UTIL/history/Record_$RECORD.csv"
}

measure_all() {
    local op index=0 count=$(((MAX - MIN) / INTERVAL + 1)) filled=0 status
    for ((op = MIN; op <= MAX; op += INTERVAL)); do
        status=0
        run "$BASH" "$UTIL/SOPT.sh" "$VOLUME" "$TYPE" "$op" "$RECORD" "${SIZE}M" "$MIN_IOPS" \
            "$ABORT_TIME" "$index" "$count" "$filled" || status=$?
        case $status in
            0) filled=1 ;;
            "$EXIT_SKIPPED") ;;
            *) return "$status" ;;
        esac
        ((index += 1))
    done
    ((filled)) || return "$EXIT_FAILED"
}

take_arguments "$@"
file_prefix "$VOLUME" "$TYPE"
start_report
start_history
export OPR_PARENT=$$ # SOPT.sh ends when it finds another parent
unset OPR_REHEARSAL SSD_OP_REHEARSAL # what somebody's shell has must not shorten a real one
if run "$OPR" is-rehearsal "$RECORD" "$VOLUME"; then export OPR_REHEARSAL=yes; fi
result=0
measure_all || result=$?
run "$OPR" finish "$RECORD" "$VOLUME" || :
log "test-all ends with status $result"
exit "$result"
