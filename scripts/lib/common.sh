# What every script of the project begins with. To be sourced by a bash script.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

say() { printf '\033[1m== %s\033[0m\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
fail() {
    warn "$(basename "$0"): $*"
    exit 1
}

# need COMMAND PACKAGE: fails where a command is missing, and says what brings it.
need() {
    command -v "$1" >/dev/null || fail "$1 is missing: install $2, or run scripts/setup"
}

# A folder that is gone when the script ends. One a script: a second call gives the first folder.
scratch_folder() { echo "$SCRATCH"; }
SCRATCH=$(mktemp -d)
trap 'rm -rf "$SCRATCH"' EXIT
