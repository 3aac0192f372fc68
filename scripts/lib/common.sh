# shellcheck shell=bash
# Common functions of all scripts. Source it at the start of a bash script; it answers --help.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# The programs that install packages are not on every user's PATH.
PATH=$PATH:/usr/sbin:/sbin

say() { printf '== %s\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
fail() {
    warn "$(basename "$0"): $*"
    exit 1
}

# need COMMAND PACKAGE: fails if the command is missing, and names its package.
need() {
    command -v "$1" >/dev/null || fail "$1 is missing: install $2, or run scripts/setup"
}

# usage: prints the header comment of the running script.
usage() { sed -n '2,/^[^#]/{/^#/!d; s/^# \{0,1\}//; p}' "$0"; }

# Sets SCRATCH to a temporary folder that is deleted when the script ends.
scratch_folder() {
    SCRATCH=$(mktemp -d)
    trap 'rm -rf "$SCRATCH"' EXIT
}

# The number of parallel compilers: one for each core, if each has 1 GB of memory.
jobs() {
    local cores gigabytes
    cores=$(nproc)
    gigabytes=$(awk '/^MemAvailable/ {print int($2 / 1048576)}' /proc/meminfo 2>/dev/null)
    gigabytes=${gigabytes:-$cores}
    if ((gigabytes < cores)); then cores=$gigabytes; fi
    echo $((cores > 1 ? cores : 1))
}

# configure_and_build PRESET [TARGET...]: builds the targets, or all.
configure_and_build() {
    local preset=$1 option=()
    shift
    if (($#)); then option=(--target "$@"); fi
    say "Configuring ($preset)"
    (cd "$ROOT" && cmake --preset "$preset" >"$ROOT/build/configure-$preset.log" 2>&1) || {
        cat "$ROOT/build/configure-$preset.log" >&2
        fail "cmake failed"
    }
    say "Building ($preset)"
    cmake --build "$ROOT/build/$preset" --parallel "$(jobs)" "${option[@]}"
}

mkdir -p "$ROOT/build"
for argument in "$@"; do
    if [[ $argument == -h || $argument == --help ]]; then
        usage
        exit
    fi
done
