# An instance of the simulated appliance: a directory on the host, and what it remembers about the
# sandbox that is running for it.
#
#   root/     the appliance's files, as the sandbox sees them (except /usr, /bin, /sbin, /proc, /dev)
#   sandbox   while powered on: which sandbox, since when, with which build and clock
#   build     the build used last
#   log       what the last power-on had to say
#   lock      held while it is being powered on or off
# shellcheck shell=bash

# Set by use_instance and read_sandbox.
instance='' root=''
# Not empty: the machine itself is the appliance, and there is no sandbox.
# shellcheck disable=SC2034 # the other files of this directory ask
in_place=''
sandbox_pid='' sandbox_start='' sandbox_boot='' sandbox_build='' sandbox_rate=''
sandbox_clock_start='' sandbox_wall_start='' sandbox_clock_shared=''

fail() {
    echo "appliance: $*" >&2
    exit 125
}

use_instance() {
    instance=$(realpath -m -- "$1")
    root=$instance/root
}

# Holds the instance for a change of power; released by leave_instance or when the process ends.
hold_instance() {
    mkdir -p -- "$instance" || fail "cannot create the directory $instance"
    exec {instance_lock}>"$instance/lock"
    flock "$instance_lock"
}

leave_instance() {
    exec {instance_lock}>&-
}

# The start time of a process in clock ticks since boot: with the process id and the boot it names
# one process for ever.
start_of() {
    local line
    { read -r line <"/proc/$1/stat"; } 2>/dev/null || return 1
    # The second field is the program's name in parentheses, which may hold blanks.
    local -a fields
    read -ra fields <<<"${line##*) }"
    [[ ${fields[0]} != [ZX] ]] || return 1
    echo "${fields[19]}"
}

this_boot() {
    cat /proc/sys/kernel/random/boot_id
}

write_sandbox() {
    local name
    for name in pid start boot build rate clock_start wall_start clock_shared; do
        local -n value=sandbox_$name
        printf '%s=%s\n' "$name" "$value"
    done >"$instance/sandbox.new"
    mv -- "$instance/sandbox.new" "$instance/sandbox"
}

read_sandbox() {
    [[ -r $instance/sandbox ]] || return 1
    local name value
    while IFS='=' read -r name value; do
        case $name in
            pid | start | boot | build | rate | clock_start | wall_start | clock_shared)
                printf -v "sandbox_$name" '%s' "$value"
                ;;
        esac
    done 2>/dev/null <"$instance/sandbox"
}

# Whether the recorded sandbox still runs: it may have been killed, or the host restarted.
is_on() {
    read_sandbox && [[ $sandbox_boot == "$(this_boot)" ]] &&
        [[ $(start_of "$sandbox_pid") == "$sandbox_start" ]]
}
