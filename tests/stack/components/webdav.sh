#!/usr/bin/env bash
# Apache with mod_dav on free ports of 127.0.0.1, private ServerRoot in $STACK/webdav, content in
# $STACK/dav:  /public/ - no authentication   /secure/ - basic authentication (test user)
# served over plain HTTP and over TLS with a self-signed certificate made here.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
dir="$stack/webdav"
mods=/usr/lib/apache2/modules
user=twdavtest

case "$action" in
start)
  port=$(free_port)
  sport=$(free_port)
  while [ "$sport" = "$port" ]; do sport=$(free_port); done
  mkdir -p "$dir"/{run,lock,tls} "$stack/dav/public" "$stack/dav/secure"
  # Apache drops root for www-data; the content and the lock database must be writable by it.
  chown -R www-data:www-data "$stack/dav" "$dir/lock"
  password=$(head -c 18 /dev/urandom | base64 | tr -dc 'A-Za-z0-9' | head -c 20)
  printf '%s' "$password" | htpasswd -i -c -B "$dir/htpasswd" "$user" >/dev/null 2>&1
  chmod 0640 "$dir/htpasswd"; chgrp www-data "$dir/htpasswd"
  openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=127.0.0.1" \
    -addext "subjectAltName=IP:127.0.0.1,DNS:localhost" \
    -keyout "$dir/tls/key.pem" -out "$dir/tls/cert.pem" >/dev/null 2>&1
  cat > "$dir/httpd.conf" <<CONF
ServerRoot "$dir"
ServerName 127.0.0.1
PidFile "$dir/run/httpd.pid"
Mutex file:$dir/run default
DefaultRuntimeDir "$dir/run"
User www-data
Group www-data
Listen 127.0.0.1:$port
Listen 127.0.0.1:$sport
LoadModule mpm_prefork_module $mods/mod_mpm_prefork.so
LoadModule authn_core_module $mods/mod_authn_core.so
LoadModule authn_file_module $mods/mod_authn_file.so
LoadModule authz_core_module $mods/mod_authz_core.so
LoadModule authz_user_module $mods/mod_authz_user.so
LoadModule auth_basic_module $mods/mod_auth_basic.so
LoadModule dav_module $mods/mod_dav.so
LoadModule dav_fs_module $mods/mod_dav_fs.so
LoadModule mime_module $mods/mod_mime.so
LoadModule socache_shmcb_module $mods/mod_socache_shmcb.so
LoadModule ssl_module $mods/mod_ssl.so
StartServers 1
MinSpareServers 1
MaxSpareServers 3
MaxRequestWorkers 16
ErrorLog "$stack/logs/apache-error.log"
LogLevel warn
TypesConfig /etc/mime.types
DocumentRoot "$stack/dav"
DavLockDB "$dir/lock/DavLock"
SSLSessionCache "shmcb:$dir/run/ssl_scache(512000)"
<Directory />
  AllowOverride None
  Require all denied
</Directory>
# DAV only on the two share folders, not on the root: GVfs mounts the topmost DAV folder it can reach,
# so with DAV on the root both shares would end up as one mount of "/".
<Directory "$stack/dav">
  Options None
  Require all granted
</Directory>
# mod_dir is not loaded on purpose: GVfs asks for "/public" without the slash and fails on the redirect
# to "/public/" ("Message is already in session queue").
<Directory "$stack/dav/public">
  Dav On
</Directory>
<Directory "$stack/dav/secure">
  Dav On
  AuthType Basic
  AuthName "Tarnwell test"
  AuthUserFile "$dir/htpasswd"
  Require valid-user
</Directory>
<VirtualHost 127.0.0.1:$sport>
  SSLEngine on
  SSLCertificateFile "$dir/tls/cert.pem"
  SSLCertificateKeyFile "$dir/tls/key.pem"
</VirtualHost>
CONF
  setsid /usr/sbin/apache2 -f "$dir/httpd.conf" -DFOREGROUND >"$stack/logs/apache.stdout" 2>&1 < /dev/null &
  record_pid "$stack" webdav $!
  for p in "$port" "$sport"; do
    if ! wait_for 15 bash -c "exec 3<>/dev/tcp/127.0.0.1/$p"; then
      stack_log "apache did not listen on 127.0.0.1:$p"; exit 1
    fi
  done
  export_var "$stack" TW_DAV_HOST 127.0.0.1
  export_var "$stack" TW_DAV_PORT "$port"
  export_var "$stack" TW_DAVS_PORT "$sport"
  export_var "$stack" TW_DAV_URL "http://127.0.0.1:$port/public/"
  export_var "$stack" TW_DAV_SECURE_URL "http://127.0.0.1:$port/secure/"
  export_var "$stack" TW_DAVS_URL "https://127.0.0.1:$sport/public/"
  export_var "$stack" TW_DAVS_SECURE_URL "https://127.0.0.1:$sport/secure/"
  export_var "$stack" TW_DAVS_CA_FILE "$dir/tls/cert.pem"
  export_var "$stack" TW_DAV_USER "$user"
  export_var "$stack" TW_DAV_PASSWORD "$password"
  export_var "$stack" TW_DAV_DIR "$stack/dav"
  ;;
stop)
  if [ -f "$stack/pids/webdav.pid" ]; then
    for pid in $(tac "$stack/pids/webdav.pid"); do kill_tree "$pid"; done
    rm -f "$stack/pids/webdav.pid"
  fi
  ;;
esac
