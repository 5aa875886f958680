#!/bin/sh
# A real RTMP server for tests: nginx with its RTMP module, and stunnel in front of it for RTMPS.
#
# usage: rtmp_server.sh DIR RTMP_PORT RTMPS_PORT [ADDRESS [HOLD]]
#
# Everything lives below DIR. Application "live" records what is published to DIR/rec/KEY.flv;
# application "closed" refuses every publisher. "holds" records as well, and lets go of a silent publisher
# after HOLD (90s); until then nobody else may have its name. DIR/ca.pem is the authority of the RTMPS
# certificate, which is made for "localhost" and 127.0.0.1. Runs until it is told to stop (TERM).
set -eu
dir=$1
rtmp_port=$2
rtmps_port=$3
address=${4:-127.0.0.1}
hold=${5:-90s}
PATH=$PATH:/usr/sbin
mkdir -p "$dir/rec" "$dir/logs"

modules=
for candidate in /usr/lib/nginx/modules /usr/lib64/nginx/modules /usr/local/lib/nginx/modules; do
  if [ -e "$candidate/ngx_rtmp_module.so" ]; then
    modules=$candidate
  fi
done
[ -n "$modules" ] || { echo "nginx has no RTMP module" >&2; exit 1; }

cat >"$dir/nginx.conf" <<CONF
load_module $modules/ngx_rtmp_module.so;
daemon off;
master_process off;
pid $dir/nginx.pid;
error_log $dir/logs/error.log notice;
events { worker_connections 64; }
rtmp {
  access_log off;
  server {
    listen $address:$rtmp_port;
    application live {
      live on;
      record all;
      record_path $dir/rec;
    }
    application holds {
      live on;
      record all;
      record_path $dir/rec;
      drop_idle_publisher $hold;
    }
    application closed {
      live on;
      deny publish all;
    }
  }
}
CONF

"$(dirname "$0")/test_ca.sh" "$dir"
cat >"$dir/stunnel.conf" <<CONF
foreground = yes
pid =
debug = warning
[rtmps]
accept = $address:$rtmps_port
connect = 127.0.0.1:$rtmp_port
cert = $dir/server.pem
key = $dir/server.key
CONF

nginx -p "$dir" -e "$dir/logs/error.log" -c "$dir/nginx.conf" &
nginx_pid=$!
stunnel4 "$dir/stunnel.conf" 2>"$dir/logs/stunnel.log" &
stunnel_pid=$!
trap 'kill $nginx_pid $stunnel_pid 2>/dev/null; wait; exit 0' TERM INT HUP
wait $nginx_pid || true # killed, perhaps
kill $stunnel_pid 2>/dev/null || true
