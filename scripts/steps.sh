# Sourced by the scripts beside it: shows progress step by step with the time each step took.
# shellcheck shell=bash

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
logs=$repo/build/logs
# A bare machine has no locale but this one, and the tools' messages are read below.
export LC_ALL=C.UTF-8

now_ms() {
    echo $((${EPOCHREALTIME/[^0-9]/} / 1000))
}

# step NAME COMMAND...: runs it with its output in a log. When it fails, the end of the log is shown
# and the script ends.
step() {
    local name=$1 start log
    shift
    mkdir -p "$logs"
    log=$logs/${name//[^a-z0-9]/-}.log
    start=$(now_ms)
    printf '%-64s' "$name ..."
    if ! "$@" >"$log" 2>&1; then
        printf 'FAILED\n'
        tail -n 40 "$log" >&2
        printf 'The whole output is in %s\n' "$log" >&2
        exit 1
    fi
    printf '%6.1f s\n' "$(($(now_ms) - start))e-3"
}

# The same for a command whose output is worth seeing, such as a list of tests.
shown_step() {
    local name=$1 start
    shift
    start=$(now_ms)
    printf '%s ...\n' "$name"
    if ! "$@"; then
        printf '%s FAILED\n' "$name"
        exit 1
    fi
    printf '%-64s%6.1f s\n' "$name" "$(($(now_ms) - start))e-3"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    (cd "$repo" && cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"})
}
