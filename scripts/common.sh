# Shared by ./run, ./test and the scripts of the packages; sourced, never run. Expects the repository root as the working folder.

say() { printf '\n== %s\n' "$*"; }
die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Prints a command as it could be typed.
print_command() {
  local word
  printf '\n$'
  for word in "$@"; do
    if [[ $word =~ ^[A-Za-z0-9_./:=,@%+-][A-Za-z0-9_./:=,@%+#-]*$ ]]; then
      printf ' %s' "$word"
    else
      printf ' %q' "$word"
    fi
  done
}

# show COMMAND...: prints a command, then runs it; a failure ends the script.
show() {
  print_command "$@"
  printf '\n'
  "$@" || die "exit code $? from: $*"
}

# show_head LINES COMMAND...: as show, but prints the first lines of the output only. The output goes
# through a file, so that the command's own exit code counts and it never meets a closed pipe.
show_head() {
  local lines=$1
  shift
  print_command "$@"
  printf ' | head -n %s\n' "$lines"
  "$@" >"$scratch/output" || die "exit code $? from: $*"
  head -n "$lines" "$scratch/output"
}

# show_same COMMAND A B: runs the program's COMMAND on both documents; their texts must be the same.
show_same() {
  print_command "$jtw" "$1" "$2"
  printf '   and the same of %s\n' "$3"
  "$jtw" "$1" "$2" >"$scratch/output" || die "exit code $? from: $1 $2"
  "$jtw" "$1" "$3" | diff "$scratch/output" - || die "'$1' shows something else for $3"
}

# ensure_packages GROUP...: installs what is missing of the groups in scripts/packages.txt. Where
# nothing is missing the package manager is not called; without Debian's tools it only says so. A program of
# a package's name that comes from elsewhere will do.
ensure_packages() {
  if ! command -v dpkg-query >/dev/null 2>&1; then
    echo "Not a Debian system: the packages of scripts/packages.txt are taken to be there."
    return 0
  fi
  local groups wanted installed missing=() name as_root=()
  groups=$(IFS='|'; echo "$*")
  wanted=$(awk -v groups="^($groups)\$" '$1 !~ /^#/ && $2 ~ groups { print $1 }' scripts/packages.txt)
  installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p')
  for name in $wanted; do
    grep -qxF "$name" <<<"$installed" || command -v "$name" >/dev/null || missing+=("$name")
  done
  if [ ${#missing[@]} -eq 0 ]; then
    echo "All packages of ($groups) are installed."
    return 0
  fi
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null 2>&1 ||
      die "these packages are missing, and installing them needs root: ${missing[*]}"
    as_root=(sudo)
  fi
  echo "Installing: ${missing[*]}"
  # A failed update is not the end: the lists that are there may do.
  "${as_root[@]}" apt-get update -qq </dev/null || echo "apt-get update failed; going on with the old lists" >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" </dev/null >"$package_log" 2>&1 || {
    cat "$package_log" >&2
    die "these packages could not be installed: ${missing[*]}"
  }
}

# The version of the whole project, which CMake's project() has.
project_version() { sed -n 's/^project(Jtw VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt; }

jobs=${JTW_JOBS:-$(nproc 2>/dev/null || echo 2)}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/jtw.XXXXXX")
package_log=$scratch/packages.log
trap 'rm -rf "$scratch"' EXIT
