#!/usr/bin/env bash
# The private root of a host, as its users know it. No drive is touched; the state is made elsewhere.
# usage: tests/host/enter_test.sh BUILD_DIR
#        exit status 77: it cannot run here
set -euo pipefail
build=$(realpath -- "$1")
enter=$(realpath -- "$(dirname "$0")/../../host/enter")
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export SSD_OP_HOST_STATE="$work/a state"
root="$SSD_OP_HOST_STATE/root"

inside() { "$enter" --build "$build" "$@"; }
fixed() { ls -ld /etc/config /etc/init.d/services.sh /mnt/HDA_ROOT /opt/Oprella /tmp/opr_run_once_on_boot /var/kfunc /var/lib/ssd-op 2>&1 || true; }

# shellcheck source=../support/checks.sh
source "$(dirname "$0")/../support/checks.sh"
sees() { inside ps --columns 128 | grep -v grep | grep -q "$1"; }
sees_not() { ! sees "$@"; }
refused() { ! inside true 2>"$work/complaint" && grep -q -- "$1" "$work/complaint"; }

[[ $(id -u) -eq 0 ]] || { echo "This test needs root." && exit 77; }
before=$(fixed)
check "help is for everybody" setpriv --reuid 65534 --clear-groups -- "$build/bin/ssd-op" --host start --help >/dev/null
inside true 2>"$work/complaint" || ! grep 'Please install them' "$work/complaint" || exit 77
rm -rf -- "$SSD_OP_HOST_STATE"

inside true & # two that find no root
first=$!
check "a second command waits for the root" inside test -f /etc/config/brix.conf
check "the first one has made it" wait "$first"
check "the host's own places are as before" test "$(fixed)" = "$before"
check "the root is for root alone" test "$(stat -c %a "$root")" = 700
check "only /tmp may be written to by all" test "$(find "$root" -perm -o+w ! -type l -printf '%P ')" = "tmp "
check "no half-written file is left" test -z "$(find "$root" -name '*.new')"

check "the add-on is installed" inside test -x /opt/Oprella/util/test-all.sh -a -x /opt/Oprella/util/disk_opr_util
check "it is up" inside test -e /tmp/opr_run_once_on_boot -a ! -e /var/kfunc/rcK
check "the host's libraries come first" \
    test "$(inside bash -c 'ldd /opt/ssd-op/lib/libssd_op.so.1 | sed -n "s/.*libTavrel_hal.so => \([^ ]*\).*/\1/p"')" = /opt/ssd-op/lib/host/libTavrel_hal.so
check "the shell knows what the appliance's does" test "$(inside sh -c 'echo lost &>/dev/null; echo $'\''a\tb'\')" = $'a\tb'
# shellcheck disable=SC2016
check "the caller's environment stays outside" test -z "$(SECRET=told inside bash -c 'echo "$SECRET"')"
check "drives are listed from inside" inside sh -c 'ssd-op drives list >/dev/null'
check "it can be entered from inside" inside sh -c 'ssd-op --host list >/dev/null'
check "commands are named as they are called here" grep -q 'ssd-op --host start makes' <(inside ssd-op list 2>&1)
check "drives that nobody gave are not there" grep -q 'drives enroll SERIAL' <("$build/bin/ssd-op" --host drives)
status=0
inside sh -c 'exit 7' || status=$?
check "the exit status is the command's" test "$status" -eq 7

sleep 22222 &
foreign=$!
"$enter" --build "$build" sleep 11111 &
terminal=$!
check "other terminals see its processes" eventually sees 'sleep 11111'
check "processes of the host are not in the list" sees_not 'sleep 22222'
check "the list is cut at the width" test "$(inside ps --columns 20 | grep -cvE '^ *[0-9]+ .{1,18}$')" -eq 0
kill -TERM "$terminal"
status=0
wait "$terminal" || status=$?
check "a signal reaches the command" test "$status" -eq 143
check "it has ended" eventually sees_not 'sleep 11111'
kill "$foreign"
inside bash -c 'sleep 33333 & echo $!' >"$work/left"
check "what a command leaves behind lives on" sees 'sleep 33333'
kill "$(<"$work/left")"

# What an evaluation that is gone has left, with nobody at a terminal.
entry='[{"kind": "array", "name": "800", "details": {}}]'
echo "$entry" >"$SSD_OP_HOST_STATE/undo.json"
status=0
"$build/bin/ssd-op" --host start --raid 1 </dev/null >"$work/said" 2>&1 || status=$?
check "no evaluation starts beside what another one has left" test "$status" -eq 1
check "it says what that is" grep -q 'RAID group 800' "$work/said"
check "it says the way out" grep -q 'ssd-op --host cleanup' "$work/said"
# shellcheck disable=SC2016
check "nor from inside" inside sh -c '! ssd-op start --raid 1 </dev/null >/tmp/said 2>&1 && grep -q "RAID group 800" /tmp/said'
check "the list is as it was" test "$(<"$SSD_OP_HOST_STATE/undo.json")" = "$entry"
rm -- "$SSD_OP_HOST_STATE/undo.json"

touch "$root/tmp/mark"
rm -r -- "$root/etc/config" "$root/opt/Oprella"
check "what is missing is made anew" inside test -f /etc/config/brix.conf -a -x /opt/Oprella/util/SOPT.sh
check "/tmp outlives a command" test -e "$root/tmp/mark"
echo another >"$root/.start"
check "/tmp does not outlive a start of the machine" inside test ! -e /tmp/mark -a -e /tmp/opr_run_once_on_boot

chmod o+w "$root"
check "a root that others may write to is refused" refused 'others than root may write'
chmod o-w "$root"
mv -- "$root" "$work/elsewhere"
ln -s "$work/elsewhere" "$root"
check "a link in its place is refused" refused 'is no directory'

[[ $failures -eq 0 ]] || exit 1
