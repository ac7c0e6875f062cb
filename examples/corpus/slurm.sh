#!/usr/bin/env bash
#SBATCH --job-name=vask
#SBATCH --array=0-99
#SBATCH --cpus-per-task=1
#SBATCH --requeue
#SBATCH --open-mode=append
# A corpus as an array job of Slurm: each task is a shard. The folder is on a disk that all nodes share.
#
#   sbatch slurm.sh MANIFEST FOLDER
#   sbatch --wait --array=0-7 slurm.sh MANIFEST FOLDER && LC_ALL=C sort FOLDER/shard-*.jsonl > records.jsonl
#
# If the process dies, the task starts it again, up to three times. If the node dies or the task is preempted, Slurm
# queues the task again (--requeue). Either way it goes on where its records end; a task that is queued again although
# it was done does nothing.
set -euo pipefail
manifest=$1 folder=$2
mkdir -p "$folder"

for try in 1 2 3 4; do
  status=0
  vask batch "$manifest" --shard "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" -j"${SLURM_CPUS_PER_TASK:-1}" \
    -o "$folder/shard-$SLURM_ARRAY_TASK_ID.jsonl" --resume || status=$?
  case $status in
    0 | 3) exit 0 ;; # 3: some inputs failed, and their records say why
    2) exit 2 ;;     # it would not help to try again
  esac
  echo "try $try: exit status $status" >&2
done
exit 1
