#!/usr/bin/env bash
# The recipes of examples/corpus on 2,000 short files, a worker killed in each: the joined records are those of one
# process, byte for byte. Needs build/release; Slurm's daemons run here, for this alone.
#
#   .ci/corpus.sh [FILES]
set -euo pipefail
cd "$(dirname "$0")/.."
files=${1:-2000}
recipes=$PWD/examples/corpus short_files=$PWD/bench/short_files.py room=$PWD/samples/room.wav
PATH=$PWD/build/release:$PATH
folder=$(mktemp -d)
cd "$folder"
started=()
trap 'kill "${started[@]}" 2> /dev/null || true; wait; rm -rf "$folder"' EXIT

"$short_files" "$room" . "$files"
for k in $(seq -f %05g 0 $((files - 1))); do
  printf '{"id": "u%s", "path": "%s.wav", "speaker": %d}\n' "$k" "$k" $((10#$k % 7))
done > corpus.jsonl

# Kill, as soon as FILE has something in it, the processes whose command line fits the pattern.
kill_once() {
  local file=$1 pattern=$2
  (
    until [ -s "$file" ] && pkill -KILL -f "$pattern"; do sleep 0.002; done
    touch "$file.killed"
  ) &
  started+=($!)
}
same() {
  local name=$1 records=$2 reference=$3
  cmp "$records" "$reference"
  echo "$name: $(wc -l < "$records") records, the same bytes"
}
killed() {
  for _ in $(seq 50); do
    [ ! -e "$1.killed" ] || return 0
    sleep 0.1
  done
  echo "$1: nothing was killed, so this run proves nothing" >&2
  exit 1
}

# A pipe, and one job.
vask batch -j1 < corpus.jsonl > one
[ "$(wc -l < one)" -eq "$files" ]
LC_ALL=C sort one > sorted

vask batch corpus.jsonl -j2 > two
same "two jobs" two one

kill_once again.part "vask batch corpus.jsonl -o again"
vask batch corpus.jsonl -o again 2> /dev/null || [ $? -eq 137 ]
killed again.part
vask batch corpus.jsonl -o again --resume
same "one process, killed and gone on with" again one

# (Not sorted: --keep-order keeps the order of the pieces.)
parallel --pipe -N 100 --keep-order -j2 vask batch -j1 < corpus.jsonl > piped
same "parallel --pipe" piped one

kill_once by-parallel/shard-3.jsonl.part "vask batch .* --shard 3/8 .*by-parallel"
"$recipes/parallel.sh" corpus.jsonl by-parallel 8 --jobs 2
killed by-parallel/shard-3.jsonl.part
same "parallel, a worker killed" by-parallel/records.jsonl sorted

kill_once by-mpi/shard-1.jsonl.part "vask batch .* --shard 1/2 .*by-mpi"
OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 "$recipes/mpi.sh" corpus.jsonl by-mpi -n 2 --oversubscribe 2> mpi.log ||
  { cat mpi.log && exit 1; }
killed by-mpi/shard-1.jsonl.part
same "MPI, a rank killed" by-mpi/records.jsonl sorted

# Slurm on this node alone, with eight cores as far as it knows.
cat > slurm.conf << END
ClusterName=test
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmUser=$(id -un)
AuthType=auth/none
CredType=cred/none
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
SlurmctldPort=26817
SlurmdPort=26818
SlurmdParameters=config_overrides
SchedulerParameters=batch_sched_delay=0,sched_min_interval=0,sched_interval=1
NodeName=$(hostname -s) NodeAddr=127.0.0.1 CPUs=8 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=10 State=UP
END
mkdir state spool
export SLURM_CONF=$folder/slurm.conf
slurmctld -D > slurm.log 2>&1 &
started+=($!)
slurmd -D >> slurm.log 2>&1 &
started+=($!)
for _ in $(seq 100); do sinfo --noheader --format=%t 2> /dev/null | grep -qx idle && break || sleep 0.2; done
kill_once by-slurm/shard-5.jsonl.part "vask batch .* --shard 5/8 .*by-slurm"
timeout 120 sbatch --quiet --wait --array=0-7 "$recipes/slurm.sh" "$folder/corpus.jsonl" "$folder/by-slurm" ||
  { cat slurm-*.out slurmctld.log slurmd.log && exit 1; }
killed by-slurm/shard-5.jsonl.part
LC_ALL=C sort by-slurm/shard-*.jsonl > by-slurm/records.jsonl
same "Slurm array of 8, a task's process killed" by-slurm/records.jsonl sorted

# Dask: a scheduler and four workers; one dies while its command works.
dask-scheduler --host 127.0.0.1 --port 28786 --no-dashboard > dask.log 2>&1 &
started+=($!)
workers=()
for k in 1 2 3 4; do
  dask-worker tcp://127.0.0.1:28786 --no-nanny --nthreads 1 --name "$k" --no-dashboard >> dask.log 2>&1 &
  workers+=($!)
done
started+=("${workers[@]}")
(
  until pgrep -P "${workers[0]}" > /dev/null; do sleep 0.002; done
  kill -KILL "${workers[0]}"
  touch by-dask.killed
) &
started+=($!)
timeout 120 /usr/bin/python3 "$recipes/dask_batch.py" corpus.jsonl by-dask tcp://127.0.0.1:28786 || { cat dask.log && exit 1; }
killed by-dask
same "Dask, one of 4 workers killed" by-dask one

/usr/bin/python3 -m py_compile "$recipes/spark_pipe.py"
rm -rf "$recipes/__pycache__"
echo "Spark: checked for syntax only"
