# The sandbox: a private root that looks like the appliance, made with bubblewrap. What runs in it
# sees neither the host's disks nor its files or processes; /usr is the host's, read-only.
# shellcheck shell=bash

# What root keeps inside: enough to own files and processes, nothing that reaches devices or the host.
capabilities=-all,+chown,+dac_override,+fowner,+fsetid,+kill,+setuid,+setgid,+setpcap

# shellcheck source=../../provider/lib/root.sh
source "$repo/provider/lib/root.sh"

check_host() {
    need_program bwrap bubblewrap "makes the sandbox"
    need_program nsenter util-linux "enters the sandbox"
    need_program setpriv util-linux "limits what the sandbox may do"
    [[ $(id -u) -eq 0 ]] || unshare --user true 2>/dev/null || fail \
        "this kernel gives user namespaces to root only. Run it as root, or allow them:" \
        "sysctl kernel.unprivileged_userns_clone=1 (on some systems" \
        "kernel.apparmor_restrict_unprivileged_userns=0)"
}

# The directories of the appliance's root that must be there before anything runs in it.
make_root() {
    mkdir -p -- "$root"/{bin,sbin,etc/alternatives,etc/config,etc/init.d,dev,proc,usr/local/{bin,sbin,lib}} \
        "$root"/{mnt/HDA_ROOT,opt/appliance,root,share,var/lib/appliance,var/log,var/kfunc,var/tmp}
    link_libraries "$root"
    ln -sfn /usr/local/lib "$root/opt/appliance/lib" # beside bin, as in the build
    # What an appliance keeps in memory does not outlive a power-off.
    rm -rf -- "$root/tmp" "$root/run" "$root/var/kfunc/rcK"
    mkdir -m 1777 -- "$root/tmp"
    mkdir -- "$root/run"
    [[ ! -r /etc/localtime ]] || cp -L --remove-destination /etc/localtime "$root/etc/localtime"
}

# Fills the array sandbox_options for bubblewrap.
make_sandbox_options() {
    make_root_options "$root"
    sandbox_options=(
        --unshare-pid --unshare-ipc --unshare-net --unshare-uts --hostname appliance
        "${root_options[@]}"
        --bind "$root/usr/local" /usr/local
        --ro-bind "$sandbox_build/lib" /usr/local/lib
        --proc /proc --dev /dev
        --ro-bind "$sandbox_build/bin" /opt/appliance/bin
        --ro-bind "$here/rootfs" /opt/appliance/rootfs
        --ro-bind "$here/addon" /opt/appliance/addon
        # Programs of the build find themselves and the sources where the host has them.
        --ro-bind "$repo" "$repo" "$(build_access)" "$sandbox_build" "$sandbox_build"
    )
    [[ $(id -u) -eq 0 ]] || sandbox_options+=(--unshare-user --uid 0 --gid 0)
    # Each load renames a drive's file over the last one, which has some file systems write it out.
    [[ -z ${drives_in_memory:-} ]] || sandbox_options+=(--tmpfs /var/lib/appliance/flash)
    # In memory, so that the move of a file to it copies, and can run out of room.
    [[ -z ${APPLIANCE_DATA_VOLUME_MIB:-} ]] ||
        sandbox_options+=(--size $((APPLIANCE_DATA_VOLUME_MIB << 20)) --tmpfs /share/DATA_1)
    # The state of instances that lie in these trees is not for the inside to see.
    local hidden
    for hidden in "$sandbox_build/instances" "$instance"; do
        [[ ! -d $hidden ]] || [[ $hidden != "$repo"/* && $hidden != "$sandbox_build"/* ]] ||
            sandbox_options+=(--tmpfs "$hidden")
    done
    sandbox_options+=(--chdir /root)
}

# Programs of a coverage build write their counters beside the objects, fuzzers what they found.
build_access() {
    if built_with SSD_OP_COVERAGE || built_with SSD_OP_FUZZ; then echo --bind; else echo --ro-bind; fi
}

built_with() {
    grep -qs "^$1:BOOL=ON" "$sandbox_build/CMakeCache.txt"
}

# Fills the array environment for a process inside: beside the terminal, what concerns the test runner
# and an emulator of another processor.
make_environment() {
    make_root_environment "${!GTEST_@}" "${!RANDOM_@}" "${!SWEEP_@}" "${!TOGETHER_@}" "${!QEMU_@}" "${!ASAN_@}" "${!UBSAN_@}" "${!LSAN_@}"
    environment=(
        "${root_environment[@]}"
        PATH=/usr/local/bin:/usr/local/sbin:/bin:/sbin:/usr/bin:/usr/sbin:/opt/appliance/bin
        LD_LIBRARY_PATH=/usr/local/lib
    )
    # The clock's library comes before the sanitizer's; that order is fine.
    ! built_with SSD_OP_SANITIZE || environment+=(
        ASAN_OPTIONS="verify_asan_link_order=0:${ASAN_OPTIONS:-}"
    )
    make_clock_environment
    environment+=("${clock_environment[@]}")
}

# The command line, in the array inside, that turns a process of the sandbox into an inhabitant of
# the appliance.
make_inside() {
    make_environment
    inside=(/usr/bin/env --default-signal=INT,QUIT -i -C /root "${environment[@]}")
    if [[ -n $in_place ]]; then
        inside+=(APPLIANCE_IN_PLACE=yes) # tells its processes from the machine's
    else
        inside=(/usr/bin/setpriv --bounding-set "$capabilities" --no-new-privs "${inside[@]}")
    fi
}

run_inside() {
    [[ $# -gt 0 ]] || set -- /bin/bash --norc
    local join=()
    [[ -n $in_place ]] || join=(nsenter --target "$sandbox_pid" --mount --pid --ipc --net --uts)
    [[ $(id -u) -eq 0 ]] || join+=(--user --preserve-credentials)
    make_inside
    # Ctrl-C is for the command, which may have more to do and an exit status to give.
    trap '' INT QUIT
    exec "${join[@]}" "${inside[@]}" "$@"
}
