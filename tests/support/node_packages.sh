#!/bin/sh
# node_packages.sh FOLDER
#
# Installs the locked packages that the Node peers use into FOLDER/node_modules. A folder that has
# the same lock file's packages already is left alone.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
folder=$1
mkdir -p "$folder"
exec 9> "$folder/.lock"
flock 9
cmp -s "$here/package-lock.json" "$folder/installed.json" && exit 0
cp "$here/package.json" "$here/package-lock.json" "$folder/"
cd "$folder"
npm ci --no-audit --no-fund --ignore-scripts --loglevel=error
cp package-lock.json installed.json
