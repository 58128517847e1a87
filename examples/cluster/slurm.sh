#!/bin/sh
# An array job for Slurm: each task verifies its part of a folder.
#
#   sbatch --array=1-16 slurm.sh FOLDER REPORTS
#   jtw report REPORTS/*.jsonl
#
# FOLDER and REPORTS have the same names on all nodes. A task that is started again, by itself, by
# Slurm or by hand, goes on where it was. Submitting the job again does what is missing, too.
#SBATCH --job-name=jtw-verify
#SBATCH --cpus-per-task=1
#SBATCH --requeue
#SBATCH --open-mode=append

folder=$1 reports=$2
jtw verify "$folder" --shard "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" \
  --jobs "${SLURM_CPUS_PER_TASK:-1}" --report "$reports/$SLURM_ARRAY_TASK_ID.jsonl" --resume --quiet
code=$?
# A program that was killed, for its memory perhaps, is given five more chances.
if [ $code -gt 128 ] && [ "${SLURM_RESTART_COUNT:-0}" -lt 5 ]; then
  scontrol requeue "${SLURM_ARRAY_JOB_ID}_$SLURM_ARRAY_TASK_ID"
fi
exit $code
