#!/usr/bin/env bash
# Bundles the fleet page into the folder $1 and tests it: its parts with Node.js, the whole in Chromium against real
# brokers on loopback and, when the folder $2 has rvqd and rvqsim, a real gateway. Ends with 77 and the reason where something that it needs is missing.
set -euo pipefail
out=$1
export ORVEX_BIN=${2-}
cd "$(dirname "$0")/.."
PATH=$PATH:/usr/sbin

for program in node npm chromium nats-server; do
    command -v "$program" >/dev/null || { echo "There is no $program."; exit 77; }
done
../scripts/make-fleet-page "$out" || {
    [ -d node_modules/playwright-core ] && exit 1
    echo "The packages of the page cannot be fetched from the npm registry."
    exit 77
}
ORVEX_FLEET_PAGE=$out node --test test/units.test.mjs test/page.test.mjs test/service.test.mjs
