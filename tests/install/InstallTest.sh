#!/usr/bin/env bash
# The Debian package unpacked into a scratch root: its sestool finds its module and signs and
# verifies with it, its completion answers, and pkg-config and find_package(mod_ses) lead a host to
# the header and the module (the README's C example, built and run against it).
# Usage: InstallTest.sh BUILD_DIR. Packs BUILD_DIR with cpack, or takes the package in $SES_DEB.
set -euo pipefail
build=$(cd "$1" && pwd -P)
source=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(realpath "$(mktemp -d)")
trap 'rm -rf "$scratch"' EXIT
fail() {
    echo "FAIL: $*" >&2
    exit 1
}

deb=${SES_DEB:-}
if [[ -z $deb ]]; then
    cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/pkg" > "$scratch/cpack.log" 2>&1 ||
        { cat "$scratch/cpack.log"; fail "cpack"; }
    deb=$(echo "$scratch"/pkg/*.deb)
fi
[[ $(dpkg-deb -f "$deb" Depends) == *libqt5widgets5* ]] || fail "Depends: $(dpkg-deb -f "$deb" Depends)"
[[ $(dpkg-deb -f "$deb" Recommends) == libcurl4 ]] || fail "Recommends: $(dpkg-deb -f "$deb" Recommends)"
root=$scratch/root
dpkg -x "$deb" "$root"
libdir=/usr/lib/$(gcc -print-multiarch)
tool=$root/usr/bin/sestool
export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/home/.config QT_QPA_PLATFORM=offscreen
mkdir -p "$HOME"
cd "$scratch"

# The installed sestool loads the installed module, the built one the build's; --module overrides.
version=$("$tool" --version)
[[ $version == "sestool "*$'\n'"module: $root$libdir/libmod_ses.so.1."*$'\n'"module SONAME: libmod_ses.so.1"* ]] ||
    fail "sestool --version: $version"
[[ $("$build/bin/sestool" --version) == *"module: $build/lib/libmod_ses.so.1."* ]] || fail "built sestool's module"
[[ $("$tool" --version --module "$build/lib/libmod_ses.so.1") == *"module: $build/lib/"* ]] || fail "--module"

"$tool" cert new --id tester --surname Tester --given-name Ivan > /dev/null
echo 'signed text' > data.txt
"$tool" sign --cert tester data.txt > /dev/null
[[ $("$tool" verify data.txt data.txt.sig.xml) == *$'\nVALID: '* ]] || fail "verify of the signed file"
echo 'changed' >> data.txt
status=0
"$tool" verify data.txt data.txt.sig.xml > /dev/null || status=$?
((status == 1)) || fail "verify of a changed file exited $status"

# Completion reads the commands and options from this sestool's help, the identifiers from HOME.
source "$root/usr/share/bash-completion/completions/sestool"
complete_words() {
    COMP_WORDS=("$tool" "$@")
    COMP_CWORD=$#
    _sestool
    echo "${COMPREPLY[*]}"
}
[[ $(complete_words si) == sign ]] || fail "completion of 'si': $(complete_words si)"
[[ $(complete_words sign --c) == "--cert --comment --chunk-size" ]] || fail "completion of sign --c"
[[ $(complete_words sign --cert t) == tester ]] || fail "completion of sign --cert"
[[ $(complete_words config '') == "show init" ]] || fail "completion of config"

export PKG_CONFIG_PATH=$root$libdir/pkgconfig
[[ $(pkg-config --variable=moduledir mod_ses) == "$libdir" ]] || fail "moduledir: $(pkg-config --variable=moduledir mod_ses)"
[[ -z $(pkg-config --libs mod_ses) && -e $root$libdir/libmod_ses.so.1 ]] || fail "mod_ses.pc"

sed -n '/^```c$/,/^```$/{/^```/d;p}' "$source/README.md" > host.c
# A sanitized module runs only in a host built with the same sanitizers (SES_SANITIZE, from ctest).
cmake -S "$source/tests/install/host" -B host-build -DCMAKE_PREFIX_PATH="$root/usr" -DHOST_SOURCE="$scratch/host.c" \
    ${SES_SANITIZE:+-DCMAKE_C_FLAGS=-fsanitize=$SES_SANITIZE} > host-build.log 2>&1 ||
    { cat host-build.log; fail "configuring the host project"; }
grep -qF -- "-- MOD_SES_MODULE=$root$libdir/libmod_ses.so.1" host-build.log || fail "MOD_SES_MODULE: $(grep MOD_SES host-build.log)"
cmake --build host-build > host-build.log 2>&1 || { cat host-build.log; fail "building the host"; }
expected=$(sed -n 's|.*/\* prints \(.*\) \*/$|\1|p' host.c)
[[ -n $expected && $(host-build/host 2> /dev/null) == "$expected" ]] || fail "the README's host printed $(host-build/host)"
echo "installed package: sestool, module, completion, pkg-config and find_package work"
