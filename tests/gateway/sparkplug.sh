#!/bin/sh
# Has a Node package read our Sparkplug payloads, and reads what it writes: sparkplug.sh PAYLOADS FOLDER. The package
# is put into the folder once. Skipped, with the reason, where there is no node or no package.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
payloads=$1
set -- "$2"
. "$here/sparkplug-package"
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
"$payloads" write "$files"
node "$here/sparkplug.mjs" "$files"
"$payloads" read "$files"
