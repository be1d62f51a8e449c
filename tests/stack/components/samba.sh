#!/usr/bin/env bash
# smbd with a private configuration in $STACK/samba, listening on a free port of 127.0.0.1 only:
#   "public" - guest access, writable        "secure" - only the test user, with a password
# The test user is a local account without login or home (Samba maps every SMB user to one); its SMB
# password is made fresh for each stack, stored only in the private passdb and exported for the tests.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
dir="$stack/samba"
user=twsmbtest

case "$action" in
start)
  port=$(free_port)
  # Guest shares: [public] for most tests; [paths] and [engine] each for one test that mounts and ejects its
  # share whole while other tests use [public] in parallel.
  guest_shares=(public paths engine)
  mkdir -p "$dir"/{lock,state,cache,private,run,ncalrpc}
  for share in "${guest_shares[@]}" secure; do
    mkdir -p "$stack/shares/$share"
    chmod 0777 "$stack/shares/$share"
  done
  id "$user" >/dev/null 2>&1 || useradd -M -N -s /usr/sbin/nologin "$user"
  cat > "$dir/smb.conf" <<CONF
[global]
  workgroup = TARNWELL
  server role = standalone server
  interfaces = 127.0.0.1
  bind interfaces only = yes
  smb ports = $port
  disable netbios = yes
  load printers = no
  printing = bsd
  printcap name = /dev/null
  disable spoolss = yes
  lock directory = $dir/lock
  state directory = $dir/state
  cache directory = $dir/cache
  private dir = $dir/private
  pid directory = $dir/run
  ncalrpc dir = $dir/ncalrpc
  passdb backend = tdbsam:$dir/private/passdb.tdb
  log file = $stack/logs/smbd.log
  log level = 1
  map to guest = Bad User
  guest account = nobody
  server min protocol = SMB2_10
  usershare path =
  registry shares = no

CONF
  for share in "${guest_shares[@]}"; do
    printf '[%s]\n  path = %s\n  guest ok = yes\n  read only = no\n  create mask = 0666\n  directory mask = 0777\n\n' \
      "$share" "$stack/shares/$share"
  done >>"$dir/smb.conf"
  cat >> "$dir/smb.conf" <<CONF
[secure]
  path = $stack/shares/secure
  valid users = $user
  guest ok = no
  read only = no
  create mask = 0666
  directory mask = 0777
CONF
  password=$(head -c 18 /dev/urandom | base64 | tr -dc 'A-Za-z0-9' | head -c 20)
  # Password on standard input only, never on a command line.
  printf '%s\n%s\n' "$password" "$password" | smbpasswd -c "$dir/smb.conf" -s -a "$user" >"$stack/logs/smbpasswd.log" 2>&1
  setsid smbd --foreground --no-process-group --configfile="$dir/smb.conf" >"$stack/logs/smbd.stdout" 2>&1 < /dev/null &
  record_pid "$stack" samba $!
  if ! wait_for 15 bash -c "exec 3<>/dev/tcp/127.0.0.1/$port"; then
    stack_log "smbd did not listen on 127.0.0.1:$port"; exit 1
  fi
  export_var "$stack" TW_SMB_HOST 127.0.0.1
  export_var "$stack" TW_SMB_PORT "$port"
  export_var "$stack" TW_SMB_CONF "$dir/smb.conf"
  export_var "$stack" TW_SMB_GUEST_SHARE public
  export_var "$stack" TW_SMB_PATHS_SHARE paths
  export_var "$stack" TW_SMB_ENGINE_SHARE engine
  export_var "$stack" TW_SMB_USER_SHARE secure
  export_var "$stack" TW_SMB_USER "$user"
  export_var "$stack" TW_SMB_PASSWORD "$password"
  export_var "$stack" TW_SMB_SHARES_DIR "$stack/shares"
  ;;
stop)
  if [ -f "$stack/pids/samba.pid" ]; then
    for pid in $(tac "$stack/pids/samba.pid"); do kill_tree "$pid"; done
    rm -f "$stack/pids/samba.pid"
  fi
  ;;
esac
