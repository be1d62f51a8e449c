#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Tarnwell needs.
# Idempotent: packages already present are skipped by apt-get.
set -euo pipefail

packages=(
  # build
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools libqt6dbus6 libqt6network6 libqt6widgets6
  libglib2.0-dev libplist-dev libsecret-1-dev libavahi-client-dev
  # tray application: action sounds (desktop sound theme), translations (Qt Linguist tools)
  libcanberra-dev qt6-l10n-tools qt6-tools-dev
  # run time
  gvfs gvfs-backends gvfs-fuse fuse3 dbus dbus-x11 smbclient libsecret-tools zsh
  # test stack: real servers and daemons on loopback
  samba gnome-keyring python3-dbusmock python3-gi apache2 procps psmisc iproute2 xvfb
  rclone openssl  # a second, independent WebDAV server (TLS with a certificate made by openssl)
  avahi-daemon avahi-utils  # mDNS of the discovery test, run only inside its own network namespace
  qt6-qpa-plugins
  clang libclang-rt-14-dev  # fuzz/: libFuzzer with the address and undefined-behaviour sanitizers
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
