#!/usr/bin/env bash
# The lamp and its two controllers: one asks, writes, is refused and hears an event; the other waits for commands
# and events in a loop of its own.
#
# usage: lamp_test.sh CARD FIRST_CONTROLLER POLL_CONTROLLER
set -euo pipefail

card=$1
first=$2
console=$3
patience=30
# shellcheck source=SCRIPTDIR/own_address.sh
source "$(dirname "${BASH_SOURCE[0]}")/own_address.sh"

fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

# expect STREAM LINE: the next line of the stream is this one.
expect() {
    local line
    read -r -t "$patience" line <&"$1" || fail "waited for '$2'"
    [ "$line" = "$2" ] || fail "'$line' came instead of '$2'"
}

exec {ready}< <(exec "$card" "$own_address")
card_pid=$!
trap 'kill "$card_pid" 2>/dev/null || true' EXIT
expect "$ready" "listening on $own_address:17470"

said=$("$first" "$own_address") || fail "the first controller ended with status $?: $said"
expected='power: 30 W
101 %: RESULT WRONG VALUE at element 1
power: RESULT READ ONLY at element 0
event: power
power: 48 W'
[ "$said" = "$expected" ] || fail "the first controller said '$said'"

coproc CONSOLE { exec "$console" "$own_address"; }
# shellcheck disable=SC2153 # the coprocess sets it
console_pid=$CONSOLE_PID
exec {said}<&"${CONSOLE[0]}" {typed}>&"${CONSOLE[1]}"
expect "$said" "listening on $own_address:17471"
printf 'off\n' >&"$typed"
expect "$said" 'done'
expect "$said" 'power 0 W'
printf 'up\non\n' >&"$typed"
expect "$said" 'on, off or quit'
expect "$said" 'done'
expect "$said" 'power 48 W'
printf 'quit\n' >&"$typed"
wait "$console_pid" || fail "the console ended with status $?"

# Without a card: three tries, and then it is over.
kill "$card_pid"
wait "$card_pid" 2>/dev/null || true
if said=$("$first" "$own_address" 2>&1); then
    fail "the first controller was content without a card"
fi
[ "$said" = "first_controller: the lamp cannot be read: request to $own_address:17470: no reply in time" ] ||
    fail "without a card the first controller said '$said'"
