#!/bin/sh
# Has a Node package read our Sparkplug payloads, and reads what it writes: sparkplug.sh PAYLOADS FOLDER. The package
# is put into the folder once, with locked versions. Skipped, with the reason, where there is no node or no package.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
payloads=$1
folder=$2

skip() {
    echo "skipped: $1"
    exit 77
}
command -v node >/dev/null || skip "node is missing"
mkdir -p "$folder"
cd "$folder"
if [ ! -d node_modules/sparkplug-payload ]; then
    command -v npm >/dev/null || skip "npm is missing"
    cp "$here/package.json" "$here/package-lock.json" .
    npm ci --ignore-scripts --no-audit --no-fund >npm.log 2>&1 ||
        { rm -rf node_modules; skip "the package sparkplug-payload could not be installed: $(tail -n 1 npm.log)"; }
fi
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
"$payloads" write "$files"
node "$here/sparkplug.mjs" "$files"
"$payloads" read "$files"
