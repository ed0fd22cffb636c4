# The guest's drives, as a job's head declares them. Each is a sparse file in $work/drives, so that the
# outside can look at its content and at which blocks it has given back.
# shellcheck shell=bash
# shellcheck disable=SC2154 # work, build and keep are the caller's

drive_options=() # for the emulator
servers=()       # process ids of what is behind drives

drive_file() { echo "$work/drives/$1.img"; }

# add_drive NAME [KEY=VALUE...]: keys are size (16M); device (nvme), as the emulator calls it; behind
# (file), one of
#   file     the emulator opens the file itself
#   server   nbdkit opens it, and can be told to fail
#   flash    nbdkit with this project's model of flash, which takes the time that flash takes
# and what else the server understands, e.g. unit_us=60.
add_drive() {
    local name=$1 size=16M device=nvme behind=file file word settings=() source
    shift
    for word in "$@"; do
        case $word in
            size=*) size=${word#*=} ;;
            device=*) device=${word#*=} ;;
            behind=*) behind=${word#*=} ;;
            *=*) settings+=("$word") ;;
            *) echo "$name: '$word' is no setting of a drive." >&2; exit 2 ;;
        esac
    done
    file=$(drive_file "$name")
    [[ -n $keep && -e $file ]] || { rm -f -- "$file" && truncate -s "$size" "$file"; }
    case $behind in
        file) source="file=$file,format=raw" ;;
        server | flash)
            start_server "$name" "$behind" "$file" "${settings[@]}"
            source="driver=nbd,server.type=unix,server.path=$work/drives/$name.socket"
            ;;
        *) echo "$name: there is no '$behind' to be behind a drive." >&2; exit 2 ;;
    esac
    drive_options+=(-drive "$source,if=none,id=$name,discard=unmap,werror=report,rerror=report"
        -device "$device,drive=$name,serial=$name")
}

# While a file of that name exists, what the drive is asked of that kind fails.
error_file() { echo "$work/drives/$1.fail-$2"; }

start_server() { # NAME KIND FILE [SETTING...]
    local name=$1 kind=$2 file=$3 plugin=file request errors=() i
    shift 3
    [[ $kind == server ]] || plugin=$build/lib/guest/flash_plugin.so
    [[ $kind == server || -e $plugin ]] ||
        { echo "There is no $plugin: build it, which needs the package nbdkit-plugin-dev." >&2; exit 1; }
    for request in pread pwrite trim; do
        rm -f -- "$(error_file "$name" "$request")"
        errors+=("error-$request=EIO" "error-$request-rate=100%" "error-$request-file=$(error_file "$name" "$request")")
    done
    rm -f -- "$work/drives/$name.socket"
    # It ends with this script, whatever ends that.
    nbdkit --foreground --exit-with-parent --unix "$work/drives/$name.socket" --filter=error "$plugin" "$file" \
        "$@" "${errors[@]}" >"$work/drives/$name.log" 2>&1 &
    servers+=($!)
    for ((i = 0; i < 100; i++)); do
        [[ ! -S $work/drives/$name.socket ]] || return 0
        sleep 0.1
    done
    cat "$work/drives/$name.log" >&2
    echo "What is behind the drive $name does not start." >&2
    exit 1
}

end_servers() {
    local server
    for server in "${servers[@]}"; do
        kill "$server" 2>/dev/null || continue
        wait "$server" || true
    done
    servers=()
}

# add_state SIZE: a drive for what is in /var/lib/ssd-op, which else a boot would forget.
add_state() {
    local file
    file=$(drive_file STATE)
    [[ -n $keep && -e $file ]] || {
        rm -f -- "$file"
        truncate -s "$1" "$file"
        mke2fs -q -t ext4 -E lazy_itable_init=0,lazy_journal_init=0 "$file"
    }
    drive_options+=(-drive "file=$file,format=raw,if=none,id=STATE"
        -device "virtio-blk-pci,drive=STATE,serial=STATE")
}
