#!/usr/bin/env bash
# Writes sestool(1), gzip-compressed, with help2man from "sestool --help", "sestool --version" and
# the help of every command, which becomes the COMMANDS section as the program lays it out.
# Usage: make-man.sh HELP2MAN SESTOOL OUTPUT.1.gz
set -euo pipefail
help2man=$1 tool=$2 out=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

{
    echo '[COMMANDS]'
    for command in $("$tool" --help | sed -n 's/^  \([a-z0-9]\+\)  .*/\1/p') --version; do
        echo ".SS ${command//-/\\-}"
        echo '.nf'
        # roff reads a backslash as an escape, "-" as a hyphen and a leading dot or quote as a request.
        "$tool" "$command" --help | sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e "s/^[.']/\\\\\&&/"
        echo '.fi'
    done
    cat <<'TEXT'
[FILES]
.TP
.I ~/.config/VALKO/SesCertificates/ID.ses
the signer certificates the module loads when it starts; \fBsestool cert new\fR writes them
.TP
.I ~/.config/OruCryptoSvc/OruCryptoSvcConfig.ini
the service configuration the module reads when it starts
.TP
.I libmod_ses.so.1
the module, in the library folder of the installation; \fBsestool \-\-version\fR names it
TEXT
} > "$work/sestool.h2m"

# Only the first line of --version: the page is the same for every installation, whichever module
# the build found.
"$help2man" --no-info --section=1 --source="mod_ses" --version-string="$("$tool" --version | sed -n 1p)" \
    --name="sign and verify files with the libmod_ses simple electronic signature module" \
    --include="$work/sestool.h2m" --output="$work/sestool.1" "$tool"
mkdir -p "$(dirname "$out")"
gzip -9n < "$work/sestool.1" > "$out"
