#!/usr/bin/env bash
#
# kspctl and the unchanged kspmon.dll with a spooler that is no stand-in: Wine's own. It loads the
# monitor through monitor_adapter.dll, which lends it the registry functions that this spooler lacks.
#
#   kspctl_spooler.sh WINE-RUN BUILD_DIRECTORY
set -euo pipefail
readonly wine_run=$1 build=$2

# A Wine of its own: what a spooler has installed is there for every program.
export KSPMON_WINEPREFIX=$build/wine-spooler KSPMON_DLL_OVERRIDES='' LC_ALL=C.UTF-8

work=$(mktemp --directory)
receiver=
end() {
    [[ -z $receiver ]] || kill "$receiver" 2>/dev/null || true
    "$wine_run" --stop
    rm -rf -- "$work"
}
trap end EXIT
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

windows_path() {
    printf '%s' "Z:${1//\//\\}"
}

kspctl() {
    "$wine_run" "$build/bin/kspctl.exe" "$@"
}

# run NAME EXIT_CODE [ARGUMENT...]: what kspctl says is in $output afterwards.
run() {
    case_name=$1
    local expected=$2 status=0
    shift 2
    output=$(kspctl "$@" 2>&1) || status=$?
    if [[ $status -ne $expected ]]; then
        fail "$case_name: exit code $status, expected $expected; the output:"
        printf '%s\n' "$output"
    fi
}

expect_line() {
    grep -Exq -- "$1" <<<"$output" || { fail "$case_name: no line is: $1"; printf '%s\n' "$output"; }
}

# The output is JSON to a reader that is not ours.
expect_json() {
    python3 -m json.tool <<<"$output" >/dev/null || { fail "$case_name: no JSON:"; printf '%s\n' "$output"; }
}

expect_output() {
    [[ $output == "$1" ]] || { fail "$case_name: the output is not '$1' but:"; printf '%s\n' "$output"; }
}

# What an interrupted run may have left.
kspctl uninstall --with-ports --purge >/dev/null 2>&1 || true

run "type of no monitor" 3 type
run "install" 0 install --library "$(windows_path "$build/tests/monitor_adapter.dll")"
expect_line 'installed the monitor "Kestrel Print Port" \(ordinary\)'
run "install again" 4 install
run "type" 0 type
expect_output '1 (ordinary): Kestrel Print Port'
run "no ports" 0 list
expect_output ''

run "settings" 0 settings LogLevel=1 LogDirectory='C:\kspmon' WaitServerReplyTimeout=2 \
    WaitPrinterValueTimeout=1 WaitStatusReplyTimeout=1
run "settings shown" 0 settings LogLevel WaitServerReplyTimeout
expect_line 'LogLevel +1'
expect_line 'WaitServerReplyTimeout +2 seconds'

run "add" 0 add Office --address 127.0.0.5
expect_output 'added the port "Office"'
run "add what is there" 4 add Office --address 127.0.0.6
readonly name='Büro "2" €'
run "add with options" 0 add "$name" --address prn01 --protocol lpr --queue auto --mac 0026AB123456
run "silent-add" 0 silent-add AR=127.0.0.7:PR=RAW:PN=Silent
run "list" 0 list
expect_line "$name  lpr   prn01 port 515"
expect_line 'Office      raw   127.0.0.5 port 9100'
expect_line 'Silent      raw   127.0.0.7 port 9100'
[[ $(wc -l <<<"$output") -eq 3 ]] || fail "list: not three lines"

run "show" 0 show "$name"
expect_line 'QueueName +auto'
expect_line 'MacAddress +0026AB123456'
run "show as JSON" 0 show --json "$name"
expect_json
expect_line '\{"PortName":"Büro \\"2\\" €","PrinterAddress":"prn01","ProtocolID":0,.*\}'

for command in list type settings; do
    run "$command as JSON" 0 "$command" --json
    expect_json
done

run "set" 0 set Office PrinterAddress=127.0.0.8 ProtocolID=xlpr SubnetMask=255.0.0.0
run "show what was set" 0 show Office
expect_line 'PrinterAddress +127\.0\.0\.8'
expect_line 'ProtocolID +1 \(xlpr\)'
expect_line 'QueueName +KSPQueue'
expect_line 'SubnetMask +255\.0\.0\.0'
run "add in its place" 0 add Office --address 127.0.0.9 --replace
run "show what was replaced" 0 show Office
expect_line 'ProtocolID +2 \(raw\)'

run "exists" 0 exists Office
expect_output '"Office" is a port of this monitor'
run "exists elsewhere" 0 exists LPT1:
expect_output '"LPT1:" is a port of another monitor'
run "exists not" 3 exists Nowhere
run "show nothing" 3 show Nowhere
run "show another monitor's" 3 show LPT1:

# The monitor's log, as the spooler's processes wrote it.
readonly log=$KSPMON_WINEPREFIX/drive_c/kspmon/log.txt
grep -q 'INFO     port added successfully' "$log" || fail "no line in the log tells of the port"

# To a printer, and through it.
address=127.92.$(($$ / 250 % 250)).$(($$ % 250 + 1))
printf '%%!PS\nshowpage\n' >"$work/page.ps"
run "set the printer" 0 set Office "PrinterAddress=$address"
run "test without a printer" 7 test Office
expect_line 'failed +connection .*'
"$wine_run" "$build/tests/receiver.exe" "$address" 9100 "$(stat -c %s "$work/page.ps")" \
    "$(windows_path "$work/received")" >"$work/receiver.log" 2>&1 &
receiver=$!
for ((attempt = 0; attempt < 200; ++attempt)); do
    ! grep -qs ready "$work/receiver.log" || break
    sleep 0.1
done
run "test" 0 test Office
expect_line 'passed +connection .*'
expect_line 'attention +identity .*'
expect_line 'attention +status .*'
expect_line 'OK: a job on "Office" would arrive'
run "test as JSON" 0 test --json Office
expect_json
# The program that `print` starts gets the spooler's library beside it, which is what Windows does
# without being told.
"$wine_run" reg add 'HKCU\Software\Wine\AppDefaults\kspprint.exe\DllOverrides' /v winspool.drv \
    /d native /f >/dev/null 2>&1
run "print" 0 print Office "$(windows_path "$work/page.ps")"
expect_line 'OK: the printer took 14 bytes\.'
expect_line 'printed ".*page\.ps" through the port "Office"'
wait "$receiver" || fail "print: not everything arrived"
receiver=
cmp "$work/page.ps" "$work/received" || fail "print: something else arrived"
run "print to nobody" 7 print --patience 1 Office "$(windows_path "$work/page.ps")"
expect_line 'FAILED: .*'

run "uninstall with ports" 6 uninstall
for port in Office "$name" Silent; do
    run "delete" 0 delete "$port"
    expect_output "deleted the port \"$port\""
done
run "delete what is gone" 3 delete Office
run "no ports again" 0 list
expect_output ''
run "uninstall" 0 uninstall --purge
expect_line 'uninstalled the monitor "Kestrel Print Port"'
run "type after it" 3 type

# The other kind.
run "install ID print" 0 install --id-print \
    --library "$(windows_path "$build/tests/monitor_adapter.dll")"
expect_line 'installed the monitor "Kestrel ID Print Port" \(ID print\)'
run "type of ID print" 0 type
expect_output '2 (ID print): Kestrel ID Print Port'
run "add an ID-print port" 0 add Desk --address 127.0.0.5 --raw-port 9101 --check-port 9102
run "show it" 0 show Desk
expect_line 'PortNumber +9101'
expect_line 'CheckPortNo +9102'
run "uninstall ID print" 0 uninstall --id-print --with-ports --purge

[[ $failures -eq 0 ]] || exit 1
echo "kspctl works with Wine's spooler"
