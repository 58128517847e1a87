#!/bin/sh
# Verifies a folder with GNU parallel, a part of it in each job.
#
#   parallel.sh FOLDER REPORTS SHARDS [OPTION OF PARALLEL...]
#
# With --sshlogin HOST,... the jobs run on several machines, which have FOLDER and REPORTS under the
# same names. The same command again does what is missing, and what has changed since.

[ $# -ge 3 ] || { sed -n '2,/^$/s/^# \{0,1\}//p' "$0"; exit 2; }
folder=$1 reports=$2 shards=$3
shift 3
mkdir -p "$reports" || exit 4
# The exit code of parallel counts jobs; the report has the answer.
seq "$shards" | parallel "$@" jtw verify "$folder" --shard "{}/$shards" --jobs 1 \
  --report "$reports/{}.jsonl" --resume --quiet
jtw report "$reports"/*.jsonl
