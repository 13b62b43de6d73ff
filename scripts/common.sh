# Sourced by its neighbours: strict, in the project's folder, and with a last word when something fails.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

step='starting'

say() {
    step=$1
    printf '\n== %s\n' "$step"
}

last_word() {
    local status=$?
    ((status == 0)) || printf '\nscripts/%s FAILED while %s (exit code %d)\n' "${0##*/}" "$step" "$status" >&2
}
trap last_word EXIT
