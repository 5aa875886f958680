#!/bin/sh
# Runs a command in a private session bus where an unlocked Secret Service answers, in a private
# home that goes away with it:
#   secret_service.sh <command> [argument]...
# SECRET_SERVICE_PID names the service's process for the command.
set -eu

if [ "${1:-}" != --in-bus ]; then
    exec dbus-run-session --config-file="$(dirname "$0")/private_bus.conf" -- "$0" --in-bus "$@"
fi
shift

home=$(mktemp -d)
SECRET_SERVICE_PID=
finish() {
    if [ -n "$SECRET_SERVICE_PID" ]; then
        kill -CONT "$SECRET_SERVICE_PID" 2> /dev/null || true
        kill "$SECRET_SERVICE_PID" 2> /dev/null || true
    fi
    rm -rf "$home"
}
trap finish EXIT
export HOME="$home" XDG_RUNTIME_DIR="$home" XDG_DATA_HOME="$home/data"
export XDG_CONFIG_HOME="$home/config" XDG_CACHE_HOME="$home/cache"

# The password goes through a pipe, so that $! is the service itself.
mkfifo "$home/password"
gnome-keyring-daemon --foreground --unlock --components=secrets \
    < "$home/password" > "$home/service.log" 2>&1 &
SECRET_SERVICE_PID=$!
export SECRET_SERVICE_PID
printf pass > "$home/password"
if ! gdbus wait --session --timeout 30 org.freedesktop.secrets; then
    cat "$home/service.log" >&2
    exit 1
fi
"$@"
