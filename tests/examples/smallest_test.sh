#!/usr/bin/env bash
# The two smallest programs against each other: what the controller writes is what it reads the next time, and
# what the card refuses is not stored.
#
# usage: smallest_test.sh CARD CONTROLLER
set -euo pipefail

card=$1
controller=$2

fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

expect() {
    local wanted=$1 got
    shift
    got=$("$@") || fail "$* ended with status $?"
    [ "$got" = "$wanted" ] || fail "$* printed '$got' instead of '$wanted'"
}

exec {ready}< <(exec "$card" 0)
card_pid=$!
trap 'kill "$card_pid" 2>/dev/null || true' EXIT

read -r -t 30 line <&"$ready" || fail "the card does not get ready"
[[ $line =~ ^listening\ on\ 127\.0\.0\.1:([1-9][0-9]*)$ ]] || fail "the card printed '$line'"
port=${BASH_REMATCH[1]}

expect 'brightness was 50, is 80' "$controller" "$port"
expect 'brightness was 80, is 7' "$controller" "$port" 7
if refusal=$("$controller" "$port" 101 2>&1); then
    fail "the card took a brightness of 101: $refusal"
fi
[[ $refusal == *"did not take the new brightness"* ]] || fail "a refused brightness printed '$refusal'"
expect 'brightness was 7, is 100' "$controller" "$port" 100
