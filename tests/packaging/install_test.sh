#!/usr/bin/env bash
# install_test.sh BUILD: installs BUILD into a throw-away prefix and checks it.
set -euo pipefail
build="$1"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
id=example.tarnwick.corva
share="$prefix/share"

[ -x "$prefix/bin/corva" ] || fail "no binary"
desktop-file-validate "$share/applications/$id.desktop"
grep -q '^MimeType=.*x-scheme-handler/mailto;' "$share/applications/$id.desktop" || fail "no mailto"
grep -q '^MimeType=.*message/rfc822;' "$share/applications/$id.desktop" || fail "no rfc822"
appstreamcli validate --no-net --pedantic "$share/metainfo/$id.metainfo.xml" ||
    appstreamcli validate --no-net "$share/metainfo/$id.metainfo.xml"

for size in 16 24 32 48 64 128 256; do
    png="$share/icons/hicolor/${size}x${size}/apps/$id.png"
    [ -s "$png" ] || fail "no ${size}px icon"
    file "$png" | grep -q "PNG image data, $size x $size" || fail "${size}px icon is $(file -b "$png")"
done
grep -q '<svg' "$share/icons/hicolor/scalable/apps/$id.svg" || fail "no scalable icon"

page="$(MANWIDTH=100 man -l -P cat "$share/man/man1/corva.1" 2>&1)"
grep -q '^NAME' <<<"$page" || fail "the man page does not render: $page"
for command in $("$prefix/bin/corva" --help | sed -n 's/^  \([a-z][a-z0-9-]*\)  .*/\1/p'); do
    grep -q "^       corva $command" <<<"$page" || fail "the man page lacks $command"
done

bash -n "$share/bash-completion/completions/corva"
completed="$(PATH="$prefix/bin:$PATH" bash -c "source '$share/bash-completion/completions/corva'
    COMP_WORDS=(corva sc); COMP_CWORD=1; _corva; echo \"\${COMPREPLY[*]}\"")"
grep -qw scan <<<"$completed" || fail "completion of 'sc' gave: $completed"
[ -f "$share/corva/languages/German.txt" ] || fail "no language files"
mkdir -p "$prefix/home" && printf 'DISABLEAUTOUPDATECHECK,TRUE\r\n' >"$prefix/home/Corva.ini"
listed="$("$prefix/bin/corva" --home "$prefix/home" languages)"
grep -q "$share/corva/languages/German.txt" <<<"$listed" || fail "the installed languages are not found: $listed"
echo "installed and valid"
