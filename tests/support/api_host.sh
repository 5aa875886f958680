#!/bin/sh
# Runs a command in a network of its own in which this machine is the API's host: its name leads here,
# and the programs trust the authority of its certificate in the place of the system's.
#
#   api_host.sh FOLDER COMMAND [ARGUMENT...]
#
# FOLDER/host holds the certificate of the API's peer: server.pem, server.key.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
folder=$1
if [ "${NIMBARA_API_HOST:-}" = "" ]; then
    "$here/test_ca.sh" "$folder/host" api.openai.com
    NIMBARA_API_HOST=here exec unshare --mount --net --map-current-user --keep-caps "$0" "$@"
fi
shift

ip link set lo up
printf '127.0.0.1 localhost api.openai.com\n' > "$folder/host/hosts"
mount --bind "$folder/host/hosts" /etc/hosts
mkdir -p "$folder/host/trusted"
cp "$folder/host/ca.pem" "$folder/host/trusted/"
openssl rehash "$folder/host/trusted"
mount --bind "$folder/host/trusted" /etc/ssl/certs
exec "$@"
