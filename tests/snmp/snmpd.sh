#!/usr/bin/env bash
#
# The monitor's status and relocation against snmpd, whose configuration makes a printer of it.
#
#   snmpd.sh WINE-RUN PROGRAM
set -euo pipefail
readonly wine_run=$1 program=$2 daemon=/usr/sbin/snmpd skipped=77 port=161

cannot_run() {
    echo "CANNOT RUN: $*"
    [[ ${CI:-} != true ]] || exit 1
    exit "$skipped"
}
[[ -x $daemon ]] || cannot_run "there is no $daemon (script/bootstrap installs it)"
[[ $(id -u) -eq 0 ]] || cannot_run "SNMP has port $port, which only root may take"

directory=$(mktemp -d "$PWD/snmpd.XXXXXX")
agent=
stop_agent() {
    [[ -n $agent ]] || return 0
    kill "$agent" 2>/dev/null || true
    wait "$agent" 2>/dev/null || true
    agent=
}
end() {
    stop_agent
    rm -rf -- "$directory"
}
trap end EXIT
trap 'exit 143' TERM HUP INT

fail() {
    sed 's/^/  daemon: /' "$directory/daemon.log" | tail -n 20
    echo "FAILED: $*"
    exit 1
}

# 127/8 is all loopback: a network that no other run of this one has.
readonly network=127.92.$(($$ % 250 + 1)) mac=0026AB123456 model='Kestrel 500'

# start_agent ADDRESS STATE ERRORS: a printer there with hrPrinterStatus and
# hrPrinterDetectedErrorState.
start_agent() {
    local a b c d entry attempt
    stop_agent
    cat >"$directory/snmpd.conf" <<CONFIGURATION
rocommunity public
agentaddress udp:$1:$port
override 1.3.6.1.2.1.1.5.0 octet_str "office"
override 1.3.6.1.2.1.2.2.1.6.1 octet_str 0x$mac
override 1.3.6.1.2.1.25.3.2.1.3.1 octet_str "$model"
override 1.3.6.1.2.1.25.3.5.1.1.1 integer $2
override 1.3.6.1.2.1.25.3.5.1.2.1 octet_str $3
CONFIGURATION
    env SNMP_PERSISTENT_DIR="$directory" "$daemon" -f -Lo -C -c "$directory/snmpd.conf" -M '' -m '' \
        >"$directory/daemon.log" 2>&1 &
    agent=$!
    IFS=. read -r a b c d <<<"$1"
    printf -v entry '%02X%02X%02X%02X:%04X' "$d" "$c" "$b" "$a" "$port"
    for ((attempt = 0; attempt < 200; ++attempt)); do
        ! grep -q "$entry" /proc/net/udp || return 0
        kill -0 "$agent" 2>/dev/null || break
        sleep 0.1
    done
    fail "snmpd does not listen at $1"
}

# run TEST VARIABLE=VALUE...
run() {
    local test=$1
    shift
    env "$@" timeout --kill-after=10 100 "$wine_run" "$program" --gtest_filter="$test" \
        >"$directory/program.log" 2>&1 || true
    grep -q '^\[  PASSED  \] 1 test' "$directory/program.log" || {
        cat "$directory/program.log"
        fail "$test with $*"
    }
    echo "ok: $test with $*"
}

while read -r state errors word; do
    start_agent "$network.7" "$state" "$errors"
    run SnmpdTest.TheStatusReachesTheSpooler KSPMON_SNMPD_ADDRESS="$network.7" KSPMON_SNMPD_WORD="$word"
done <<'ROWS'
4 0x40 0x210
3 0x00 0
2 0x20 0x820000
5 0x08 0x410000
3 0x02 0x80
ROWS

run SnmpdTest.APortThatIsAddedSilentlyIsNamedAfterTheModel KSPMON_SNMPD_ADDRESS="$network.7" \
    KSPMON_SNMPD_MODEL="$model" KSPMON_SNMPD_MAC="$mac"

# The printer gets another address.
start_agent "$network.213" 3 0x00
run SnmpdTest.ThePrinterIsFollowedByItsMacAddress KSPMON_SNMPD_ADDRESS="$network.213" \
    KSPMON_SNMPD_OLD_ADDRESS="$network.7" KSPMON_SNMPD_MAC="$mac"
