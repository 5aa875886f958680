#!/bin/sh
# Runs a command with a media service of its own: a private session bus, runtime folder, PipeWire and
# WirePlumber, so that virtual cameras and microphones can come and go without touching the desktop.
#
#   pipewire_session.sh [--with-services] COMMAND [ARGUMENT...]
#     --with-services   the desktop's services start on the bus when they are asked for, such as the one
#                       that tells what is in a window; without it nothing does
#
# The command starts when the service answers and its session manager is in charge. Everything is gone
# when the command ends; its exit status is the script's. NIMBARA_PIPEWIRE_PID is the service's process.
set -eu

if [ "${NIMBARA_PIPEWIRE_SESSION:-}" = "" ]; then
    for program in dbus-run-session pipewire wireplumber pw-dump; do
        command -v "$program" >/dev/null || { echo "missing: $program" >&2; exit 127; }
    done
    NIMBARA_PIPEWIRE_SESSION=$(mktemp -d)
    export NIMBARA_PIPEWIRE_SESSION
    trap 'rm -rf "$NIMBARA_PIPEWIRE_SESSION"' EXIT
    bus=--config-file=$(dirname "$0")/private_bus.conf
    if [ "${1:-}" = --with-services ]; then
        shift
        bus=
    fi
    mkdir -m 700 "$NIMBARA_PIPEWIRE_SESSION/run" "$NIMBARA_PIPEWIRE_SESSION/home"
    status=0
    XDG_RUNTIME_DIR="$NIMBARA_PIPEWIRE_SESSION/run" \
        XDG_STATE_HOME="$NIMBARA_PIPEWIRE_SESSION/home" \
        PIPEWIRE_REMOTE=pipewire-0 \
        dbus-run-session ${bus:+"$bus"} -- "$0" "$@" || status=$?
    exit "$status"
fi

pipewire >"$NIMBARA_PIPEWIRE_SESSION/pipewire.log" 2>&1 &
service=$!
export NIMBARA_PIPEWIRE_PID=$service
# The session manager gives up at once when it finds no service.
tries=0
until [ -S "$XDG_RUNTIME_DIR/pipewire-0" ] || [ "$tries" -gt 150 ]; do
    tries=$((tries + 1))
    sleep 0.1
done
wireplumber >"$NIMBARA_PIPEWIRE_SESSION/wireplumber.log" 2>&1 &
manager=$!
trap 'kill "$manager" "$service" 2>/dev/null || true; wait' EXIT

# The session manager exports objects through a connection of its own once its policies are loaded.
tries=0
until pw-dump 2>/dev/null | grep -q '"application.name": "WirePlumber \[export\]"'; do
    tries=$((tries + 1))
    if [ "$tries" -gt 150 ] || ! kill -0 "$service" "$manager" 2>/dev/null; then
        echo "the media service did not start" >&2
        cat "$NIMBARA_PIPEWIRE_SESSION"/*.log >&2
        exit 126
    fi
    sleep 0.1
done

status=0
"$@" || status=$?
exit "$status"
