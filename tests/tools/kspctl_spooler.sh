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

expect_no_line() {
    ! grep -Exq -- "$1" <<<"$output" || { fail "$case_name: a line is: $1"; printf '%s\n' "$output"; }
}

# The output is JSON to a reader that is not ours.
expect_json() {
    python3 -m json.tool <<<"$output" >/dev/null || { fail "$case_name: no JSON:"; printf '%s\n' "$output"; }
}

# start_receiver PROTOCOL [snmp]: a printer at $address that gets the page.
start_receiver() {
    local attempt protocol=$1
    shift
    "$wine_run" "$build/tests/receiver.exe" "$address" "$protocol" \
        "$(stat -c %s "$work/page.ps")" "$(windows_path "$work/received")" "$@" \
        >"$work/receiver.log" 2>&1 &
    receiver=$!
    for ((attempt = 0; attempt < 200; ++attempt)); do
        ! grep -qs ready "$work/receiver.log" || break
        sleep 0.1
    done
}

expect_arrival() {
    wait "$receiver" || fail "$case_name: not everything arrived"
    receiver=
    cmp "$work/page.ps" "$work/received" || fail "$case_name: something else arrived"
    rm -f -- "$work/received"
}

# The daemon got a command, which is its number and the rest of it.
expect_command() {
    tr -d '\r' <"$work/receiver.log" | grep -Exq -- "$1" ||
        { fail "$case_name: the daemon got no command $1:"; cat "$work/receiver.log"; }
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
readonly network=127.93.$(($$ / 250 % 250)) mac=0026AB123456
readonly address=$network.$(($$ % 250 + 1)) elsewhere=$network.$((($$ + 1) % 250 + 1))
printf '%%!PS\nshowpage\n' >"$work/page.ps"
page=$(windows_path "$work/page.ps")
run "set the printer" 0 set Office "PrinterAddress=$address"
run "test without a printer" 7 test Office
expect_line 'failed +connection .*'
start_receiver raw
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
# A network that is there, and is not to be searched.
"$wine_run" reg add 'HKLM\SOFTWARE\Kestrel\Kestrel Print\subnet' /v subnet0 /d \
    "$network.0;255.255.255.0" /f >/dev/null 2>&1
run "print" 0 print Office "$page"
expect_line 'OK: the printer took 14 bytes\.'
expect_line 'printed ".*page\.ps" through the port "Office"'
expect_line '  setting +WaitServerReplyTimeout = 2'
expect_line '  setting +MaxFileSize = its default'
expect_no_line '  searched .*'
expect_arrival
run "print to nobody" 7 print --patience 1 --setting WaitServerReplyTimeout=1 Office "$page"
expect_line 'FAILED: .*'
expect_line '  setting +WaitServerReplyTimeout = 1'

# The queue is the port's own. What XLPR announces is a setting, of this computer or of this time.
run "set LPR" 0 set Office ProtocolID=lpr QueueName=auto
start_receiver lpr
run "print over LPR" 0 print Office "$page"
expect_line 'OK: the printer took 14 bytes\.'
expect_arrival
expect_command '2 auto'
expect_command '3 14 dfA.*'
run "set XLPR" 0 set Office ProtocolID=xlpr QueueName=stream
run "another announcement" 0 settings MaxFileSize=123
start_receiver lpr
run "print over XLPR" 0 print Office "$page"
expect_line 'OK: the printer took 14 bytes\.'
expect_arrival
expect_command '2 stream'
expect_command '3 123000 dfA.*'
start_receiver lpr
run "print with a setting" 0 print Office "$page" --setting MaxFileSize=77
expect_arrival
expect_command '3 77000 dfA.*'

# A printer that moved is looked for in this computer's networks, or in others for this time.
run "add a tracked port" 0 add Tracked --address "$elsewhere" --type tracked --ip "$elsewhere" \
    --mac "$mac"
start_receiver raw snmp
run "networks that are searched" 0 settings SubnetSegment=1
run "print to where nobody looks" 7 print --patience 1 Tracked "$page" \
    --subnet '127.254.0.0;255.255.255.0'
expect_line '  searched +127\.254\.0\.0;255\.255\.255\.0'
run "print to where it moved" 0 print Tracked "$page" --setting WaitPrinterValueTimeout=5
expect_line "  searched +${network//./\\.}\.0;255\.255\.255\.0"
expect_arrival
run "nothing is searched" 0 settings SubnetSegment=0
start_receiver raw snmp
run "print to where it moved, by an option" 0 print Tracked "$page" \
    --subnet "$network.0;255.255.255.0" --setting WaitPrinterValueTimeout=5
expect_arrival
run "delete the tracked port" 0 delete Tracked

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
