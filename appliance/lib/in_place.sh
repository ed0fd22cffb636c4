# The appliance without a sandbox: the machine itself becomes it. For containers that are thrown
# away, on kernels that give them no namespaces.
# shellcheck shell=bash

mark=/var/lib/appliance-in-place # the state of this instance, and the sign that it is one
host_programs=/usr/lib/appliance-host

use_this_machine() {
    instance=$mark root=''
}

# Nothing may be lost here, so all doubt refuses.
check_disposable() {
    [[ $(id -u) -eq 0 ]] || fail "--in-place needs root: it replaces files in /usr, /etc and /opt"
    [[ ! -d /run/systemd/system ]] ||
        fail "--in-place is for a container that is thrown away; this machine was booted by systemd"
    looks_like_a_container || fail "--in-place is for a container that is thrown away, and this" \
        "machine does not look like one: no /.dockerenv, no /run/.containerenv, no 'container' in" \
        "the environment of its first process"
    local device path
    device=$(find /dev -type b -print -quit)
    [[ -z $device ]] || fail "--in-place is for a container that sees no drives; this one has" \
        "$device. Please start it without devices (not --privileged)"
    [[ -d $mark ]] || for path in /share /etc/config /mnt/HDA_ROOT /opt/appliance /var/lib/appliance; do
        [[ ! -e $path ]] || fail "--in-place would write to $path, which is there already and" \
            "not an appliance's. Please use a fresh container"
    done
}

looks_like_a_container() {
    [[ -e /.dockerenv || -e /run/.containerenv ]] ||
        grep -qsz '^container=' /proc/1/environ
}

agree_to_transformation() {
    local yes=$1 answer=''
    [[ ! -d $mark ]] || return 0
    cat >&2 <<END
This container itself becomes a simulated appliance, for good. What it will write:
  /usr/bin/sh                  bash instead of what it is now
  /usr/bin/ps, /usr/bin/df     the appliance's (the container's own stay in $host_programs)
  /usr/sbin/fio, kblkdiscard   the simulated drives'
  /usr/local/lib, bin, sbin    the build's libraries and programs
  /etc/config, /etc/init.d     the appliance's settings and services
  /opt/appliance, /share, /mnt/HDA_ROOT, /var/lib/appliance*, /var/kfunc, /var/log, /tmp
END
    [[ -z $yes ]] || return 0
    [[ -t 0 ]] || fail "nothing was changed. Add --yes once you are sure"
    read -r -p 'Type "yes" to go on: ' answer
    [[ $answer == yes ]] || fail "nothing was changed"
}

transform_this_machine() {
    mkdir -p /etc/{config,init.d} /usr/local/{bin,sbin,lib} /share /mnt/HDA_ROOT \
        /opt/appliance /var/{lib/appliance,log,kfunc} "$host_programs"
    local program
    for program in sh ps df; do # -L: what it is, not a name that is about to change
        [[ -e $host_programs/$program ]] || cp -L --preserve "/usr/bin/$program" "$host_programs/"
    done
    ln -sfn "$sandbox_build/bin" /opt/appliance/bin
    ln -sfn "$here/rootfs" /opt/appliance/rootfs
    ln -sfn "$here/addon" /opt/appliance/addon
    ln -sf /usr/bin/bash /usr/bin/sh
    ln -sf /opt/appliance/rootfs/bin/{ps,df} /usr/bin
    ln -sf /opt/appliance/bin/{fio,kblkdiscard} /usr/sbin
    ln -sf /opt/appliance/bin/{kanalytic_tool,ssd-op} /usr/local/bin
    ln -sf "$sandbox_build"/lib/*.so* /usr/local/lib
    : >/tmp/opr_run_once_on_boot # start-up is over
}

# The keeper of the clock is what is on; all that runs in the appliance bears its mark.
start_in_place() {
    sandbox_wall_start=${EPOCHREALTIME/[.,]/}
    make_inside
    coproc {
        exec {instance_lock}>&- 2>"$instance/log"
        exec setsid "${inside[@]}" "$sandbox_build/bin/appliance-clock" "$sandbox_rate" \
            /var/lib/appliance/clock
    }
    local from=${COPROC[0]} to=${COPROC[1]} ready=''
    sandbox_pid=$COPROC_PID
    read -r -t 30 -u "$from" ready sandbox_clock_shared || true
    [[ $ready == ready ]] || { cat -- "$instance/log" >&2; fail "the appliance's clock did not start"; }
    sandbox_start=$(start_of "$sandbox_pid") sandbox_boot=$(this_boot)
    write_sandbox
    echo go >&"$to"
    exec {from}<&- {to}>&-
}

end_in_place() {
    local process ended=''
    while [[ -z $ended ]]; do
        ended=yes
        for process in /proc/[0-9]*; do
            grep -qsz '^APPLIANCE_IN_PLACE=yes$' "$process/environ" || continue
            kill -9 "${process#/proc/}" 2>/dev/null && ended=''
        done
        sleep 0.01
    done
}
