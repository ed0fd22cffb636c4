# Powering an instance on and off.
# shellcheck shell=bash

# Powers on when it is off; afterwards the sandbox's record is read.
ensure_power() {
    local build=$1 rate=$2 bare=$3
    # Two terminals at once: the second waits, and finds what the first has started.
    hold_instance
    is_on || power_on "$(choose_build "$build")" "${rate:-1}"
    [[ -n $bare ]] || install_appliance
    leave_instance
    if [[ -n $rate && $rate != "$sandbox_rate" ]]; then
        echo "appliance: it is on, and its clock runs at rate $sandbox_rate until it is powered off" >&2
    fi
}

choose_build() {
    local build=$1 candidate
    [[ -n $build || ! -r $instance/build ]] || build=$(<"$instance/build")
    for candidate in "$repo/build/release" "$repo/build/dev"; do
        [[ -n $build || ! -d $candidate/lib ]] || build=$candidate
    done
    [[ -d ${build:-none}/lib && -x $build/bin/appliance-clock ]] || fail \
        "there is no build in ${build:-build/release or build/dev}." \
        "Please build first: cmake --preset release && cmake --build --preset release"
    realpath -- "$build"
}

power_on() {
    sandbox_build=$1 sandbox_rate=$2
    [[ -n $sandbox_build ]] || exit 125
    [[ $sandbox_rate =~ ^[1-9][0-9]{0,3}$ && $sandbox_rate -le 1000 ]] ||
        fail "a rate is a whole number from 1 to 1000, not '$sandbox_rate'"
    check_drives
    sandbox_clock_start=$(next_clock_start) sandbox_clock_shared=''
    if [[ -n $in_place ]]; then
        transform_this_machine
        start_in_place
    else
        check_host
        make_root
        start_sandbox
    fi
    echo "$sandbox_build" >"$instance/build"
}

# An instance that an older build has made may hold drives that this one cannot read.
check_drives() {
    local drives=$root/var/lib/appliance/flash
    [[ -d $drives && -x $sandbox_build/bin/appliance-setup ]] || return 0
    LD_LIBRARY_PATH=$sandbox_build/lib "$sandbox_build/bin/appliance-setup" --check-drives "$drives" || fail \
        "this build cannot use the drives of the appliance in $instance. To make it anew, remove" \
        "that directory; its test records, in root/share, are gone then, too"
}

# Starts the sandbox with a first process that stays. That process says when the inside is ready,
# and goes on only when it is told so, after the sandbox has been recorded: if this script is killed
# before, no sandbox is left that nobody knows of.
start_sandbox() {
    make_sandbox_options
    make_inside
    sandbox_wall_start=${EPOCHREALTIME/[.,]/}
    coproc {
        exec {instance_lock}>&- 3< <(printf '%s\0' "${sandbox_options[@]}") 4>"$instance/info" \
            2>"$instance/log"
        exec setsid bwrap --args 3 --info-fd 4 \
            "${inside[@]}" /usr/bin/bash /opt/appliance/rootfs/sbin/init "$sandbox_rate"
    }
    local from=${COPROC[0]} to=${COPROC[1]} ready='' info=''
    read -r -t 30 -u "$from" ready sandbox_clock_shared || true
    [[ ! -r $instance/info ]] || info=$(<"$instance/info")
    rm -f -- "$instance/info"
    [[ $ready == ready && $info =~ \"child-pid\":\ *([0-9]+) ]] || sandbox_failed
    sandbox_pid=${BASH_REMATCH[1]}
    sandbox_start=$(start_of "$sandbox_pid") sandbox_boot=$(this_boot)
    write_sandbox
    echo go >&"$to"
    exec {from}<&- {to}>&-
}

sandbox_failed() {
    cat -- "$instance/log" >&2
    fail "the sandbox did not start; its own words, if any, stand above. In a container, it needs" \
        "the right to make namespaces (for example: docker run --privileged); one that is thrown" \
        "away can become the appliance itself: --in-place"
}

# A new appliance gets its drives, volume, services and settings once.
install_appliance() {
    local installed=$root/var/lib/appliance/installed
    [[ ! -e $installed && -x $sandbox_build/bin/appliance-setup ]] || return 0
    (run_inside appliance-setup) >&2 || fail "the appliance could not be set up"
    : >"$installed"
}

power_off() {
    [[ -d $instance ]] || return 0
    hold_instance
    ! is_on || end_sandbox
    rm -f -- "$instance/sandbox"
    leave_instance
}

# The sandbox's first process takes all others with it. It keeps the clock's file while it lives, so
# the last word is written after its end.
end_sandbox() {
    local clock
    clock=$(current_clock)
    [[ -z $in_place ]] || end_in_place
    kill -9 "$sandbox_pid" 2>/dev/null || true
    while is_on; do sleep 0.01; done
    save_clock "$clock"
    rm -f -- "$instance/sandbox"
}

show_status() {
    if ! is_on; then
        echo "off"
        return 1
    fi
    local clock
    clock=$(current_clock)
    echo "on since $(date -d "@$((sandbox_wall_start / 1000000))" '+%F %T')"
    echo "clock:  $(date -d "@$clock" '+%F %T'), at $sandbox_rate seconds to one of the wall"
    echo "build:  $sandbox_build"
    echo "files:  $root"
}
