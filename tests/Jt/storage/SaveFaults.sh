#!/usr/bin/env bash
# Faults at every system call of a save: killed, refused once and from then on, done in part.
# Whatever happens the target holds the old bytes or the new ones, as the exit code says; a save that
# fails leaves no temporary file, and the next save works and removes what a killed one left.
# usage: SaveFaults.sh SAVE_PROBE      exit code 77: cannot be run here
set -u
probe=$1
export ASAN_OPTIONS=detect_leaks=0 # the leak check does not work in a traced process
folder=$(mktemp -d)
disk=$folder/disk
trap 'mountpoint -q "$disk" && umount "$disk"; rm -rf "$folder"' EXIT
target=$folder/a.jt
stale=$folder/.a.jt.jtw-999999999-1.tmp # of a process that cannot be
calls=(openat flock fallocate pwrite64 copy_file_range fchmod fsync pread64 close renameat unlinkat)
failures=0
runs=0

if ! strace -o /dev/null -e inject=getppid:error=EIO true 2>/dev/null; then
  echo "SKIPPED: strace is missing or may not trace here"
  exit 77
fi

fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}
hash_of() { sha256sum "$1" | cut -d ' ' -f 1; }
temporaries() { find "${1:-$folder}" -maxdepth 1 -name '.*.jtw-*.tmp'; }
reset() {
  rm -f "$folder"/.*.tmp
  cp "$folder/old" "$target"
  echo left >"$stale"
}

# faulty CALL INJECTION: one save with a fault. Sets `status` and `state` (old, new, broken).
faulty() {
  reset
  runs=$((runs + 1))
  # In a subshell, which keeps the shell's message about a killed program out of the output.
  (
    strace -f -qq -o /dev/null -e trace="$1" -e inject="$1:$2" "$probe" "$target" hello
    exit $?
  ) >"$folder/out" 2>&1
  status=$?
  case $(hash_of "$target") in
    "$old") state=old ;;
    "$new") state=new ;;
    *) state=broken ;;
  esac
}

# expect WHAT STATE...: the outcome of the last fault is one of these.
expect() {
  local what=$1
  shift
  [[ " $* " == *" $status:$state "* ]] || fail "$what: $status:$state, not $*; $(cat "$folder/out")"
}

expect_next_save_works() {
  cp "$folder/old" "$target"
  "$probe" "$target" hello >"$folder/out" 2>&1 || fail "$1: the next save: $(cat "$folder/out")"
  [[ $(hash_of "$target") == "$new" ]] || fail "$1: the next save wrote something else"
  [[ -z $(temporaries) ]] || fail "$1: the next save left $(temporaries)"
}

seq 1 90000 >"$folder/old" # no zero bytes: bytes that were not written show
old=$(hash_of "$folder/old")
reset
strace -f -o "$folder/log" "$probe" "$target" hello || fail "a save without faults"
new=$(hash_of "$target")
[[ $old != "$new" && -z $(temporaries) ]] || fail "a save without faults did not save or clean up"

for call in "${calls[@]}"; do
  # Calls are counted from the start of the program; those before the target is opened are the loader's.
  read -r first last < <(awk -v call="$call" -v target="$target" '
    index($0, "openat(AT_FDCWD, \"" target "\"") && !first { first = count + 1 }
    $2 ~ "^" call "\\(" { ++count }
    END { print first, count + 0 }' "$folder/log")
  ((last >= first)) || fail "a save makes no call of $call"
  refused=0
  for ((n = first; n <= last; ++n)); do
    faulty "$call" "signal=KILL:when=$n"
    expect "killed at $call $n" 137:old 137:new
    expect_next_save_works "killed at $call $n"

    for error in ENOSPC EIO EINTR; do
      for when in "$n" "$n+"; do
        faulty "$call" "error=$error:when=$when"
        case $call:$error:$when in
          # Errors that must not be passed over.
          pwrite64:E[NI]O* | copy_file_range:E[NI]O* | renameat:E[NI]O*) outcomes=(1:old) ;;
          # A call that was interrupted is made again, except for the one that never is.
          fsync:EINTR:* | *:EINTR:*+) outcomes=(0:new 1:old) ;;
          *:EINTR:*) outcomes=(0:new) ;;
          *) outcomes=(0:new 1:old) ;;
        esac
        expect "$call $error $when" "${outcomes[@]}"
        ((refused += status == 1))
        [[ -z $(temporaries | grep -vxF "$stale") ]] || fail "$call $error $when left a file"
      done
    done
  done
  # Only what a save can do without may fail every time.
  [[ " flock fchmod unlinkat " == *" $call "* || $refused != 0 ]] || fail "errors of $call are passed over"
  expect_next_save_works "errors at $call"
done

# Claims to have written what it did not: only reading back shows it.
for call in pwrite64 copy_file_range; do
  for n in 1 2; do
    faulty "$call" "retval=3:when=$n"
    expect "$call $n done in part" 1:old
    grep -q verify_failed "$folder/out" || fail "$call $n: $(cat "$folder/out")"
  done
done
faulty fsync "error=EIO:when=1"
expect "fsync of the file" 1:old
faulty fsync "error=EIO:when=2"
expect "fsync of the folder" 0:new
grep -q saved_not_durable "$folder/out" || fail "no warning of a folder that was not synced"
faulty fchmod "error=EPERM:when=1"
expect "a mode that cannot be copied" 0:new
grep -q attributes_not_copied "$folder/out" || fail "no warning of a mode that was not copied"
# What a file system does not offer is done otherwise.
for injection in copy_file_range:error=EXDEV copy_file_range:error=ENOSYS copy_file_range:retval=0 \
  fallocate:error=EOPNOTSUPP flock:error=ENOLCK flock:error=EBADF; do
  faulty "${injection%%:*}" "${injection#*:}"
  expect "$injection" 0:new
done

# A disk that is really full, noticed when room is taken or, without that, when bytes are written.
mkdir "$disk"
if mount -t tmpfs -o size=1m none "$disk" 2>/dev/null; then
  cp "$folder/old" "$disk/a.jt"
  head -c 400000 /dev/zero >"$disk/filler"
  for injection in fallocate:error=EOPNOTSUPP close:when=9999:error=EIO; do
    strace -f -qq -o /dev/null -e inject="$injection" "$probe" "$disk/a.jt" hello >"$folder/out" 2>&1
    grep -q no_space "$folder/out" || fail "full disk: $(cat "$folder/out")"
    [[ $(hash_of "$disk/a.jt") == "$old" ]] || fail "full disk: the old file is gone"
    [[ -z $(temporaries "$disk") ]] || fail "full disk: left $(temporaries "$disk")"
  done
  rm "$disk/filler" && head -c 100000 "$folder/old" >"$disk/a.jt"
  "$probe" "$disk/a.jt" hello >/dev/null || fail "the save after the full disk"
else
  echo "NOTICE: no file system may be mounted here; the full disk is left out"
fi

echo "$runs saves with faults, $failures failures"
((failures == 0))
