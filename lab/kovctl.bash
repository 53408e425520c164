# shellcheck shell=bash
# Completion of kovctl for bash: source this file. The words come from kovctl, and so from the process that
# would run the line; when that is not there, nothing is proposed beyond kovctl's own words.
_kovctl() {
    local line=${COMP_LINE:0:COMP_POINT} current=${COMP_WORDS[COMP_CWORD]} whole
    local -a words candidates
    read -ra words <<<"$line"
    [[ $line != *[[:blank:]] ]] || words+=("")
    whole=${words[-1]}
    mapfile -t candidates < <("${words[0]}" complete -- "${words[@]:1}" 2>/dev/null)
    # Bash breaks words at "=" and ":", and wants only what is behind the last of them.
    [[ $current != [=:] ]] || current=
    COMPREPLY=("${candidates[@]#"${whole%"$current"}"}")
    [[ ${#candidates[@]} -ne 1 || ${candidates[0]} != *[=/] ]] || compopt -o nospace
}
complete -F _kovctl kovctl
