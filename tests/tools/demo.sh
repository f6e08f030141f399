#!/usr/bin/env bash
#
# script/demo as its user meets it: its output and its exit codes.
#
#   demo.sh SCRIPT_DEMO BUILD_DIRECTORY
set -euo pipefail

readonly demo=$1
export KSPMON_BUILD=$2

work=$(mktemp --directory)
captured=$(mktemp)
trap 'rm -rf -- "$work" "$captured"' EXIT
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# run NAME EXIT_CODE [ARGUMENT...]: the output is in $output afterwards.
run() {
    case_name=$1
    local expected=$2 status=0
    shift 2
    # Through a file: Wine's desktop, which the demo may start, keeps a pipe open for as long as any
    # other program runs.
    (cd -- "$work" && "$demo" "$@") >"$captured" 2>&1 || status=$?
    output=$(<"$captured")
    if [[ $status -ne $expected ]]; then
        fail "$case_name: exit code $status, expected $expected; the output:"
        printf '%s\n' "$output"
    fi
}

expect_line() {
    grep -Eq -- "$1" <<<"$output" || { fail "$case_name: no line matches: $1"; printf '%s\n' "$output"; }
}

expect_no_line() {
    ! grep -Eq -- "$1" <<<"$output" || fail "$case_name: a line matches: $1"
}

# The troubles of the printer that the demo plays, as they reach the spooler.
expect_troubles() {
    expect_line '^  1\.  0x00000010  paper out$'
    expect_line '^  2\.  0x00400000  door open$'
    expect_line '^  3\.  0x00000000  ready$'
    expect_no_line '^  4\.  0x'
}

run "sample document" 0
expect_line '^  compared +identical$'
expect_line '^OK: [0-9,]+ bytes sent, identical bytes received\.$'
expect_line '^  connections +1$'
expect_line ' 100 %  ([0-9,]+) of \1 bytes$'
expect_troubles
expect_line 's  printer status 0x00000010  paper out$'
expect_line '^  SetPrinter +status 0x00400000  door open$'
expect_line '\] ERROR    Print State = 1 , ErrorState = 0x10$'
expect_line '^  SetJob +job 1, sent to the printer$'
expect_line '^  ProtocolID +REG_DWORD +2$'
expect_line '^  PrinterAddress +REG_SZ +"127\.'
expect_line '\] TRACE    called open port : Demo Port$'
expect_line '\] TRACE    Logger terminate$'

# A name that Windows could not have, in the directory where the user is; every byte value.
readonly file='a "report": 2?.ps'
for byte in {0..255}; do
    printf "\\x$(printf '%02x' "$byte")"
done >"$work/$file"
digest=$(sha256sum <"$work/$file")
digest=${digest%% *}
run "a file to a printer that moved" 0 --move --protocol raw "$file"
expect_line "^  sent +256 bytes  SHA-256 $digest\$"
expect_line "^  received +256 bytes  SHA-256 $digest\$"
expect_line '^  compared +identical$'
expect_line '^  IpAddress +127\.[0-9.]+ in the port.s registry entry: followed$'
expect_line '^  PrinterAddressType +REG_DWORD +4$'
was=$(sed -n 's/^  was at *//p' <<<"$output")
is=$(sed -n 's/^  is at *//p' <<<"$output")
expect_line "^  IpAddress +REG_SZ +\"${is//./\\.}\" "
expect_line "\] TRACE    IpAddress Changed ${was//./\\.} --> ${is//./\\.}\$"

: >"$work/empty"
run "an empty file" 0 empty
expect_line '^  none: the status never changed$'
expect_line '^OK: 0 bytes sent, identical bytes received\.$'

for protocol in lpr xlpr; do
    run "a file over $protocol" 0 --protocol "$protocol" "$file"
    expect_troubles
    expect_line "^  received +256 bytes  SHA-256 $digest\$"
    expect_line '^  compared +identical$'
done
for protocol in raw lpr; do
    run "an ID-print job over $protocol" 0 --id-print --protocol "$protocol" "$file"
    expect_line '^  asked +CONF_REQ$'
    expect_line '^  answered +<64><00><00><00>OK$'
    expect_line '^  @EXTRAKJL START$'
    expect_line '^  @EXTRAKJL VERSION = "1\.00"$'
    expect_line '^      40 45 58 54 52 41 4B 4A 4C 20 56 45 52 53 49 4F 4E 3D 22 31 00 2E 00 30 00 30 00 00 00 22 0A $'
    expect_line '^  @EXTRAKJL USER = "demo"$'
    expect_line '^  @EXTRAKJL END$'
    expect_line "^  received +256 bytes  SHA-256 $digest\$"
    expect_line '^  compared +identical$'
done
run "an ID-print job to a printer that moved" 0 --id-print --move "$file"
expect_line '^  asked +CONF_REQ$'
expect_line '^  IpAddress .*: followed$'
expect_line '^  compared +identical$'
run "an ID-print job over xlpr" 0 --id-print --protocol xlpr "$file"
expect_line '^The job header: 0 bytes in front of the data$'
expect_line '^  compared +identical$'
run "a daemon that is not there" 1 --protocol lpr --printer 127.200.0.9 --patience 1 "$file"
expect_line '^FAILED: the printer did not take the job; it was deleted\.$'

# Nobody listens there; bounded by the patience.
run "a printer that is not there" 1 --printer 127.200.0.9 --patience 1
expect_line 'WritePort took nothing \(1 time in a row\), trying again$'
expect_line '^  taken +0 bytes$'
expect_line '^  received +unknown: what a real printer received cannot be compared$'
expect_line '^  1\.  0x00800000  server unknown$'
expect_line '^FAILED: the printer took nothing for 1 second\.$'
expect_no_line '^OK:'

run "help" 0 --help
expect_line 'script/demo \[--protocol raw\|lpr\|xlpr\]'
run "an unknown option" 2 --colour
expect_line 'unknown option --colour$'
run "an option without its value" 2 --printer
expect_line '--printer needs a value$'
run "a protocol that is not known" 2 --protocol carrier-pigeon
expect_line 'the protocol "carrier-pigeon" is not known; known: raw'
run "a printer with a port" 2 --printer 127.0.0.1:9100
expect_line '"127\.0\.0\.1:9100" names a port'
run "a real printer that is to move" 2 --printer 127.0.0.1 --move
expect_line '--move moves the printer that the program plays'
run "a file that is not there" 2 missing.ps
expect_line 'cannot read the file missing\.ps$'
run "two files" 2 empty "$file"
expect_line 'one file at a time'

[[ $failures -eq 0 ]] || exit 1
echo "the demo does what it says"
