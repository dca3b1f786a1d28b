#!/bin/sh
# Instructions of each operation of bench_client, counted by callgrind: the mean of 8 times, behind a
# first one that isn't counted. Steady on a busy machine, unlike times. What the kernel does, and the
# server's thread, isn't in it.
#
#   instruction_counts.sh BENCH_CLIENT [PATTERN...]      operations that match any pattern; all without one
set -eu

bench=${1:?path of bench_client}
shift
times=8
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

count() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --log-file="$work/log" \
        --collect-atstart=no --toggle-collect='*counted*' \
        "$bench" --repeat "$1" "$times" >/dev/null
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$work/log"
}

matches() {
    name=$1
    shift
    [ $# -eq 0 ] && return 0
    for pattern; do
        # shellcheck disable=SC2254
        case $name in *$pattern*) return 0 ;; esac
    done
    return 1
}

printf '%-26s %-12s %14s\n' work library instructions
"$bench" --list | while read -r name; do
    if matches "$name" "$@"; then
        printf '%-26s %-12s %14d\n' "${name%/*}" "${name#*/}" $(($(count "$name") / times))
    fi
done
