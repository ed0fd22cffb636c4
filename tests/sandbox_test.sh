#!/usr/bin/env bash
# The sandbox as its users know it: terminals, instances, the clock, power.
# usage: tests/sandbox_test.sh BUILD_DIR
set -euo pipefail
build=$(realpath -- "$1")
enter=$(realpath -- "$(dirname "$0")/../appliance/enter")
work=$(mktemp -d)
one="$work/an appliance" two="$work/another"
trap 'on "$one" --off; on "$two" --off; rm -rf -- "$work"' EXIT

on() { "$enter" --instance "$1" --build "$build" --bare "${@:2}"; }

# shellcheck source=support/checks.sh
source "$(dirname "$0")/support/checks.sh"

sees() { on "$1" ps --columns 128 | grep -v grep | grep -q "$2"; }
sees_not() { ! sees "$@"; }
is_on() { [[ $(on "$1" --status) == on* ]]; }
is_off() { [[ $(on "$1" --status) == off ]]; }
differ_by_at_most() { local d=$(($2 - $1)) && ((d >= 0 && d <= $3)); }

# Two terminals that find the appliance off power on one sandbox, not two.
on "$one" --rate 100 sleep 11111 &
first=$!
on "$one" --rate 100 sleep 22222 &
second=$!
check "it is on" eventually is_on "$one"
check "the first terminal's process is seen" eventually sees "$one" 'sleep 11111'
check "the second's too, in the same appliance" eventually sees "$one" 'sleep 22222'

on "$two" --rate 1 true
check "another instance does not see them" sees_not "$two" 'sleep 11111'
on "$one" touch /root/file
check "another instance does not see its files" on "$two" test ! -e /root/file
check "the host's tree hides the instance's own state" on "$one" test ! -e "$build/instances/lock"

on "$two" appliance-ctl fault return kblkdiscard 3 --nth 1
status=0
on "$two" kblkdiscard /dev/sda3 -l 1 || status=$?
check "a fault makes a program fail" test "$status" -eq 3
check "the journal shows it" grep -qE 'kblkdiscard +3 +/dev/sda3 -l 1' \
    <(on "$two" appliance-ctl journal)

# One second of the wall is 100 of the appliance; a busy machine makes it more, never less.
before=$(on "$one" date +%s)
on "$one" sleep 60
after=$(on "$one" date +%s)
check "terminals share one clock, which sleep follows" differ_by_at_most $((before + 60)) "$after" 2000

status=0
on "$one" sh -c 'exit 7' || status=$?
check "the exit status is the command's" test "$status" -eq 7
check "the shell knows what the appliance's does" test "$(on "$one" sh -c 'echo lost &>/dev/null; echo $'\''a\tb'\')" = $'a\tb'
on "$one" ps --columns 20 >"$work/list"
check "in the list of processes the id comes first, and lines are cut" \
    test "$(grep -cvE '^ *[0-9]+ .{1,18}$' "$work/list")" -eq 0

# A process that is killed while it starts must not stop the clock for the others.
# shellcheck disable=SC2016
on "$one" bash -c 'for ((i = 0; i < 300; i++)); do true & kill -9 $!; /bin/true & kill -9 $!; done 2>/dev/null; true'
check "programs still start after many were killed" on "$one" true

before=$(on "$one" date +%s)
on "$one" --off
wait "$first" "$second" 2>/dev/null || true
check "power-off ends the processes of all terminals" test -z "$(jobs -rp)"
check "it is off" is_off "$one"
check "power-off twice is no error" on "$one" --off
check "the other instance stays on" is_on "$two"
check "the clock does not go back, at another rate" \
    test "$(on "$one" --rate 1 date +%s)" -gt "$before"

# A sandbox that is killed leaves its record behind.
pid=$(sed -n 's/^pid=//p' "$one/sandbox")
before=$(on "$one" date +%s)
kill -9 "$pid"
check "a killed sandbox is noticed" eventually is_off "$one"
check "the clock does not go back after a kill" test "$(on "$one" date +%s)" -gt "$before"

# Drives of an older build, by the file's kind and version.
"$enter" --instance "$two" --off
mkdir -p "$two/root/var/lib/appliance/flash"
{ printf 'appflash\1'; head -c 1000 /dev/zero; } >"$two/root/var/lib/appliance/flash/00010001.flash"
status=0
on "$two" true 2>"$work/complaint" || status=$?
check "an instance whose drives are of an older version is not entered" test "$status" -eq 125
check "it says what is wrong" grep -q 'is of version 1, and this build knows' "$work/complaint"
check "it says how it is made anew" grep -q "To make it anew, remove" "$work/complaint"
rm -r -- "$two"
check "made anew, it is entered" on "$two" true

[[ $failures -eq 0 ]] || exit 1
