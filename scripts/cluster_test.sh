#!/usr/bin/env bash
# The batch on a real Slurm: a controller and two nodes, all on this machine's loopback, as root, in a temporary folder.
# An array of 8 over 400 images. One task is killed and requeued, one node is stopped in the middle. Then the records
# are complete, and the results are those of a run on one machine, byte for byte.
#
#   scripts/cluster_test.sh [PROGRAM]      build/release/bin/tarvix
#
# No result depends on how long something takes. What is waited for has a limit of some minutes, which ends a hang.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

program=$(realpath "${1:-$root/build/release/bin/tarvix}")
photo=${TARVIX_PHOTOS:-/usr/share/doc/opencv-doc/examples/data}/home.jpg
[ -x "$program" ] || die "there is no program '$program': build it first"
[ "$(id -u)" -eq 0 ] || die "Slurm's daemons are started as root: run as root"
for tool in munged slurmctld slurmd sbatch; do
  PATH=$PATH:/usr/sbin command -v "$tool" >/dev/null || die "$tool is missing: packages munge slurmctld slurmd slurm-client"
done
PATH=$(dirname "$program"):$PATH:/usr/sbin

work=$(mktemp -d /tmp/tarvix-cluster-XXXXXX)
chmod 755 "$work"
export SLURM_CONF=$work/slurm.conf

# The processes of our jobs: their environment names our configuration. With a word NAME=VALUE, those that have it, too.
ours() {
  local process
  for process in /proc/[0-9]*; do
    if tr '\0' '\n' <"$process/environ" 2>/dev/null | grep -qx "SLURM_CONF=$SLURM_CONF" &&
      { [ $# -eq 0 ] || tr '\0' '\n' <"$process/environ" 2>/dev/null | grep -qx "$1"; }; then
      printf '%s\n' "${process#/proc/}"
    fi
  done 2>/dev/null
}

daemons=()
clean_up() {
  local status=$? process
  for process in $(ours SLURMD_NODENAME=n1) $(ours SLURMD_NODENAME=n2) "${daemons[@]}"; do
    [ "$process" = $$ ] || kill -9 "$process" 2>/dev/null || true
  done
  wait 2>/dev/null || true
  if [ $status -ne 0 ]; then
    say "what the daemons said last"
    tail -n 15 "$work"/*.log "$work"/slurm-*.out 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap clean_up EXIT

# until_true WHAT COMMAND...
until_true() {
  local what=$1 tries
  shift
  for ((tries = 0; tries < 3000; ++tries)); do
    if "$@" >/dev/null 2>&1; then return; fi
    sleep 0.1
  done
  die "waited in vain until $what"
}

ports=$(python3 - <<'PY'
import socket
sockets = [socket.socket() for _ in range(3)]
for s in sockets:
    s.bind(("127.0.0.1", 0))
print(*(s.getsockname()[1] for s in sockets))
PY
)
read -r controller_port port1 port2 <<<"$ports"
host=$(hostname -s)
mkdir "$work/state" "$work/spool" "$work/munge"
chmod 711 "$work/munge"
(umask 377 && head -c 64 /dev/urandom >"$work/munge.key")
cat >"$SLURM_CONF" <<CONF
ClusterName=loopback
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$controller_port
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$work/munge/socket,cred_expire=2
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool/%n
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd-%n.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SlurmdParameters=config_overrides
JobRequeue=1
ReturnToService=2
KillWait=2
MpiDefault=none
NodeName=n1 NodeHostname=$host NodeAddr=127.0.0.1 Port=$port1 CPUs=1 State=UNKNOWN
NodeName=n2 NodeHostname=$host NodeAddr=127.0.0.1 Port=$port2 CPUs=1 State=UNKNOWN
PartitionName=all Nodes=n1,n2 Default=YES MaxTime=INFINITE State=UP
CONF

say "cluster: a controller and two nodes"
munged --foreground --force --socket="$work/munge/socket" --key-file="$work/munge.key" --pid-file="$work/munge/pid" \
  --log-file="$work/munge.log" --seed-file="$work/munge/seed" 2>"$work/munged.log" & daemons+=($!)
until_true "munged answers" munge -n --socket="$work/munge/socket"
slurmctld -D -i -f "$SLURM_CONF" >"$work/controller.log" 2>&1 & daemons+=($!)
start_node() { # NAME
  slurmd -D -N "$1" -f "$SLURM_CONF" >"$work/$1.log" 2>&1 & daemons+=($!)
  node=$!
}
start_node n1
start_node n2
second=$node
nodes_are() { # COUNT STATE
  [ "$(sinfo -h -N -o %T | grep -c "^$1")" = "$2" ]
}
until_true "both nodes are idle" nodes_are idle 2

say "images: 400"
python3 - "$program" "$photo" "$work/in" <<'PY'
import json, os, subprocess, sys
program, photo, folder = sys.argv[1:]
os.mkdir(folder)
worker = subprocess.Popen([program, "worker"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
assert "ready" in worker.stdout.readline()
for i in range(400):
    words = ["patch", photo, "-o", f"{folder}/{i:03}.png", "--width", "60", "--height", "40",
             "--center", f"{100 + i % 20 * 12},{100 + i // 20 * 8}"]
    worker.stdin.write(json.dumps({"words": words}) + "\n")
    worker.stdin.flush()
    answer = json.loads(worker.stdout.readline())
    assert answer["status"] == 0, answer
worker.stdin.close()
sys.exit(worker.wait())
PY
operation=(denoise "$work/in/*.png")

say "array: 8 tasks, one killed, one node stopped"
mkdir "$work/out"
cd "$work"
job=$(MANIFESTS=$work/manifests sbatch --parsable --array=0-7 "$root/docs/examples/slurm/tarvix-array.sh" \
  "${operation[@]}" --out "$work/out/{name}.png" --jobs 1)
lines() { # TASK COUNT: whether its record has as many
  [ "$(wc -l <"$work/manifests/$1.jsonl")" -ge "$2" ]
}
until_true "the first task is at work" lines 0 3
is_batch() { # PROCESS: not one of its workers, which end with it
  [ "$(cat "/proc/$1/comm" 2>/dev/null)" = tarvix ] &&
    [ "$(tr '\0' '\n' <"/proc/$1/cmdline" 2>/dev/null | sed -n 2p)" = batch ]
}
how="was over before it could be killed"
for process in $(ours SLURM_ARRAY_TASK_ID=0); do
  if is_batch "$process" && kill -9 "$process" 2>/dev/null; then how="was killed while it ran"; fi
done
say "the first task $how"
task_is() { # TASK STATES
  scontrol -o show job "${job}_$1" | grep -Eq "JobState=($2)"
}
until_true "the first task has ended" task_is 0 "FAILED|COMPLETED|NODE_FAIL|CANCELLED"
scontrol requeue "${job}_0"

on_second() { squeue -h -t R -w n2 -o %K | grep -q .; }
until_true "the second node is at work" on_second
task=$(squeue -h -t R -w n2 -o %K | head -n 1)
until_true "its task has begun, or is over" \
  bash -c "[ \"\$(wc -l <'$work/manifests/$task.jsonl')\" -ge 2 ] || ! squeue -h -t R -w n2 -o %K | grep -qx '$task'"
# What would report an end first, as when the power fails: the daemon, the parents of its jobs, the jobs.
kill -9 "$second"
how="had ended task"
mapfile -t jobs < <(ours SLURMD_NODENAME=n2)
for process in "${jobs[@]}"; do
  parent=$(awk '$1 == "PPid:" { print $2 }' "/proc/$process/status" 2>/dev/null || true)
  if [ -n "$parent" ] && [ "$(cat "/proc/$parent/comm" 2>/dev/null)" = slurmstepd ]; then
    kill -9 "$parent" 2>/dev/null || true
  fi
done
for process in "${jobs[@]}"; do
  if is_batch "$process"; then how="was running task"; fi
  kill -9 "$process" 2>/dev/null || true
done
scontrol update NodeName=n2 State=DOWN Reason=stopped
say "the second node was stopped; it $how $task"

# What waits for its credentials to expire need not.
finished() {
  local waiting
  for waiting in $(squeue -h -t PD -o %A); do scontrol update JobId="$waiting" StartTime=now 2>/dev/null || true; done
  ! squeue -h | grep -q .
}
until_true "all tasks are over" finished

say "comparison with a run on one machine"
mkdir "$work/alone"
tarvix batch "${operation[@]}" --out "$work/alone/{name}.png" >/dev/null
tarvix batch-summary "$work"/manifests/*.jsonl --out "$work/merged.jsonl"
[ "$(wc -l <"$work/merged.jsonl")" = 400 ] || die "the merged record has not 400 lines"
diff -r "$work/alone" "$work/out" || die "the results differ"
for node in n1 n2; do
  say "$node: $(grep -c "\"node\":\"$node\"" "$work/merged.jsonl") images"
  grep -q "\"node\":\"$node\"" "$work/merged.jsonl" || die "$node did nothing"
done
[ "$(cat "$work"/manifests/*.jsonl | wc -l)" = 400 ] || die "an image was recorded twice"
say "cluster: 400 images, complete and equal"
