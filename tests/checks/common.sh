# shellcheck shell=bash
# What the checks share: each names every fault it finds, then ends with one verdict.

faults=0
fault() {
    printf '%s\n' "$*"
    faults=$((faults + 1))
}

# Exit code 0 and one line of praise, or 1 and the number of faults named above it.
verdict() {
    if [ "$faults" -ne 0 ]; then
        printf '%s: %d faults\n' "${0##*/}" "$faults"
        exit 1
    fi
    printf '%s: %s\n' "${0##*/}" "$*"
    exit 0
}

# A check whose input is absent has checked nothing.
require_files() {
    local file
    for file in "$@"; do
        [ -r "$file" ] || { printf '%s: cannot read %s\n' "${0##*/}" "$file"; exit 2; }
    done
}

# The lines of a committed list without comments and blank lines.
entries() { sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$1"; }
