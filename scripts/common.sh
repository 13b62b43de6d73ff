# Sourced by the scripts: strict mode, the project's folder, and a message when something fails.
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

has_terminal() {
    [[ -t 1 && -t 2 && ${TERM:-dumb} != dumb ]]
}

# show_progress <what> <percent> : a bar on a terminal, and elsewhere a line for each quarter
show_progress() {
    local filled quarter
    if has_terminal; then
        printf -v filled '%*s' $(($2 * 40 / 100)) ''
        printf '\r\e[K%s [%-40s] %3d %%' "$1" "${filled// /#}" "$2" >&2
        return
    fi
    quarter="$1: $(($2 / 25 * 25)) %"
    [[ $quarter == "${shown_quarter-}" ]] || printf '%s\n' "$quarter"
    shown_quarter=$quarter
}

wipe_progress() {
    ! has_terminal || printf '\r\e[K' >&2
}

# show_end <log> <lines> : why something failed
show_end() {
    tail -n "$2" -- "$1" >&2
    printf 'All of it is in %s\n' "$1" >&2
}
