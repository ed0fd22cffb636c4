#!/usr/bin/env bash
# The appliance in place of a container: bubblewrap and a Debian root stand in for one that gives no
# namespaces.
# usage: in_place_test.sh BUILD_DIR [ROOT]
#   ROOT  a fresh Debian root with the packages of the group in_place, which is not changed; without it,
#         one is made (DEBIAN_MIRROR, when it is to be another than mmdebstrap's own)
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repo=$(dirname "$here")
build=$(realpath -- "$1")
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

make_root() {
    mmdebstrap --variant=essential --include="$("$repo/packaging/setup" --list in_place)" \
        bookworm "$1" ${DEBIAN_MIRROR:+"$DEBIAN_MIRROR"} >"$work/root.log" 2>&1 ||
        { tail -n 20 "$work/root.log"; echo "There is no Debian root to test in." >&2; exit 1; }
}
fresh=${2:-$work/fresh}
[[ $# -gt 1 ]] || make_root "$fresh"
fresh=$(realpath -- "$fresh")

# shellcheck source=support/checks.sh
source "$here/support/checks.sh"

# A container of its own each time: root, PID 1, no drives, nothing of this machine but the build.
container() { # NAME COMMAND...
    local root=$work/$1
    [[ -d $root ]] || cp -a -- "$fresh" "$root"
    shift
    bwrap --unshare-pid --unshare-ipc --unshare-net --die-with-parent --bind "$root" / --dev /dev \
        --proc /proc --ro-bind "$repo" "$repo" --ro-bind "$build" "$build" --clearenv \
        --setenv PATH /usr/bin:/usr/sbin --chdir /root --cap-drop CAP_SYS_ADMIN "$@"
}

enter=("$repo/appliance/enter" --build "$build" --rate 200 --in-place)
says() { grep -qF -- "$2" "$work/$1.out"; }
refused() { # NAME COMMAND...: with 125, and nothing written
    local before status=0
    cp -a -- "$fresh" "$work/$1"
    [[ $1 == machine ]] || : >"$work/$1/.dockerenv"
    [[ $1 != settings ]] || mkdir -p "$work/$1/etc/config"
    container "$1" true # makes the places of its mounts
    before=$(find "$work/$1" -xdev -printf '%p %s %l\n' | sort | sha256sum)
    container "$@" >"$work/$1.out" 2>&1 </dev/null || status=$?
    [[ $status -eq 125 && $before == "$(find "$work/$1" -xdev -printf '%p %s %l\n' | sort | sha256sum)" ]]
}

check "a machine that is no container is refused" refused machine "${enter[@]}" --yes true
check "it says why" says machine "does not look like one"
check "without a yes nothing happens" refused unasked "${enter[@]}" true
check "it says what it would write" says unasked "/usr/bin/ps"
check "what others have made is not written to" refused settings "${enter[@]}" --yes true
check "it names it" says settings "/etc/config"

cp -a -- "$fresh" "$work/own"
: >"$work/own/.dockerenv"
cat >"$work/own/root/story" <<END
set -e
enter=(${enter[*]})
"\${enter[@]}" --yes ssd-op drives
"\${enter[@]}" ssd-op start --raid 1 --drives sda,sdb --min-op 10 --max-op 20 --interval 10 --yes --foreground
"\${enter[@]}" ssd-op list
"\${enter[@]}" sleep 77777 & # by the appliance's clock
sleep 1
"\${enter[@]}" --off
wait %1 || echo "ended with the appliance"
ps aux | grep -c '[a]ppliance-clock' || true
"\${enter[@]}" ssd-op show 1
"\${enter[@]}" --off
END
check "an evaluation runs, and its record outlives a power-off" \
    container own bash /root/story >"$work/own.out" 2>&1
for text in "NS510" "completed" "ended with the appliance" "IOPS"; do
    check "it shows: $text" says own "$text"
done
[[ $failures -eq 0 ]] || { tail -n 40 "$work"/*.out; exit 1; }
