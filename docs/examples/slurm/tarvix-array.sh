#!/bin/sh
# One batch on a cluster, each task of the array a part of the inputs. Everything after the script's name goes to
# tarvix batch; names must be the same on all nodes:
#
#   sbatch --array=0-7 tarvix-array.sh canny '/shared/photos/**/*.jpg' --out '/shared/edges/{n}.png'
#
# The records go to the folder $MANIFESTS, or ./manifests. A task that is requeued goes on where it was.
#SBATCH --job-name=tarvix
#SBATCH --requeue
#SBATCH --open-mode=append
set -eu
manifests=${MANIFESTS:-manifests}
mkdir -p "$manifests"
exec tarvix batch "$@" --shard slurm --manifest "$manifests/$SLURM_ARRAY_TASK_ID.jsonl" --resume
