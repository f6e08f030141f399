#!/usr/bin/env bash
#
# Jobs over LPR and XLPR to lprng, a full print server. Its queue keeps what it knows about the jobs
# that it accepted, one file each.
#
#   lprng.sh WINE-RUN PROGRAM
set -euo pipefail
source "$(dirname -- "${BASH_SOURCE[0]}")/peer.sh"

readonly lpd=/usr/sbin/lpd checkpc=/usr/sbin/checkpc
peer_need "$lpd" "$checkpc"
[[ $(id -u) -eq 0 ]] ||
    peer_cannot_run "LPR has port 515 and reserved source ports, which only root may take"
peer_begin lprng "$@"
peer_install "$lpd" "$checkpc"

readonly queue=letters spool=$peer_root/spool
mkdir -p "$peer_root"/etc/lprng "$peer_root"/var/{lock,run/lprng} "$spool"
cp /etc/passwd /etc/group /etc/hosts /etc/services "$peer_root/etc/"
cat >"$peer_root/etc/lprng/lpd.conf" <<EOF
lpd_port=$address%515
lpd_listen_port=$address%515
unix_socket_path=off
syslog_device=/dev/null
save_when_done
EOF
echo 'DEFAULT ACCEPT' >"$peer_root/etc/lprng/lpd.perms"
# No banner page in front, no form feed behind.
echo "$queue:sd=/spool/$queue:lp=/printer:sh:sf:" >"$peer_root/etc/printcap"

chroot "$peer_root" "$checkpc" -f >"$peer_root/daemon.log" 2>&1 || peer_fail "checkpc"
peer_start 515 "$lpd" -F

# The queue's files about jobs of that title; fails when there is none.
job_files() {
    grep -lx "J=$1" "$spool/$queue"/hf* 2>/dev/null
}

# peer_print for the queue: PROTOCOL SIZE [VARIABLE=VALUE...]
print() {
    local protocol=$1 size=$2
    shift 2
    title="letter of $size bytes, protocol $protocol"
    peer_print "$size" KSPMON_PEER_PROTOCOL="$protocol" KSPMON_PEER_QUEUE="$queue" \
        KSPMON_PEER_TITLE="$title" "$@"
}

# Copies what the queue knows about the job, once it has noted that the job is done. It writes the
# file anew several times before that.
read_job() {
    local file attempt
    job=$peer_root/job
    for ((attempt = 0; attempt < 300; ++attempt)); do
        if file=$(job_files "$title") && cp "$file" "$job" 2>/dev/null &&
            grep -q '^done_time=0x[1-9a-f]' "$job" && grep -q '^update_time=' "$job"; then
            return 0
        fi
        sleep 0.1
    done
    peer_fail "no finished job of the name '$title'"
}

expect_line() {
    grep -qx -- "$1" "$job" || { cat "$job"; peer_fail "not in what the queue saw: $1"; }
}

# As the control file said: the host, the user, the job's name twice, and one file to print as it
# is.
expect_job() {
    local line
    read_job
    [[ $(wc -l <"$peer_root/names") -eq 2 ]] || peer_fail "no names to look for"
    while read -r line; do
        expect_line "$line"
    done <"$peer_root/names"
    expect_line "J=$title"
    expect_line "filenames=$title"
    expect_line 'datafile_count=1'
    expect_line '.*[^[:alnum:]]format=l[^[:alnum:]].*'
}

source_port() {
    echo $(($(sed -n 's/^remoteport=//p' "$job")))
}

# How many of the eleven are held, or were until a moment ago.
reserved_ports_in_use() {
    awk '{ sub(/.*:/, "", $2) }
        $2 ~ /^02D[1-9AB]$/ && !seen[$2]++ { ++count }
        END { print count + 0 }' /proc/net/tcp
}

# Waits until the daemon does no more than it did before the first job.
idle_processes=$(peer_processes | wc -l)
readonly idle_processes
await_idle() {
    local attempt
    for ((attempt = 0; attempt < 300; ++attempt)); do
        [[ $(peer_processes | wc -l) -gt $idle_processes ]] || return 0
        sleep 0.1
    done
    peer_fail "the daemon does not come to rest"
}

expect_no_delivery() {
    await_idle
    peer_stop_listening || peer_fail "something came to the printer"
    ! job_files "$title" || peer_fail "the queue has the job"
}

for size in 1 2048 1048576 16777216; do
    in_use=$(reserved_ports_in_use)
    print 0 "$size"
    peer_expect_delivery
    expect_job
    port=$(source_port)
    ((in_use == 11 || (port >= 721 && port <= 731))) || peer_fail "came from port $port"
    peer_pass "$size bytes over LPR from port $port"
done

# Closing the connection ends the data; this daemon takes that for the end only when as many bytes
# came as were announced. So it prints the jobs whose length happens to be the announced one ...
for thousands in 1 1048 16777; do
    size=$((thousands * 1000))
    print 1 "$size" KSPMON_PEER_MAX_FILE_SIZE="$thousands"
    peer_expect_delivery
    expect_job
    port=$(source_port)
    ((port > 1023)) || peer_fail "came from the reserved port $port"
    peer_pass "$size bytes over XLPR from port $port, as many as announced"
done

# ... and drops the others, of which the monitor learns nothing.
print 1 1 KSPMON_PEER_MAX_FILE_SIZE=2
expect_no_delivery
peer_pass "1 byte over XLPR, announced as 2000, is dropped"

# The count that is announced by default, 1073741824000, is refused where the spool directory has
# not so much space.
answer=refused outcome=(KSPMON_PEER_REFUSED=yes)
if (($(df --output=avail --block-size=1 "$spool" | tail -n 1) >= 1073741824000)); then
    answer=dropped outcome=()
fi
print 1 1048576 "${outcome[@]}"
expect_no_delivery
peer_pass "1048576 bytes over XLPR with the default count are $answer"

# The queue goes on.
print 0 4096
peer_expect_delivery
expect_job
peer_pass "4096 bytes over LPR after that"
