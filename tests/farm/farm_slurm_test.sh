#!/usr/bin/env bash
# Frames across a cluster: brings up a single-node Slurm on loopback (its own munge key and
# socket, its own slurm.conf, state and spool folders, daemons run as this user), submits a
# 24-frame render as a job array of 4 tasks, cancels one task while it renders, submits the same
# job again, and checks that every frame is there once and whole and that no finished frame was
# rendered a second time. Tears everything down, also on failure.
#
#   farm_slurm_test.sh ORLIXCAM SOURCE_DIR
#
# Exit 0 passed, 1 failed, 77 skipped (Slurm or munge not installed).
set -uo pipefail

orlixcam="$(realpath "$1")"
src="$(realpath "$2")"
export PATH="$PATH:/usr/sbin:/sbin"

for tool in munged mungekey slurmctld slurmd sbatch squeue scancel scontrol sinfo oiiotool python3; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "skipped: $tool is not installed (Debian: slurm-wlm munge openimageio-tools)"
    exit 77
  fi
done

frames=24
tasks=4
per_task=$((frames / tasks))

work="$(mktemp -d /tmp/orlix-farm.XXXXXX)"
pids=()
jobs_submitted=()

log() { echo "farm: $*"; }
fail()
{
  echo "FAILED: $*"
  for f in "$work"/slurmctld.log "$work"/slurmd.log; do
    [ -f "$f" ] && { echo "--- last lines of $f"; tail -n 20 "$f"; }
  done
  exit 1
}

cleanup()
{
  # Jobs first, while the controller still answers, so that no task outlives the cluster.
  if [ ${#jobs_submitted[@]} -gt 0 ] && [ -f "$work/slurm.conf" ]; then
    scancel "${jobs_submitted[@]}" >/dev/null 2>&1 || true
    for _ in $(seq 1 60); do
      [ -z "$(squeue -h -j "$(IFS=,; echo "${jobs_submitted[*]}")" 2>/dev/null)" ] && break
      sleep 1
    done
  fi
  local i
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
    kill "${pids[$i]}" 2>/dev/null || true
  done
  for pid in "${pids[@]}"; do
    for _ in $(seq 1 50); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.2
    done
    kill -9 "$pid" 2>/dev/null || true
  done
  # A render still running from this test's folder (its command line names it) goes too.
  for pid in $(pgrep -f -- "$work/" 2>/dev/null); do
    [ "$pid" != "$$" ] && kill -9 "$pid" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

free_port()
{
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1]); s.close()'
}

# Waits up to `limit` seconds for a command to succeed.
wait_for()
{
  local limit="$1"
  shift
  for _ in $(seq 1 "$((limit * 5))"); do
    "$@" && return 0
    sleep 0.2
  done
  return 1
}

# ---- frames that take about half a second each ------------------------------------------------
# A task is to be caught while it renders, on a fast build or a sanitizer's, on an idle machine or
# a busy one: the samples per pixel are chosen from the time of one frame here.
seconds()
{
  local start end
  start="$(date +%s.%N)"
  "$orlixcam" render "$src/Examples/flight_dome.json" -o "$work/calibrate_####.png" --width 64 --height 64 \
    --threads 1 --quiet --samples 64 --frames "$1" >/dev/null 2>&1 || return 1
  end="$(date +%s.%N)"
  echo "$start $end" | awk '{print $2 - $1}'
}
one="$(seconds 0)" && four="$(seconds 0-3)" || fail "orlixcam could not render the scene"
samples="$(echo "$one $four" | awk '{per = ($2 - $1) / 3; if (per < 0.001) per = 0.001;
  s = int(64 * 0.5 / per); if (s < 16) s = 16; if (s > 1024) s = 1024; print s}')"
rm -f "$work"/calibrate_*.png
render_opts=(--width 64 --height 64 --samples "$samples" --threads 1)
log "frames of 64 x 64 at $samples samples per pixel"

# ---- munge: its own key and socket ----------------------------------------------------------
mkdir -p "$work/munge" "$work/state" "$work/spool" "$work/out" "$work/run1" "$work/run2"
chmod 700 "$work/munge"
mungekey --create --keyfile="$work/munge/munge.key" >/dev/null 2>&1 ||
  dd if=/dev/urandom of="$work/munge/munge.key" bs=1024 count=1 status=none
chmod 600 "$work/munge/munge.key"
socket="$work/munge/munge.socket"
munged --foreground --force --socket="$socket" --key-file="$work/munge/munge.key" \
  --pid-file="$work/munge/munged.pid" --log-file="$work/munge/munged.log" \
  --seed-file="$work/munge/munged.seed" >"$work/munge/stdout.log" 2>&1 &
pids+=($!)
wait_for 30 test -S "$socket" || fail "munged did not start: $(cat "$work/munge/stdout.log" "$work/munge/munged.log" 2>/dev/null)"

# ---- Slurm: one node, loopback, free ports -------------------------------------------------------
host="$(hostname -s)"
user="$(id -un)"
cpus="$(nproc)"
ctld_port="$(free_port)"
slurmd_port="$(free_port)"
while [ "$slurmd_port" = "$ctld_port" ]; do slurmd_port="$(free_port)"; done
cat >"$work/slurm.conf" <<CONF
ClusterName=orlixfarm
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$ctld_port
SlurmdPort=$slurmd_port
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$socket
CredType=cred/munge
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
SlurmctldDebug=info
SlurmdDebug=info
ProctrackType=proctrack/pgid
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/none
MpiDefault=none
SwitchType=switch/none
SchedulerType=sched/builtin
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
ReturnToService=2
KillWait=5
MinJobAge=600
SlurmdTimeout=600
SlurmctldTimeout=600
NodeName=$host NodeAddr=127.0.0.1 CPUs=$cpus State=UNKNOWN
PartitionName=farm Nodes=$host Default=YES MaxTime=INFINITE State=UP
CONF
export SLURM_CONF="$work/slurm.conf"

slurmctld -D -c -f "$SLURM_CONF" >"$work/slurmctld.stdout" 2>&1 &
pids+=($!)
slurmd -D -f "$SLURM_CONF" -N "$host" >"$work/slurmd.stdout" 2>&1 &
pids+=($!)

node_idle() { [ "$(sinfo -h -n "$host" -o %T 2>/dev/null | head -n 1)" = "idle" ]; }
wait_for 180 node_idle || fail "the node did not come up idle: $(sinfo 2>&1; cat "$work"/*.stdout)"
log "cluster up: node $host, $cpus CPUs, controller on port $ctld_port"

# ---- run 1: submit, cancel one task while it renders -----------------------------------------
out="$work/out/flight_####.png"
submit()
{
  (cd "$1" && ORLIXCAM="$orlixcam" "$src/scripts/farm/submit.sh" --job-name=orlix-farm-test -- "$tasks" \
    "$src/Examples/flight_dome.json" "$out" "0-$((frames - 1))" "${render_opts[@]}")
}
job_done() { [ -z "$(squeue -h -j "$1" 2>/dev/null)" ]; }
wrote_count()
{
  local n
  n="$(grep -c '^wrote ' "$1" 2>/dev/null)"
  echo "${n:-0}"
}

job1="$(submit "$work/run1")" || fail "sbatch refused the job"
jobs_submitted+=("$job1")
log "run 1: job $job1"

victim=1
victim_log="$work/run1/orlixcam-${job1}_${victim}.log"
started_writing() { [ "$(wrote_count "$victim_log")" -ge 1 ]; }
wait_for 600 started_writing || fail "task $victim wrote no frame: $(cat "$work"/run1/*.log 2>/dev/null)"
scancel "${job1}_${victim}" || fail "scancel of task $victim failed"
log "run 1: cancelled task $victim after its first frame"
wait_for 600 job_done "$job1" || fail "job $job1 did not end"

killed_wrote="$(wrote_count "$victim_log")"
if [ "$killed_wrote" -ge "$per_task" ]; then
  fail "task $victim had finished all its $per_task frames before the cancel took hold; the test caught nothing"
fi
for t in $(seq 0 $((tasks - 1))); do
  [ "$t" = "$victim" ] && continue
  n="$(wrote_count "$work/run1/orlixcam-${job1}_${t}.log")"
  [ "$n" = "$per_task" ] || fail "task $t wrote $n frames, not $per_task: $(cat "$work/run1/orlixcam-${job1}_${t}.log")"
done
ls -A "$work/out" | grep -q '^\.orlix-' && fail "a temporary file was left behind: $(ls -A "$work/out")"
have1="$(ls "$work/out" | wc -l)"
[ "$have1" -eq $((frames - per_task + killed_wrote)) ] ||
  fail "after run 1 there are $have1 frames, expected $((frames - per_task + killed_wrote))"
# What run 1 finished, by inode and modification time, must stay as it is.
(cd "$work/out" && stat -c '%n %i %Y.%y' -- *) >"$work/finished1.txt"
log "run 1: $have1 of $frames frames; the cancelled task had written $killed_wrote"

# ---- run 2: the same submission finishes only what is missing -----------------------------------
job2="$(submit "$work/run2")" || fail "sbatch refused the second job"
jobs_submitted+=("$job2")
log "run 2: job $job2"
wait_for 600 job_done "$job2" || fail "job $job2 did not end"

for i in $(seq 0 $((frames - 1))); do
  f="$work/out/$(printf 'flight_%04d.png' "$i")"
  [ -f "$f" ] || fail "frame $i is missing: $(cat "$work"/run2/*.log)"
  oiiotool --printstats "$f" >/dev/null 2>&1 || fail "frame $i doesn't read as a picture"
done
[ "$(ls -A "$work/out" | wc -l)" -eq "$frames" ] || fail "the output folder holds more than the frames: $(ls -A "$work/out")"

(cd "$work/out" && stat -c '%n %i %Y.%y' -- $(cut -d' ' -f1 "$work/finished1.txt")) >"$work/finished2.txt"
diff "$work/finished1.txt" "$work/finished2.txt" >/dev/null || fail "run 2 touched frames run 1 had finished"

cat "$work"/run1/*.log "$work"/run2/*.log | grep '^wrote ' | sort >"$work/wrote.txt"
[ "$(wc -l <"$work/wrote.txt")" -eq "$frames" ] ||
  fail "$(wc -l <"$work/wrote.txt") frames written over both runs, not $frames: $(uniq -d "$work/wrote.txt")"
[ -z "$(uniq -d "$work/wrote.txt")" ] || fail "frames rendered twice: $(uniq -d "$work/wrote.txt")"
skipped="$(cat "$work"/run2/*.log | grep -c '^skipped ')"
[ "$skipped" -eq "$have1" ] || fail "run 2 skipped $skipped frames, not the $have1 that were there"

log "passed: $frames frames, $have1 from run 1, $((frames - have1)) from run 2, none twice"
exit 0
