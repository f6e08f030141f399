#!/usr/bin/env bash
#
# Jobs over raw TCP to p910nd, a daemon that hands what it receives to a printer device.
#
#   p910nd.sh WINE-RUN PROGRAM
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/peer.sh"

readonly daemon=/usr/sbin/p910nd
peer_need "$daemon"
peer_begin p910nd "$@"
peer_install "$daemon"

# It locks a file at a fixed place.
mkdir -p "$peer_root/var/lock/p910nd" "$peer_root/var/run"

# Not in the background; its printer 0 has port 9100.
peer_start 9100 "$daemon" -d -i "$address" -f /printer 0

for size in 1 1048576 67108864; do
    peer_print "$size" KSPMON_PEER_PROTOCOL=2
    peer_expect_delivery
    peer_pass "$size bytes over raw TCP"
done
