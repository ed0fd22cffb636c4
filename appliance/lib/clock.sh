# The appliance's clock: libfaketime, preloaded into every process, with one start that all share.
# It never goes back from one power-on to the next.
# shellcheck shell=bash

clock_file() { echo "$root/var/lib/appliance/clock"; }

saved_clock() {
    local saved=0
    [[ ! -r $(clock_file) ]] || saved=$(<"$(clock_file)")
    [[ $saved =~ ^[0-9]+$ ]] || saved=0
    echo "$saved"
}

save_clock() {
    echo "$1" >"$(clock_file).new" && mv -- "$(clock_file).new" "$(clock_file)"
}

# The first second of a new power-on: later than everything the appliance has ever seen, and not
# before the host's own time.
next_clock_start() {
    local after_last=$(($(saved_clock) + 1))
    echo $((after_last > EPOCHSECONDS ? after_last : EPOCHSECONDS))
}

# What the running appliance's clock shows, rounded up. Needs the sandbox's record.
current_clock() {
    local wall=${EPOCHREALTIME/[.,]/}
    echo $((sandbox_clock_start + (wall - sandbox_wall_start) * sandbox_rate / 1000000 + 1))
}

# A clock that runs with the wall and has not been ahead of it needs no help.
clock_is_plain() { [[ $sandbox_rate -eq 1 && $sandbox_clock_start -le $EPOCHSECONDS ]]; }

faketime_library() {
    local candidate
    for candidate in /usr/lib/*/faketime/libfaketime.so.1 /usr/lib/faketime/libfaketime.so.1; do
        [[ ! -r $candidate ]] || { echo "$candidate" && return; }
    done
    fail "libfaketime is missing, which drives the appliance's clock. Please install it:" \
        "apt-get install libfaketime"
}

# Fills the array clock_environment for processes of the sandbox with this start and rate.
# FAKETIME_SHARED, once the first process has made it, holds a blank: "SEMAPHORE MEMORY".
make_clock_environment() {
    clock_environment=()
    ! clock_is_plain || return 0
    clock_environment=(
        LD_PRELOAD="$(faketime_library)"
        FAKETIME="@$sandbox_clock_start x$sandbox_rate"
        FAKETIME_FMT=%s
        FAKETIME_DONT_RESET=1 # otherwise each process would begin at the start again
        NO_FAKE_STAT=1        # times of files are the host's
    )
    [[ -z $sandbox_clock_shared ]] || clock_environment+=(FAKETIME_SHARED="$sandbox_clock_shared")
}
