# Powering an instance on and off.
# shellcheck shell=bash

# Powers on when it is off; then the sandbox's record is read.
ensure_power() {
    local build=$1 rate=$2 bare=$3
    if ! is_on; then
        check_host
        hold_instance
        # Another terminal may have been faster.
        is_on || power_on "$(choose_build "$build")" "${rate:-1}" "$bare"
        leave_instance
    fi
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
    local bare=$3
    [[ -n $sandbox_build ]] || exit 125
    [[ $sandbox_rate =~ ^[1-9][0-9]{0,3}$ && $sandbox_rate -le 1000 ]] ||
        fail "a rate is a whole number from 1 to 1000, not '$sandbox_rate'"
    make_root
    sandbox_clock_start=$(next_clock_start) sandbox_clock_shared=''
    start_sandbox
    echo "$sandbox_build" >"$instance/build"
    write_sandbox
    [[ -n $bare ]] || install_appliance
}

# Starts the sandbox with a first process that stays; it says when the inside is ready.
start_sandbox() {
    make_sandbox_options
    make_inside
    sandbox_wall_start=${EPOCHREALTIME/[.,]/}
    local ready='' answer info
    info=$(mktemp)
    exec {answer}< <(
        exec {instance_lock}>&- 3< <(printf '%s\0' "${sandbox_options[@]}") 4>"$info" \
            </dev/null 2>"$instance/log"
        exec setsid bwrap --args 3 --info-fd 4 \
            "${inside[@]}" /usr/bin/bash /opt/appliance/rootfs/init "$sandbox_rate"
    )
    read -r -t 30 -u "$answer" ready sandbox_clock_shared || true
    exec {answer}<&-
    [[ $(<"$info") =~ \"child-pid\":\ *([0-9]+) ]] && sandbox_pid=${BASH_REMATCH[1]}
    rm -f -- "$info"
    if [[ $ready != ready ]]; then
        [[ -z $sandbox_pid ]] || kill -9 "$sandbox_pid" 2>/dev/null || true
        cat -- "$instance/log" >&2
        fail "the sandbox did not start; its own words stand above"
    fi
    sandbox_start=$(start_of "$sandbox_pid") sandbox_boot=$(this_boot)
}

# A new appliance gets its drives, volume, services and settings once.
install_appliance() {
    local installed=$root/var/lib/appliance/installed
    [[ ! -e $installed && -x $sandbox_build/bin/appliance-setup ]] || return 0
    if ! (run_inside appliance-setup) >&2; then
        end_sandbox
        fail "appliance-setup failed; the appliance is off"
    fi
    : >"$installed"
}

power_off() {
    [[ -d $instance ]] || return 0
    hold_instance
    ! is_on || end_sandbox
    rm -f -- "$instance/sandbox"
    leave_instance
}

# The sandbox's first process takes all others with it.
end_sandbox() {
    save_clock "$(current_clock)"
    kill -9 "$sandbox_pid" 2>/dev/null || true
    while is_on; do sleep 0.01; done
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
    echo "clock:  $(date -d "@$clock" '+%F %T'), $sandbox_rate times as fast as the wall"
    echo "build:  $sandbox_build"
    echo "files:  $root"
}
