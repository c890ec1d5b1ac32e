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

# A mail link opened through the desktop reaches the running copy. With no
# desktop session xdg-open takes its generic road, which asks xdg-mime for the
# handler only when a display is named; the copy itself runs offscreen. Every
# folder the desktop tools write to is the prefix's own.
user="$prefix/user"
mkdir -p "$user/config" "$user/data" && mkdir -m 700 "$user/run"
export HOME="$user" XDG_CONFIG_HOME="$user/config" XDG_DATA_HOME="$user/data" \
    XDG_DATA_DIRS="$share" XDG_RUNTIME_DIR="$user/run" CORVA_HOME="$prefix/home" \
    QT_QPA_PLATFORM=offscreen PATH="$prefix/bin:$PATH"
unset DISPLAY XDG_CURRENT_DESKTOP DESKTOP_SESSION KDE_FULL_SESSION GNOME_DESKTOP_SESSION_ID \
    MATE_DESKTOP_SESSION_ID DBUS_SESSION_BUS_ADDRESS BROWSER
update-desktop-database "$share/applications"
for type in x-scheme-handler/mailto message/rfc822; do
    xdg-mime default "$id.desktop" "$type"
    [ "$(xdg-mime query default "$type")" = "$id.desktop" ] || fail "not the $type handler"
done

log="$prefix/home/log.txt"
# Waits up to 20 s for a line in the running copy's log.
logged() {
    for _ in $(seq 100); do
        grep -qF "$1" "$log" 2>/dev/null && return 0
        kill -0 "$running" 2>/dev/null || fail "corva ended: $(cat "$log" 2>/dev/null)"
        sleep 0.2
    done
    fail "no '$1' in the log: $(cat "$log" 2>/dev/null)"
}
# With none running, a link starts the copy that opens it.
corva 'mailto:first@b.test?subject=Start' >"$user/corva.out" 2>&1 &
running=$!
trap 'kill "$running" 2>/dev/null; wait "$running" 2>/dev/null; rm -rf "$prefix"' EXIT
logged "New message to first@b.test: Start"
WAYLAND_DISPLAY=corva-test timeout 20 xdg-open 'mailto:a@b.test?subject=Hi' ||
    fail "xdg-open failed"
logged "Command passed in: mailto:a@b.test?subject=Hi"
logged "New message to a@b.test: Hi"
message="$user/Mail Files/Re Hi.EML"
mkdir -p "${message%/*}"
printf 'From: Bob <bob@x.test>\r\nTo: ann@b.test\r\nSubject: Hi there\r\n\r\nBody\r\n' >"$message"
WAYLAND_DISPLAY=corva-test timeout 20 xdg-open "$message" || fail "xdg-open of a message failed"
logged "Displaying $message"
echo "installed and valid"
