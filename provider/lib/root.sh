# What the roots of both providers have in common: /usr is the machine's own, read-only, and in /bin and
# /sbin stand links to its programs beside those that the platform brings.
# Sourced; the caller has a function fail, which does not come back.
# shellcheck shell=bash disable=SC2034 # what is set here is used by those who source it

# need_program PROGRAM PACKAGE WHAT_FOR
need_program() {
    command -v "$1" >/dev/null || fail "$1 is missing, which $3. Please install it: apt-get install $2"
}

# The names of the directories of libraries, as this machine has them.
link_libraries() {
    local root=$1 library
    for library in lib lib32 lib64 libx32; do
        [[ ! -e /$library || -L $root/$library ]] || ln -s "usr/$library" "$root/$library"
    done
}

# Fills the array root_options for bubblewrap.
make_root_options() {
    root_options=(
        --bind "$1" /
        --ro-bind /usr /usr
        --ro-bind-try /etc/alternatives /etc/alternatives
        --tmpfs /bin --tmpfs /sbin
    )
}

# Fills the array root_environment: the caller's own stays outside, except what concerns the terminal and
# those variables whose names are given.
make_root_environment() {
    root_environment=(HOME=/root USER=root LOGNAME=root SHELL=/bin/bash LANG=C.UTF-8 "PS1=[\\u@\\h \\w]\\$ ")
    local name
    for name in TERM COLUMNS LINES NO_COLOR "$@"; do
        [[ ! -v $name ]] || root_environment+=("$name=${!name}")
    done
}
