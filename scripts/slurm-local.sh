#!/usr/bin/env bash
# A single-node Slurm cluster on this machine, for the farm tests and for
# trying `quillon farm slurm`: munged, slurmctld and slurmd started directly
# as daemons (no systemd, no cgroups), run as root, with every file (config,
# key, sockets, state, logs) under one temporary folder.
#
#   scripts/slurm-local.sh start    bring it up (a few seconds); prints the
#                                   SLURM_CONF line the Slurm commands need
#   scripts/slurm-local.sh stop     take it down and remove the folder
#   scripts/slurm-local.sh status   exit 0 and say so when it is up
#   scripts/slurm-local.sh env      print `export SLURM_CONF=...`
#
# The folder is $QUILLON_SLURM_DIR, by default $TMPDIR/quillon-slurm (or
# /tmp/quillon-slurm). The ports are $QUILLON_SLURM_PORT and the one after it
# (default 6917 and 6918, away from a real cluster's 6817/6818).
set -euo pipefail

dir=${QUILLON_SLURM_DIR:-${TMPDIR:-/tmp}/quillon-slurm}
port=${QUILLON_SLURM_PORT:-6917}
conf=$dir/slurm.conf
socket=$dir/munge/munge.socket
node=$(hostname -s)

say() { echo "slurm-local: $*"; }
fail() {
    echo "slurm-local: error: $*" >&2
    exit 1
}

pid_alive() { [ -f "$1" ] && kill -0 "$(cat "$1")" 2>/dev/null; }

is_up() {
    [ -f "$conf" ] && pid_alive "$dir/slurmctld.pid" && pid_alive "$dir/slurmd.pid" &&
        pid_alive "$dir/munge/munged.pid" &&
        SLURM_CONF=$conf sinfo -h -n "$node" -o '%T' 2>/dev/null | grep -qE '^(idle|mixed|allocated)'
}

write_config() {
    local cpus mem
    cpus=$(nproc)
    # Leave a tenth of the memory (and at least 256 MB) to everything else.
    mem=$(awk '/^MemTotal:/ { m = int($2 / 1024); r = int(m / 10); if (r < 256) r = 256;
                              print (m > r ? m - r : 1) }' /proc/meminfo)
    mkdir -p "$dir/state" "$dir/spool" "$dir/log"
    : > "$dir/plugstack.conf"
    cat > "$conf" <<EOF
# Written by scripts/slurm-local.sh: one node, root only, no cgroups.
ClusterName=quillon-local
SlurmctldHost=$node(127.0.0.1)
MailProg=/bin/true
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$socket
StateSaveLocation=$dir/state
SlurmdSpoolDir=$dir/spool
SlurmctldPidFile=$dir/slurmctld.pid
SlurmdPidFile=$dir/slurmd.pid
SlurmctldLogFile=$dir/log/slurmctld.log
SlurmdLogFile=$dir/log/slurmd.log
PlugStackConfig=$dir/plugstack.conf
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerType=sched/backfill
# Schedule every second rather than every minute: array tasks and the jobs
# waiting on them start as soon as a CPU is free.
SchedulerParameters=bf_interval=1,sched_interval=1,sched_min_interval=100000
MpiDefault=none
ReturnToService=2
MinJobAge=600
MaxArraySize=100001
KillWait=5
InactiveLimit=0
SlurmctldTimeout=30
SlurmdTimeout=30
NodeName=$node NodeAddr=127.0.0.1 CPUs=$cpus RealMemory=$mem State=UNKNOWN
PartitionName=local Nodes=$node Default=YES MaxTime=INFINITE State=UP OverSubscribe=NO
EOF
}

start_munge() {
    mkdir -p "$dir/munge"
    # Jobs reach the socket through this folder; the key itself stays private.
    chmod 711 "$dir/munge"
    mungekey --create --keyfile="$dir/munge/munge.key" --force
    chmod 400 "$dir/munge/munge.key"
    munged --socket="$socket" --key-file="$dir/munge/munge.key" \
        --pid-file="$dir/munge/munged.pid" --log-file="$dir/munge/munged.log" \
        --seed-file="$dir/munge/munged.seed" --force
}

wait_until_up() {
    local i
    for i in $(seq 1 200); do
        if is_up; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}

start() {
    [ "$(id -u)" -eq 0 ] || fail "must run as root (slurmd starts jobs as their users)"
    for tool in munged mungekey slurmctld slurmd sinfo sbatch; do
        command -v "$tool" > /dev/null ||
            fail "$tool is missing: install slurm-wlm and munge (scripts/install-deps.sh)"
    done
    if is_up; then
        say "already up; export SLURM_CONF=$conf"
        return 0
    fi
    stop_daemons
    local began
    began=$(date +%s.%N)
    mkdir -p "$dir"
    chmod 755 "$dir"
    write_config
    start_munge
    export SLURM_CONF=$conf
    slurmctld -f "$conf" -i
    slurmd -f "$conf" -N "$node"
    if ! wait_until_up; then
        echo "slurm-local: the cluster did not come up; the last log lines:" >&2
        tail -n 20 "$dir/log/slurmctld.log" "$dir/log/slurmd.log" "$dir/munge/munged.log" >&2 ||
            true
        stop_daemons
        exit 1
    fi
    local seconds
    seconds=$(awk -v a="$began" -v b="$(date +%s.%N)" 'BEGIN { printf "%.2f", b - a }')
    say "up in $seconds s: node $node, $(nproc) CPUs; export SLURM_CONF=$conf"
}

# Ends a daemon by its pid file: TERM, then KILL after a few seconds.
end_daemon() {
    local pidfile=$1 pid i
    [ -f "$pidfile" ] || return 0
    pid=$(cat "$pidfile")
    if kill -0 "$pid" 2>/dev/null; then
        kill "$pid" 2>/dev/null || true
        for i in $(seq 1 50); do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
        kill -0 "$pid" 2>/dev/null && kill -9 "$pid" 2>/dev/null || true
    fi
    rm -f "$pidfile"
}

stop_daemons() {
    if [ -f "$conf" ] && pid_alive "$dir/slurmctld.pid"; then
        # Cancel what is still queued or running so no job step outlives the node.
        SLURM_CONF=$conf scancel --quiet --state=PENDING 2>/dev/null || true
        SLURM_CONF=$conf scancel --quiet 2>/dev/null || true
    fi
    end_daemon "$dir/slurmd.pid"
    end_daemon "$dir/slurmctld.pid"
    end_daemon "$dir/munge/munged.pid"
}

stop() {
    stop_daemons
    rm -rf "$dir"
    say "stopped"
}

status() {
    if is_up; then
        say "up: $(SLURM_CONF=$conf sinfo -h -o '%P %D node(s) %c CPUs %T'); export SLURM_CONF=$conf"
        return 0
    fi
    say "down"
    return 1
}

case "${1:-}" in
    start) start ;;
    stop) stop ;;
    status) status ;;
    env) echo "export SLURM_CONF=$conf" ;;
    *)
        echo "usage: $0 start|stop|status|env" >&2
        exit 2
        ;;
esac
