# A command in the private root. Each one has its own view of the mounts, which lives as long as it or
# what it has started; processes and devices are the host's.
# shellcheck shell=bash

# Fills the array options for bubblewrap.
make_options() {
    make_root_options "$root"
    options=(
        "${root_options[@]}"
        --dev-bind /dev /dev --dev-bind /sys /sys --dev-bind /proc /proc --bind /run /run
        --bind "$state" /var/lib/ssd-op
        --ro-bind "$build/lib" /opt/ssd-op/lib
        --ro-bind "$build/bin" /opt/ssd-op/bin
        --ro-bind "$build_addon" /opt/ssd-op/addon
        --ro-bind "$here/rootfs" /opt/ssd-op/rootfs
        --ro-bind-try /etc/ssd-op /etc/ssd-op
        --ro-bind-try /etc/localtime /etc/localtime
        --ro-bind-try /etc/ld.so.cache /etc/ld.so.cache
    )
    # Where people keep their files: reports go there, and are read back from there.
    local place
    for place in /root /home /srv /media; do
        [[ ! -d $place ]] || options+=(--bind "$place" "$place")
    done
    options+=(--cap-add ALL --chdir "$(inner_directory)")
}

# The caller's directory, where it is there inside as well.
inner_directory() {
    case $PWD/ in
        /root/* | /home/* | /srv/* | /media/*) echo "$PWD" ;;
        *) echo /root ;;
    esac
}

make_environment() {
    make_root_environment "${!ASAN_@}" "${!UBSAN_@}" "${!LSAN_@}"
    environment=(
        "${root_environment[@]}"
        PATH=/opt/ssd-op/bin:/sbin:/bin:/usr/local/bin:/usr/sbin:/usr/bin
        LD_LIBRARY_PATH=/opt/ssd-op/lib/host:/opt/ssd-op/lib
        DM_DISABLE_UDEV=1
        SSD_OP_PROVIDER=host SSD_OP_INSIDE=host SSD_OP_ROOT="$root"
    )
}

# For what asks no drive and touches no file.
run_outside() {
    export LD_LIBRARY_PATH=$build/lib/host:$build/lib SSD_OP_INSIDE=host
    exec "$build/bin/$1" "${@:2}"
}

# A signal for this script is for the command.
forward() {
    pkill --signal "$1" --parent "$sandbox" || true
}

run_inside() {
    [[ $# -gt 0 ]] || set -- /bin/bash --norc
    local options environment status
    make_options
    make_environment
    # Ctrl-C is for the command, which may have more to do and an exit status to give.
    trap '' INT QUIT
    exec 3< <(printf '%s\0' "${options[@]}")
    bwrap --args 3 /usr/bin/env --default-signal=INT,QUIT -i "${environment[@]}" \
        /usr/bin/bash /opt/ssd-op/rootfs/sbin/init "$@" <&0 &
    sandbox=$!
    exec 3<&-
    trap 'forward TERM' TERM
    trap 'forward HUP' HUP
    while :; do
        wait "$sandbox" && status=0 || status=$?
        [[ -d /proc/$sandbox ]] || exit "$status"
    done
}
