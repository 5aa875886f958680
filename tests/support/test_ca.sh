#!/bin/sh
# test_ca.sh FOLDER [NAME]
#
# Makes a test authority and a server certificate for "localhost", 127.0.0.1 and NAME signed by it:
# FOLDER/ca.pem, FOLDER/server.pem, FOLDER/server.key. A folder that already has
# them is left alone until the last of their thirty days.
set -eu
folder=$1
names=DNS:localhost,IP:127.0.0.1${2:+,DNS:$2}
mkdir -p "$folder"
exec 9> "$folder/.lock"
flock 9
openssl x509 -checkend 86400 -noout -in "$folder/server.pem" >/dev/null 2>&1 && exit 0

work=$(mktemp -d "$folder/.making.XXXXXX")
trap 'rm -rf "$work"' EXIT
curve='-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes'
# shellcheck disable=SC2086
openssl req -x509 $curve -days 30 -subj '/CN=Test authority' \
  -addext 'basicConstraints=critical,CA:TRUE' -addext 'keyUsage=critical,keyCertSign' \
  -keyout "$work/ca.key" -out "$work/ca.pem" 2>/dev/null
# shellcheck disable=SC2086
openssl req $curve -subj '/CN=localhost' -keyout "$work/server.key" -out "$work/server.csr" 2>/dev/null
printf 'subjectAltName=%s\nextendedKeyUsage=serverAuth\n' "$names" > "$work/server.ext"
openssl x509 -req -in "$work/server.csr" -CA "$work/ca.pem" -CAkey "$work/ca.key" -CAcreateserial \
  -days 30 -extfile "$work/server.ext" -out "$work/server.pem" 2>/dev/null
# The certificate goes last: it marks the folder as complete.
mv "$work/ca.pem" "$work/server.key" "$folder/"
mv "$work/server.pem" "$folder/"
