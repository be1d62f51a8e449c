#!/usr/bin/env bash
# A second, independent WebDAV server: rclone serving $STACK/rclone/files over TLS on a free port of
# 127.0.0.1, basic authentication from a bcrypt htpasswd file (the password never on a command line),
# a self-signed certificate made here by openssl. Its share "docs" holds one known file, hello.txt.
#   rclone.sh start|stop STACK
#   rclone.sh renew STACK   a new certificate, and rclone restarted with it on the same port
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
dir="$stack/rclone"
user=twrclonetest

new_certificate() {
  openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=127.0.0.1/O=Tarnwell test $RANDOM" \
    -addext "subjectAltName=IP:127.0.0.1,DNS:localhost" \
    -keyout "$dir/tls/key.pem" -out "$dir/tls/cert.pem" >/dev/null 2>&1
  chmod 0600 "$dir/tls/key.pem"
}

serve() { # serve PORT
  setsid rclone serve webdav "$dir/files" --addr "127.0.0.1:$1" --cert "$dir/tls/cert.pem" --key "$dir/tls/key.pem" \
    --htpasswd "$dir/htpasswd" --config "$dir/rclone.conf" --cache-dir "$dir/cache" \
    >>"$stack/logs/rclone.log" 2>&1 </dev/null &
  record_pid "$stack" rclone $!
  if ! wait_for 15 bash -c "exec 3<>/dev/tcp/127.0.0.1/$1"; then
    stack_log "rclone did not listen on 127.0.0.1:$1"; exit 1
  fi
}

stop_rclone() {
  if [ -f "$stack/pids/rclone.pid" ]; then
    for pid in $(tac "$stack/pids/rclone.pid"); do kill_tree "$pid"; done
    rm -f "$stack/pids/rclone.pid"
  fi
}

case "$action" in
start)
  port=$(free_port)
  mkdir -p "$dir/tls" "$dir/files/docs" "$dir/cache"
  : > "$dir/rclone.conf"
  printf 'served by rclone\n' > "$dir/files/docs/hello.txt"
  password=$(head -c 18 /dev/urandom | base64 | tr -dc 'A-Za-z0-9' | head -c 20)
  printf '%s' "$password" | htpasswd -i -c -B "$dir/htpasswd" "$user" >/dev/null 2>&1
  chmod 0600 "$dir/htpasswd"
  new_certificate
  printf '%s\n' "$port" > "$dir/port"
  serve "$port"
  export_var "$stack" TW_RCLONE_HOST 127.0.0.1
  export_var "$stack" TW_RCLONE_PORT "$port"
  export_var "$stack" TW_RCLONE_SHARE docs
  export_var "$stack" TW_RCLONE_USER "$user"
  export_var "$stack" TW_RCLONE_PASSWORD "$password"
  export_var "$stack" TW_RCLONE_DIR "$dir/files"
  export_var "$stack" TW_RCLONE_CERT "$dir/tls/cert.pem"
  ;;
renew)
  stop_rclone
  new_certificate
  serve "$(cat "$dir/port")"
  ;;
stop)
  stop_rclone
  ;;
esac
