#!/usr/bin/env bash
# make demo: drive the built module through sestool with a throw-away HOME.
set -euo pipefail
build=${1:-build}
tool="$build/bin/sestool"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME="$home" QT_QPA_PLATFORM=offscreen

run() {
    echo "\$ sestool request $*"
    "$tool" request "$@" && status=0 || status=$?
    echo "(exit $status)"
    echo
}

echo "== An EnumStore request (mode 37), with the module's log lines (-v)"
echo '{"mode":37,"clientId":"demo"}' > "$home/enumstore.json"
run -v "$home/enumstore.json"

echo "== A method the module does not offer (mode 99)"
echo '{"mode":99,"clientId":"demo"}' > "$home/unknown.json"
run "$home/unknown.json"

echo "== A private-key method from a remote client is refused (code 50)"
echo '{"mode":14,"clientId":"demo","test":true}' > "$home/remote.json"
run --remote "$home/remote.json"
