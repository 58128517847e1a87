#!/usr/bin/env bash
# A power cut between any two system calls of a save, on ext4: what the disk has by then is copied and
# mounted as after a restart. The file holds the old bytes or the new ones; the new ones once the save has
# returned. JTW_LONG_TESTS in the environment does it at the calls that change nothing as well, and for all
# ways in which ext4 orders data and journal.
# usage: PowerCut.sh SAVE_PROBE      exit code 77: cannot be run here (not root, or no loop devices)
set -u
probe=$(realpath "$1")
export ASAN_OPTIONS=detect_leaks=0 # the leak check does not work in a traced process
folder=$(mktemp -d)
disk=$folder/disk
after=$folder/after
target=$disk/a.jt
cleanup() {
  umount "$after" 2>/dev/null
  umount "$disk" 2>/dev/null
  rm -rf "$folder"
}
trap cleanup EXIT
mkdir "$disk" "$after"
failures=0
cuts=0
declare -A seen=([old]=0 [new]=0)

fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}
hash_of() { sha256sum "$1" 2>/dev/null | cut -d ' ' -f 1; }
skip() {
  echo "SKIPPED: $*"
  exit 77
}

# new_disk MODE: a mounted disk that holds the old file, for certain.
new_disk() {
  umount "$disk" 2>/dev/null
  cp --sparse=always "$folder/pristine" "$folder/image"
  # Without auto_da_alloc: it would sync what the save forgets to.
  mount -o "loop,noauto_da_alloc,data=$1" "$folder/image" "$disk"
}

# power_cut WHAT STATE...: the content of the file after a power cut now is one of these.
power_cut() {
  local what=$1 now state
  shift
  cuts=$((cuts + 1))
  cp --sparse=always "$folder/image" "$folder/copy"
  mount -o loop "$folder/copy" "$after" || {
    fail "$what: the disk cannot be mounted"
    return
  }
  now=$(hash_of "$after/a.jt")
  umount "$after"
  state=broken
  [[ $now != "$old" ]] || state=old
  [[ $now != "$new" ]] || state=new
  seen[$state]=$((${seen[$state]-0} + 1))
  [[ " $* " == *" $state "* ]] || fail "$what: the file is $state, not $*"
}

[[ $(id -u) == 0 ]] || skip "only root may mount a disk"
command -v mkfs.ext4 >/dev/null || skip "mkfs.ext4 is missing"
strace -o /dev/null -e inject=getppid:error=EIO true 2>/dev/null ||
  skip "strace is missing or may not trace here"
truncate -s 16M "$folder/pristine"
mkfs.ext4 -q -F "$folder/pristine" || skip "no ext4 can be made here"
mount -o loop "$folder/pristine" "$disk" 2>/dev/null || skip "loop devices cannot be used here"
seq 1 90000 >"$folder/old"
cp "$folder/old" "$target"
umount "$disk"
old=$(hash_of "$folder/old")
cp "$folder/old" "$folder/a.jt"
"$probe" "$folder/a.jt" hello || fail "a save without faults"
new=$(hash_of "$folder/a.jt")
[[ $old != "$new" ]] || fail "the save changes nothing"

modes=(ordered)
changing='^(openat|fallocate|ftruncate|pwrite64|write|copy_file_range|fchmod|fchown|fsetxattr|fsync|rename|renameat|renameat2|unlink|unlinkat|close)$'
if [[ ${JTW_LONG_TESTS-} ]]; then
  modes=(ordered writeback journal)
  changing=.
fi
for mode in "${modes[@]}"; do
  new_disk "$mode"
  strace -f -o "$folder/log" "$probe" "$target" hello >/dev/null || fail "a save on ext4"
  power_cut "$mode: after the save" new
  # Calls are counted from the start of the program; those before the target is opened are the loader's.
  awk -v target="\"$target\"" -v changing="$changing" '
    { name = $2; sub(/\(.*/, "", name); ++count[name] }
    index($0, target) { begun = 1 }
    begun && name ~ /^[a-z0-9_]+$/ && name !~ /^exit/ && name ~ changing { print name, count[name] }
  ' "$folder/log" >"$folder/calls"
  grep -q '^fsync 2$' "$folder/calls" || fail "$mode: file and folder are not both synced"
  while read -r call n; do
    new_disk "$mode"
    # Killed when it enters the call: everything before it is done, nothing after it.
    # In a subshell, which keeps the shell's message about a killed program out of the output.
    (
      strace -f -qq -o /dev/null -e trace="$call" -e inject="$call:signal=KILL:when=$n" \
        "$probe" "$target" hello
      exit $?
    ) >/dev/null 2>&1
    power_cut "$mode: before $call $n" old new
  done <"$folder/calls"
done
# What is not synced is lost here: the cuts above are real.
new_disk ordered
strace -qq -o /dev/null -e inject=fsync:retval=0 "$probe" "$target" hello >/dev/null
power_cut "a save that syncs nothing" old broken
[[ ${seen[old]} -gt 0 && ${seen[new]} -gt 0 ]] || fail "not both states were seen"
echo "$cuts power cuts: ${seen[old]} old, ${seen[new]} new, $failures failures"
((failures == 0))
