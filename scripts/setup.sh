#!/usr/bin/env bash
# Installs the Debian packages that building and testing Corva need. Does
# nothing when all are present; uses sudo when not run as root.
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config clang-format clang-tidy
    qt6-base-dev qt6-base-dev-tools libgl-dev
    libssl-dev openssl # the TLS tests make their certificates with it
    libgtest-dev libgmock-dev
    dovecot-core dovecot-pop3d
    exim4-daemon-light # the SMTP tests run a private Exim with STARTTLS and AUTH
    qtkeychain-qt6-dev # passwords in the desktop keyring
    libsecret-1-0 dbus-daemon dbus-bin gnome-keyring # the keyring test runs a private Secret Service
    python3 python3-aiosmtpd
    poppler-utils
    clang libclang-rt-14-dev
    bogofilter # bench/score_bulk compares against it
    qt6-speech-dev qt6-speech-flite-plugin qt6-declarative-dev # reading mail aloud
    desktop-file-utils appstream man-db file # the install test validates what it installs
    chromium # the published ticket pages are opened in a headless browser
    tinyproxy # the update check's proxy test goes through it
    python3-pyftpdlib # the FTP download tests run a private FTP server
    gcovr # line coverage of the tests, to check that trimming them loses none
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
# Keep the system's own mail daemons from starting: the tests run private ones.
if [ ! -e /usr/sbin/policy-rc.d ] && [ -z "$sudo" ] && ! pidof systemd >/dev/null 2>&1; then
    printf '#!/bin/sh\nexit 101\n' > /usr/sbin/policy-rc.d && chmod +x /usr/sbin/policy-rc.d
    trap 'rm -f /usr/sbin/policy-rc.d' EXIT
fi
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
