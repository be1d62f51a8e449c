# Sourced by the discovery test and bench: builds and checks the private network they run in.
#
# disc_reexec_in_namespace "$0" "$@": re-executes the calling script under `unshare -n -m` (a network
# namespace and a mount namespace of its own), marked by TW_DISC_NETNS=1. Only root can do that.
# disc_refuse_unless_private: stops the script unless it runs in such a namespace: no interface but lo and
# the veth pair this file creates, which carries 192.0.2.x only.
# disc_net_up ADDR...: lo up, the pair twdisc0/twdisc0p (the kernel here has no dummy driver; a veth pair
# whose both ends stay in the namespace serves the same purpose), multicast on, 192.0.2.37/24 first and
# the extra addresses given (each /32 on twdisc0).
DISC_IF=twdisc0
DISC_PEER=twdisc0p
DISC_SELF=192.0.2.37

disc_reexec_in_namespace() {
  local script=$1; shift
  if [ "${TW_DISC_NETNS:-}" = 1 ]; then return 0; fi
  [ "$(id -u)" -eq 0 ] || { echo "SKIP: needs root for a private network namespace" >&2; exit 77; }
  TW_DISC_NETNS=1 exec unshare -n -m --propagation private bash "$script" "$@"
}

disc_refuse_unless_private() {
  local names
  names=$(ip -o link show | awk -F': ' '{print $2}' | sed 's/@.*//' | sort | tr '\n' ' ')
  if [ "$names" != "lo $DISC_IF $DISC_PEER " ]; then
    echo "REFUSED: not inside the test's own network namespace (interfaces: $names)" >&2
    exit 1
  fi
  # Read first, then test: a grep that quits early would break ip's output pipe under pipefail.
  local addresses outside
  addresses=$(ip -o -4 addr show | awk '$2 != "lo" {print $2, $4}')
  outside=$(awk '$2 !~ /^192\.0\.2\./' <<<"$addresses")
  if [ -n "$outside" ]; then
    echo "REFUSED: an interface carries an address outside 192.0.2.0/24: $outside" >&2
    exit 1
  fi
  grep -qx "$DISC_IF $DISC_SELF/24" <<<"$addresses" || { echo "REFUSED: $DISC_IF lacks $DISC_SELF" >&2; exit 1; }
}

disc_net_up() {
  [ "${TW_DISC_NETNS:-}" = 1 ] || { echo "REFUSED: not re-executed in a namespace" >&2; exit 1; }
  # Nothing but lo may exist before the pair is made: this is a fresh namespace.
  [ "$(ip -o link show | wc -l)" -eq 1 ] || { echo "REFUSED: the namespace is not fresh" >&2; exit 1; }
  ip link set lo up
  ip link add "$DISC_IF" type veth peer name "$DISC_PEER"
  ip link set "$DISC_IF" multicast on up
  ip link set "$DISC_PEER" multicast on up
  ip addr add "$DISC_SELF/24" dev "$DISC_IF"
  local a
  for a in "$@"; do ip addr add "$a/32" dev "$DISC_IF"; done
  disc_refuse_unless_private
}

# disc_start_samba DIR "ADDR ...": smbd on port 445 of the addresses, private configuration under DIR:
# "public" (guest), "secure" and the hidden "Admin$" (only DISC_SMB_USER, password DISC_SMB_PASSWORD, made
# fresh). Sets DISC_SMB_PID; fails when smbd does not listen within 15 s.
DISC_SMB_USER=twsmbtest
disc_start_samba() {
  local dir=$1 addresses=$2
  mkdir -p "$dir"/{samba/{lock,state,cache,private,run,ncalrpc},shares/public,shares/secure}
  chmod 0777 "$dir/shares/public" "$dir/shares/secure"
  id "$DISC_SMB_USER" >/dev/null 2>&1 || useradd -M -N -s /usr/sbin/nologin "$DISC_SMB_USER"
  cat >"$dir/samba/smb.conf" <<CONF
[global]
  workgroup = TARNWELL
  server role = standalone server
  interfaces = $addresses
  bind interfaces only = yes
  smb ports = 445
  disable netbios = yes
  load printers = no
  printing = bsd
  printcap name = /dev/null
  disable spoolss = yes
  lock directory = $dir/samba/lock
  state directory = $dir/samba/state
  cache directory = $dir/samba/cache
  private dir = $dir/samba/private
  pid directory = $dir/samba/run
  ncalrpc dir = $dir/samba/ncalrpc
  passdb backend = tdbsam:$dir/samba/private/passdb.tdb
  log file = $dir/smbd.log
  map to guest = Bad User
  guest account = nobody
  server min protocol = SMB2_10
  usershare path =
  registry shares = no
[public]
  path = $dir/shares/public
  guest ok = yes
[secure]
  path = $dir/shares/secure
  valid users = $DISC_SMB_USER
  guest ok = no
[Admin\$]
  path = $dir/shares/secure
  valid users = $DISC_SMB_USER
CONF
  DISC_SMB_PASSWORD=$(head -c 18 /dev/urandom | base64 | tr -dc 'A-Za-z0-9' | head -c 20)
  printf '%s\n%s\n' "$DISC_SMB_PASSWORD" "$DISC_SMB_PASSWORD" | smbpasswd -c "$dir/samba/smb.conf" -s -a "$DISC_SMB_USER" >/dev/null
  setsid smbd --foreground --no-process-group --configfile="$dir/samba/smb.conf" >"$dir/smbd.out" 2>&1 </dev/null &
  DISC_SMB_PID=$!
  wait_for 15 bash -c "exec 3<>/dev/tcp/${addresses%% *}/445"
}
