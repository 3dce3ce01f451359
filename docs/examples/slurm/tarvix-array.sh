#!/bin/sh
# One batch on a cluster, each task of the array a part of the inputs. Everything after the script's name goes to
# tarvix batch; names must be the same on all nodes:
#
#   sbatch --array=0-7 tarvix-array.sh canny '/shared/photos/**/*.jpg' --out '/shared/edges/{n}.png'
#
# The records go to the folder $MANIFESTS, or ./manifests. A task that is requeued goes on where it was. For single tasks
# of an array, or an array with gaps, say how many parts there are; task 0 has the first one:
#
#   PARTS=8 sbatch --array=3,5 tarvix-array.sh canny '/shared/photos/**/*.jpg' --out '/shared/edges/{n}.png'
#SBATCH --job-name=tarvix
#SBATCH --requeue
#SBATCH --open-mode=append
set -eu
manifests=${MANIFESTS:-manifests}
mkdir -p "$manifests"
shard=slurm
if [ -n "${PARTS:-}" ]; then shard=$((SLURM_ARRAY_TASK_ID + 1))/$PARTS; fi
exec tarvix batch "$@" --shard "$shard" --manifest "$manifests/$SLURM_ARRAY_TASK_ID.jsonl" --resume
