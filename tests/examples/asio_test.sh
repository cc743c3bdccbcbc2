#!/usr/bin/env bash
# The card in Boost.Asio's loop answers, reports its seconds and ends when it is told to.
#
# usage: asio_test.sh CARD LCMP
set -euo pipefail

card=$1
lcmp=$2
patience=30
# shellcheck source=SCRIPTDIR/own_address.sh
source "$(dirname "${BASH_SOURCE[0]}")/own_address.sh"

fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

exec {events}< <(exec "$lcmp" watch --listen "$own_address:17471" --count 3 -o jsonl 2>&1)
watcher=$!
trap 'kill "$watcher" 2>/dev/null || true' EXIT
read -r -t "$patience" line <&"$events" || fail "the watcher does not get ready"
exec {ready}< <(exec "$card" "$own_address")
card_pid=$!
trap 'kill "$watcher" "$card_pid" 2>/dev/null || true' EXIT
read -r -t "$patience" line <&"$ready" || fail "the card does not get ready"
[ "$line" = "listening on $own_address:17470" ] || fail "the card printed '$line'"

seconds=$("$lcmp" get -o value "$own_address" 0x06000000:UINT32) || fail "the card was not to be read"
[[ $seconds =~ ^[0-9]+$ ]] || fail "the clock stands at '$seconds'"
last=0
for _ in 1 2 3; do
    read -r -t "$patience" line <&"$events" || fail "too few events came"
    [[ $line =~ \"oid\":\"0x06000000\".*\"value\":([0-9]+) ]] || fail "the card reported '$line'"
    [ "${BASH_REMATCH[1]}" -gt "$last" ] || fail "the clock went from $last to ${BASH_REMATCH[1]}"
    last=${BASH_REMATCH[1]}
done

kill -INT "$card_pid"
wait "$card_pid" || fail "the card ended with status $?"
