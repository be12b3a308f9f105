#!/usr/bin/env bash
# make demo: the everyday round of sestool against the built module, in a throw-away HOME:
# create a certificate, list it, sign a file, look at the container, verify it, verify a tampered copy.
set -euo pipefail
build=${1:-build}
tool="$(cd "$build" && pwd)/bin/sestool"
readme="$(cd "$(dirname "$0")/.." && pwd)/README.md"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME="$home" QT_QPA_PLATFORM=offscreen
cd "$home"

say() {
    printf '\n== %s\n' "$*"
}

# run shows the command, runs it and shows its exit status; a failing command does not stop the demo.
run() {
    printf '$ sestool'
    for arg in "$@"; do
        if [[ $arg =~ [[:space:]] ]]; then printf ' "%s"' "$arg"; else printf ' %s' "$arg"; fi
    done
    echo
    "$tool" "$@" 2>&1 && status=0 || status=$?
    echo "(exit $status)"
}

echo "sestool demo in a temporary HOME ($home); nothing outside it is touched."

say "Create a signer certificate. It is a small XML file in ~/.config/VALKO/SesCertificates/,"
echo "   which the module reads when it starts."
run cert new --id demo-signer --surname Ivanova --given-name Anna --organization "Example Ltd" \
    --email anna@example.org

say "List the certificates the module loaded."
run certs

say "Sign README.md. The signature is a separate file: README.md.sig.xml (a detached signature)."
cp "$readme" README.md
run sign --cert demo-signer --comment "reviewed" README.md

say "This is the signature container: the signer's certificate and the signature record (EDS)."
echo "   CRC is base64 of the CRC-64 of the signed data; the data itself is not inside."
cat README.md.sig.xml

say "Verify README.md against its signature: the data is unchanged, so it is VALID (exit 0)."
run verify README.md README.md.sig.xml

say "Replace the first character of a copy and verify the copy: it no longer matches, INVALID (exit 1)."
{ printf '%%'; tail -c +2 README.md; } > tampered.md
run verify tampered.md README.md.sig.xml

say "The CRC-64 the signature is built on, for the original and the tampered copy."
run hash README.md
run hash tampered.md

say "A signature with an unknown certificate is refused by the module (NEED, code 16104, exit 1)."
run sign --cert nobody README.md

say "Underneath, each command is one JSON request; \"sestool request\" sends one by hand (EnumCerts)."
echo '{"mode":38,"clientId":"demo"}' > enumcerts.json
run request enumcerts.json

echo
echo "Done. Apart from writing the certificate file, every step went through the module's C interface"
echo "(CM_Init, CM_ProcessClientRequest, CM_Free)."
