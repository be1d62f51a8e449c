#!/usr/bin/env bash
# Trusting a self-signed server certificate, through a real headless engine and tarnwellctl, against rclone's
# WebDAV server over TLS: the first mount is refused naming the certificate (not as an authentication
# failure); "trust" stores that fingerprint; the share mounts and its file reads at the reported mount point;
# after the server's certificate is replaced the mount is refused as changed; the trusted fingerprint travels
# in a configuration export.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}" "${TW_STACK_DIR:?}" "${TW_STACK_SCRIPTS:?}"
: "${TW_RCLONE_HOST:?}" "${TW_RCLONE_PORT:?}" "${TW_RCLONE_USER:?}" "${TW_RCLONE_PASSWORD:?}" "${TW_RCLONE_CERT:?}"
: "${TW_RCLONE_SHARE:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
daemon_pid=""
cleanup() {
  if [ -n "$daemon_pid" ] && kill -0 "$daemon_pid" 2>/dev/null; then
    timeout 30 "$CTL" eject --all --wait --timeout 20 >/dev/null 2>&1 || true
    kill_tree "$daemon_pid"
  fi
  rm -rf "$work"
}
trap cleanup EXIT
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"

# The SHA-256 fingerprint of the server's current certificate, in the engine's spelling.
served_fingerprint() {
  openssl x509 -in "$TW_RCLONE_CERT" -noout -fingerprint -sha256 | sed 's/.*=//; s/://g' | tr 'A-F' 'a-f'
}

"$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
daemon_pid=$!
wait_for 30 "$CTL" list || fail "the engine did not appear on the session bus"

step "a secure WebDAV share to a server with a self-signed certificate is refused naming it"
first=$(served_fingerprint)
status=0
printf '%s\n' "$TW_RCLONE_PASSWORD" | timeout 60 "$CTL" add --host "$TW_RCLONE_HOST" --port "$TW_RCLONE_PORT" \
  --protocol webdavs --share "$TW_RCLONE_SHARE" --user "$TW_RCLONE_USER" --nickname Rclone --password-stdin \
  >"$work/out" 2>"$work/err" || status=$?
[ $status -eq 0 ] || fail "add exited $status: $(cat "$work/err")"
run_ctl 1 mount Rclone --wait --timeout 90
expect_err "Untrusted server certificate: SHA-256 $first (CN=127.0.0.1"
! grep -qi "authentication" <<<"$err" || fail "reads like an authentication failure: $err"
run_ctl 0 log --limit 5
expect_out "$first"

step "trust: a fingerprint the server does not present is refused; --yes stores the one it presents"
run_ctl 2 trust Rclone --fingerprint 12:34; expect_err "64 hexadecimal digits"
run_ctl 1 trust Rclone --fingerprint "$(printf '%064d' 0)"; expect_err "nothing trusted"
run_ctl 1 trust Rclone; expect_err "confirm on a terminal"
run_ctl 0 trust Rclone --yes
expect_out "SHA-256: $first"; expect_out "Subject: CN=127.0.0.1"; expect_out "Trusted SHA-256 $first"

step "the trusted share mounts and its file reads at the reported mount point"
run_ctl 0 mount Rclone --wait --timeout 90
mount_point=$(sed -n 's/^Mounted .* at \(.*\)$/\1/p' <<<"$out")
[ "$(timeout 20 cat "$mount_point/hello.txt")" = "served by rclone" ] || fail "cannot read hello.txt at '$mount_point': $out"
run_ctl 0 config export "$work/out.twconfig"
grep -qF "\"trustedCertificateSHA256\": \"$first\"" "$work/out.twconfig" || fail "no fingerprint in the export"
run_ctl 0 eject Rclone --wait --timeout 60

step "a replaced certificate is refused as changed"
bash "$TW_STACK_SCRIPTS/components/rclone.sh" renew "$TW_STACK_DIR"
second=$(served_fingerprint)
[ "$second" != "$first" ] || fail "the certificate was not replaced"
run_ctl 1 mount Rclone --wait --timeout 90
expect_err "Server certificate changed: SHA-256 $second"

step "--remove forgets the trust"
run_ctl 0 trust Rclone --remove
run_ctl 0 config export "$work/after.twconfig"
! grep -q trustedCertificateSHA256 "$work/after.twconfig" || fail "the fingerprint is still exported after --remove"
echo PASS
