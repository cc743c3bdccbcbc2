#!/usr/bin/env bash
# The card out of a model serves the model's first values, takes what its rules allow, and tells what was written.
#
# usage: model_test.sh CARD LCMP MODEL
set -euo pipefail

card=$1
lcmp=$2
export LCMP_MODEL=$3
patience=30
# shellcheck source=SCRIPTDIR/own_address.sh
source "$(dirname "${BASH_SOURCE[0]}")/own_address.sh"

fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

expect() {
    local line
    read -r -t "$patience" line <&"$said" || fail "waited for '$1'"
    [ "$line" = "$1" ] || fail "'$line' came instead of '$1'"
}

exec {said}< <(exec "$card" "$LCMP_MODEL" "$own_address")
card_pid=$!
trap 'kill "$card_pid" 2>/dev/null || true' EXIT
expect "listening on $own_address:17470"

value=$("$lcmp" get -o value "$own_address" 'fan[3].serialNumber') || fail "the card was not to be read"
[ "$value" = F-0104 ] || fail "the serial number of fan 3 is '$value'"
"$lcmp" set "$own_address" cooling.mode=manual >/dev/null || fail "the mode was not to be written"
expect 'written: cooling.mode, a UINT8'
if "$lcmp" set "$own_address" cooling.dutyCycle=19 2>/dev/null; then
    fail "a duty cycle below its least was taken"
fi
"$lcmp" set "$own_address" cooling.dutyCycle=20 >/dev/null || fail "the least duty cycle was not to be written"
expect 'written: cooling.dutyCycle, a UINT8'

status=0
said=$("$card" "${BASH_SOURCE[0]}" "$own_address" 2>&1) || status=$?
[ "$status" -eq 1 ] || fail "the card ended with status $status for a file that is no model"
[[ $said == *model_test.sh:* ]] || fail "the card said '$said' of a file that is no model"
