# shellcheck shell=bash
# What every script of the project begins with. To be sourced by a bash script.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# What installing packages calls is not on every user's path.
PATH=$PATH:/usr/sbin:/sbin

say() { printf '== %s\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
fail() {
    warn "$(basename "$0"): $*"
    exit 1
}

# need COMMAND PACKAGE: fails where a command is missing, and says what brings it.
need() {
    command -v "$1" >/dev/null || fail "$1 is missing: install $2, or run scripts/setup"
}

# usage: prints the comment at the head of the running script.
usage() { sed -n '2,/^[^#]/{/^#/!d; s/^# \{0,1\}//; p}' "$0"; }

# Sets SCRATCH to a folder that is gone when the script ends.
scratch_folder() {
    SCRATCH=$(mktemp -d)
    trap 'rm -rf "$SCRATCH"' EXIT
}

# How many compilers run at once: one a core, fewer where each could not have its gigabyte.
jobs() {
    local cores gigabytes
    cores=$(nproc)
    gigabytes=$(awk '/^MemAvailable/ {print int($2 / 1048576)}' /proc/meminfo 2>/dev/null)
    gigabytes=${gigabytes:-$cores}
    if ((gigabytes < cores)); then cores=$gigabytes; fi
    echo $((cores > 1 ? cores : 1))
}

# configure_and_build PRESET [TARGET...]: everything, where no target is named.
configure_and_build() {
    local preset=$1 option=()
    shift
    if (($#)); then option=(--target "$@"); fi
    say "Configuring ($preset)"
    (cd "$ROOT" && cmake --preset "$preset" >"$ROOT/build/configure-$preset.log" 2>&1) || {
        cat "$ROOT/build/configure-$preset.log" >&2
        fail "the build could not be configured"
    }
    say "Building ($preset)"
    cmake --build "$ROOT/build/$preset" --parallel "$(jobs)" "${option[@]}"
}
mkdir -p "$ROOT/build"
