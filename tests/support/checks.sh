# What tests that are scripts say of each thing that they check. Sourced; at its end a test looks whether
# there are failures.
# shellcheck shell=bash disable=SC2034

failures=0

# check TEXT COMMAND...: the command succeeds.
check() {
    local what=$1
    shift
    if "$@"; then echo "ok: $what"; else
        echo "FAILED: $what"
        failures=$((failures + 1))
    fi
}

# Waits for a condition as long as a loaded machine may need.
eventually() {
    for _ in {1..100}; do
        "$@" && return
        sleep 0.05
    done
    return 1
}
