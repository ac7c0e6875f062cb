#!/usr/bin/env bash
# A corpus on the nodes of an MPI job: each rank is a shard. The folder is on a disk that all nodes share.
#
#   mpi.sh MANIFEST FOLDER [OPTIONS OF MPIRUN, such as -n 64]
#
# If a rank dies, MPI ends all of them. So this script starts the job again, up to three times, with as many ranks; each
# goes on where its records end. The result is FOLDER/records.jsonl, sorted.
set -euo pipefail
export manifest=$1 folder=$2
shift 2
mkdir -p "$folder"

listen() {
  # Open MPI, MPICH and Slurm's srun each say it in their own way.
  local rank=${OMPI_COMM_WORLD_RANK:-${PMI_RANK:-$SLURM_PROCID}}
  local ranks=${OMPI_COMM_WORLD_SIZE:-${PMI_SIZE:-$SLURM_NTASKS}}
  # 3: some inputs failed, and their records say why.
  vask batch "$manifest" --shard "$rank/$ranks" -j1 -o "$folder/shard-$rank.jsonl" --resume || [ $? -eq 3 ]
}
export -f listen

for try in 1 2 3 4; do
  if mpirun "$@" bash -c listen; then
    LC_ALL=C sort "$folder"/shard-*.jsonl > "$folder/records.part"
    mv "$folder/records.part" "$folder/records.jsonl"
    exit 0
  fi
  echo "try $try: a rank died" >&2
done
exit 1
