# The private root: made once, looked at before every command, one at a time. Each step may be the last
# one before a power cut, and is made good by the next command.
# shellcheck shell=bash

addon=/opt/Oprella # where the add-on counts as installed, as the root sees it

check_host() {
    [[ $(id -u) -eq 0 ]] || fail "drives of this host are for root alone. Please run it as root: sudo ssd-op --host ..."
    local pair missing=()
    for pair in bwrap:bubblewrap setpriv:util-linux mdadm:mdadm lvm:lvm2 fio:fio nvme:nvme-cli \
        smartctl:smartmontools sfdisk:fdisk ps:procps; do
        PATH=/usr/sbin:/usr/bin:/sbin:/bin command -v "${pair%:*}" >/dev/null || missing+=("${pair#*:}")
    done
    [[ ${#missing[@]} -eq 0 ]] || fail "programs that it works with are missing. Please install them:" \
        "apt-get install --no-install-recommends ${missing[*]}"
    bwrap --dev-bind / / true 2>/dev/null ||
        fail "bubblewrap may not make a private root here, as in most containers. Please run it on the host itself"
}

# What is in there decides over data: nobody else's directory, and nobody else writes to it.
check_private() {
    [[ ! -L $1 && -d $1 ]] || fail "$1 is no directory. Please look at what it is, and move it away"
    local owner mode
    read -r owner mode < <(stat -c '%u %a' -- "$1")
    [[ $owner -eq 0 && $((8#$mode & 8#022)) -eq 0 ]] || fail "others than root may write to $1." \
        "Please look at what is in it, then: chown root $1 && chmod go-w $1"
}

# put_file PATH TEXT: whole or not at all, and only when it is another one.
put_file() {
    [[ ! -f $1 || $(<"$1") != "$2" ]] || return 0
    printf '%s\n' "$2" >"$1.new"
    mv -f -- "$1.new" "$1"
}

make_directories() {
    mkdir -p -- "$root"/{dev,proc,sys,run,bin,sbin,usr,root,home,srv,media,mnt/HDA_ROOT,etc/{alternatives,config,init.d,ssd-op}} \
        "$root"/opt/{ssd-op,Oprella/util/log} "$root"/var/{lib/ssd-op,log/ssd-op,lock,kfunc,tmp} "$root/tmp"
    chmod 700 -- "$root" "$root/mnt/HDA_ROOT" "$root/var/log/ssd-op"
    chmod 1777 -- "$root/tmp"
    link_libraries "$root"
}

# What a machine keeps in memory does not outlive its start.
forget_last_start() {
    local start
    start=$(</proc/sys/kernel/random/boot_id)
    [[ ! -f $root/.start || $(<"$root/.start") != "$start" ]] || return 0
    rm -rf -- "$root/tmp" "$root/var/lock" "$root/var/kfunc"
    make_directories
    put_file "$root/.start" "$start"
}

install_addon() {
    local script
    for script in "$build_addon"/*.sh; do
        ln -sfn "/opt/ssd-op/addon/${script##*/}" "$root$addon/util/${script##*/}"
    done
    ln -sfn /opt/ssd-op/bin/disk_opr_util "$root$addon/util/disk_opr_util"
    ln -sfn /opt/ssd-op/bin/host/services "$root/etc/init.d/services.sh"
    ln -sfn /opt/ssd-op/bin/host/services "$root/etc/init.d/rsyncd.sh"
}

write_settings() {
    put_file "$root/etc/config/brix.conf" "[Oprella]
Name = Oprella
Version = 1.0.0
Enable = TRUE
Install_Path = $addon"
    [[ -f $root/etc/config/raid.conf ]] || put_file "$root/etc/config/raid.conf" $'[Global]\nraidBitmap = 0'
    put_file "$root/etc/passwd" $'root:x:0:0:root:/root:/bin/bash\nnobody:x:65534:65534:nobody:/:/bin/false'
    put_file "$root/etc/group" $'root:x:0:\ndisk:x:6:\nnogroup:x:65534:'
    # The marks that this appliance is up.
    [[ -e $root/tmp/opr_run_once_on_boot ]] || : >"$root/tmp/opr_run_once_on_boot"
}

# The log of traces grows with every call that fails.
limit_traces() {
    local log=$root/var/log/sm_trace.log
    [[ ! -f $log || $(stat -c %s -- "$log") -lt $((16 << 20)) ]] || mv -f -- "$log" "$log.1"
}

set_up_root() {
    umask 022
    root=$state/root
    build_addon=$repo/addon
    [[ -d $build_addon ]] || build_addon=$repo/appliance/addon
    mkdir -p -- "$state" || fail "cannot create the directory $state"
    check_private "$state"
    local lock
    exec {lock}>>"$state/root.lock"
    chmod 600 -- "$state/root.lock"
    flock "$lock"
    [[ ! -e $root ]] || check_private "$root"
    make_directories
    forget_last_start
    install_addon
    write_settings
    limit_traces
    exec {lock}>&-
}
