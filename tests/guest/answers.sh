# What the outside does for a job while it runs: each request is a line on the guest's second serial
# port, and so is its answer, "ok TEXT" or "error TEXT".
#   sum DRIVE OFFSET LENGTH        SHA-256 of that many bytes of the drive's file
#   allocated DRIVE OFFSET LENGTH  how many of those bytes the file has blocks for
#   fail DRIVE pread|pwrite|trim   from now on that fails (behind=server, behind=flash) ...
#   heal DRIVE pread|pwrite|trim   ... until now
#   cut                            cuts the power; the guest boots again
# shellcheck shell=bash
# shellcheck disable=SC2154 # work is the caller's

answer() { # REQUEST; the answer goes to the output
    local what drive offset length file
    read -r what drive offset length <<<"$1"
    file=$(drive_file "$drive")
    [[ $drive =~ ^[A-Z0-9]+$ && -e $file ]] || { echo "error there is no drive $drive"; return; }
    case $what in
        sum | allocated)
            [[ $offset =~ ^[0-9]+$ && $length =~ ^[0-9]+$ ]] || { echo "error bytes from a byte on, please"; return; }
            "${what}_of_range" "$file" "$offset" "$length"
            ;;
        fail | heal)
            [[ $offset =~ ^(pread|pwrite|trim)$ && -e $work/drives/$drive.socket ]] ||
                { echo "error $drive cannot be made to fail that"; return; }
            if [[ $what == fail ]]; then touch "$(error_file "$drive" "$offset")"; else rm -f "$(error_file "$drive" "$offset")"; fi
            echo ok
            ;;
        *) echo "error what is $what?" ;;
    esac
}

sum_of_range() {
    local sum
    sum=$(tail -c +"$(($2 + 1))" "$1" 2>/dev/null | head -c "$3" | sha256sum) || true
    echo "ok ${sum%% *}"
}

allocated_of_range() {
    python3 - "$@" <<'END'
import os, sys
place, length = int(sys.argv[2]), int(sys.argv[3])
drive = os.open(sys.argv[1], os.O_RDONLY)
end, allocated = min(place + length, os.fstat(drive).st_size), 0
while place < end:
    try:
        place = os.lseek(drive, place, os.SEEK_DATA)
    except OSError: # no data after it
        break
    hole = os.lseek(drive, place, os.SEEK_HOLE)
    allocated += max(0, min(hole, end) - place)
    place = hole
print("ok", allocated)
END
}
