# Sourced by the tests that print to a real daemon. Each daemon runs in a root directory of its own,
# with nothing in it but the daemon, the libraries it needs and the files it is given: it sees no
# configuration, spool or lock of this machine's, and runs beside another of its kind.
#
#   peer_begin NAME WINE-RUN PROGRAM   makes the root; everything in it ends with the script
#   peer_install PROGRAM...            puts programs, named by their paths, into the root
#   peer_start PORT COMMAND...         starts the daemon, and returns when it listens there
#   peer_print SIZE VARIABLE=VALUE...  prints a document; fails when the monitor was not content
#   peer_expect_delivery               waits for the document at the daemon's printer, and compares
#   peer_pass TEXT, peer_fail TEXT     say what a step showed; the latter ends the test
#
# The daemon's printer is the pipe /printer in its root: its end is the end of the job.

readonly skipped=77         # as CTest knows it
readonly patience=200       # seconds for one job
peer_root='' peer_reader='' peer_program=''

# Says why; an environment that is there to run the tests (CI=true) must be able to run this one.
peer_cannot_run() {
    echo "CANNOT RUN: $*"
    if [[ ${CI:-} == true ]]; then
        exit 1
    fi
    exit "$skipped"
}

peer_fail() {
    peer_show_daemon
    echo "FAILED: $*"
    exit 1
}

peer_pass() {
    echo "ok: $*"
}

peer_show_daemon() {
    [[ ! -s $peer_root/daemon.log ]] || sed 's/^/  daemon: /' "$peer_root/daemon.log" | tail -n 40
}

# By the absolute path, as daemons lie where an ordinary user's PATH does not lead.
peer_need() {
    local program
    for program in "$@"; do
        [[ -x $program ]] || peer_cannot_run "there is no $program (script/bootstrap installs it)"
    done
}

# The processes whose root directory is the daemon's.
peer_processes() {
    local process
    for process in /proc/[0-9]*; do
        [[ ! $process/root -ef $peer_root ]] || echo "${process#/proc/}"
    done
}

peer_signal() {
    local process
    for process in $(peer_processes); do
        kill "-$1" "$process" 2>/dev/null || true
    done
}

peer_end() {
    [[ -n $peer_root ]] || return 0
    local process
    for process in $peer_reader $peer_program; do
        kill "$process" 2>/dev/null || true
    done
    peer_signal TERM
    local attempt
    for ((attempt = 0; attempt < 50; ++attempt)); do
        [[ -n $(peer_processes) ]] || break
        sleep 0.1
    done
    peer_signal KILL
    rm -rf -- "$peer_root"
}

peer_begin() {
    readonly peer_name=$1 wine_run=$2 program=$3

    # A plain user can have a root directory of his own only in a user namespace.
    as_root=()
    if [[ $(id -u) -ne 0 ]]; then
        as_root=(unshare --map-root-user)
    fi
    "${as_root[@]}" chroot / true 2>/dev/null ||
        peer_cannot_run "no right to give $peer_name a root directory of its own (run as root)"

    peer_root=$(mktemp -d "$PWD/peer-$peer_name.XXXXXX")
    trap peer_end EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    chmod 755 "$peer_root"
    mkdir -p "$peer_root"/{dev,etc,tmp,run,var}
    chmod 1777 "$peer_root/tmp"
    touch "$peer_root/dev/null"
    chmod 666 "$peer_root/dev/null"
    mkfifo "$peer_root/printer"
    chmod 666 "$peer_root/printer"

    # 127/8 is all loopback: an address that no other test, and no other run of this one, has.
    readonly address=127.91.$(($$ / 250 % 250)).$(($$ % 250 + 1))
}

peer_install() {
    {
        printf '%s\n' "$@"
        ldd "$@" | grep -Eo '[[:space:]]/[^ :]+ ' | tr -d ' \t'
    } | sort -u | xargs cp --parents --dereference --target-directory="$peer_root"
}

# Whether somebody listens at the address and port; /proc writes addresses from the right.
peer_listens() {
    local a b c d entry
    IFS=. read -r a b c d <<<"$address"
    printf -v entry '%02X%02X%02X%02X:%04X 00000000:0000 0A' "$d" "$c" "$b" "$a" "$1"
    grep -q "$entry" /proc/net/tcp
}

peer_start() {
    local port=$1 process attempt
    shift
    "${as_root[@]}" chroot "$peer_root" "$@" >"$peer_root/daemon.log" 2>&1 &
    process=$!
    for ((attempt = 0; attempt < 200; ++attempt)); do
        ! peer_listens "$port" || return 0
        kill -0 "$process" 2>/dev/null || break
        sleep 0.1
    done
    peer_fail "$peer_name does not listen at $address, port $port"
}

peer_print() {
    local size=$1 output=$peer_root/program.log
    shift
    # Whatever the daemon printed unasked since the last job would come along now.
    timeout $((patience + 20)) cat "$peer_root/printer" >"$peer_root/delivered" &
    peer_reader=$!
    # In the background, as a shell that waits for a program in front of it hears no signal.
    env KSPMON_PEER_ADDRESS="$address" KSPMON_PEER_SIZE="$size" KSPMON_PEER_TITLE="job of $size" \
        KSPMON_PEER_SENT_FILE="$peer_root/sent" KSPMON_PEER_NAMES_FILE="$peer_root/names" "$@" \
        timeout --kill-after=10 "$patience" "$wine_run" "$program" >"$output" 2>&1 &
    peer_program=$!
    wait "$peer_program" || {
        cat "$output"
        peer_fail "printing $size bytes"
    }
    peer_program=''
    grep -q '^\[  PASSED  \] 1 test' "$output" || peer_fail "the program ran no test"
}

peer_expect_delivery() {
    wait "$peer_reader" || peer_fail "nothing, or no end of it, arrived at the printer"
    peer_reader=''
    cmp "$peer_root/sent" "$peer_root/delivered" || peer_fail "not the bytes that were sent"
}

# Nobody listens to the printer any more; true when nothing had come.
peer_stop_listening() {
    kill "$peer_reader" 2>/dev/null || return 1
    wait "$peer_reader" || true
    peer_reader=''
    [[ ! -s $peer_root/delivered ]]
}
