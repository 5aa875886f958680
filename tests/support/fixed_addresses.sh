#!/bin/sh
# Runs a command without random addresses, where the system lets it: some kernels spread them over more
# of the memory than the thread sanitizer expects, which then ends at once.
#
#   fixed_addresses.sh COMMAND [ARGUMENT...]
if setarch --addr-no-randomize true 2>/dev/null; then
    exec setarch --addr-no-randomize "$@"
fi
exec "$@"
