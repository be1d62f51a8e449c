#!/usr/bin/env bash
# The Secret Service: gnome-keyring-daemon (secrets component only) on the stack's private session bus,
# with its keyrings under STACK/home. It creates the "login" collection with a known test password,
# unlocked, and that collection is the "default" alias, so storing to the default collection never
# prompts. The test password is for this throw-away keyring only; it is passed on standard input.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
TEST_KEYRING_PASSWORD=tarnwell-test
case "$action" in
start)
  : "${DBUS_SESSION_BUS_ADDRESS:?the dbus component must run first}"
  home="$stack/home"
  mkdir -p "$home/.local/share/keyrings"
  chmod 700 "$home/.local/share/keyrings"
  # --foreground keeps the daemon a child of ours, so the recorded PID is the daemon's own.
  printf '%s' "$TEST_KEYRING_PASSWORD" |
    HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" \
    gnome-keyring-daemon --foreground --unlock --components=secrets \
      >"$stack/logs/keyring.out" 2>"$stack/logs/keyring.log" &
  pid=$!
  record_pid "$stack" keyring "$pid"
  # Ask the bus, not the service, until the daemon owns the name: a call addressed to a name nobody owns
  # yet would make the bus activate a second daemon from the system's service files (with the real HOME).
  owns_name() {
    kill -0 "$pid" || return 1
    gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
      --method org.freedesktop.DBus.GetNameOwner org.freedesktop.secrets
  }
  if ! wait_for 15 owns_name; then
    stack_log "gnome-keyring-daemon did not take the Secret Service name"
    exit 1
  fi
  login_is_default() {
    gdbus call --session --dest org.freedesktop.secrets --object-path /org/freedesktop/secrets \
      --method org.freedesktop.Secret.Service.ReadAlias default | grep -q '/collection/login'
  }
  if ! wait_for 10 login_is_default; then
    stack_log "the default collection is not the login collection"
    exit 1
  fi
  locked=$(gdbus call --session --dest org.freedesktop.secrets \
    --object-path /org/freedesktop/secrets/collection/login \
    --method org.freedesktop.DBus.Properties.Get org.freedesktop.Secret.Collection Locked)
  case "$locked" in
    *false*) ;;
    *) stack_log "the login collection is locked: $locked"; exit 1 ;;
  esac
  # The daemon's control socket, for clients that look for it.
  if [ -S "$XDG_RUNTIME_DIR/keyring/control" ]; then
    export_var "$stack" GNOME_KEYRING_CONTROL "$XDG_RUNTIME_DIR/keyring"
  fi
  export_var "$stack" TW_KEYRING_PID "$pid"
  ;;
stop) ;;
esac
